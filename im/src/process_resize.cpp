// Resizing. Every result sample is a weighted mean of source samples, with whole numbers as
// weights: rows are summed first, columns then, and the sum is divided and rounded once at the end.
// So results are exact, whatever the compiler makes of the loops.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>
#include <type_traits>
#include <vector>

#include "im_process.h"
#include "image.h"
#include "kernels/row_kernels.h"

namespace im {
namespace {

__extension__ using Int128 = __int128;

enum Order { kNearest = 0, kBilinear = 1, kArea = 2 };

/// What the samples of a result row (or column) are made of: each is the weighted mean of `taps`
/// neighbours in the source.
struct Axis {
    Axis(int resultSize, int neighbours, int64_t weightSum)
        : taps(neighbours),
          total(weightSum),
          first(static_cast<size_t>(resultSize)),
          weights(static_cast<size_t>(resultSize) * static_cast<size_t>(neighbours)) {}

    const uint32_t* weightsOf(int i) const {
        return &weights[static_cast<size_t>(i) * static_cast<size_t>(taps)];
    }

    int taps;
    int64_t total;                  ///< sum of the weights of each result sample
    std::vector<int32_t> first;     ///< by result sample: the first neighbour
    std::vector<uint32_t> weights;  ///< `taps` by result sample; 0 for what only fills up
};

/// Each result sample covers src units, each source sample dst units; the common length is
/// src * dst.
Axis areaAxis(int srcSize, int dstSize) {
    const int common = std::gcd(srcSize, dstSize);
    const int64_t src = srcSize / common, dst = dstSize / common;
    int64_t most = 1;
    for (int64_t i = 0; i < dst; ++i)
        most = std::max(most, ((i + 1) * src - 1) / dst - i * src / dst + 1);
    Axis axis(dstSize, static_cast<int>(most), src);
    for (int64_t i = 0; i < dstSize; ++i) {
        const int64_t begin = i * src, end = begin + src;
        const int64_t first = std::min(begin / dst, srcSize - most);
        axis.first[static_cast<size_t>(i)] = static_cast<int32_t>(first);
        for (int64_t k = 0; k < most; ++k) {
            const int64_t from = std::max((first + k) * dst, begin);
            const int64_t to = std::min((first + k + 1) * dst, end);
            axis.weights[static_cast<size_t>(i * most + k)] =
                static_cast<uint32_t>(std::max<int64_t>(to - from, 0));
        }
    }
    return axis;
}

/// Result sample i has its centre at ((2 i + 1) src - dst) / (2 dst) in source samples.
Axis bilinearAxis(int srcSize, int dstSize) {
    const int common = std::gcd(srcSize, dstSize);
    const int64_t src = srcSize / common, dst = dstSize / common;
    const int64_t unit = 2 * dst, taps = std::min(srcSize, 2);
    Axis axis(dstSize, static_cast<int>(taps), unit);
    for (int64_t i = 0; i < dstSize; ++i) {
        const int64_t centre =
            std::clamp<int64_t>((2 * i + 1) * src - dst, 0, (srcSize - int64_t{1}) * unit);
        const int64_t first = std::min(centre / unit, srcSize - taps);
        const int64_t beyond = centre - first * unit;
        axis.first[static_cast<size_t>(i)] = static_cast<int32_t>(first);
        auto* const weights = &axis.weights[static_cast<size_t>(i * taps)];
        weights[0] = static_cast<uint32_t>(unit - beyond);
        if (taps > 1) weights[1] = static_cast<uint32_t>(beyond);
    }
    return axis;
}

Axis axisFor(int srcSize, int dstSize, int order) {
    return order == kArea && dstSize < srcSize ? areaAxis(srcSize, dstSize)
                                               : bilinearAxis(srcSize, dstSize);
}

/// Turns sums into samples: the mean, halves up, which is floor(n / divisor) with n = sum +
/// divisor / 2. That of (n + 1/2) / divisor is the same, and lies at least 1 / (2 divisor) away
/// from any whole number. A product with the reciprocal is off by less than 2^-51 of itself, so it
/// stays on the right side while n is below 2^50. (n is made positive by what the lowest sample
/// would sum up to.)
template <class Sample>
class QuickMean {
  public:
    explicit QuickMean(int64_t divisor)
        : start_(divisor / 2 - kLowest * divisor),
          reciprocal_(1.0 / static_cast<double>(divisor)) {}

