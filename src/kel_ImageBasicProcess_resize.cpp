// KelResizeImage(): the choice among the library's own kernels and OpenCV's methods.
#include <opencv2/imgproc/imgproc_c.h>

#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ResizeImage_BFast.h"
#include "kel_cv.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

int interpolationOf(int method) {
    switch (method) {
        case KEL_RESIZE_NEAREST:
            return CV_INTER_NN;
        case KEL_RESIZE_AREA:
            return CV_INTER_AREA;
        case KEL_RESIZE_CUBIC:
            return CV_INTER_CUBIC;
        default:
            return CV_INTER_LINEAR;
    }
}

bool isPlanePair(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize) {
    return !isEmpty(srcSize) && !isEmpty(dstSize) &&
           !overlaps(src, static_cast<size_t>(planeStep(srcSize)), dst,
                     static_cast<size_t>(planeStep(dstSize)));
}

/// Resizes a plane where it lies.
int resizePlane(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                int interpolation) {
    const CvMat from = planeHeader(src, srcSize);
    CvMat to = planeHeader(dst, dstSize);
    cvResize(&from, &to, interpolation);
    return 0;
}

int resizeCopies(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                 int channels, int interpolation) {
    const IplImageHandle from = makeIplImage(srcSize.width, srcSize.height, channels);
    if (KelPutIplImage(from.get(), src) != 0) return -1;
    const IplImageHandle to = makeIplImage(dstSize.width, dstSize.height, channels);
    cvResize(from.get(), to.get(), interpolation);
    return KelGetIplImage(to.get(), dst) != 0 ? -2 : 0;
}

}  // namespace

int KelResizeImage(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                   int channels, int method) {
    const auto kernel = [&](int kind) {
        KelResizeImageLinear_Fast(src, srcSize.width, srcSize.height, channels, dst, dstSize.width,
                                  dstSize.height, kind);
        return 0;  // refused arguments are not reported
    };
    switch (method) {
        case KEL_RESIZE_FAST_LINEAR:
            return KelResizeImageNNLinear_Fast(src, srcSize.width, srcSize.height, channels, dst,
                                               dstSize.width, dstSize.height);
        case KEL_RESIZE_FAST_AVERAGE:
            return kernel(0);
        case KEL_RESIZE_FAST_MIN:
            return kernel(1);
        case KEL_RESIZE_FAST_NEAREST:
            return kernel(2);
        default:
            if (channels == 1 && isPlanePair(src, srcSize, dst, dstSize))
                return resizePlane(src, srcSize, dst, dstSize, interpolationOf(method));
            return resizeCopies(src, srcSize, dst, dstSize, channels, interpolationOf(method));
    }
}
