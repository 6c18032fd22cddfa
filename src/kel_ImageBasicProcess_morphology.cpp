// Morphology through OpenCV, and the edges of binary images.
#include <opencv2/imgproc.hpp>

#include <vector>

#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

enum Operation { kClose = 1, kOpen, kDilate, kErode };

int diameterOf(int radius) {
    return wrapAdd(wrapMul(2, radius), 1);
}

void transform(const cv::Mat& source, cv::Mat& target, int operation, cv::Point radius,
               int iterations) {
    const cv::Mat element = cv::getStructuringElement(
        cv::MORPH_RECT, {diameterOf(radius.x), diameterOf(radius.y)}, radius);
    const int type = operation == kClose    ? cv::MORPH_CLOSE
                     : operation == kOpen   ? cv::MORPH_OPEN
                     : operation == kDilate ? cv::MORPH_DILATE
                                            : cv::MORPH_ERODE;
    cv::morphologyEx(source, target, type, element, radius, iterations, cv::BORDER_REPLICATE);
}

}  // namespace

int KelMorphology(unsigned char* src, unsigned char* dst, kelSize* size, int operation, int radiusX,
                  int radiusY, int iterations) {
    if (isEmpty(*size)) return 0;
    const auto bytes = static_cast<size_t>(planeStep(*size));
    if (operation < kClose || operation > kErode) {
        std::memmove(dst, src, bytes);
        return 0;
    }
    const cv::Mat source = planeMat(src, *size);
    // OpenCV does not know an overlap that is not the whole plane.
    const bool apart = src == dst || !overlaps(src, bytes, dst, bytes);
    cv::Mat target = apart ? planeMat(dst, *size) : cv::Mat();
    transform(source, target, operation, {radiusX, radiusY}, iterations);
    if (target.data != dst) std::memcpy(dst, target.data, bytes);
    return 0;
}

// Following all contours of the image, as OpenCV's cvFindContours in list mode does, visits just
// the pixels that have a background pixel above, below, left or right; the outermost rows and
// columns are background by definition. So nothing needs to be followed.
int kel_Cal_EdgeImage(unsigned char* src, int width, int height, unsigned char* dst) {
    const kelSize size{width, height};
    if (isEmpty(size)) return 0;
    std::memset(dst, 0, static_cast<size_t>(planeStep(size)));
    if (width < 3 || height < 3) return 0;
    const ConstPlaneView plane = constPlaneOf(src, size, 0);
    const PlaneView edges = planeOf(dst, size, 0);
    const std::vector<unsigned char> outside(static_cast<size_t>(width));
    for (int y = 1; y < height - 1; ++y) {
        const unsigned char* row = plane.row(y);
        unsigned char* to = edges.row(y);
        rowKernels().enhance.edges({y == 1 ? outside.data() : plane.row(y - 1), row,
                                    y == height - 2 ? outside.data() : plane.row(y + 1)},
                                   to + 1, static_cast<size_t>(width) - 2);
        for (const int x : {1, width - 2})
            to[x] = row[x] != 0 ? 255 : 0;
    }
    return 0;
}