    static bool suits(Int128 divisor) {
        constexpr Int128 range = std::numeric_limits<Sample>::max() - kLowest + 1;
        return divisor * range < Int128{1} << 50;
    }

    Sample operator()(int64_t sum) const {
        const double n = static_cast<double>(sum + start_) + 0.5;
        return static_cast<Sample>(static_cast<int64_t>(n * reciprocal_) + kLowest);
    }

  private:
    static constexpr int64_t kLowest = std::numeric_limits<Sample>::min();
    int64_t start_;
    double reciprocal_;
};

/// The same for any sums, by division.
template <class Sample>
class WideMean {
  public:
    explicit WideMean(Int128 divisor) : divisor_(divisor) {}
    Sample operator()(Int128 sum) const {
        const Int128 n = sum + divisor_ / 2;
        const Int128 quotient = n / divisor_;
        return static_cast<Sample>(n % divisor_ < 0 ? quotient - 1 : quotient);
    }

  private:
    Int128 divisor_;
};

template <class Sample>
class RealMean {
  public:
    explicit RealMean(double divisor) : divisor_(divisor) {}
    Sample operator()(double sum) const { return static_cast<Sample>(sum / divisor_); }

  private:
    double divisor_;
};

template <class Sample, class Sum>
void addWeighted(const Sample* row, uint32_t weight, Sum* sums, size_t count) {
    if constexpr (std::is_same_v<Sample, uint8_t> && std::is_same_v<Sum, uint32_t>) {
        kel::detail::rowKernels().addWeighted(row, weight, sums, count);
    } else {
        const auto factor = static_cast<Sum>(weight);
        for (size_t x = 0; x < count; ++x)
            sums[x] += static_cast<Sum>(row[x]) * factor;
    }
}

/// One row of results. `kTaps` is the number of neighbours, or 0 for any.
template <int kTaps, class Sample, class Sum, class RowSum, class Mean>
void meansOfRow(const RowSum* sums, const Axis& columns, Mean mean, Sample* out) {
    const size_t taps = kTaps > 0 ? size_t{kTaps} : static_cast<size_t>(columns.taps);
    const uint32_t* weight = columns.weights.data();
    for (const int32_t first : columns.first) {
        Sum sum = 0;
        for (size_t k = 0; k < taps; ++k) {
            // Real neighbours without weight may not be numbers, and must not count.
            if (std::is_floating_point_v<Sum> && weight[k] == 0) continue;
            sum += static_cast<Sum>(sums[static_cast<size_t>(first) + k]) *
                   static_cast<Sum>(weight[k]);
        }
        *out++ = mean(sum);
        weight += taps;
    }
}

template <class Sample, class RowSum, class Sum, class Mean>
void resizePlane(const Sample* in, int width, Sample* out, const Axis& rows, const Axis& columns,
                 const Mean& mean) {
    auto* const writeRow = columns.taps == 2   ? meansOfRow<2, Sample, Sum, RowSum, Mean>
                           : columns.taps == 3 ? meansOfRow<3, Sample, Sum, RowSum, Mean>
                                               : meansOfRow<0, Sample, Sum, RowSum, Mean>;
    const auto rowLength = static_cast<size_t>(width);
    std::vector<RowSum> sums(rowLength);
    for (size_t y = 0; y < rows.first.size(); ++y) {
        std::fill(sums.begin(), sums.end(), RowSum{0});
        const uint32_t* const weights = rows.weightsOf(static_cast<int>(y));
        for (int k = 0; k < rows.taps; ++k)
            if (weights[k] != 0)
                addWeighted(in + static_cast<size_t>(rows.first[y] + k) * rowLength, weights[k],
                            sums.data(), rowLength);
        writeRow(sums.data(), columns, mean, out);
        out += columns.first.size();
    }
}

template <class Sample>
void resizeByMeans(const imImage& src, const imImage& dst, const Axis& rows, const Axis& columns) {
    const Int128 divisor = Int128{rows.total} * columns.total;
    for (int p = 0; p < src.depth; ++p) {
        const auto* const in = static_cast<const Sample*>(src.data[p]);
        auto* const out = static_cast<Sample*>(dst.data[p]);
        if constexpr (std::is_floating_point_v<Sample>) {
            resizePlane<Sample, double, double>(in, src.width, out, rows, columns,
                                                RealMean<Sample>(static_cast<double>(divisor)));
        } else {
            using RowSum = std::conditional_t<std::is_unsigned_v<Sample>, uint32_t, int64_t>;
            const bool rowsFit = rows.total <= std::numeric_limits<RowSum>::max() /
                                                   (int64_t{1} << 8 * sizeof(Sample));
            if (rowsFit && QuickMean<Sample>::suits(divisor))
                resizePlane<Sample, RowSum, int64_t>(
                    in, src.width, out, rows, columns,
                    QuickMean<Sample>(static_cast<int64_t>(divisor)));
            else
                resizePlane<Sample, int64_t, Int128>(in, src.width, out, rows, columns,
                                                     WideMean<Sample>(divisor));
        }
    }
}

/// The exact half of both sizes: a tenth of the time that the general way takes.
void halve(const imImage& src, const imImage& dst) {
    const auto& kernels = kel::detail::rowKernels();
    const auto width = static_cast<size_t>(dst.width);
    for (int p = 0; p < src.depth; ++p) {
        const auto* in = static_cast<const uint8_t*>(src.data[p]);
        auto* out = static_cast<uint8_t*>(dst.data[p]);
        for (int y = 0; y < dst.height; ++y, in += 4 * width, out += width)
            kernels.halve(in, in + 2 * width, out, width, 2);
    }
}

template <class Sample>
void resizeNearest(const imImage& src, const imImage& dst) {
    const auto nearest = [](int64_t i, int64_t srcSize, int64_t dstSize) {
        return static_cast<uint32_t>((2 * i + 1) * srcSize / (2 * dstSize));
    };
    const auto width = static_cast<size_t>(dst.width);
    std::vector<uint32_t> column(width);
    for (size_t x = 0; x < width; ++x)
        column[x] = nearest(static_cast<int64_t>(x), src.width, dst.width);
    for (int p = 0; p < src.depth; ++p) {
        auto* out = static_cast<Sample*>(dst.data[p]);
        for (int y = 0; y < dst.height; ++y, out += width) {
            const auto* const in =
                static_cast<const Sample*>(src.data[p]) +
                size_t{nearest(y, src.height, dst.height)} * static_cast<size_t>(src.width);
            for (size_t x = 0; x < width; ++x)
                out[x] = in[column[x]];
        }
    }
}

template <class Sample>
void resize(const imImage& src, const imImage& dst, int order) {
    const bool isHalf = src.width % 2 == 0 && src.height % 2 == 0 && src.width / 2 == dst.width &&
                        src.height / 2 == dst.height;
    if (order == kNearest)
        resizeNearest<Sample>(src, dst);
    else if (std::is_same_v<Sample, uint8_t> && isHalf)
        halve(src, dst);
    else
        resizeByMeans<Sample>(src, dst, axisFor(src.height, dst.height, order),
                              axisFor(src.width, dst.width, order));
}

void resizeAnyType(const imImage& src, const imImage& dst, int order) {
    switch (src.data_type) {
        case IM_BYTE:
            return resize<uint8_t>(src, dst, order);
        case IM_SHORT:
            return resize<int16_t>(src, dst, order);
        case IM_USHORT:
            return resize<uint16_t>(src, dst, order);
        case IM_INT:
            return resize<int32_t>(src, dst, order);
        case IM_FLOAT:
            return resize<float>(src, dst, order);
        default:
            return resize<double>(src, dst, order);
    }
}

}  // namespace
}  // namespace im

int imProcessResize(const imImage* src, imImage* dst, int order) try {
    if (src == nullptr || dst == nullptr || src->color_space != dst->color_space ||
        src->data_type != dst->data_type || src->data_type > IM_DOUBLE || order < im::kNearest ||
        order > im::kArea)
        return IM_ERR_DATA;
    if (src == dst) return IM_ERR_NONE;
    const bool indexed = src->color_space == IM_MAP || src->color_space == IM_BINARY;
    im::resizeAnyType(*src, *dst, indexed ? int{im::kNearest} : order);
    if (src->color_space == IM_MAP) {
        std::copy_n(src->palette, 256, dst->palette);
        dst->palette_count = src->palette_count;
    }
    return IM_ERR_NONE;
} catch (const std::bad_alloc&) {
    return IM_ERR_MEM;
}
