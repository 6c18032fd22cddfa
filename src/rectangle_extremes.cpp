// The least and the largest samples of rectangles: along rows first, then across them. A long
// window is covered by a few shorter ones, whose extremes are taken before, and so on.
#include "rectangle_extremes.h"

#include <algorithm>
#include <utility>

#include "kernels/row_kernels.h"
#include "work_buffer.h"

namespace kel::detail {
namespace {

/// A window is covered by at most this many shorter ones.
constexpr int64_t kMostParts = 8;
/// Shorter windows grow by this factor.
constexpr int64_t kGrowth = 4;

class RectangleExtremes {
  public:
    RectangleExtremes(ConstPlaneView src, PlaneView dst, int radiusX, int radiusY, Extreme which)
        : src_(src),
          dst_(dst),
          width_(src.width),
          // No window reaches farther than the plane.
          radiusX_(std::min(radiusX, src.width)),
          radiusY_(std::min(radiusY, src.height)),
          padded_(static_cast<size_t>(width_ + 2 * radiusX_)),
          scratch_{WorkPlane(scratchBytes()), WorkPlane(scratchBytes())},
          linesKept_(isLong(windowY()) ? src.height : windowY()),
          lines_(static_cast<size_t>(width_ * linesKept_)),
          extremeOf_(which == Extreme::least ? rowKernels().enhance.leastOfRows
                                             : rowKernels().enhance.largestOfRows) {
        std::memset(padded_.data(), which == Extreme::least ? 255 : 0, padded_.size());
    }

    /// The target may be the source: a row is written when the source's has been read.
    void run() {
        const auto lineAt = [this](int64_t y) {
            return line(std::clamp<int64_t>(y, 0, src_.height - 1));
        };
        int64_t part = 1;
        if (isLong(windowY())) makeLinesUpTo(src_.height - 1);
        for (; windowY() > kMostParts * part; part *= kGrowth)
            for (int y = 0; y < src_.height; ++y)
                cover(y, kGrowth * part, part, lineAt, line(y), width_);
        for (int y = 0; y < src_.height; ++y) {
            makeLinesUpTo(std::min<int64_t>(y + radiusY_, src_.height - 1));
            cover(y - radiusY_, windowY(), part, lineAt, dst_.row(y), width_);
        }
    }

  private:
    static bool isLong(int64_t window) { return window > kMostParts; }
    int64_t windowX() const { return 2 * radiusX_ + 1; }
    int64_t windowY() const { return 2 * radiusY_ + 1; }
    size_t scratchBytes() const { return isLong(windowX()) ? padded_.size() : 0; }

    /// The extremes along row y; once they grow, of some rows from y on.
    unsigned char* line(int64_t y) { return lines_.data() + y % linesKept_ * width_; }

    /// Takes the extremes of a window from those of its parts: `at` has the first one.
    template <class At>
    void cover(int64_t first, int64_t window, int64_t part, At at, unsigned char* out,
               int64_t count) {
        const unsigned char* parts[kMostParts];
        size_t n = 0;
        const int64_t last = first + window - part;
        for (int64_t start = first; start < last; start += part)
            parts[n++] = at(start);
        parts[n++] = at(last);
        extremeOf_(parts, n, out, static_cast<size_t>(count));
    }

    void makeLinesUpTo(int64_t y) {
        for (; linesMade_ <= y; ++linesMade_)
            makeLine(src_.row(static_cast<int>(linesMade_)), line(linesMade_));
    }

    void makeLine(const unsigned char* row, unsigned char* out) {
        // A copy: memcpy takes a few times as long on rows of this length that are not aligned.
        extremeOf_(&row, 1, padded_.data() + radiusX_, static_cast<size_t>(width_));
        const auto length = static_cast<int64_t>(padded_.size());
        const unsigned char* from = padded_.data();
        const auto fromAt = [&from](int64_t x) { return from + x; };
        unsigned char *to = scratch_[0].data(), *next = scratch_[1].data();
        int64_t part = 1;
        for (; windowX() > kMostParts * part; part *= kGrowth) {
            cover(0, kGrowth * part, part, fromAt, to, length + 1 - kGrowth * part);
            from = to;
            std::swap(to, next);
        }
        cover(0, windowX(), part, fromAt, out, width_);
    }

    ConstPlaneView src_;
    PlaneView dst_;
    int64_t width_, radiusX_, radiusY_;
    WorkPlane padded_;  ///< a row, with what never wins on both sides
    WorkPlane scratch_[2];
    int64_t linesKept_, linesMade_ = 0;
    WorkPlane lines_;
    void (*extremeOf_)(const uint8_t* const* rows, size_t rowCount, uint8_t* out, size_t count);
};

}  // namespace

void extremesOfRectangles(ConstPlaneView src, PlaneView dst, int radiusX, int radiusY,
                          Extreme which) {
    RectangleExtremes(src, dst, radiusX, radiusY, which).run();
}

}  // namespace kel::detail
