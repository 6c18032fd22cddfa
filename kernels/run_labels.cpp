#include "run_labels.h"

namespace kel::detail {
namespace {

/// The foreground bits of all rows, each from a word of its own on.
struct RowBits {
    size_t wordsPerRow;
    std::vector<uint64_t> words;
};

size_t packRows(const BytePlane& plane, PackForeground pack, RowBits& bits,
                std::vector<uint32_t>& rowStart) {
    const auto width = static_cast<size_t>(plane.width), height = static_cast<size_t>(plane.height);
    bits.wordsPerRow = (width + 63) / 64;
    bits.words.resize(bits.wordsPerRow * height);
    rowStart.resize(height + 1);
    size_t runs = 0;
    for (int y = 0; y < plane.height; ++y) {
        const auto at = static_cast<size_t>(y);
        rowStart[at] = static_cast<uint32_t>(runs);
        runs += pack(plane.row(y), &bits.words[at * bits.wordsPerRow], width);
    }
    rowStart[height] = static_cast<uint32_t>(runs);
    return runs;
}

/// Where bits change: the starts of runs and the positions behind them, each in order.
void extractRuns(const uint64_t* words, size_t count, int width, Run* runs) {
    Run* starting = runs;
    Run* ending = runs;
    uint64_t before = 0;
    for (size_t i = 0; i < count; ++i) {
        const uint64_t word = words[i], left = word << 1 | before;
        const auto base = static_cast<int32_t>(64 * i);
        for (uint64_t starts = word & ~left; starts != 0; starts &= starts - 1)
            (starting++)->begin = base + __builtin_ctzll(starts);
        for (uint64_t ends = ~word & left; ends != 0; ends &= ends - 1)
            (ending++)->end = base + __builtin_ctzll(ends);
        before = word >> 63;
    }
    if (ending != starting) ending->end = width;
}

/// Sets of runs. Each run names one of its set that comes no later than itself; the first of a set
/// names itself.
class RunSets {
  public:
    explicit RunSets(size_t runs) : earlier_(runs) {}

    void addAlone(uint32_t run) { earlier_[run] = run; }

    void unite(uint32_t a, uint32_t b) {
        a = firstOf(a);
        b = firstOf(b);
        if (a < b)
            earlier_[b] = a;
        else
            earlier_[a] = b;
    }

    std::vector<uint32_t> take() { return std::move(earlier_); }

  private:
    uint32_t firstOf(uint32_t run) {
        while (earlier_[run] != run)
            run = earlier_[run] = earlier_[earlier_[run]];
        return run;
    }

    std::vector<uint32_t> earlier_;
};

/// Unites the runs of a row, from `run` to `end`, with those that they touch in the row before,
/// which are `above` to `run`. `reach` 1 lets corners touch.
void uniteWithRowAbove(const Run* runs, uint32_t above, uint32_t run, uint32_t end, int reach,
                       RunSets& sets) {
    const uint32_t aboveEnd = run;
    for (; run < end; ++run) {
        sets.addAlone(run);
        while (above < aboveEnd && runs[above].end + reach <= runs[run].begin)
            ++above;
        // The last one touched may reach the next run too.
        for (uint32_t a = above; a < aboveEnd && runs[a].begin < runs[run].end + reach; ++a) {
            sets.unite(run, a);
            above = a;
        }
    }
}

/// Turns the sets into regions: `regionOf` comes as the sets and becomes the numbers.
void numberRegions(int height, RunLabels& labels) {
    std::vector<uint32_t>& regionOf = labels.regionOf;
    size_t regions = 0;
    for (size_t run = 0; run < regionOf.size(); ++run)
        regions += regionOf[run] == run ? 1 : 0;
    labels.regions.reserve(regions);
    for (int y = 0; y < height; ++y) {
        const auto row = static_cast<size_t>(y);
        for (uint32_t i = labels.rowStart[row]; i < labels.rowStart[row + 1]; ++i) {
            const Run run = labels.runs[i];
            const auto pixels = static_cast<uint32_t>(run.end - run.begin);
            if (regionOf[i] == i) {
                regionOf[i] = static_cast<uint32_t>(labels.regions.size());
                labels.regions.push_back({pixels, run.begin, y, run.end - 1, y});
                continue;
            }
            regionOf[i] = regionOf[regionOf[i]];  // an earlier one, numbered already
            Region& region = labels.regions[regionOf[i]];
            region.pixels += pixels;
            region.left = std::min(region.left, run.begin);
            region.right = std::max(region.right, run.end - 1);
            region.bottom = y;
        }
    }
}

}  // namespace

RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect) {
    RunLabels labels;
    if (plane.width < 1 || plane.height < 1) return labels;
    {
        RowBits bits;
        labels.runs.resize(packRows(plane, pack, bits, labels.rowStart));
        for (size_t y = 0; y + 1 < labels.rowStart.size(); ++y)
            extractRuns(&bits.words[y * bits.wordsPerRow], bits.wordsPerRow, plane.width,
                        labels.runs.data() + labels.rowStart[y]);
    }
    RunSets sets(labels.runs.size());
    uint32_t above = 0;
    for (size_t y = 0; y + 1 < labels.rowStart.size(); ++y) {
        const uint32_t start = labels.rowStart[y];
        uniteWithRowAbove(labels.runs.data(), above, start, labels.rowStart[y + 1],
                          connect == 8 ? 1 : 0, sets);
        above = start;
    }
    labels.regionOf = sets.take();
    numberRegions(plane.height, labels);
    return labels;
}

}  // namespace kel::detail
