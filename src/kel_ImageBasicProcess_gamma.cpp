// The gamma pair, and the library's weighted grey value of one point. One `pow` a level, not one a
// sample.
#include <cmath>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

/// Maps each sample to pow(sample / scale, exponent) * scale, truncated and clamped.
void mapByPower(const unsigned char* src, unsigned char* dst, size_t count, double scale,
                double exponent) {
    unsigned char table[256];
    for (int level = 0; level < 256; ++level) {
        const double value = std::pow(level / scale, exponent) * scale;
        const double low = value > 0.0 ? value : 0.0;  // also for what is no number
        table[level] = static_cast<unsigned char>(low < 255.0 ? low : 255.0);
    }
    rowKernels().lookUp(src, table, dst, count);
}

}  // namespace

void KelGammaCorrect(unsigned char* src, unsigned char* dst, kelSize size, double gamma) {
    if (isEmpty(size)) return;
    const auto count = static_cast<size_t>(planeStep(size));
    const unsigned char brightest = rowKernels().enhance.largest(src, count);
    if (brightest == 0)
        std::memmove(dst, src, count);
    else
        mapByPower(src, dst, count, brightest, 1.0 / gamma);
}

void KelAntiGammaCorrect(unsigned char* src, unsigned char* dst, kelSize size, double gamma) {
    if (isEmpty(size)) return;
    mapByPower(src, dst, static_cast<size_t>(planeStep(size)), 255.0, gamma);
}

int KelRgb2Grey(int r, int g, int b) {
    // The weights add up to 9780; white is 249.
    const int sum = wrapAdd(wrapAdd(wrapMul(r, 3098), wrapMul(g, 4186)), wrapMul(b, 2496));
    return static_cast<int>(sum / 10000.0);
}
