// Marks of dark pixels in a frame round the page, for the removal of scanner edges.
#include <algorithm>

#include "black_edges.h"
#include "kel_ImageBasicProcess.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

/// Marks the dark pixels of one page, whose grey is compared without being made.
class DarkMarker {
  public:
    DarkMarker(const unsigned char* src, unsigned char* dst, kelSize size, int channels, int thres)
        : src_(src),
          marks_(planeOf(dst, size, 0)),
          step_(planeStep(size)),
          grey_(channels == 1),
          thres_(std::clamp(thres, 0, 256)) {}

    /// Columns [from, to) of one row.
    void markRow(int y, int from, int to) const {
        const ptrdiff_t first = ptrdiff_t{y} * marks_.width;
        const unsigned char* p0 = src_ + first;
        unsigned char* marks = marks_.row(y);
        if (grey_) {
            for (int x = from; x < to; ++x)
                marks[x] = thres_ > p0[x] ? 255 : marks[x];
            return;
        }
        const unsigned char* p1 = p0 + step_;
        const unsigned char* p2 = p1 + step_;
        for (int x = from; x < to; ++x) {
            // The weights stop short of 10000: white reads 249. They belong to the definition. Not
            // to divide by 10000 is the same comparison.
            const int grey = 3098 * p0[x] + 4186 * p1[x] + 2496 * p2[x];
            marks[x] = thres_ * 10000 > grey ? 255 : marks[x];
        }
    }

    void markRows(int from, int to) const {
        for (int y = from; y < to; ++y)
            markRow(y, 0, marks_.width);
    }

  private:
    const unsigned char* src_;
    PlaneView marks_;
    ptrdiff_t step_;
    bool grey_;
    int thres_;
};

/// The four bands are not symmetrical: the bottom one leaves out the last row, and the right one is
/// a column wider than the left. Hosts are tuned to it.
void markFrame(const DarkMarker& marker, kelSize size, int marginX, int marginY) {
    if (size.width <= 2 * int64_t{marginX} || size.height <= 2 * int64_t{marginY})
        return marker.markRows(0, size.height);
    const int bottom = size.height - marginY - 1;
    marker.markRows(0, marginY);
    marker.markRows(bottom, size.height - 1);
    for (int y = marginY; y < bottom; ++y) {
        marker.markRow(y, 0, marginX);
        marker.markRow(y, size.width - marginX - 1, size.width);
    }
}

}  // namespace

int KelBinarizePartArea(unsigned char* src, unsigned char* dst, int width, int height, int channels,
                        int marginX, int marginY, int thres) {
    const kelSize size{width, height};
    if (marginX < 1 || marginY < 1 || isEmpty(size)) return 0;
    markFrame(DarkMarker(src, dst, size, channels, thres), size, marginX, marginY);
    return KelEnlargeWhiteArea(dst, width, height);
}
