// Dark scanner edges: the dark regions that touch the border are found and painted over.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "bit_plane.h"
#include "black_edges.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "threshold_plane.h"
#include "toolkit_regions.h"

using namespace kel::detail;

namespace {

constexpr int kDarkLevel = 50;
constexpr int kReach = 50;  ///< how far from the border marks are grown

/// A page with what its edges are painted with.
struct Page {
    const unsigned char* samples;
    kelSize size;
    int channels;

    const unsigned char* row(int plane, int y) const {
        return constPlaneOf(samples, size, plane).row(y);
    }
};

using Fill = std::array<unsigned char, 3>;

unsigned char fillFor(uint64_t sum, kelSize size) {
    const uint64_t mean = sum / static_cast<uint64_t>(planeStep(size));
    return static_cast<unsigned char>(std::min<uint64_t>(mean, 225) + 30);
}

/// Packs the bright pixels, and takes the mean of each plane while its rows are at hand.
Fill packBright(const Page& page, BitPlane& bright) {
    const auto width = static_cast<size_t>(page.size.width);
    const RowKernels& kernels = rowKernels();
    std::vector<unsigned char> row(width);
    std::array<uint64_t, 3> sums{};
    for (int y = 0; y < page.size.height; ++y) {
        for (int c = 0; c < page.channels; ++c)
            sums[static_cast<size_t>(c)] += kernels.enhance.sum(page.row(c, y), width);
        if (page.channels == 3)
            kernels.luminance(page.row(0, y), page.row(1, y), page.row(2, y), row.data(), width);
        thresholdSamples(page.channels == 3 ? row.data() : page.row(0, y), row.data(), width,
                         kDarkLevel, 0);
        kernels.packNonZero(row.data(), bright.row(y), width);
    }
    return {fillFor(sums[0], page.size), fillFor(sums[1], page.size), fillFor(sums[2], page.size)};
}

/// Grows what is set by two pixels on every side.
void spread(BitPlane& bits) {
    const BitPlane before = bits;
    std::vector<uint64_t> scratch(bits.wordsPerRow() + 2);
    const int last = bits.height() - 1;
    for (int y = 0; y <= last; ++y) {
        const uint64_t* rows[5];
        for (int k = 0; k < 5; ++k)
            rows[k] = before.row(std::clamp(y + k - 2, 0, last));
        rowKernels().area.spreadBits(rows, scratch.data(), bits.row(y), bits.wordsPerRow());
    }
    bits.clearBeyondWidth();
}

/// The dark pixels of a page; `isOpened` leaves those that a dark square of 5 by 5 pixels covers.
/// That is an opening, done as the growth of its complement and the growth of what is left.
BitPlane darkPixels(BitPlane bright, bool isOpened) {
    if (isOpened) spread(bright);
    bright.invert();
    if (isOpened) spread(bright);
    return bright;
}

BitPlane borderRegions(const BitPlane& dark) {
    const auto step = static_cast<ptrdiff_t>(sizeof(uint64_t) * dark.wordsPerRow());
    const ToolkitRegions regions(
        {reinterpret_cast<const uint8_t*>(dark.row(0)), step, dark.width(), dark.height()},
        rowKernels().area.packPacked);
    BitPlane marks(dark.width(), dark.height());
    regions.forEachBorderRun([&](int y, Run run) { marks.setRun(y, run.begin, run.end); });
    return marks;
}

/// Each row's first end of marks within reach of the left edge moves by one pixel, and so does the
/// last start within reach of the right edge.
void growAlongRow(BitPlane& marks, int y) {
    const int w = marks.width();
    for (int x = 0; x <= std::min(w, kReach + 1) - 3; ++x)
        if (marks.at(x, y) && !marks.at(x + 1, y)) {
            marks.set(x + 1, y);
            break;
        }
    for (int x = w - 2; x >= std::max(w, kReach) - kReach + 1; --x)
        if (marks.at(x, y) && !marks.at(x - 1, y)) {
            marks.set(x - 1, y);
            break;
        }
}

void growDown(BitPlane& marks, int x) {
    for (int y = 0; y < std::min(marks.height() - 1, kReach) && marks.at(x, y); ++y)
        if (!marks.at(x, y + 1)) return marks.set(x, y + 1);
}

/// The pixel looked at lies the page's height, not its width, before the current one in the buffer.
/// On a page that isn't square that isn't the one above: kept so, hosts are tuned to it.
void growUp(BitPlane& marks, int x) {
    const int64_t w = marks.width(), h = marks.height();
    for (int64_t y = h - 1; y >= std::max<int64_t>(h, kReach) - kReach + 1; --y) {
        if (!marks.at(x, static_cast<int>(y))) return;
        const int64_t at = y * w + x - h;
        if (at < 0) return;
        const int otherX = static_cast<int>(at % w), otherY = static_cast<int>(at / w);
        if (!marks.at(otherX, otherY)) return marks.set(otherX, otherY);
    }
}

void grow(BitPlane& marks) {
    for (int y = 0; y < marks.height(); ++y)
        if (!marks.isRowClear(y)) growAlongRow(marks, y);
    for (int x = 0; x < marks.width(); ++x) {
        growDown(marks, x);
        growUp(marks, x);
    }
}

/// The pixels that stay as they are; both ends belong to the ranges.
struct Centre {
    bool kept;
    int64_t left, top, right, bottom;

