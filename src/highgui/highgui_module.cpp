// The private module itself: thin wrappers round OpenCV's file and window calls. See
// src/highgui_module.h.
#include "../highgui_module.h"

#include <dlfcn.h>

#include <opencv2/highgui.hpp>
#include <opencv2/imgcodecs.hpp>

#include "kel_define.h"

using kel::detail::HighguiModule;
using kel::detail::ShownImage;

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

/// Whether an X server answers. OpenCV's windows end the whole process where none does, so they
/// must not be the first to ask.
bool hasDisplay() {
    void* const x11 = dlopen("libX11.so.6", RTLD_NOW | RTLD_LOCAL);
    if (!x11) return false;
    const auto open = reinterpret_cast<void* (*)(const char*)>(dlsym(x11, "XOpenDisplay"));
    const auto close = reinterpret_cast<int (*)(void*)>(dlsym(x11, "XCloseDisplay"));
    void* const display = open && close ? open(nullptr) : nullptr;
    if (display) close(display);
    dlclose(x11);
    return display != nullptr;
}

bool showUntilKey(const std::vector<ShownImage>& images) {
    if (!hasDisplay()) return false;
    try {
        for (const ShownImage& shown : images)
            cv::namedWindow(shown.title, cv::WINDOW_AUTOSIZE);
        for (const ShownImage& shown : images)
            cv::imshow(shown.title, shown.image);
        cv::waitKey(0);
        for (const ShownImage& shown : images)
            cv::destroyWindow(shown.title);
        return true;
    } catch (const cv::Exception&) {
        return false;  // an OpenCV without windows
    }
}

constexpr HighguiModule kModule = {kel::detail::kHighguiModuleVersion, read, write, showUntilKey};

}  // namespace

extern "C" KEL_API const HighguiModule* kelHighguiModule() {
    return &kModule;
}
