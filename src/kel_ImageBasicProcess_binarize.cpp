// The binarization dispatcher.
//
// Global methods compare the grey plane with one level; local methods compare it with a Gaussian
// mean, through OpenCV, and with the opposite polarity. Colour pages become grey twice over: by the
// exact luminance for the global methods, by OpenCV's integer weights for the local ones.
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <optional>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "local_threshold.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kSmallestEstimatedSide = 4;
constexpr int kSmallImageLevel = 128;

bool isEstimated(int method) {
    return method < KEL_BIN_METHOD_FIXED || method == KEL_BIN_METHOD_AUTO ||
           method >= KEL_BIN_METHOD_AUTO_CLAMPED;
}

bool isLocal(int method) {
    return method >= KEL_BIN_METHOD_ADAPTIVE && method <= KEL_BIN_METHOD_ADAPTIVE_SMOOTH;
}

/// The plane that a global method compares: the source itself, or the luminance of a colour page.
class GreyPlane {
  public:
    /// The luminance is made in `dst`, where the result goes anyway, unless that would change
    /// `src`.
    GreyPlane(unsigned char* src, int channels, unsigned char* dst, kelSize size) : plane_(src) {
        if (channels == 1 || isEmpty(size)) return;
        const auto bytes = static_cast<size_t>(planeStep(size));
        plane_ = overlaps(src, 3 * bytes, dst, bytes) ? own_.emplace(bytes).data() : dst;
        KelColorConvert(src, size, 3, plane_, size, 1);
    }

    unsigned char* data() const { return plane_; }

  private:
    unsigned char* plane_;
    std::optional<WorkPlane> own_;
};

void binarizeLocally(unsigned char* src, int channels, unsigned char* dst, kelSize size,
                     unsigned char isOpp, int blockSize, int offset) {
    if (isEmpty(size)) size = {0, 0};  // OpenCV refuses an empty image with an error of its own
    const auto bytes = static_cast<size_t>(planeStep(size));
    unsigned char* source = src;
    std::optional<WorkPlane> work;
    if (channels == 3) {
        source = work.emplace(bytes).data();
        rowKernels().greyOfBgr(src, src + bytes, src + 2 * bytes, source, bytes);
    } else if (src != dst && overlaps(src, bytes, dst, bytes)) {
        source = work.emplace(bytes).data();
        std::memcpy(source, src, bytes);
    }
    LocalThreshold local(source, size, isOpp ^ cv::THRESH_BINARY_INV, blockSize,
                         static_cast<double>(offset));
    // OpenCV finds out that it does not know a threshold type only after it has used its target.
    // That is no part of `dst`; an image without pixels is given to it for its error alone.
    if (isEmpty(size)) return local.compute(0, 0, dst);
    fillByBands(size, local.bandRows(), dst, source == dst,
                [&](int first, int end, auto* out) { local.compute(first, end, out); });
}

}  // namespace

int KelBinarizeImage(unsigned char* src, int channels, unsigned char* dst, kelSize size,
                     unsigned char isOpp, int method, int thres, int block_size, int param1) {
    if (channels != 1 && channels != 3) return -1;
    if (isLocal(method)) {
        // A median of the colour page belongs to method 5, but comes after its grey plane is made
        // and reaches nothing, so it isn't run: the three local methods are one.
        binarizeLocally(src, channels, dst, size, isOpp, block_size, param1);
        return 0;
    }
    const bool tooSmall =
        size.width < kSmallestEstimatedSide || size.height < kSmallestEstimatedSide;
    const GreyPlane grey(src, channels, dst, size);
    int level = thres;
    if (isEstimated(method) && tooSmall) {
        level = kSmallImageLevel;
    } else if (isEstimated(method)) {
        level = wrapAdd(KelAutoThresholdValue3(grey.data(), nullptr, size), thres);
        if (method == KEL_BIN_METHOD_AUTO_CLAMPED) {
            if (block_size != 0 && level < block_size) level = block_size;
            if (param1 != 0 && level > param1) level = param1;
        }
    }
    KelBinarizeThreshold(grey.data(), dst, size, level, isOpp);
    return 0;
}
