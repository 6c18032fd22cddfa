// Rotations: by small angles through OpenCV, by quarter and half turns exactly.
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

/// Truncates; what no integer can hold becomes the nearest that can.
int truncated(double value) {
    constexpr double most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(value, -most, most));
}

/// Turns `src` about its centre into `dst`, another image of its size and channel count.
void turnInto(const CvArr* src, CvArr* dst, kelSize size, double angle) {
    const double r = angle * 3.141592653589793 / 180.0;
    const auto cosine = static_cast<float>(std::cos(r));
    const auto sine = static_cast<float>(std::sin(r));
    float elements[6] = {cosine, sine,   static_cast<float>(size.width) * 0.5F,
                         -sine,  cosine, static_cast<float>(size.height) * 0.5F};
    const CvMat matrix = cvMat(2, 3, CV_32FC1, elements);
    cvGetQuadrangleSubPix(src, dst, &matrix);
}

/// The same from one channel image into another that does not overlap it. A grey plane is turned
/// where it lies; of colours, `dst` holds the pixels to turn, which saves memory to be cleared.
void turnApart(unsigned char* src, unsigned char* dst, kelSize size, int channels, double angle) {
    CvMat target = cvMat(size.height, size.width, CV_8UC(channels), dst);
    if (channels == 1) {
        const CvMat source = planeHeader(src, size);
        turnInto(&source, &target, size, angle);
        return;
    }
    IplImage pixels = cvIplImage(cv::cvarrToMat(&target));
    KelPutIplImage(&pixels, src);
    const IplImageHandle turned = makeIplImage(size.width, size.height, channels);
    turnInto(&target, turned.get(), size, angle);
    KelGetIplImage(turned.get(), dst);
}

/// The planes that the exact turns handle.
int turnedPlanes(int channels) {
    return channels == 1 ? 1 : 3;
}

/// A half turn of planes without padding: their samples, last to first.
void reversePlanes(const unsigned char* src, unsigned char* dst, size_t plane, int planes) {
    for (int c = 0; c < planes; ++c, src += plane, dst += plane)
        rowKernels().reverseBytes(src, dst, plane);
}

/// The same for one plane where it lies.
void reverseInPlace(unsigned char* samples, size_t count) {
    constexpr size_t most = 4096;
    const RowKernels& kernels = rowKernels();
    unsigned char head[most];
    unsigned char* end = samples + count;
    while (end - samples > 1) {
        const size_t part = std::min(most, static_cast<size_t>(end - samples) / 2);
        end -= part;
        kernels.reverseBytes(samples, head, part);
        kernels.reverseBytes(end, samples, part);
        std::memcpy(end, head, part);
        samples += part;
    }
}

/// A quarter turn of each plane. Target pixels that have no source stay as they were.
void quarterTurn(const unsigned char* src, kelSize srcSize, int channels, unsigned char* dst,
                 kelSize dstSize, bool clockwise) {
    if (!src || !dst || isEmpty(srcSize) || isEmpty(dstSize)) return;
    const ptrdiff_t width = srcSize.width, stride = dstSize.width;
    const ptrdiff_t lines = std::min(srcSize.width, dstSize.height);  // target rows
    const ptrdiff_t pixels = std::min(srcSize.height, dstSize.width);
    for (int c = 0; c < turnedPlanes(channels); ++c) {
        const unsigned char* const from = src + c * planeStep(srcSize);
        unsigned char* const to = dst + c * planeStep(srcSize);
        // A turn is a transposition that reads the rows from the last one up, or the columns.
        if (clockwise)
            rowKernels().transpose(from + (srcSize.height - 1) * width, -width, to, stride, lines,
                                   pixels);
        else
            rowKernels().transpose(from + width - lines, width, to + (lines - 1) * stride, -stride,
                                   lines, pixels);
    }
}

}  // namespace

void KelRotateCorTran(double angle, int w, int h, int x, int y, int* outX, int* outY) {
    if (!outX || !outY) return;
    const double cx = w * 0.5;
    const double cy = h * 0.5;
    const double radius = std::trunc(std::sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy)));
    // The arc tangent of one argument: points right of the centre come out mirrored through it.
    const double a = std::atan((cy - y) / (cx - x));
    const double b = a - angle / 180.0 * 3.1415926;
    const bool turns = std::isfinite(b);  // not at the very centre
    *outX = truncated(turns ? cx - std::cos(b) * radius : cx);
    *outY = truncated(turns ? cy - radius * std::sin(b) : cy);
}

int KelGetQuadrangleSubPix(IplImage* src, IplImage* dst, double angle) {
    if (!src || !dst) return -1;
    if (src->width != dst->width || src->height != dst->height || src->nChannels != dst->nChannels)
        return -1;
    const IplImageHandle turned = makeIplImage(src->width, src->height, src->nChannels);
    turnInto(src, turned.get(), {src->width, src->height}, angle);
    cvCopy(turned.get(), dst, nullptr);
    return 0;
}

int KelRotateImageLittleAngle(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                              double angle) {
    if (!src || !dst) return 0;
    if (angle == 0.0) {
        if (const auto bytes = planeBytes(size.width, size.height, channels); bytes && *bytes > 0)
            std::memmove(dst, src, *bytes);
        return 0;
    }
    const ptrdiff_t plane = isEmpty(size) ? 0 : planeStep(size);
    const auto bytes = static_cast<size_t>(plane * turnedPlanes(channels));
    if ((channels == 1 || channels == 3) && plane > 0 && !overlaps(src, bytes, dst, bytes)) {
        turnApart(src, dst, size, channels, angle);
        return 0;
    }
    const IplImageHandle image = makeIplImage(size.width, size.height, channels);
    const IplImageHandle turned = makeIplImage(size.width, size.height, channels);
    KelPutIplImage(image.get(), src);
    turnInto(image.get(), turned.get(), size, angle);
    KelGetIplImage(turned.get(), dst);
    return 0;
}

int KelRotate180(unsigned char* src, unsigned char* dst, kelSize size, int channels) {
    const int planes = std::min(channels, turnedPlanes(channels));
    if (!src || !dst || isEmpty(size) || planes < 1) return 0;
    const auto plane = static_cast<size_t>(planeStep(size));
    const size_t bytes = plane * static_cast<size_t>(planes);
    if (!overlaps(src, bytes, dst, bytes)) {
        reversePlanes(src, dst, plane, planes);
        return 0;
    }
    if (src != dst) std::memmove(dst, src, bytes);
    for (int c = 0; c < planes; ++c)
        reverseInPlace(dst + c * planeStep(size), plane);
    return 0;
}

int kel_RotateImage180(unsigned char* src, unsigned char* dst, kelSize size, int channels) {
    if (src && dst && !isEmpty(size))
        reversePlanes(src, dst, static_cast<size_t>(planeStep(size)), turnedPlanes(channels));
    return 0;
}

int kel_RotateImage90(unsigned char* src, int srcW, int srcH, int channels, unsigned char* dst,
                      int dstW, int dstH) {
    quarterTurn(src, {srcW, srcH}, channels, dst, {dstW, dstH}, true);
    return 0;
}

int kel_RotateImage270(unsigned char* src, int srcW, int srcH, int channels, unsigned char* dst,
                       int dstW, int dstH) {
    quarterTurn(src, {srcW, srcH}, channels, dst, {dstW, dstH}, false);
    return 0;
}
