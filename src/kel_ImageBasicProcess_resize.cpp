// KelResizeImage(): the choice among the library's own kernels and OpenCV's methods.
#include <opencv2/imgproc/imgproc_c.h>

#include <numeric>
#include <vector>

#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ResizeImage_BFast.h"
#include "kel_cv.h"
#include "plane_view.h"
#include "resize_linear.h"
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

int resizePixels(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                 int channels, int interpolation) {
    const IplImageHandle from = makeIplImage(srcSize.width, srcSize.height, channels);
    if (KelPutIplImage(from.get(), src) != 0) return -1;
    const IplImageHandle to = makeIplImage(dstSize.width, dstSize.height, channels);
    cvResize(from.get(), to.get(), interpolation);
    return KelGetIplImage(to.get(), dst) != 0 ? -2 : 0;
}

/// Bilinear interpolation, and areas of 2 by 2, by our own loops. False, with nothing done, where
/// these do not apply.
bool resizeLinear(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                  int channels, int interpolation) {
    const bool isHalf = isTwice(srcSize, dstSize);
    if (interpolation != CV_INTER_LINEAR && !(interpolation == CV_INTER_AREA && isHalf))
        return false;
    if (isHalf) {
        halvePlanes(src, srcSize, dst, dstSize, channels);
        return true;
    }
    const bool isCopy = srcSize.width == dstSize.width && srcSize.height == dstSize.height;
    if (isCopy || srcSize.width < 2) return false;
    resizePlanesLinear(src, srcSize, dst, dstSize, channels);
    return true;
}

/// Some builds of OpenCV leave bilinear interpolation to other libraries, which round otherwise:
/// this one is asked once, with a few small images.
bool roundsAsWeDo() {
    static const bool answer = [] {
        constexpr kelSize from = {62, 38};
        std::vector<unsigned char> samples(3 * 62 * 38);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<unsigned char>(i * i / 7 + i);
        for (const kelSize to : {kelSize{47, 29}, kelSize{31, 19}, kelSize{151, 90}})
            for (const int channels : {1, 3}) {
                std::vector<unsigned char> theirs(static_cast<size_t>(planeStep(to) * channels));
                std::vector<unsigned char> ours(theirs.size());
                resizePixels(samples.data(), from, theirs.data(), to, channels, CV_INTER_LINEAR);
                resizeLinear(samples.data(), from, ours.data(), to, channels, CV_INTER_LINEAR);
                if (ours != theirs) return false;
            }
        return true;
    }();
    return answer;
}

int resizeByOpenCv(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                   int channels, int interpolation) {
    if (!src) return -1;
    if (!dst) return -2;
    if ((channels == 1 || channels == 3) && areApart(src, srcSize, dst, dstSize, channels)) {
        if (interpolation == CV_INTER_NN)
            return resizeNearest(src, srcSize, dst, dstSize, channels);
        if (roundsAsWeDo() && resizeLinear(src, srcSize, dst, dstSize, channels, interpolation))
            return 0;
        // Areas of colour pixels are quicker to come by together.
        if (channels == 1 || interpolation == CV_INTER_LINEAR)
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
