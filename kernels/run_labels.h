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

/// Rows that are alike, one below the other. At both ends their words may be those of the band
/// before, and so are the runs that lie within, by the places and the regions of their pixels.
struct Band {
    uint32_t firstRun;
    uint32_t headWords, headRuns;  ///< as in the band before, at the left end
    uint32_t tailWords, tailRuns;  ///< at the right end
};

/// Runs from left to right, and regions in the order of their first pixels.
struct RunLabels {
    std::vector<uint32_t> bandOf;  ///< by row
    std::vector<Band> bands;       ///< then one behind the last run
    std::unique_ptr<Run[]> runs;
    std::unique_ptr<uint32_t[]> nameOf;  ///< by run
    std::vector<uint32_t> regionOf;      ///< by name
    uint32_t regionCount = 0;

    /// Measures the regions: a pass over the runs.
    std::vector<Region> regions() const;

    /// Calls visit(row, run, region) for every run of row `y`.
    template <class Visit>
    void forEachRunOfRow(int y, Visit visit) const {
        const Band* const band = &bands[bandOf[static_cast<size_t>(y)]];
        for (uint32_t i = band->firstRun; i < band[1].firstRun; ++i)
            visit(runs[i], regionOf[nameOf[i]]);
    }

    /// Calls visit(row, run, region) for every run, row by row.
    template <class Visit>
    void forEachRun(Visit visit) const {
        for (int y = 0; y < static_cast<int>(bandOf.size()); ++y)
            forEachRunOfRow(y, [&](Run run, uint32_t region) { visit(y, run, region); });
    }

    /// Writes a number over each pixel, and 0 over the background; rows `step` numbers apart. What
    /// is as in the row above is copied from there.
    template <class Number, class NumberOf>
    void writeNumbers(Number* out, ptrdiff_t step, int width, NumberOf numberOf) const {
        const size_t words = (static_cast<size_t>(width) + 63) / 64;
        for (size_t y = 0; y < bandOf.size(); ++y, out += step) {
            if (y > 0 && bandOf[y] == bandOf[y - 1]) {
                std::copy_n(out - step, width, out);
                continue;
            }
            const Band* const band = &bands[bandOf[y]];
            const auto left = static_cast<ptrdiff_t>(64 * size_t{band->headWords});
            const auto right =
                std::min(static_cast<ptrdiff_t>(64 * (words - band->tailWords)), ptrdiff_t{width});
            if (left > 0) std::copy_n(out - step, left, out);
            std::fill(out + left, out + right, Number{0});
            for (uint32_t i = band->firstRun + band->headRuns;
                 i < band[1].firstRun - band->tailRuns; ++i)
                fillRun(out, runs[i], static_cast<Number>(numberOf(regionOf[nameOf[i]])));
            if (right < width) std::copy(out - step + right, out - step + width, out + right);
        }
    }

  private:
    /// In fine patterns most runs are one pixel.
    template <class Number>
    static void fillRun(Number* row, Run run, Number number) {
        row[run.begin] = number;
        if (run.end - run.begin > 1) std::fill(row + run.begin + 1, row + run.end, number);
    }
};

/// What counts as foreground: packs a row into bits, the first pixel lowest, and returns the number
/// of runs. A row kernel such as packNonZero.
using PackForeground = size_t (*)(const uint8_t* samples, uint64_t* words, size_t count);

/// Writes the runs of a row's bits, which are `count` words and 0 from `width` on. Returns the end
/// of what it wrote.
Run* extractRuns(const uint64_t* words, size_t count, int width, Run* run);

/// Finds the regions, none in an empty plane; `connect` is 4 or 8. The time depends on the number
/// of runs, not on shapes. Takes 12 bytes a run, 4 more for one that touches none above, and in
/// passing an eighth of the plane. A plane has at most one run for two pixels.
RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect);

}  // namespace kel::detail
