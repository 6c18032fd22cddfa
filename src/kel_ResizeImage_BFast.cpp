// The multithreaded resize kernels.
//
// Nothing is allocated: the tables of a run of columns live on the stack. Means and minima are made
// for every source position of a row and then picked, since whole rows are done by vectors: that is
// quicker up to a scale of about four.
#include "kel_ResizeImage_BFast.h"

#include <algorithm>
#include <cstring>

#include "kernels/row_kernels.h"
#include "parallel.h"
#include "plane_view.h"
#include "resize_map.h"

using namespace kel::detail;

namespace {

constexpr int kMostThreads = 4;
/// Below this many target samples a call is done before a team has woken up.
constexpr int64_t kWorthATeam = 1 << 16;

using PixelColumns = ColumnRun<2048>;

int threadsFor(const Resize& resize) {
    return planeStep(resize.targetSize) * resize.planes < kWorthATeam ? 1 : kMostThreads;
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

/// The mean of the samples at i, i + 1, i + stride and beside the latter.
struct MeanOfFour {
    static constexpr auto row = &RowKernels::quadMeans;
    /// Every second one, where the fourth sample is beside the third.
    static void halve(const RowKernels& kernels, const unsigned char* above,
                      const unsigned char* below, unsigned char* out, size_t count) {
        kernels.halve(above, below, out, count, 0);
    }
    static unsigned char of(int a, int b, int c, int d) {
        return static_cast<unsigned char>((a + b + c + d) >> 2);
    }
};

struct LeastOfFour {
    static constexpr auto row = &RowKernels::quadLeasts;
    static void halve(const RowKernels& kernels, const unsigned char* above,
                      const unsigned char* below, unsigned char* out, size_t count) {
        kernels.halveLeasts(above, below, out, count);
    }
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
        const auto count = static_cast<size_t>(inner);
        const int span = inner > 0 ? columns.column(inner - 1) + 1 : 0;
        unsigned char ofAll[4 * PixelColumns::kMost + 64];  // the windows of the last may reach on
        int x = inner;
        if (resize.xScale == 2) {
            Rule::halve(kernels, row, fourth < 0 ? below - 1 : below, out, count);
        } else if (columns.inBlocks() && span <= 4 * PixelColumns::kMost) {
            (kernels.*Rule::row)(row, below, fourth, ofAll, static_cast<size_t>(span));
            kernels.pickColumns(ofAll, columns.map(), out, count);
        } else {
            x = 0;
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
    runRows(threadsFor(resize), resize.targetSize.height - leftOut(resize),
            [&](RowRange rows) { forTargetRows(resize, rows, leftOut(resize), makeRow); });
    return 0;
}

/// A split of a row costs a sixth: pages of 300 dpi come in one run.
using BlendColumns = ColumnRun<3072>;

/// The bilinear part of a thread's rows under one run of columns.
class Blender {
  public:
    Blender(const Resize& resize, int from)
        : resize_(resize), columns_(resize, from, resize.targetSize.width, 1) {
        for (int i = 0; i < columns_.count; ++i) {
            const int x = columns_.first + i;
            fx_[i] = x * resize.xScale - resize.sourceColumn(x);
            isPicking_ = isPicking_ && fx_[i] == 0;
        }
    }

    int count() const { return columns_.count; }

    void makePlane(ConstPlaneView from, PlaneView to, RowRange rows) {
        rows_[0].sourceRow = rows_[1].sourceRow = -1;
        for (int y = rows.first; y < rows.end; ++y) {
            const int sy = resize_.sourceRow(y);
            const double fy = y * resize_.yScale - sy;
            unsigned char* const out = to.row(y) + columns_.first;
            // Without neighbours, or with neighbours of no weight.
            if (sy >= resize_.innerHeight() || (isPicking_ && fy == 0))
                kernels_.pickColumns(rowOf(from, sy), columns_.map(), out, size());
            else if (resize_.yScale < kSharedRows)
                blendShared(from, sy, fy, out);
            else
                blend(from, sy, y + 1 < rows.end ? resize_.sourceRow(y + 1) : sy, fy, out);
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

    /// `next` is the source row of the next target row.
    void blend(ConstPlaneView from, int sy, int next, double fy, unsigned char* out) {
        unsigned char samples[4][BlendColumns::kChunk];
        const unsigned char *const row = rowOf(from, sy), *const below = rowOf(from, sy + 1);
        const bool fetches = next < resize_.innerHeight();
        for (int x = 0; x < columns_.count; x += columns_.chunk(x)) {
            const auto count = static_cast<size_t>(columns_.chunk(x));
            if (fetches && next > sy + 1) columns_.fetchAhead(rowOf(from, next), x);
            if (fetches && next > sy) columns_.fetchAhead(rowOf(from, next + 1), x);
            kernels_.pickPairs(row, columns_.map(x), samples[0], samples[1], count);
            kernels_.pickPairs(below, columns_.map(x), samples[2], samples[3], count);
            const unsigned char* const all[4] = {samples[0], samples[1], samples[2], samples[3]};
            kernels_.blendSamples(all, fx_ + x, fy, out + x, count);
        }
    }

    void blendShared(ConstPlaneView from, int sy, double fy, unsigned char* out) {
        weigh(from, sy);
        weigh(from, sy + 1);
        const WeightedRow &above = rows_[sy % 2], &below = rows_[(sy + 1) % 2];
        const double* const all[4] = {above.left, above.right, below.left, below.right};
        kernels_.blendWeighted(all, fy, out, size());
    }

    void weigh(ConstPlaneView from, int sy) {
        WeightedRow& row = rows_[sy % 2];
        if (row.sourceRow == sy) return;
        row.sourceRow = sy;
        unsigned char left[BlendColumns::kMost], right[BlendColumns::kMost];
        kernels_.pickPairs(rowOf(from, sy), columns_.map(), left, right, size());
        kernels_.weighPairs(left, right, fx_, row.left, row.right, size());
    }

    const RowKernels& kernels_ = rowKernels();
    const Resize& resize_;
    const BlendColumns columns_;
    double fx_[BlendColumns::kMost];
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

/// Gives each target pixel its source pixel, but for the last `left` rows and columns.
void resizeByPicking(const Resize& resize, int left, int mostThreads) {
    const RowKernels& kernels = rowKernels();
    const auto makeRow = [&](const PixelColumns& columns, const unsigned char* row, bool,
                             unsigned char* out) {
        kernels.pickColumns(row, columns.map(), out, static_cast<size_t>(columns.count));
    };
    runRows(mostThreads, resize.targetSize.height - left,
            [&](RowRange rows) { forTargetRows(resize, rows, left, makeRow); });
}

bool isImage(const unsigned char* samples, int width, int height) {
    return samples && width >= 1 && height >= 1;
}

}  // namespace

void kel::detail::resizeByTables(unsigned char* src, kelSize srcSize, int channels,
                                 unsigned char* dst, kelSize dstSize, const int* columns,
                                 const int* rows) {
    Resize resize(src, srcSize.width, srcSize.height, channels, dst, dstSize.width, dstSize.height);
    resize.columns = columns;
    resize.rows = rows;
    resizeByPicking(resize, 0, 1);
}

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
    runRows(threadsFor(resize), dstH, [&](RowRange rows) { blendTargetRows(resize, rows); });
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
    const Resize resize(src, srcW, srcH, channels, dst, dstW, dstH);
    resizeByPicking(resize, leftOut(resize), threadsFor(resize));
    return 0;
}
