// Brightness: constant shifts, shifts to a target mean, the brightness curve.
#include <algorithm>

#include "brightness_curve.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "unchanged_source.h"

using namespace kel::detail;

namespace {

constexpr int kLastTargetMean = 999;
constexpr int kCurveOnGrey = 1001;
constexpr int kCurveOnColour = 1003;

/// Shifts beyond 255 either way are all alike.
constexpr int kLargestShift = 255;

double meanOf(const unsigned char* plane, size_t count) {
    return static_cast<double>(rowKernels().enhance.sum(plane, count)) / static_cast<double>(count);
}

void shiftToMean(const unsigned char* src, unsigned char* dst, size_t count, int target) {
    const double shift = target - meanOf(src, count);
    const double largest = kLargestShift;
    const UnchangedSource source(src, dst, src == dst ? 0 : count);
    rowKernels().enhance.addClamped(source.data(), dst, count,
                                    static_cast<int>(std::clamp(shift, -largest, largest)));
}

BrightnessCurve curveThrough(int knee, int target) {
    const double whole = 255;
    const double fromWhite = knee / whole - 1;
    const double a = (target / whole - 1) / (fromWhite * fromWhite);
    return {static_cast<double>(knee), static_cast<double>(target) / knee, a, a / whole,
            (a + 1) * whole};
}

}  // namespace

double KelBrightAver(unsigned char* plane, kelSize size) {
    return isEmpty(size) ? 0.0 : meanOf(plane, static_cast<size_t>(planeStep(size)));
}

void KelChangeBright(unsigned char* src, unsigned char* dst, kelSize size, int delta) {
    if (isEmpty(size)) return;
    rowKernels().enhance.addClamped(src, dst, static_cast<size_t>(planeStep(size)),
                                    std::clamp(delta, -kLargestShift, kLargestShift));
}

void KelChangeBrightRGB(unsigned char* src, unsigned char* dst, kelSize size, int mode,
                        int greenOrKnee, int blueOrTarget) {
    if (mode > kLastTargetMean) {
        // Curves that are refused leave the target as it is, and nobody is told.
        if (mode == kCurveOnGrey || mode == kCurveOnColour)
            promoteHist(src, size.width, size.height, mode == kCurveOnGrey ? 1 : 3, greenOrKnee,
                        blueOrTarget, dst);
        return;
    }
    if (isEmpty(size)) return;
    const ptrdiff_t step = planeStep(size);
    const int targets[3] = {mode, greenOrKnee, blueOrTarget};
    for (int c = 0; c < 3; ++c)
        shiftToMean(src + c * step, dst + c * step, static_cast<size_t>(step), targets[c]);
}

int promoteHist(unsigned char* src, int width, int height, int channels, int knee, int target,
                unsigned char* dst) {
    if (knee < 1 || knee > 254 || target < 0 || target > 255 || knee >= target) return 1;
    const kelSize size{width, height};
    if (isEmpty(size)) return 0;
    const auto count = static_cast<size_t>(planeStep(size));
    const BrightnessCurve curve = curveThrough(knee, target);
    if (channels == 1) {
        unsigned char table[256];
        rowKernels().enhance.curveTable(curve, table);
        rowKernels().lookUp(src, table, dst, count);
    } else {
        const unsigned char* const in[3] = {src, src + count, src + 2 * count};
        unsigned char* const out[3] = {dst, dst + count, dst + 2 * count};
        rowKernels().enhance.curveColour(curve, in, out, count);
    }
    return 0;
}
