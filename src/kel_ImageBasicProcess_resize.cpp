// KelResizeImage(): the choice among the library's own kernels and OpenCV's methods.
#include <opencv2/imgproc/imgproc_c.h>

#include <numeric>
#include <vector>

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

/// Planes can be handed to OpenCV where they lie when there are some, and apart.
bool areApart(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
              int channels) {
    return !isEmpty(srcSize) && !isEmpty(dstSize) &&
           !overlaps(src, static_cast<size_t>(planeStep(srcSize) * channels), dst,
                     static_cast<size_t>(planeStep(dstSize) * channels));
}

/// The sample that OpenCV's nearest neighbour takes for each of `to` positions along a line of
/// `from`: it is asked, by way of a line of numbers.
std::vector<int> nearestSamples(int from, int to, bool isRow) {
    std::vector<int> numbers(static_cast<size_t>(from)), taken(static_cast<size_t>(to));
    std::iota(numbers.begin(), numbers.end(), 0);
    const CvMat source = cvMat(isRow ? 1 : from, isRow ? from : 1, CV_32SC1, numbers.data());
    CvMat target = cvMat(isRow ? 1 : to, isRow ? to : 1, CV_32SC1, taken.data());
    cvResize(&source, &target, CV_INTER_NN);
    return taken;
}

int resizeNearest(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                  int channels) {
    const std::vector<int> columns = nearestSamples(srcSize.width, dstSize.width, true);
    const std::vector<int> rows = nearestSamples(srcSize.height, dstSize.height, false);
    resizeByTables(src, srcSize, channels, dst, dstSize, columns.data(), rows.data());
    return 0;
}

/// OpenCV's methods treat each channel by itself, so that planes give the samples that pixels
/// would; bicubic interpolation rounds by the place in the row, and is not to be had so.
int resizePlanes(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                 int channels, int interpolation) {
    for (int c = 0; c < channels; ++c) {
        const CvMat from = planeHeader(src + c * planeStep(srcSize), srcSize);
        CvMat to = planeHeader(dst + c * planeStep(dstSize), dstSize);
        cvResize(&from, &to, interpolation);
    }
    return 0;
}

/// Whether planes are the quicker way: areas of colour pixels are not, but for 2 by 2.
bool goesByPlanes(kelSize srcSize, kelSize dstSize, int channels, int interpolation) {
    return channels == 1 || interpolation == CV_INTER_LINEAR ||
           (interpolation == CV_INTER_AREA && srcSize.width == 2 * int64_t{dstSize.width} &&
            srcSize.height == 2 * int64_t{dstSize.height});
}

int resizePixels(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                 int channels, int interpolation) {
    const IplImageHandle from = makeIplImage(srcSize.width, srcSize.height, channels);
    if (KelPutIplImage(from.get(), src) != 0) return -1;
    const IplImageHandle to = makeIplImage(dstSize.width, dstSize.height, channels);
    cvResize(from.get(), to.get(), interpolation);
    return KelGetIplImage(to.get(), dst) != 0 ? -2 : 0;
}

int resizeByOpenCv(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                   int channels, int interpolation) {
    if ((channels == 1 || channels == 3) && areApart(src, srcSize, dst, dstSize, channels)) {
        if (interpolation == CV_INTER_NN)
            return resizeNearest(src, srcSize, dst, dstSize, channels);
        if (goesByPlanes(srcSize, dstSize, channels, interpolation))
            return resizePlanes(src, srcSize, dst, dstSize, channels, interpolation);
    }
    return resizePixels(src, srcSize, dst, dstSize, channels, interpolation);
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
            return resizeByOpenCv(src, srcSize, dst, dstSize, channels, interpolationOf(method));
    }
}
