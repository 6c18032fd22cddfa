// Separation of neutral dark print from coloured ink.
#include "kel_ImageBasicProcess.h"
#include "kel_ImageBasicProcess_hsv.h"
#include "kel_segment.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

int KelSegImageReserveColor(unsigned char* src, kelSize size, unsigned char* dst,
                            double indexRate) {
    if (isEmpty(size)) return 0;
    const ptrdiff_t step = planeStep(size);
    WorkPlane lifted(static_cast<size_t>(step));
    rowKernels().greySpread(src, src + step, src + 2 * step, lifted.data(), lifted.size(),
                            indexRate);
    KelBinarizeImage(lifted.data(), 1, dst, size, 0, KEL_BIN_METHOD_AUTO, 0, 0, 0);
    return 0;
}

int KelBinarizeColor(unsigned char* src, int width, int height, int /*channels*/,
                     unsigned char* dst, int* params) {
    const kelSize size{width, height};
    if (isEmpty(size)) return 0;
    WorkPlane mask(static_cast<size_t>(planeStep(size)));
    WorkPlane grey(mask.size());
    KelSegImageReserveColor(src, size, mask.data(), 1.0);
    KelRgb2Grey_Hsv1(src, size, grey.data(), params[0], params[1] * 0.01, params[2] * 0.01);
    for (size_t i = 0; i < grey.size(); ++i)  // neutral print counts as white, which has no hue
        grey[i] = mask[i] == 0 ? uint8_t{0} : grey[i];
    const int thres = params[3];
    if (thres >= 1)
        KelBinarizeImage(grey.data(), 1, dst, size, 0, KEL_BIN_METHOD_FIXED, thres, 0, 0);
    else
        KelBinarizeImage(grey.data(), 1, dst, size, 0, KEL_BIN_METHOD_AUTO_CLAMPED, 10,
                         wrapSub(0, thres), 0);
    return 0;
}
