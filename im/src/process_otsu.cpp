// Otsu's global threshold.
#include <cstdint>

#include "im_process.h"
#include "image.h"
#include "kernels/row_kernels.h"

namespace im {
namespace {

__extension__ using Int128 = __int128;

// The variance between the classes is, over the square of the count,
// (total * n - sum * count)^2 / (n * (count - n)), with n samples that sum up to `sum` in the lower
// class. The difference is exact; equal splits give equal quotients.
int otsuLevel(const uint32_t histogram[256], uint64_t count) {
    uint64_t total = 0;
    for (uint64_t level = 0; level < 256; ++level)
        total += level * histogram[level];
    uint64_t n = 0, sum = 0;
    double best = 0.0;
    int at = -1;
    for (int level = 0; level < 256; ++level) {
        n += histogram[level];
        sum += static_cast<uint64_t>(level) * histogram[level];
        if (n == 0) continue;
        if (n == count) return at < 0 ? level : at;  // a flat image ends here at its own level
        const auto difference = static_cast<double>(Int128{total} * n - Int128{sum} * count);
        const double variance =
            difference / static_cast<double>(n) * (difference / static_cast<double>(count - n));
        if (at < 0 || variance > best) {
            best = variance;
            at = level;
        }
    }
    return at;
}

}  // namespace
}  // namespace im

int imProcessOtsuThreshold(const imImage* src, imImage* dst) {
    if (src == nullptr || dst == nullptr || src->color_space != IM_GRAY ||
        src->data_type != IM_BYTE || dst->color_space != IM_BINARY || src->width != dst->width ||
        src->height != dst->height)
        return 0;
    const size_t count = im::planeSamples(*src);
    const auto* const in = static_cast<const uint8_t*>(src->data[0]);
    auto* const out = static_cast<uint8_t*>(dst->data[0]);
    uint32_t histogram[256] = {};
    kel::detail::rowKernels().countSamples(in, histogram, count);
    const int level = im::otsuLevel(histogram, count);
    const auto highestBelow = static_cast<uint8_t>(level);  // bytes against bytes: half the time
    for (size_t i = 0; i < count; ++i)
        out[i] = in[i] > highestBelow ? 1 : 0;
    return level;
}
