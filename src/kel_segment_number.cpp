// Number print and black information: what isn't wanted is whitened or lightened first.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "kel_segment.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

/// The redness of a pixel is r - (g + b) / 2, truncated; for limits above 0 that is a limit on
/// 2 r - g - b.
constexpr int16_t fromRedness(int least) {
    return static_cast<int16_t>(2 * least);
}

int16_t clampedDifference(int difference) {
    return static_cast<int16_t>(std::clamp(difference, -256, 256));
}

/// Three planes of an image.
struct Planes {
    Planes(unsigned char* image, kelSize size)
        : plane{image, image + planeStep(size), image + 2 * planeStep(size)} {}
    unsigned char* plane[3];
};

/// The 3 by 3 means of one plane of `image`, in rows 1 to height-2 and columns 1 to width-1. A
/// window at the right edge takes its last column from where the samples go on, the starts of the
/// next rows. Behind the last plane, the last sample stands once more.
void meansOf(unsigned char* image, kelSize size, int index, unsigned char* means) {
    const PlaneView from = planeOf(image, size, index);
    const PlaneView to{means, size.width, size.height, size.width};
    if (size.width < 2) return;
    const auto width = static_cast<size_t>(size.width);
    WorkPlane lastRow(width + 1);
    for (int y = 1; y < size.height - 1; ++y) {
        const unsigned char* below = from.row(y + 1);
        if (index == 2 && y == size.height - 2) {
            std::memcpy(lastRow.data(), below, width);
            lastRow[width] = lastRow[width - 1];
            below = lastRow.data();
        }
        rowKernels().colour.windowMeans(from.row(y - 1), from.row(y), below, to.row(y) + 1,
                                        width - 1);
    }
}

/// Copies an image with green and blue averaged inside.
void copySmoothed(unsigned char* src, kelSize size, WorkBuffer<unsigned char>& work) {
    std::memcpy(work.data(), src, work.size());
    for (int c : {1, 2})
        meansOf(src, size, c, planeOf(work.data(), size, c).data);
}

/// The number k for which n / parts > limit is n > k. Nothing where n / parts is no whole number
/// and so close to the limit that its rounding decides.
std::optional<int16_t> wholeLimit(double limit, int parts) {
    constexpr double kAbove = 2000;  // no pixel deviates by so many parts
    const double scaled = limit * parts;
    if (!(scaled < kAbove)) return static_cast<int16_t>(kAbove);  // also for what is no number
    if (scaled < -1) return int16_t{-1};
    const double nearest = std::round(scaled);
    if (std::abs(scaled - nearest) > 1e-6) return static_cast<int16_t>(std::floor(scaled));
    if (std::fmod(nearest, parts) != 0) return std::nullopt;
    return static_cast<int16_t>(nearest / parts > limit ? nearest - 1 : nearest);
}

/// The defining rule, in double.
void lightenExactly(const Planes& image, const Planes& means, size_t count, const double limits[3],
                    double limitMean) {
    for (size_t i = 0; i < count; ++i) {
        const int rgb[3] = {means.plane[0][i], means.plane[1][i], means.plane[2][i]};
        const double m = (rgb[0] + rgb[1] + rgb[2]) / 3.0;
        const double d[3] = {std::abs(rgb[0] - m), std::abs(rgb[1] - m), std::abs(rgb[2] - m)};
        if (!(d[0] > limits[0] || d[1] > limits[1] || d[2] > limits[2] ||
              (d[0] + d[1] + d[2]) / 3.0 > limitMean))
            continue;
        for (auto* const plane : image.plane)
            plane[i] = static_cast<unsigned char>(static_cast<int>(m / 255 * 50 + 200));
    }
}

}  // namespace

int KelEliminateRed(unsigned char* src, unsigned char* dst, kelSize size) {
    if (isEmpty(size)) return 0;
    const Planes from(src, size), to(dst, size);
    rowKernels().colour.whitenRed(from.plane, to.plane, static_cast<size_t>(planeStep(size)),
                                  fromRedness(60));
    return 0;
}

int KelSegNumImageHSV(unsigned char* src, kelSize size, unsigned char* dst, int /*reserved1*/,
                      int /*reserved2*/, int blueOverGreen, int smooth, int thresError) {
    if (isEmpty(size)) return 0;
    const auto bytes = static_cast<size_t>(planeStep(size));
    WorkBuffer<unsigned char> work(3 * bytes);
    const Planes from(src, size), planes(work.data(), size);
    if (smooth == 0) {
        rowKernels().colour.whitenRed(from.plane, planes.plane, bytes, fromRedness(31));
    } else {
        copySmoothed(src, size, work);
        rowKernels().colour.whitenUnlessBlue(planes.plane, bytes, fromRedness(31), 30,
                                             clampedDifference(blueOverGreen));
    }
    std::memset(dst, 0, bytes);
    unsigned char level = 0;
    KelSegementImage_hsv(work.data(), size, dst, 0.001, 250, 310, false, thresError, &level, 9,
                         smooth == 0 ? 5 : 7, 0, 3, 3, 10);
    return 0;
}

int KelSegBlackInfoByColor(unsigned char* image, kelSize size, int channels, double limitR,
                           double limitG, double limitB, double limitMean) {
    if (channels == 1 || isEmpty(size)) return 0;
    const auto bytes = static_cast<size_t>(planeStep(size));
    WorkBuffer<unsigned char> work(3 * bytes);
    std::memset(work.data(), 0, work.size());
    const Planes planes(image, size), means(work.data(), size);
    for (int c = 0; c < 3; ++c)
        meansOf(image, size, c, means.plane[c]);
    const auto r = wholeLimit(limitR, 3), g = wholeLimit(limitG, 3), b = wholeLimit(limitB, 3);
    const auto mean = wholeLimit(limitMean, 9);
    if (r && g && b && mean) {
        rowKernels().colour.lightenColoured(planes.plane, means.plane, bytes,
                                            {{*r, *g, *b}, *mean});
    } else {
        const double limits[3] = {limitR, limitG, limitB};
        lightenExactly(planes, means, bytes, limits, limitMean);
    }
    return 0;
}
