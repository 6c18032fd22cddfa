// Connected regions of a plane, found by its runs: the unbroken stretches of foreground in a row.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
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

/// Runs from left to right, and regions in the order of their first pixels. A row that is like the
/// one before shares its runs: together they are a band.
struct RunLabels {
    std::vector<uint32_t> bandOf;     ///< by row
    std::vector<uint32_t> bandStart;  ///< the first run of each band; then the number of all
    std::unique_ptr<Run[]> runs;
    std::unique_ptr<uint32_t[]> regionOf;  ///< by run
    std::vector<Region> regions;

    /// Calls visit(row, run, region) for every run of row `y`.
    template <class Visit>
    void forEachRunOfRow(int y, Visit visit) const {
        const uint32_t band = bandOf[static_cast<size_t>(y)];
        for (uint32_t i = bandStart[band]; i < bandStart[band + 1]; ++i)
            visit(runs[i], regionOf[i]);
    }

    /// Calls visit(row, run, region) for every run, row by row.
    template <class Visit>
    void forEachRun(Visit visit) const {
        for (int y = 0; y < static_cast<int>(bandOf.size()); ++y)
            forEachRunOfRow(y, [&](Run run, uint32_t region) { visit(y, run, region); });
    }

    /// Writes a number over each pixel, and 0 over the background; rows `step` numbers apart.
    template <class Number, class NumberOf>
    void writeNumbers(Number* out, ptrdiff_t step, int width, NumberOf numberOf) const {
        for (size_t y = 0; y < bandOf.size(); ++y, out += step) {
            if (y > 0 && bandOf[y] == bandOf[y - 1]) {
                std::copy_n(out - step, width, out);
                continue;
            }
            std::fill_n(out, width, Number{0});
            forEachRunOfRow(static_cast<int>(y), [&](Run run, uint32_t region) {
                std::fill(out + run.begin, out + run.end, static_cast<Number>(numberOf(region)));
            });
        }
    }
};

/// What counts as foreground: packs a row into bits, the first pixel lowest, and returns the number
/// of runs. A row kernel such as packNonZero.
using PackForeground = size_t (*)(const uint8_t* samples, uint64_t* words, size_t count);

/// Writes the runs of a row's bits, which are `count` words and 0 from `width` on. Returns the end
/// of what it wrote.
Run* extractRuns(const uint64_t* words, size_t count, int width, Run* run);

/// Finds the regions, none in an empty plane; `connect` is 4 or 8. The time depends on the number
/// of runs, not on shapes. Takes 12 bytes a run, some 24 more for one that touches none above, and
/// in passing an eighth of the plane. A plane has at most one run for two pixels.
RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect);

}  // namespace kel::detail
