// The global threshold estimator: a two-dimensional Otsu search.
//
// Each interior sample counts in a table of 256 by 256 cells; its row is the sample, its column the
// mean of the 3 by 3 window round it (or the sample of a guide plane). The threshold splits the
// square lo..hi of the table into class A, both indices at most t, and class B, both above t; the
// off-diagonal blocks belong to neither. The sums are 32-bit and wrap, as they are defined to.
#include <algorithm>
#include <vector>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kLevels = 256;
constexpr int kNoSplit = 190;

/// Counts of (sample, neighbourhood) pairs.
class JointHistogram {
  public:
    /// Counts a run of cells, each sample * 256 + neighbourhood.
    void add(const uint16_t* cells, size_t count) {
        // Two tables in turn: paper hits one cell again and again, and on many processors an
        // increment has to wait for the one before it.
        uint32_t* even = counts_.data();
        uint32_t* odd = even + kCells;
        size_t i = 0;
        for (; i + 2 <= count; i += 2) {
            ++even[cells[i]];
            ++odd[cells[i + 1]];
        }
        if (i < count) ++even[cells[i]];
    }

    /// Joins the tables; called once, after the last add().
    void finish() {
        for (size_t i = 0; i < kCells; ++i)
            counts_[i] += counts_[kCells + i];
    }

    const uint32_t* row(int sample) const { return counts_.data() + sample * kLevels; }

  private:
    static constexpr size_t kCells = size_t{kLevels} * kLevels;
    std::vector<uint32_t> counts_ = std::vector<uint32_t>(2 * kCells);
};

JointHistogram countInterior(const unsigned char* src, const unsigned char* guide, kelSize size) {
    const RowKernels& kernels = rowKernels();
    JointHistogram histogram;
    const ConstPlaneView plane = constPlaneOf(src, size, 0);
    const auto interior = static_cast<size_t>(size.width) - 2;
    WorkBuffer<uint16_t> cells(interior);
    for (int y = 1; y < size.height - 1; ++y) {
        if (guide) {
            const unsigned char* sample = plane.row(y) + 1;
            const unsigned char* other = constPlaneOf(guide, size, 0).row(y) + 1;
            for (size_t i = 0; i < interior; ++i)
                cells[i] = static_cast<uint16_t>(sample[i] << 8 | other[i]);
        } else {
            kernels.sampleMeanCells(plane.row(y - 1), plane.row(y), plane.row(y + 1), cells.data(),
                                    interior);
        }
        histogram.add(cells.data(), interior);
    }
    histogram.finish();
    return histogram;
}

/// Weight and first moments of a class; unsigned inside, so that wrapping is defined.
struct ClassSums {
    uint32_t weight = 0;
    uint32_t rowSum = 0;
    uint32_t columnSum = 0;

    double weightValue() const { return static_cast<int32_t>(weight); }
    double rowValue() const { return static_cast<int32_t>(rowSum); }
    double columnValue() const { return static_cast<int32_t>(columnSum); }

    void add(const ClassSums& s) {
        weight += s.weight;
        rowSum += s.rowSum;
        columnSum += s.columnSum;
    }
    void subtract(const ClassSums& s) {
        weight -= s.weight;
        rowSum -= s.rowSum;
        columnSum -= s.columnSum;
    }
};

/// Cells (from..to, column).
ClassSums sumColumn(const JointHistogram& histogram, int column, int from, int to) {
    ClassSums s;
    for (int r = from; r <= to; ++r) {
        const uint32_t cell = histogram.row(r)[column];
        s.weight += cell;
        s.rowSum += static_cast<uint32_t>(r) * cell;
    }
    s.columnSum = static_cast<uint32_t>(column) * s.weight;
    return s;
}

/// Cells (row, from..to).
ClassSums sumRow(const JointHistogram& histogram, int row, int from, int to) {
    ClassSums s;
    for (int c = from; c <= to; ++c) {
        const uint32_t cell = histogram.row(row)[c];
        s.weight += cell;
        s.columnSum += static_cast<uint32_t>(c) * cell;
    }
    s.rowSum = static_cast<uint32_t>(row) * s.weight;
    return s;
}

struct LevelRange {
    int lo;
    int hi;
};

/// First and last row with a count. The columns get the same range; their own is not looked at.
LevelRange usedRows(const JointHistogram& histogram) {
    const auto used = [&](int r) {
        const uint32_t* row = histogram.row(r);
        return std::any_of(row, row + kLevels, [](uint32_t cell) { return cell > 0; });
    };
    LevelRange range{0, kLevels - 1};
    while (range.lo < kLevels && !used(range.lo))
        ++range.lo;
    while (range.hi >= range.lo && !used(range.hi))
        --range.hi;
    return range;
}

/// Separation of the classes. The row term of class A pairs the truncated mean of the whole square
/// with the exact one; that is the definition, and it changes which level wins.
double separation(const ClassSums& a, const ClassSums& b, const ClassSums& all, int pixels) {
    const double count = pixels;
    const double wA = a.weightValue();
    const double wB = b.weightValue();
    const double mAi = a.rowValue() / wA;
    const double mAj = a.columnValue() / wA;
    const double mBi = b.rowValue() / wB;
    const double mBj = b.columnValue() / wB;
    const double mTi = all.rowValue() / count;
    const double mTj = all.columnValue() / count;
    const int32_t truncatedMean = static_cast<int32_t>(all.rowSum) / pixels;
    const double mTiInt = truncatedMean;
    return (wA * ((mAi - mTiInt) * (mAi - mTi) + (mAj - mTj) * (mAj - mTj)) +
            wB * ((mBi - mTi) * (mBi - mTi) + (mBj - mTj) * (mBj - mTj))) /
           count;
}

}  // namespace

int KelAutoThresholdValue3(unsigned char* src, unsigned char* guide, kelSize size) {
    if (size.width < 3 || size.height < 3) return kNoSplit;
    const int pixels = wrapMul(size.width - 2, size.height - 2);
    if (pixels < 1) return kNoSplit;

    const JointHistogram histogram = countInterior(src, guide, size);
    const auto [lo, hi] = usedRows(histogram);
    ClassSums all;
    for (int r = lo; r <= hi; ++r)
        all.add(sumRow(histogram, r, lo, hi));

    ClassSums a;
    ClassSums b = all;
    double best = 0.0;
    int bestLevel = kNoSplit;
    for (int t = lo; t <= hi; ++t) {
        a.add(sumColumn(histogram, t, lo, t));
        b.subtract(sumColumn(histogram, t, t, hi));
        a.add(sumRow(histogram, t, lo, t - 1));
        b.subtract(sumRow(histogram, t, t + 1, hi));
        if (!(a.weightValue() / pixels > 0.0 && b.weightValue() / pixels > 0.0)) continue;
        const double value = separation(a, b, all, pixels);
        if (value > best) {
            best = value;
            bestLevel = t;
        }
    }
    return bestLevel;
}
