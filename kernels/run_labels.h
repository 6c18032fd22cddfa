// Connected regions of a plane, found by its runs: the unbroken stretches of foreground in a row.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kel::detail {

/// Rows of bytes, `step` bytes from each to the next; a negative step walks upward.
struct BytePlane {
    const uint8_t* first;
    ptrdiff_t step;
    int width;
    int height;

    const uint8_t* row(int y) const { return first + y * step; }
};

/// The pixels from `begin` to before `end`.
struct Run {
    int32_t begin;
    int32_t end;
};

/// Number of pixels and bounding box; all four sides belong to the box.
struct Region {
    uint32_t pixels;
    int32_t left, top, right, bottom;

    bool touchesBorder(int width, int height) const {
        return left == 0 || top == 0 || right == width - 1 || bottom == height - 1;
    }
};

/// Runs row by row from the first on, left to right; regions in the order of their first pixels.
struct RunLabels {
    std::vector<uint32_t> rowStart;  ///< the first run of each row; then the number of all
    std::vector<Run> runs;
    std::vector<uint32_t> regionOf;  ///< by run
    std::vector<Region> regions;

    /// Calls visit(row, run, region) for every run, in order.
    template <class Visit>
    void forEachRun(Visit visit) const {
        for (size_t y = 0; y + 1 < rowStart.size(); ++y)
            for (uint32_t i = rowStart[y]; i < rowStart[y + 1]; ++i)
                visit(static_cast<int>(y), runs[i], regionOf[i]);
    }

    /// Writes a number over each pixel, and 0 over the background; rows `step` numbers apart.
    template <class Number, class NumberOf>
    void writeNumbers(Number* out, ptrdiff_t step, int width, NumberOf numberOf) const {
        for (size_t y = 0; y + 1 < rowStart.size(); ++y, out += step) {
            std::fill_n(out, width, Number{0});
            for (uint32_t i = rowStart[y]; i < rowStart[y + 1]; ++i)
                std::fill(out + runs[i].begin, out + runs[i].end,
                          static_cast<Number>(numberOf(regionOf[i])));
        }
    }
};

/// What counts as foreground: packs a row into bits, the first pixel lowest, and returns the number
/// of runs. A row kernel such as packNonZero.
using PackForeground = size_t (*)(const uint8_t* samples, uint64_t* words, size_t count);

/// Finds the regions, none in an empty plane; `connect` is 4 or 8. The time depends on the number
/// of runs, not on shapes. Takes 12 bytes a run, 20 a region, and in passing an eighth of the
/// plane. A plane has at most one run for two pixels.
RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect);

}  // namespace kel::detail
