// Two sharpening filters with kernels of the library's own.
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "unchanged_source.h"

using namespace kel::detail;

namespace {

// These lean on the west pixel and leave the centre out; they are not the textbook's Laplacians,
// and results depend on them as they are.
constexpr int8_t kLaplace8[9] = {1, 1, 1, -7, 0, 1, 2, 0, 1};
constexpr int8_t kLaplace4[9] = {0, 1, 1, -3, 0, 1, 1, 0, 0};

/// Filters the interior; the outermost rows and columns become 255.
void sharpenPlane(ConstPlaneView src, PlaneView dst, const int8_t weights[9], double strength) {
    constexpr unsigned char border = 255;
    const auto sharpen = rowKernels().enhance.sharpen;
    const auto width = static_cast<size_t>(src.width);
    std::memset(dst.row(0), border, width);
    for (int y = 1; y < src.height - 1; ++y) {
        unsigned char* to = dst.row(y);
        to[0] = to[width - 1] = border;
        if (width > 2)
            sharpen({src.row(y - 1), src.row(y), src.row(y + 1)}, to + 1, width - 2, weights,
                    strength);
    }
    std::memset(dst.row(src.height - 1), border, width);
}

int sharpenImage(const unsigned char* src, unsigned char* dst, kelSize size, int channels,
                 const int8_t weights[9], double strength) {
    if (isEmpty(size) || channels < 1) return 0;
    const UnchangedSource source(
        src, dst, static_cast<size_t>(planeStep(size)) * static_cast<size_t>(channels));
    for (int c = 0; c < channels; ++c)
        sharpenPlane(constPlaneOf(source.data(), size, c), planeOf(dst, size, c), weights,
                     strength);
    return 0;
}

}  // namespace

int KelLaplace8(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                double strength) {
    return sharpenImage(src, dst, size, channels, kLaplace8, strength);
}

int KelLaplace4(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                double strength) {
    return sharpenImage(src, dst, size, channels, kLaplace4, strength);
}
