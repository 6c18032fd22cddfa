// Which source pixels a resized image is made from: the mapping of a call, and of a run of columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "kel_define.h"
#include "kernels/row_kernels.h"

namespace kel::detail {

/// What every thread of a call reads: the images, and how target positions map to source ones.
struct Resize {
    Resize(unsigned char* src, int srcW, int srcH, int channels, unsigned char* dst, int dstW,
           int dstH)
        : source(src),
          target(dst),
          sourceSize{srcW, srcH},
          targetSize{dstW, dstH},
          planes(channels == 1 ? 1 : 3),
          xScale(srcW / static_cast<double>(dstW)),
          yScale(srcH / static_cast<double>(dstH)) {}

    int sourceRow(int y) const { return rows ? rows[y] : static_cast<int>(y * yScale); }
    int sourceColumn(int x) const { return columns ? columns[x] : static_cast<int>(x * xScale); }
    /// With neighbours: columns and rows below these.
    int innerWidth() const { return sourceSize.width - 1; }
    int innerHeight() const { return sourceSize.height - 1; }

    unsigned char* source;
    unsigned char* target;
    kelSize sourceSize, targetSize;
    int planes;
    double xScale, yScale;
    /// Tables that take the place of the scales, or null.
    const int* rows = nullptr;
    const int* columns = nullptr;
};

/// A run of target columns, and where their samples lie in a source row: worked out once for all
/// rows, in tables that are part of the object.
template <int Most>
class ColumnRun {
  public:
    static constexpr int kMost = Most, kChunk = 256;

    /// Columns from `from` on, up to `end`, whose samples lie in the source with `right` more
    /// samples to the right.
    ColumnRun(const Resize& resize, int from, int end, int right)
        : first(from), origin(resize.sourceColumn(from)) {
        while (count < Most && from + count < end) {
            const int column = resize.sourceColumn(from + count);
            if (column + right >= resize.sourceSize.width) break;
            columns_[count++] = column - origin;
        }
        divide(resize.sourceSize.width - origin, right);
    }

    /// The map from column `at` on, a multiple of 32.
    ColumnMap map(int at = 0) const {
        return {columns_ + at, starts_ + at / kBlock, offsets_ + at, windows_};
    }
    int column(int i) const { return columns_[i]; }
    bool inBlocks() const { return windows_ > 0; }
    /// Columns from `at` on that are dealt with at a time.
    int chunk(int at) const { return std::min(kChunk, count - at); }

    /// Asks for what pairs of a chunk of columns will be picked from, in a row that begins at the
    /// origin. Rows that are skipped are not foreseen by the processor; asking for one while
    /// another is worked on halves the time of a large page.
    void fetchAhead(const unsigned char* row, int at) const {
        const int end = columns_[at + chunk(at) - 1] + 1;
        for (int i = columns_[at]; i <= end; i += 64)
            __builtin_prefetch(row + i);
    }

    const int first;   ///< target column of the run's first
    const int origin;  ///< its source column; the map counts from there
    int count = 0;

  private:
    static constexpr int kBlock = 16, kMostWindows = 4;

    void divide(int sourceWidth, int right) {
        int widest = 0;
        for (int i = 0; i < count; i += kBlock)
            widest = std::max(widest, columns_[std::min(i + kBlock, count) - 1] - columns_[i]);
        const int windows = (widest + right) / kBlock + 1;
        if (windows > kMostWindows || kBlock * windows > sourceWidth) return;
        windows_ = windows;
        for (int i = 0; i < count; ++i) {
            // A block's windows must end with the row.
            int32_t& start = starts_[i / kBlock];
            if (i % kBlock == 0) start = std::min(columns_[i], sourceWidth - kBlock * windows);
            offsets_[i] = static_cast<uint8_t>(columns_[i] - start);
        }
    }

    int32_t columns_[Most];
    int32_t starts_[(Most + kBlock - 1) / kBlock];
    uint8_t offsets_[Most];
    int windows_ = 0;
};

}  // namespace kel::detail
