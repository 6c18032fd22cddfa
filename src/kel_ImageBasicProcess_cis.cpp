// Colour calibration for contact image sensors: each plane resampled by a small kernel of its own,
// which moves the planes against one another by fractions of a pixel.
#include "cis_calibration.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "unchanged_source.h"

using namespace kel::detail;

namespace {

/// Weights of the samples above left, above, left and self; they add up to 2^shift.
struct CornerKernel {
    uint8_t weights[4];
    int shift;
};

// The kernels differ from plane to plane on purpose: they are the calibration.
constexpr CornerKernel kCalibration[3] = {{{1, 1, 3, 3}, 3}, {{0, 1, 0, 1}, 1}, {{3, 3, 1, 1}, 3}};
constexpr CornerKernel kHdpCalibration[3] = {
    {{0, 0, 1, 1}, 1}, {{0, 0, 0, 1}, 0}, {{1, 1, 1, 1}, 2}};

/// Resamples the interior; the outermost rows and columns are copied.
void resample(ConstPlaneView src, PlaneView dst, const CornerKernel& kernel) {
    const auto blend = rowKernels().enhance.blendCorner;
    const auto width = static_cast<size_t>(src.width);
    std::memcpy(dst.row(0), src.row(0), width);
    for (int y = 1; y < src.height - 1; ++y) {
        const unsigned char* from = src.row(y);
        unsigned char* to = dst.row(y);
        to[0] = from[0];
        to[width - 1] = from[width - 1];
        if (width > 2) blend(src.row(y - 1), from, to + 1, width - 2, kernel.weights, kernel.shift);
    }
    std::memcpy(dst.row(src.height - 1), src.row(src.height - 1), width);
}

int calibrate(const unsigned char* src, unsigned char* dst, kelSize size,
              const CornerKernel kernels[3]) {
    if (isEmpty(size)) return 0;
    const UnchangedSource source(src, dst, 3 * static_cast<size_t>(planeStep(size)));
    for (int c = 0; c < 3; ++c)
        resample(constPlaneOf(source.data(), size, c), planeOf(dst, size, c), kernels[c]);
    return 0;
}

}  // namespace

int KelCISColorCalibrate(unsigned char* src, unsigned char* dst, int width, int height) {
    return calibrate(src, dst, {width, height}, kCalibration);
}

int KelCISColorCalibrateHDPColor(unsigned char* src, unsigned char* dst, int width, int height) {
    return calibrate(src, dst, {width, height}, kHdpCalibration);
}
