#include "local_threshold.h"

#include <opencv2/imgproc.hpp>

#include "cv_handles.h"

namespace kel::detail {

LocalThreshold::LocalThreshold(unsigned char* src, kelSize size, int type, int blockSize,
                               double offset)
    : source_(planeMat(src, size)), type_(type), blockSize_(blockSize), offset_(offset) {}

int LocalThreshold::bandRows() const {
    constexpr int kFewest =
        256;  // measured; the rows that bands have in common count for wide windows
    return static_cast<int>(
        std::clamp<int64_t>(int64_t{10} * blockSize_, kFewest, std::max(source_.rows, kFewest)));
}

void LocalThreshold::compute(int first, int end, unsigned char* out) {
    const int reach = std::max(blockSize_, 0) / 2;
    const int above = std::min(first, reach), below = std::min(source_.rows - end, reach);
    cv::adaptiveThreshold(source_.rowRange(first - above, end + below), result_, 255.0,
                          cv::ADAPTIVE_THRESH_GAUSSIAN_C, type_, blockSize_, offset_);
    std::memcpy(out, result_.ptr(above),
                static_cast<size_t>(end - first) * static_cast<size_t>(source_.cols));
}

}  // namespace kel::detail
