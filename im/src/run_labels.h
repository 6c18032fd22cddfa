// Connected regions of a plane, found by its runs: the unbroken stretches of foreground in a row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace im {

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

struct Region {
    uint32_t pixels = 0;
    bool touchesBorder = false;
};

/// Runs row by row from the first on, left to right; regions in the order of their first pixels.
struct RunLabels {
    std::vector<uint32_t> rowStart;  ///< the first run of each row; then the number of all
    std::vector<Run> runs;
    std::vector<uint32_t> regionOf;  ///< by run
    std::vector<Region> regions;
};

/// What counts as foreground: packs a row into bits, the first pixel lowest, and returns the number
/// of runs. A row kernel such as packNonZero.
using PackForeground = size_t (*)(const uint8_t* samples, uint64_t* words, size_t count);

/// Finds the regions; `connect` is 4 or 8. The time depends on the number of runs, not on shapes.
/// Takes 12 bytes a run, 8 a region, and in passing an eighth of the plane. A plane has at most one
/// run for two pixels.
RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect);

}  // namespace im
