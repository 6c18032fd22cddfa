// Counts of pixels on binary planes.
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

int countOf(const unsigned char* plane, kelSize size, int value) {
    if (isEmpty(size) || value < 0 || value > 255) return 0;
    return static_cast<int>(rowKernels().enhance.countEqual(
        plane, static_cast<size_t>(planeStep(size)), static_cast<unsigned char>(value)));
}

}  // namespace

int KelCalArea(unsigned char* plane, kelSize size) {
    return countOf(plane, size, 255);
}

int kel_BinImg_EffPointNo(unsigned char* image, int width, int height, int value, int* count) {
    *count = countOf(image, {width, height}, value);
    return 0;
}

int kel_cal_total_num(unsigned char* a, unsigned char* b, int pixels, int type) {
    if (pixels < 1) return 0;
    return static_cast<int>(
        rowKernels().enhance.countWhite(a, b, static_cast<size_t>(pixels), type != 0));
}
