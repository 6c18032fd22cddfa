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

    /// Columns from `from` on, up to `end`; those whose samples lie in `sourceWidth` columns.
    ColumnRun(const Resize& resize, int from, int end, int sourceWidth)
        : first(from), origin(resize.sourceColumn(from)) {
        while (count < Most && from + count < end) {
            const int column = resize.sourceColumn(from + count);
            if (column >= sourceWidth) break;
            columns_[count++] = column - origin;
        }
        divide(sourceWidth - origin);
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

    void divide(int sourceWidth) {
        int widest = 0;
        for (int i = 0; i < count; i += kBlock)
            widest = std::max(widest, columns_[std::min(i + kBlock, count) - 1] - columns_[i]);
        const int windows = widest / kBlock + 1;
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
        const PixelColumns columns(resize, x, end, resize.sourceSize.width);
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

using BlendColumns = ColumnRun<512>;

/// The weighted samples of one source row under a run of columns: left[x] holds the sample times
/// 1 - fx, right[x] its right neighbour times fx.
struct WeightedRow {
    int sourceRow = -1;
    double left[BlendColumns::kMost];
    double right[BlendColumns::kMost];
};

/// The bilinear part of a thread's rows under one run of columns. A source row is weighted once,
/// however many target rows look at it; the products are those of the full expression, which takes
/// the column's weight first.
class Blender {
  public:
    Blender(const Resize& resize, int from)
        : resize_(resize), columns_(resize, from, resize.targetSize.width, resize.innerWidth()) {
        for (int i = 0; i < columns_.count; ++i) {
            const int x = columns_.first + i;
            const double fx = x * resize.xScale - resize.sourceColumn(x);
            right_[i] = fx;
            left_[i] = 1 - fx;
        }
    }

    int count() const { return columns_.count; }

    void makePlane(ConstPlaneView from, PlaneView to, RowRange rows) {
        WeightedRow* above = &rows_[0];
        WeightedRow* below = &rows_[1];
        above->sourceRow = below->sourceRow = -1;
        for (int y = rows.first; y < rows.end; ++y) {
            const int sy = resize_.sourceRow(y);
            unsigned char* const out = to.row(y) + columns_.first;
            if (sy >= resize_.innerHeight()) {
                kernels_.pickColumns(from.row(sy) + columns_.origin, columns_.map(), out, size());
                continue;
            }
            if (below->sourceRow == sy) std::swap(above, below);
            weigh(from, sy, above);
            weigh(from, sy + 1, below);
            const double fy = y * resize_.yScale - sy;
            kernels_.blendRows(above->left, above->right, below->left, below->right, 1 - fy, fy,
                               out, size());
        }
    }

  private:
    size_t size() const { return static_cast<size_t>(columns_.count); }

    void weigh(ConstPlaneView from, int sy, WeightedRow* row) {
        if (row->sourceRow == sy) return;
        row->sourceRow = sy;
        unsigned char picked[BlendColumns::kMost];
        const unsigned char* const samples = from.row(sy) + columns_.origin;
        kernels_.pickColumns(samples, columns_.map(), picked, size());
        kernels_.weighSamples(picked, left_, row->left, size());
        kernels_.pickColumns(samples + 1, columns_.map(), picked, size());
        kernels_.weighSamples(picked, right_, row->right, size());
    }

    const RowKernels& kernels_ = rowKernels();
    const Resize& resize_;
    const BlendColumns columns_;
    double left_[BlendColumns::kMost], right_[BlendColumns::kMost];
    WeightedRow rows_[2];
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
