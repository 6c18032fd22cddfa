// Number print and black information: what isn't wanted is whitened or lightened first.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

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

/// The 3 by 3 means of image planes, row by row, for columns from 1 on. A window at the right edge
/// takes its last column from where the samples go on, the starts of the next rows. Behind the last
/// plane, the last sample stands once more.
class WindowMeans {
  public:
    WindowMeans(unsigned char* image, kelSize size)
        : image_(image), size_(size), lastRow_(static_cast<size_t>(size.width) + 1) {}

    /// Writes columns 1 to width-1 of a row that isn't the first or the last.
    void row(int plane, int y, unsigned char* means) {
        const ConstPlaneView from = constPlaneOf(image_, size_, plane);
        const auto width = static_cast<size_t>(size_.width);
        const unsigned char* below = from.row(y + 1);
        if (plane == 2 && y == size_.height - 2) {
            std::memcpy(lastRow_.data(), below, width);
            lastRow_[width] = lastRow_[width - 1];
            below = lastRow_.data();
        }
        rowKernels().colour.windowMeans(from.row(y - 1), from.row(y), below, means + 1, width - 1);
    }

  private:
    unsigned char* image_;
    kelSize size_;
    WorkPlane lastRow_;
};

/// Copies an image with green and blue averaged inside.
void copySmoothed(unsigned char* src, kelSize size, WorkBuffer<unsigned char>& work) {
    std::memcpy(work.data(), src, work.size());
    WindowMeans means(src, size);
    for (int c : {1, 2})
        for (int y = 1; y < size.height - 1; ++y)
            means.row(c, y, planeOf(work.data(), size, c).row(y));
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

/// The limits of the coloured test, as they are and for whole numbers where those do.
class ColouredTest {
  public:
    ColouredTest(double r, double g, double b, double mean) : exact_{r, g, b, mean} {
        const auto wholeR = wholeLimit(r, 3), wholeG = wholeLimit(g, 3), wholeB = wholeLimit(b, 3);
        const auto wholeMean = wholeLimit(mean, 9);
        if (wholeR && wholeG && wholeB && wholeMean)
            whole_ = ChromaLimits{{*wholeR, *wholeG, *wholeB}, *wholeMean};
    }

    /// Lightens the pixels of a run whose means are coloured.
    void lighten(uint8_t* const planes[3], const uint8_t* const means[3], size_t count) const {
        if (whole_) return rowKernels().colour.lightenColoured(planes, means, count, *whole_);
        for (size_t i = 0; i < count; ++i) {
            const double m = (means[0][i] + means[1][i] + means[2][i]) / 3.0;
            const double d[3] = {std::abs(means[0][i] - m), std::abs(means[1][i] - m),
                                 std::abs(means[2][i] - m)};
            if (!(d[0] > exact_[0] || d[1] > exact_[1] || d[2] > exact_[2] ||
                  (d[0] + d[1] + d[2]) / 3.0 > exact_[3]))
                continue;
            for (int c = 0; c < 3; ++c)
                planes[c][i] = static_cast<unsigned char>(static_cast<int>(m / 255 * 50 + 200));
        }
    }

  private:
    double exact_[4];
    std::optional<ChromaLimits> whole_;
};

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
    const ColouredTest test(limitR, limitG, limitB, limitMean);
    const auto width = static_cast<size_t>(size.width);
    WindowMeans means(image, size);
    // Two rows of means in three planes each. A row is changed when the row below has its means,
    // and the rows at the edges, whose means are 0, at the end.
    std::vector<unsigned char> rows(6 * width);
    const auto meansAt = [&](int y, int c) { return rows.data() + (y % 2 * 3 + c) * size.width; };
    const auto change = [&](int y) {
        uint8_t* planes[3];
        const uint8_t* from[3];
        for (int c = 0; c < 3; ++c) {
            planes[c] = planeOf(image, size, c).row(y);
            from[c] = meansAt(y, c);
        }
        test.lighten(planes, from, width);
    };
    for (int y = 1; y < size.height - 1; ++y) {
        for (int c = 0; c < 3; ++c)
            means.row(c, y, meansAt(y, c));
        if (y > 1) change(y - 1);
    }
    if (size.height > 2) change(size.height - 2);
    std::fill(rows.begin(), rows.end(), uint8_t{0});
    change(0);
    if (size.height > 1) change(size.height - 1);
    return 0;
}