    Centre(kelSize size, bool isKept, int marginX, int marginY)
        : kept(isKept),
          left(marginX),
          top(marginY),
          right(std::max<int64_t>(int64_t{size.width} - marginX, 0)),
          bottom(std::max<int64_t>(int64_t{size.height} - marginY, 0)) {}
};

/// Fills [begin, end) of a row, save what belongs to the centre.
void paintRun(unsigned char* row, int y, int64_t begin, int64_t end, const Centre& centre,
              unsigned char value) {
    const auto fill = [&](int64_t from, int64_t to) {
        if (from < to) std::memset(row + from, value, static_cast<size_t>(to - from));
    };
    if (!centre.kept || y < centre.top || y > centre.bottom) return fill(begin, end);
    fill(begin, std::min(end, centre.left));
    fill(std::max(begin, centre.right + 1), end);
}

int subBlackEdge(const Page& page, unsigned char* dst, bool isOpened, bool keepCentre, int marginX,
                 int marginY) {
    if (isEmpty(page.size) || page.channels < 1) return 0;
    const size_t bytes =
        static_cast<size_t>(planeStep(page.size)) * static_cast<size_t>(page.channels);
    if (page.channels != 1 && page.channels != 3) {  // no grey, so nothing is known to be dark
        std::memmove(dst, page.samples, bytes);
        return 0;
    }
    BitPlane bright(page.size.width, page.size.height);
    const Fill fill = packBright(page, bright);
    BitPlane marks = borderRegions(darkPixels(std::move(bright), isOpened));
    grow(marks);
    if (dst != page.samples) std::memmove(dst, page.samples, bytes);
    const Centre centre(page.size, keepCentre, marginX, marginY);
    for (int c = 0; c < page.channels; ++c) {
        const PlaneView plane = planeOf(dst, page.size, c);
        for (int y = 0; y < plane.height; ++y)
            marks.forEachRun(y, [&](int begin, int end) {
                paintRun(plane.row(y), y, begin, end, centre, fill[static_cast<size_t>(c)]);
            });
    }
    return 0;
}

}  // namespace

int Kel_RemoveEdgeNoise(unsigned char* image, int w, int h, int value) {
    const ToolkitRegions regions({image, w, w, h}, rowKernels().packNonZero);
    regions.forEachBorderRun([&](int y, Run run) {
        std::memset(image + static_cast<ptrdiff_t>(y) * w + run.begin, value & 255,
                    static_cast<size_t>(run.end - run.begin));
    });
    return 0;
}

int KelSubBlackEdge(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                    bool keepCentre, int marginX, int marginY) {
    return subBlackEdge({src, size, channels}, dst, true, keepCentre, marginX, marginY);
}

int KelSubBlackEdge1(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                     bool keepCentre, int marginX, int marginY) {
    return subBlackEdge({src, size, channels}, dst, false, keepCentre, marginX, marginY);
}

int KelSubBlackEdge2(unsigned char* image, int w, int h, int channels, unsigned char fillValue,
                     int marginX, int marginY) {
    const kelSize size{w, h};
    if (isEmpty(size) || marginX < 1 || marginY < 1) return 0;
    std::vector<unsigned char> dark(static_cast<size_t>(planeStep(size)));
    KelBinarizePartArea(image, dark.data(), w, h, channels, marginX, marginY, kDarkLevel);
    const ToolkitRegions regions({dark.data(), w, w, h}, rowKernels().packNonZero);
    regions.forEachBorderRun([&](int y, Run run) {
        for (int c = 0; c < (channels == 1 ? 1 : 3); ++c)
            std::memset(planeOf(image, size, c).row(y) + run.begin, fillValue,
                        static_cast<size_t>(run.end - run.begin));
    });
    return 0;
}

int KelEnlargeWhiteArea(unsigned char* image, int w, int h) {
    if (isEmpty({w, h})) return 0;
    const int half = w / 2;
    for (int y = 0; y < h; ++y) {
        unsigned char* const row = image + static_cast<ptrdiff_t>(y) * w;
        int x = 0;
        while (x < half && row[x] != 0)
            ++x;
        if (x > 0 && x < half) row[x] = 255;
        x = w - 1;
        while (x > half && row[x] != 0)
            --x;
        if (x > half && (x < w - 1 || y > 0)) row[x] = 255;
    }
    return 0;
}
