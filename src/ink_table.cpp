#include "ink_table.h"

#include <algorithm>
#include <cstdlib>

#include "parallel.h"
#include "plane_view.h"

namespace kel::detail {
namespace {

constexpr int kBandRows = 256;
constexpr int kTileColumns = 256;
constexpr int kBlockRows = 16;  // tabulated at a time
constexpr size_t kTileGroups = kTileColumns / 8;
constexpr int kOverhang = 32;  // entries that the kernels may touch beyond the last

constexpr int kFractionBits = 15;
constexpr int kOne = 1 << kFractionBits;

size_t partsOf(int length, int part) {
    return length < 1 ? 0 : (static_cast<size_t>(length) - 1) / static_cast<size_t>(part) + 1;
}

}  // namespace

/// A tile with ink.
struct InkTable::Tile {
    int x, y;
    int columns, rows;
    const uint8_t* bits;
    const uint8_t* before;
    const uint16_t* totals;
};

InkTable::InkTable(const unsigned char* image, int w, int h, int threads)
    : width_(w),
      height_(h),
      bands_(w < 1 ? 0 : partsOf(h, kBandRows)),
      tiles_(partsOf(w, kTileColumns)),
      groups_(partsOf(w, 8)),
      tableBytes_(bands_ * groups_ * kBandRows + kOverhang),
      tables_(2 * tableBytes_),
      tileTotals_(bands_ * tiles_ * kBandRows),
      rowTotals_(static_cast<size_t>(std::max(h, 0))),
      inkedRows_(bands_ * tiles_) {
    const auto bands = static_cast<int>(bands_);
    runRows(std::min(threads, bands), bands, [&](RowRange range) {
        for (int band = range.first; band < range.end; ++band)
            tabulateBand(image, band);
    });
}

void InkTable::tabulateBand(const unsigned char* image, int band) {
    const RowKernels& kernels = rowKernels();
    const ConstPlaneView plane = constPlaneOf(image, {width_, height_}, 0);
    const auto width = static_cast<size_t>(width_);
    const size_t words = (width + 63) / 64;
    const int firstRow = band * kBandRows;
    const int rows = std::min(kBandRows, height_ - firstRow);
    WorkBuffer<uint64_t> packed(words * kBandRows);
    std::fill(packed.data() + words * static_cast<size_t>(rows), packed.data() + packed.size(), 0);
    for (int y = 0; y < rows; ++y)
        kernels.area.packFull(plane.row(firstRow + y),
                              packed.data() + words * static_cast<size_t>(y), width);
    if (std::all_of(packed.data(), packed.data() + packed.size(), [](uint64_t w) { return !w; }))
        return;

    const size_t groupsBefore = static_cast<size_t>(band) * groups_ * kBandRows;
    const size_t tilesBefore = static_cast<size_t>(band) * tiles_;
    uint16_t* const totals = tileTotals_.data() + tilesBefore * kBandRows;
    for (size_t y = 0; y < static_cast<size_t>(rows); y += kBlockRows)
        kernels.analysis.tabulateInk(
            reinterpret_cast<const uint8_t*>(packed.data() + y * words), words * 8, groups_,
            {bits() + groupsBefore + y, before() + groupsBefore + y, kBandRows, totals + y});
    for (size_t tile = 0; tile < tiles_; ++tile) {
        InkedRows& inked = inkedRows_[tilesBefore + tile];
        for (int y = rows; y-- > 0;) {
            const uint16_t total = totals[tile * kBandRows + static_cast<size_t>(y)];
            rowTotals_[static_cast<size_t>(firstRow) + static_cast<size_t>(y)] += total;
            if (total == 0) continue;
            inked.first = y;
            if (inked.end == 0) inked.end = y + 1;
        }
    }
}

template <class Visit>
void InkTable::forInkedTiles(const Visit& visit) const {
    for (size_t band = 0; band < bands_; ++band)
        for (size_t t = 0; t < tiles_; ++t) {
            const size_t index = band * tiles_ + t;
            const auto [first, end] = inkedRows_[index];
            if (first == end) continue;
            const int x = static_cast<int>(t) * kTileColumns;
            const size_t group = (band * groups_ + t * kTileGroups) * kBandRows;
            visit(Tile{x, static_cast<int>(band) * kBandRows + first,
                       std::min(kTileColumns, width_ - x), end - first, bits() + group + first,
                       before() + group + first, tileTotals_.data() + index * kBandRows + first});
        }
}

/// The projection of whole tiles, for slopes of less than one bin a column.
///
/// With d = 2^15 - c, pixel (k, r) of a tile falls into bin r + m, where
/// m = (p + k * s - r * d) >> 15 and p is the position of the tile's first pixel. So along a row
/// the bins are strips of columns, and the border between two strips moves by |s| / d columns a
/// row at most. The ink of a strip is the difference of the ink left of its two borders. The sums
/// here, one for each border and row, are kept by bin; one more takes the strips that end with the
/// tile. Sums wrap at 2^16, and so do their differences, which are below it.
class InkTable::SlantedSums {
  public:
    SlantedSums(int c, int s, int binCount)
        : d_(kOne - c),
          s_(s),
          each_(std::abs(s) / d_),
          over_(std::abs(s) % d_),
          kernels_(rowKernels()) {
        for (auto* sums : {&borders_[0], &borders_[1], &ends_})
            sums->resize(static_cast<size_t>(binCount) + 1 + kOverhang);
    }

    /// Only slopes for which a bin cannot hold 2^16 pixels, and a border has to move by one column
    /// at most from row to row.
    static bool handles(int c, int s, int width) {
        return c > kOne / 2 && c < kOne && std::abs(s) < kOne && kOne - c <= std::abs(s) &&
               width < kOne;
    }

