// Morphology with rectangles, and the edges of binary images.
#include <opencv2/core.hpp>

#include <algorithm>
#include <limits>
#include <vector>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "rectangle_extremes.h"
#include "sizes.h"
#include "unchanged_source.h"

using namespace kel::detail;

namespace {

enum Operation { kClose = 1, kOpen, kDilate, kErode };

/// A rectangle applied several times is one of as many times the radius.
int radiusOf(int radius, int iterations) {
    const int64_t whole = int64_t{radius} * iterations;
    return static_cast<int>(std::min<int64_t>(whole, std::numeric_limits<int>::max()));
}

}  // namespace

int KelMorphology(unsigned char* src, unsigned char* dst, kelSize* size, int operation, int radiusX,
                  int radiusY, int iterations) {
    if (radiusX < 0 || radiusY < 0)
        CV_Error(cv::Error::StsOutOfRange, "The radii of the element are negative");
    if (isEmpty(*size)) return 0;
    const auto bytes = static_cast<size_t>(planeStep(*size));
    if (operation < kClose || operation > kErode || iterations == 0) {
        std::memmove(dst, src, bytes);
        return 0;
    }
    // OpenCV takes a negative number of times for once.
    const int times = std::max(iterations, 1);
    const int rx = radiusOf(radiusX, times), ry = radiusOf(radiusY, times);
    const bool shrinksFirst = operation == kOpen || operation == kErode;
    const Extreme first = shrinksFirst ? Extreme::least : Extreme::largest;
    const Extreme second = shrinksFirst ? Extreme::largest : Extreme::least;
    const UnchangedSource source(src, dst, src == dst ? 0 : bytes);
    const PlaneView target = planeOf(dst, *size, 0);
    extremesOfRectangles(constPlaneOf(source.data(), *size, 0), target, rx, ry, first);
    if (operation == kClose || operation == kOpen)
        extremesOfRectangles(constPlaneOf(dst, *size, 0), target, rx, ry, second);
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
