// The multithreaded resize kernels.
//
// Where a target column's samples lie is worked out once for a run of columns, not once a row; the
// tables live on the stack. Means and minima are made for every source position of a row and then
// picked, since whole rows are done by vectors: that is quicker up to a scale of about four.
#include "kel_ResizeImage_BFast.h"

#include <algorithm>
#include <cstring>

#include "kernels/row_kernels.h"
#include "parallel.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

constexpr int kMostThreads = 4;
/// Below this many target samples a call is done before a team has woken up.
constexpr int64_t kWorthATeam = 1 << 16;

/// What every thread of a call reads.
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

    int sourceRow(int y) const { return static_cast<int>(y * yScale); }
    int sourceColumn(int x) const { return static_cast<int>(x * xScale); }
    /// With neighbours: columns and rows below these.
    int innerWidth() const { return sourceSize.width - 1; }
    int innerHeight() const { return sourceSize.height - 1; }

    unsigned char* source;
    unsigned char* target;
    kelSize sourceSize, targetSize;
    int planes;
    double xScale, yScale;
};

/// A run of target columns, and where their samples lie in a source row.
template <int Most>
class ColumnRun {
  public:
    static constexpr int kMost = Most;

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

    ColumnMap map() const { return {columns_, starts_, offsets_, windows_}; }
    int column(int i) const { return columns_[i]; }
    bool inBlocks() const { return windows_ > 0; }
    /// Source samples from the origin to the last column's.
    int span() const { return count > 0 ? columns_[count - 1] + 1 : 0; }

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

using PixelColumns = ColumnRun<2048>;

/// Runs `body(RowRange)` for the target rows of `resize`, less `left`, on a team.
template <class Body>
void runTargetRows(const Resize& resize, int left, const Body& body) {
    const bool worth = planeStep(resize.targetSize) * resize.planes >= kWorthATeam;
    runRows(worth ? kMostThreads : 1, resize.targetSize.height - left, body);
}

/// Walks a thread's rows run of columns by run of columns. `makeRow(columns, row, isInner, out)`
/// makes the part of a target row from its source row, both at the run's first pixel; it depends
/// on the source row alone, so that repeated rows are copied.
template <class MakeRow>
void forTargetRows(const Resize& resize, RowRange rows, int columnsLeft, const MakeRow& makeRow) {
    const int end = resize.targetSize.width - columnsLeft;
    for (int x = 0; x < end;) {
        const PixelColumns columns(resize, x, end, 0);
        for (int c = 0; c < resize.planes; ++c) {
            const ConstPlaneView from = constPlaneOf(resize.source, resize.sourceSize, c);
            const PlaneView to = planeOf(resize.target, resize.targetSize, c);
            for (int y = rows.first; y < rows.end; ++y) {
                const int sy = resize.sourceRow(y);
                unsigned char* const out = to.row(y) + x;
                if (y > rows.first && sy == resize.sourceRow(y - 1))
                    std::memcpy(out, to.row(y - 1) + x, static_cast<size_t>(columns.count));
                else
                    makeRow(columns, from.row(sy) + columns.origin, sy < resize.innerHeight(), out);
            }
        }
        x += columns.count;
    }
}

int leftOut(const Resize& resize) {
    return resize.planes == 1 ? 0 : 1;
}

struct MeanOfFour {
    static constexpr auto row = &RowKernels::quadMeans;
    static unsigned char of(int a, int b, int c, int d) {
        return static_cast<unsigned char>((a + b + c + d) >> 2);
    }
};

struct LeastOfFour {
    static constexpr auto row = &RowKernels::quadLeasts;
    static unsigned char of(unsigned char a, unsigned char b, unsigned char c, unsigned char d) {
        return std::min(std::min(a, b), std::min(c, d));
    }
};

template <class Rule>
int resizeByFour(const Resize& resize) {
    const RowKernels& kernels = rowKernels();
    const ptrdiff_t stride = resize.sourceSize.width;
    // One plane takes its fourth sample from the left below: in column 0 that is the pixel before
    // the row below, the last one of this row.
    const ptrdiff_t fourth = resize.planes == 1 ? -1 : 1;
    const auto makeRow = [&](const PixelColumns& columns, const unsigned char* row, bool isInner,
                             unsigned char* out) {
        int inner = isInner ? columns.count : 0;
        while (inner > 0 && columns.origin + columns.column(inner - 1) >= resize.innerWidth())
            --inner;
        const unsigned char* const below = row + stride;
        int x = 0;
        unsigned char ofAll[4 * PixelColumns::kMost + 64];
        const int span = inner > 0 ? columns.column(inner - 1) + 1 : 0;
        if (columns.inBlocks() && span <= 4 * PixelColumns::kMost) {
            (kernels.*Rule::row)(row, below, fourth, ofAll, static_cast<size_t>(span));
            kernels.pickColumns(ofAll, columns.map(), out, static_cast<size_t>(inner));
            x = inner;
        }
        for (; x < inner; ++x) {
            const int i = columns.column(x);
            out[x] = Rule::of(row[i], row[i + 1], below[i], below[i + fourth]);
        }
        if (!isInner)
            kernels.pickColumns(row, columns.map(), out, static_cast<size_t>(columns.count));
        else
            for (; x < columns.count; ++x)
                out[x] = row[columns.column(x)];
    };
    runTargetRows(resize, leftOut(resize),
                  [&](RowRange rows) { forTargetRows(resize, rows, leftOut(resize), makeRow); });
    return 0;
}

using BlendColumns = ColumnRun<2048>;

/// The bilinear part of a thread's rows under one run of columns.
class Blender {
  public:
    Blender(const Resize& resize, int from)
        : resize_(resize), columns_(resize, from, resize.targetSize.width, 1) {
        for (int i = 0; i < columns_.count; ++i) {
            const int x = columns_.first + i;
            const double fx = x * resize.xScale - resize.sourceColumn(x);
            right_[i] = fx;
            left_[i] = 1 - fx;
            isPicking_ = isPicking_ && fx == 0;
        }
    }

