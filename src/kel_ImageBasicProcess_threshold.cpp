// Fixed thresholds on one plane and on three.
#include <cstring>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "threshold_plane.h"

using namespace kel::detail;

namespace kel::detail {

void thresholdSamples(const unsigned char* src, unsigned char* dst, size_t count, int thres,
                      unsigned char isOpp) {
    const unsigned char whenAbove = isOpp ? 0 : 255;
    if (thres < 0 || thres >= 255) {  // all samples are on one side, and need not be read
        std::memset(dst, thres < 0 ? whenAbove : 255 - whenAbove, count);
        return;
    }
    rowKernels().threshold(src, dst, count, static_cast<unsigned char>(thres), whenAbove);
}

}  // namespace kel::detail

void KelBinarizeThreshold(unsigned char* src, unsigned char* dst, kelSize size, int thres,
                          unsigned char isOpp) {
    if (isEmpty(size)) return;
    // The sample count is defined as a 32-bit product.
    const int count = wrapMul(size.width, size.height);
    if (count < 1) return;
    thresholdSamples(src, dst, static_cast<size_t>(count), thres, isOpp);
}

void KelBinarizeThreshold3(unsigned char* src, unsigned char* dst, kelSize size, int /*reserved*/,
                           int thres0, int thres1, int thres2, unsigned char isOpp) {
    if (isEmpty(size)) return;
    const ptrdiff_t step = planeStep(size);
    const int thres[3] = {thres0, thres1, thres2};
    for (int c = 0; c < 3; ++c)
        thresholdSamples(src + c * step, dst + c * step, static_cast<size_t>(step), thres[c],
                         isOpp);
}
