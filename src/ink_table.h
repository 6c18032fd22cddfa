// The ink of a page in a form that is projected onto slanted axes quickly.
//
// The page is cut into bands of 256 rows, and those into tiles of 256 columns. A table holds, for
// every row and every group of 8 columns, the group's bits and how many bits the tile has to its
// left: the ink of a row up to any column is then two bytes away, for many rows at once. What lies
// above and below the ink of a tile is left out, and so are tiles without ink.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kernels/row_kernels.h"
#include "work_buffer.h"

namespace kel::detail {

class InkTable {
  public:
    /// Samples of 255 are ink. The image is read on at most `threads` threads, and not kept.
    InkTable(const unsigned char* image, int w, int h, int threads);

    int width() const { return width_; }
    int height() const { return height_; }

    /// Ink of one row.
    uint32_t rowTotal(int y) const { return rowTotals_[static_cast<size_t>(y)]; }

    /// Adds the ink to bins: that of pixel (x, y) to bin (start + y * c + x * s) >> 15, in 32-bit
    /// arithmetic that wraps. Bins outside 0 to binCount - 1 are left out.
    void project(uint32_t start, int c, int s, int* bins, int binCount) const;

  private:
    struct Tile;
    struct InkedRows {
        int first = 0, end = 0;
    };
    class SlantedSums;

    uint8_t* bits() { return tables_.data(); }
    uint8_t* before() { return tables_.data() + tableBytes_; }
    const uint8_t* bits() const { return tables_.data(); }
    const uint8_t* before() const { return tables_.data() + tableBytes_; }
    void tabulateBand(const unsigned char* image, int band);
    template <class Visit>
    void forInkedTiles(const Visit& visit) const;
    void projectPixels(uint32_t start, int c, int s, int* bins, int binCount) const;

    int width_, height_;
    size_t bands_, tiles_, groups_;    ///< tiles and groups are those of a band
    size_t tableBytes_;                ///< of one of the two
    WorkBuffer<uint8_t> tables_;       ///< the groups' bits, then the ink before them
    WorkBuffer<uint16_t> tileTotals_;  ///< by band, tile and row
    std::vector<uint32_t> rowTotals_;
    std::vector<InkedRows> inkedRows_;  ///< by band and tile, counted in the band
};

}  // namespace kel::detail
