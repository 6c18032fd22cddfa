// The private module itself: thin wrappers round OpenCV's file calls. See src/highgui_module.h.
#include "../highgui_module.h"

#include <opencv2/imgcodecs.hpp>

#include "kel_define.h"

using kel::detail::HighguiModule;

namespace {

cv::Mat read(const std::string& name, int flags) {
    try {
        return cv::imread(name, flags);
    } catch (const cv::Exception&) {
        return {};  // a size beyond OpenCV's limits, for one
    }
}

bool write(const std::string& name, const cv::Mat& image) {
    return cv::imwrite(name, image);
}

constexpr HighguiModule kModule = {kel::detail::kHighguiModuleVersion, read, write};

}  // namespace

extern "C" KEL_API const HighguiModule* kelHighguiModule() {
    return &kModule;
}