    void add(const Tile& tile, int64_t p) {
        addEnds(tile, p);
        if (tile.columns < 2) return;
        if (s_ > 0) {
            addRisingBorders(tile, p);
        } else {
            addFallingBorders(tile, p);
        }
    }

    void addTo(int* bins, int binCount) const {
        const auto border = [&](size_t j) { return borders_[0][j] + borders_[1][j]; };
        for (size_t j = 0; j < static_cast<size_t>(binCount); ++j) {
            const int left = s_ > 0 ? border(j) : border(j + 1);
            const int right = s_ > 0 ? border(j + 1) : border(j);
            const auto ink = static_cast<uint16_t>(right - left + ends_[j]);
            bins[j] = static_cast<int>(static_cast<uint32_t>(bins[j]) + ink);
        }
    }

  private:
    void addEnds(const Tile& tile, int64_t p) {
        const int64_t end = p + int64_t{tile.columns - 1} * s_;
        for (int r = 0; r < tile.rows;) {
            const int64_t at = end - int64_t{r} * d_;
            const int same = static_cast<int>(at & (kOne - 1)) / d_ + 1;
            const int stop = std::min(tile.rows, r + same);
            uint16_t* const sums = ends_.data() + (at >> kFractionBits);
            for (; r < stop; ++r)
                sums[r] = static_cast<uint16_t>(sums[r] + tile.totals[r]);
        }
    }

    // Border m is the first column whose position reaches m; it moves to the right. `below` is how
    // far the first column of a row is below m.
    void addRisingBorders(const Tile& tile, int64_t p) {
        const int64_t first = ((p - int64_t{tile.rows - 1} * d_) >> kFractionBits) + 1;
        const int64_t last = (p + int64_t{tile.columns - 1} * s_) >> kFractionBits;
        for (int64_t m = first; m <= last; ++m) {
            int below = static_cast<int>(m * kOne - p);
            int row = 0;
            if (below <= 0) {  // the border enters the tile further down
                row = -below / d_ + 1;
                below += row * d_;
            }
            const int column = (below + s_ - 1) / s_;
            walk(tile, m, row, column, tile.columns - 1, column * s_ - below);
        }
    }

    // Border m is the first column whose position falls below m; it moves to the left. `above` is
    // how far the first column of a row is above m.
    void addFallingBorders(const Tile& tile, int64_t p) {
        const int a = -s_;
        const int width = (tile.columns - 1) * a;
        const int64_t first = ((p - width - int64_t{tile.rows - 1} * d_) >> kFractionBits) + 1;
        const int64_t last = p >> kFractionBits;
        for (int64_t m = first; m <= last; ++m) {
            int above = static_cast<int>(p - m * kOne);
            int row = 0;
            if (above >= width) {
                row = (above - width) / d_ + 1;
                above -= row * d_;
            }
            walk(tile, m, row, above / a + 1, 1, above % a);
        }
    }

    void walk(const Tile& tile, int64_t m, int row, int column, int lastColumn, int rest) {
        uint16_t* const sums[2] = {borders_[0].data() + m + row, borders_[1].data() + m + row};
        kernels_.analysis.sumAlongBorder({tile.bits + row,
                                          tile.before + row,
                                          kBandRows,
                                          tile.rows - row,
                                          column,
                                          lastColumn,
                                          s_ > 0 ? 1 : -1,
                                          rest / d_ + 1,
                                          each_,
                                          rest % d_,
                                          over_,
                                          d_,
                                          {sums[0], sums[1]}});
    }

    int d_, s_;
    int each_, over_;  ///< rows from one move of a border to the next, and the rest of the division
    const RowKernels& kernels_;
    std::vector<uint16_t> borders_[2], ends_;
};

void InkTable::project(uint32_t start, int c, int s, int* bins, int binCount) const {
    const int64_t origin = static_cast<int32_t>(start);
    const int64_t down = int64_t{height_ - 1} * c, across = int64_t{width_ - 1} * s;
    const int64_t least = origin + std::min<int64_t>(down, 0) + std::min<int64_t>(across, 0);
    const int64_t greatest = origin + std::max<int64_t>(down, 0) + std::max<int64_t>(across, 0);
    const bool inside = least >= 0 && greatest <= INT32_MAX && greatest >> kFractionBits < binCount;
    if (!inside || !SlantedSums::handles(c, s, width_))
        return projectPixels(start, c, s, bins, binCount);
    SlantedSums sums(c, s, binCount);
    forInkedTiles([&](const Tile& tile) {
        sums.add(tile, origin + int64_t{tile.y} * c + int64_t{tile.x} * s);
    });
    sums.addTo(bins, binCount);
}

void InkTable::projectPixels(uint32_t start, int c, int s, int* bins, int binCount) const {
    forInkedTiles([&](const Tile& tile) {
        for (int k = 0; k < tile.columns; k += 8) {
            const uint8_t* const bits = tile.bits + k / 8 * kBandRows;
            for (int r = 0; r < tile.rows; ++r)
                for (int left = bits[r]; left != 0; left &= left - 1) {
                    const int x = tile.x + k + __builtin_ctz(static_cast<unsigned>(left));
                    const uint32_t position =
                        start + static_cast<uint32_t>(tile.y + r) * static_cast<uint32_t>(c) +
                        static_cast<uint32_t>(x) * static_cast<uint32_t>(s);
                    const int bin = static_cast<int32_t>(position) >> kFractionBits;
                    if (bin >= 0 && bin < binCount) ++bins[bin];
                }
        }
    });
}

}  // namespace kel::detail
