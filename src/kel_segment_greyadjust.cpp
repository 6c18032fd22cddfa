// Grey-adjust binarization: colour folded into one plane, levels, a local threshold, a global cut.
#include <algorithm>
#include <cstring>
#include <optional>

#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr double kCutOff = 0.01;
constexpr int kHighestBlankLevel = 180;

bool isKnown(int channels, int mode) {
    if (channels == 1) return mode != KEL_GREY_ADJUST_RED_DUAL;
    return mode >= KEL_GREY_ADJUST_LUMA && mode <= KEL_GREY_ADJUST_BLANK_CHECK;
}

void foldPlanes(const unsigned char* src, size_t plane, int mode, float ratio, unsigned char* out) {
    const RowKernels& kernels = rowKernels();
    const unsigned char* const r = src;
    const unsigned char* const g = r + plane;
    const unsigned char* const b = g + plane;
    if (mode == KEL_GREY_ADJUST_SPREAD)
        kernels.greySpread(r, g, b, out, plane, ratio);
    else if (mode == KEL_GREY_ADJUST_RED || mode == KEL_GREY_ADJUST_RED_DUAL)
        kernels.greyRedLift(r, g, b, out, plane, ratio);
    else
        kernels.luminance(r, g, b, out, plane);
}

size_t countBelow(const unsigned char* samples, size_t count, int level) {
    size_t below = 0;
    for (size_t i = 0; i < count;) {
        const size_t end = std::min(count, i + 255);  // as many as a byte can count
        unsigned char some = 0;
        for (; i < end; ++i)
            some = static_cast<unsigned char>(some + (samples[i] < level));
        below += some;
    }
    return below;
}

/// The level of a blank check is capped; that of the cut which follows is not.
bool hasTooLittleInk(unsigned char* work, kelSize size, float fewest) {
    const int level = std::min(KelAutoThresholdValue3(work, nullptr, size), kHighestBlankLevel);
    const size_t below = countBelow(work, static_cast<size_t>(planeStep(size)), level);
    return fewest > static_cast<float>(below);
}

/// Clears `dst` where a sample exceeds the level.
void clearAbove(const unsigned char* samples, unsigned char* dst, size_t count, int level) {
    if (level < 0)
        std::memset(dst, 0, count);
    else if (level < 255)
        rowKernels().clearAbove(samples, dst, count, static_cast<unsigned char>(level));
}

}  // namespace

int kel_BinaryImageByGreyAdjust(unsigned char* src, int width, int height, int channels,
                                unsigned char* dst, int thresOffset, int block_size, int param1,
                                int adjustMode, float adjustRatio) {
    if (!isKnown(channels, adjustMode)) return -1;
    const kelSize size{width, height};
    if (isEmpty(size)) return 0;
    const auto plane = static_cast<size_t>(planeStep(size));
    WorkPlane work(plane);
    unsigned char* red = nullptr;
    std::optional<WorkPlane> redCopy;
    if (channels == 1) {
        std::memcpy(work.data(), src, plane);
    } else {
        foldPlanes(src, plane, adjustMode, adjustRatio, work.data());
        if (adjustMode == KEL_GREY_ADJUST_RED_DUAL) red = src;
        if (red && overlaps(red, plane, dst, plane)) {
            red = redCopy.emplace(plane).data();
            std::memcpy(red, src, plane);
        }
        if (adjustMode == KEL_GREY_ADJUST_BLANK_CHECK &&
            hasTooLittleInk(work.data(), size, adjustRatio)) {
            std::memset(dst, 0, plane);
            return 0;
        }
    }
    KelAutoColorLeversAdjust1(work.data(), work.data(), width, height, 1, 'A', kCutOff, kCutOff);
    const int result = KelBinarizeImage(work.data(), 1, dst, size, 1, KEL_BIN_METHOD_ADAPTIVE, 0,
                                        block_size, param1);
    const int level = wrapAdd(KelAutoThresholdValue3(work.data(), nullptr, size), thresOffset);
    clearAbove(work.data(), dst, plane, level);
    if (red) clearAbove(red, dst, plane, KelAutoThresholdValue3(red, nullptr, size));
    return result == 0 ? 0 : -1;
}