    int count() const { return columns_.count; }

    void makePlane(ConstPlaneView from, PlaneView to, RowRange rows) {
        rows_[0].sourceRow = rows_[1].sourceRow = -1;
        for (int y = rows.first; y < rows.end; ++y) {
            const int sy = resize_.sourceRow(y);
            const double fy = y * resize_.yScale - sy;
            unsigned char* const out = to.row(y) + columns_.first;
            if (y + 1 < rows.end) fetchAhead(from, sy, resize_.sourceRow(y + 1));
            // Without neighbours, or with neighbours of no weight.
            if (sy >= resize_.innerHeight() || (isPicking_ && fy == 0))
                kernels_.pickColumns(rowOf(from, sy), columns_.map(), out, size());
            else if (resize_.yScale < kSharedRows)
                blendShared(from, sy, fy, out);
            else
                blend(from, sy, fy, out);
        }
    }

  private:
    /// Below this scale it pays to keep weighted rows for the target row that comes next.
    static constexpr double kSharedRows = 1.0;

    /// The weighted samples of one source row: left[x] holds the sample times 1 - fx, right[x] its
    /// right neighbour times fx. These are the first products of the full expression.
    struct WeightedRow {
        int sourceRow = -1;
        double left[BlendColumns::kMost];
        double right[BlendColumns::kMost];
    };

    size_t size() const { return static_cast<size_t>(columns_.count); }

    const unsigned char* rowOf(ConstPlaneView from, int sy) const {
        return from.row(sy) + columns_.origin;
    }

    /// Source rows start pages apart, which the processor does not foresee: asking for those of the
    /// next target row saves a tenth of the time.
    void fetchAhead(ConstPlaneView from, int sy, int next) const {
        if (next == sy || next >= resize_.innerHeight()) return;
        for (int i = 0; i < columns_.span(); i += 64) {
            if (next > sy + 1) __builtin_prefetch(rowOf(from, next) + i);
            __builtin_prefetch(rowOf(from, next + 1) + i);
        }
    }

    void blend(ConstPlaneView from, int sy, double fy, unsigned char* out) {
        unsigned char samples[4][BlendColumns::kMost];
        const unsigned char* const all[4] = {samples[0], samples[1], samples[2], samples[3]};
        kernels_.pickPairs(rowOf(from, sy), columns_.map(), samples[0], samples[1], size());
        kernels_.pickPairs(rowOf(from, sy + 1), columns_.map(), samples[2], samples[3], size());
        kernels_.blendSamples(all, left_, right_, 1 - fy, fy, out, size());
    }

    void blendShared(ConstPlaneView from, int sy, double fy, unsigned char* out) {
        weigh(from, sy);
        weigh(from, sy + 1);
        const WeightedRow &above = rows_[sy % 2], &below = rows_[(sy + 1) % 2];
        kernels_.blendWeighted(above.left, above.right, below.left, below.right, 1 - fy, fy, out,
                               size());
    }

