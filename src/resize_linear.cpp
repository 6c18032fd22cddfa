// OpenCV's bilinear interpolation of 8-bit samples, made on planes: its fixed-point arithmetic,
// without the pixels that it wants colours in. Rows are shared among threads where OpenCV itself
// would do so.
#include "resize_linear.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kernels/row_kernels.h"
#include "parallel.h"
#include "plane_view.h"
#include "resize_map.h"

namespace kel::detail {
namespace {

/// Where each position of a target line looks in its source line: at a sample and at the next one,
/// with two weights that make 2048.
struct LineMap {
    LineMap(int from, int to) : samples(static_cast<size_t>(to)), weights(2 * samples.size()) {
        const double scale = 1.0 / (static_cast<double>(to) / from);
        for (size_t i = 0; i < samples.size(); ++i) {
            const auto position = static_cast<float>((static_cast<double>(i) + 0.5) * scale - 0.5);
            const float sample = std::floor(position);
            samples[i] = static_cast<int>(sample);
            weigh(i, position - sample);
        }
    }

    /// Columns stay in the row: those before and behind it take its first and last sample.
    void keepWithin(int width) {
        for (size_t i = 0; i < samples.size(); ++i)
            if (samples[i] < 0 || samples[i] > width - 2) {
                weigh(i, samples[i] < 0 ? 0.0F : 1.0F);
                samples[i] = samples[i] < 0 ? 0 : width - 2;
            }
    }

    std::vector<int> samples;
    std::vector<int16_t> weights;

  private:
    void weigh(size_t i, float fraction) {
        weights[2 * i] = static_cast<int16_t>(std::lrint((1.0F - fraction) * 2048));
        weights[2 * i + 1] = static_cast<int16_t>(std::lrint(fraction * 2048));
    }
};

using Columns = ColumnRun<3072>;

/// A thread's rows under one run of columns.
class LinearBlender {
  public:
    LinearBlender(const Resize& resize, const LineMap& columns, const LineMap& rows, int from)
        : resize_(resize),
          columns_(resize, from, resize.targetSize.width, 1),
          weights_(columns.weights.data() + 2 * from),
          rows_(rows) {}

    int count() const { return columns_.count; }

    void makePlane(ConstPlaneView from, PlaneView to, RowRange range) {
        weighed_[0].sourceRow = weighed_[1].sourceRow = -1;
        const auto within = [this](int row) { return std::clamp(row, 0, resize_.innerHeight()); };
        for (int y = range.first; y < range.end; ++y) {
            const auto i = static_cast<size_t>(y);
            const int sy = rows_.samples[i], next = y + 1 < range.end ? rows_.samples[i + 1] : sy;
            const int above = within(sy), below = within(sy + 1);
            weigh(from, above, next > below ? within(next) : above);
            weigh(from, below, next > sy ? within(next + 1) : below);
            kernels_.blendFixed(weighed_[above % 2].samples, weighed_[below % 2].samples,
                                &rows_.weights[2 * i], to.row(y) + columns_.first,
                                static_cast<size_t>(columns_.count));
        }
    }

  private:
    struct WeighedRow {
        int sourceRow = -1;
        int16_t samples[Columns::kMost];
    };

    /// `next` is a row to ask for meanwhile, unless it is `sy` itself.
    void weigh(ConstPlaneView from, int sy, int next) {
        WeighedRow& row = weighed_[sy % 2];
        if (row.sourceRow == sy) return;
        row.sourceRow = sy;
        unsigned char left[Columns::kChunk], right[Columns::kChunk];
        for (int x = 0; x < columns_.count; x += columns_.chunk(x)) {
            const auto count = static_cast<size_t>(columns_.chunk(x));
            if (next != sy) columns_.fetchAhead(from.row(next) + columns_.origin, x);
            kernels_.pickPairs(from.row(sy) + columns_.origin, columns_.map(x), left, right, count);
            kernels_.weighPairsFixed(left, right, weights_ + 2 * x, row.samples + x, count);
        }
    }

    const RowKernels& kernels_ = rowKernels();
    const Resize& resize_;
    const Columns columns_;
    const int16_t* const weights_;
    const LineMap& rows_;
    WeighedRow weighed_[2];  ///< of even and of odd source rows
};

/// Calls `body(RowRange)` for the rows of an image, on no more threads than OpenCV may use, each
/// with at least as many pixels as it gives to one.
template <class Body>
void shareRows(kelSize size, const Body& body) {
    const ptrdiff_t parts = std::clamp<ptrdiff_t>(planeStep(size) >> 16, 1, 4);
    runRows(std::min(std::max(cv::getNumThreads(), 1), static_cast<int>(parts)), size.height, body);
}

}  // namespace

bool isTwice(kelSize size, kelSize half) {
    return size.width == 2 * int64_t{half.width} && size.height == 2 * int64_t{half.height};
}

void halvePlanes(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                 int channels) {
    const RowKernels& kernels = rowKernels();
    shareRows(dstSize, [&](RowRange range) {
        for (int c = 0; c < channels; ++c) {
            const ConstPlaneView from = constPlaneOf(src, srcSize, c);
            const PlaneView to = planeOf(dst, dstSize, c);
            for (int y = range.first; y < range.end; ++y)
                kernels.halve(from.row(2 * y), from.row(2 * y + 1), to.row(y),
                              static_cast<size_t>(to.width), 2);
        }
    });
}

void resizePlanesLinear(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                        int channels) {
    LineMap columns(srcSize.width, dstSize.width);
    columns.keepWithin(srcSize.width);
    const LineMap rows(srcSize.height, dstSize.height);
    Resize resize(src, srcSize.width, srcSize.height, channels, dst, dstSize.width, dstSize.height);
    resize.columns = columns.samples.data();
    shareRows(dstSize, [&](RowRange range) {
        for (int x = 0; x < dstSize.width;) {
            LinearBlender blender(resize, columns, rows, x);
            for (int c = 0; c < channels; ++c)
                blender.makePlane(constPlaneOf(src, srcSize, c), planeOf(dst, dstSize, c), range);
            x += blender.count();
        }
    });
}

}  // namespace kel::detail
