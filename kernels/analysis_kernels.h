// The row kernels of document analysis: projections, and the ink of slanted axes. Part of the table
// of row_kernels.h; analysis_kernels_body.inc holds the loops.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::detail {

/// Ink of 16 rows, by groups of 8 columns: byte `group * stride + row`. 32 groups are a tile.
struct InkGroups {
    uint8_t* bits;    ///< the group's columns, the first in the lowest bit
    uint8_t* before;  ///< number of bits in the tile's groups to the left
    size_t stride;
    uint16_t* inTiles;  ///< number of bits in the whole tile: `tile * stride + row`
};

/// A border between columns that moves by one column every few rows.
struct BorderWalk {
    const uint8_t* bits;  ///< as in InkGroups, from the first row and the tile's first group on
    const uint8_t* before;
    size_t stride;
    int rows;
    int column;     ///< the tile's columns to the left of the border in the first row,
    int last;       ///< and those to the left of its last place
    int step;       ///< 1 or -1
    int firstRows;  ///< rows until the border first moves, at least 1
    int each;       ///< and those between later moves; one more whenever the remainder, grown
    int remainder;  ///< by `over`, has reached `whole`, which it then loses
    int over;
    int whole;
    uint16_t* sums[2];  ///< may be written to for 31 rows beyond the last
};

struct AnalysisKernels {
    /// Adds the samples of each column of a plane without padding to its total.
    void (*sumColumns)(const uint8_t* plane, size_t width, size_t height, uint64_t* sums);

    /// Adds to each column's total the number of its samples equal to `value`.
    void (*countColumnsEqual)(const uint8_t* plane, size_t width, size_t height, uint8_t value,
                              int32_t* counts);

    /// Tabulates 16 packed rows of `groups` bytes; they start `rowBytes` apart.
    void (*tabulateInk)(const uint8_t* packed, size_t rowBytes, size_t groups,
                        const InkGroups& out);

    /// Adds, for each row, the bits to the left of the border to one of its two sums, modulo
    /// 2^16. Reads up to 31 rows beyond the last.
    void (*sumAlongBorder)(const BorderWalk& walk);
};

}  // namespace kel::detail