    void weigh(ConstPlaneView from, int sy) {
        WeightedRow& row = rows_[sy % 2];
        if (row.sourceRow == sy) return;
        row.sourceRow = sy;
        unsigned char left[BlendColumns::kMost], right[BlendColumns::kMost];
        kernels_.pickPairs(rowOf(from, sy), columns_.map(), left, right, size());
        kernels_.weighSamples(left, left_, row.left, size());
        kernels_.weighSamples(right, right_, row.right, size());
    }

    const RowKernels& kernels_ = rowKernels();
    const Resize& resize_;
    const BlendColumns columns_;
    double left_[BlendColumns::kMost], right_[BlendColumns::kMost];
    bool isPicking_ = true;  ///< no column gives its right neighbour any weight
    WeightedRow rows_[2];    ///< of even and of odd source rows
};

void blendTargetRows(const Resize& resize, RowRange rows) {
    int x = 0;
    while (x < resize.targetSize.width && resize.sourceColumn(x) < resize.innerWidth()) {
        Blender blender(resize, x);
        for (int c = 0; c < resize.planes; ++c)
            blender.makePlane(constPlaneOf(resize.source, resize.sourceSize, c),
                              planeOf(resize.target, resize.targetSize, c), rows);
        x += blender.count();
    }
    // The last source column has no neighbour on the right.
    for (int c = 0; c < resize.planes; ++c)
        for (int y = rows.first; y < rows.end; ++y) {
            const unsigned char* const row =
                constPlaneOf(resize.source, resize.sourceSize, c).row(resize.sourceRow(y));
            unsigned char* const out = planeOf(resize.target, resize.targetSize, c).row(y);
            for (int i = x; i < resize.targetSize.width; ++i)
                out[i] = row[resize.sourceColumn(i)];
        }
}

bool isImage(const unsigned char* samples, int width, int height) {
    return samples && width >= 1 && height >= 1;
}

}  // namespace

int KelResizeImageLinear_Fast(unsigned char* src, int srcW, int srcH, int channels,
                              unsigned char* dst, int dstW, int dstH, int kind) {
    if (!isImage(src, srcW, srcH) || (channels != 1 && channels != 3)) return 1;
    if (!isImage(dst, dstW, dstH)) return 1;
    if (kind == 0)
        KelResizeImageAver_Fast(src, srcW, srcH, channels, dst, dstW, dstH);
    else if (kind == 1)
        KelResizeImageMin_Fast(src, srcW, srcH, channels, dst, dstW, dstH);
    else
        KelResizeImageNear_Fast(src, srcW, srcH, channels, dst, dstW, dstH);
    return 0;
}

int KelResizeImageNNLinear_Fast(unsigned char* src, int srcW, int srcH, int channels,
                                unsigned char* dst, int dstW, int dstH) {
    if (!isImage(src, srcW, srcH) || !isImage(dst, dstW, dstH)) return 0;
    const Resize resize(src, srcW, srcH, channels, dst, dstW, dstH);
    runTargetRows(resize, 0, [&](RowRange rows) { blendTargetRows(resize, rows); });
    return 0;
}

int KelResizeImageAver_Fast(unsigned char* src, int srcW, int srcH, int channels,
                            unsigned char* dst, int dstW, int dstH) {
    return resizeByFour<MeanOfFour>(Resize(src, srcW, srcH, channels, dst, dstW, dstH));
}

int KelResizeImageMin_Fast(unsigned char* src, int srcW, int srcH, int channels, unsigned char* dst,
                           int dstW, int dstH) {
    return resizeByFour<LeastOfFour>(Resize(src, srcW, srcH, channels, dst, dstW, dstH));
}

int KelResizeImageNear_Fast(unsigned char* src, int srcW, int srcH, int channels,
                            unsigned char* dst, int dstW, int dstH) {
    const RowKernels& kernels = rowKernels();
    const Resize resize(src, srcW, srcH, channels, dst, dstW, dstH);
    runTargetRows(resize, leftOut(resize), [&](RowRange rows) {
        forTargetRows(
            resize, rows, leftOut(resize),
            [&](const PixelColumns& columns, const unsigned char* row, bool, unsigned char* out) {
                kernels.pickColumns(row, columns.map(), out, static_cast<size_t>(columns.count));
            });
    });
    return 0;
}
