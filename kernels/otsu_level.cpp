// Otsu's level.
#include "otsu_level.h"

namespace kel::detail {

__extension__ using Int128 = __int128;

// The variance between the classes is, over the square of the count,
// (total * n - sum * count)^2 / (n * (count - n)), with n samples that sum up to `sum` in the lower
// class. The difference is exact; equal splits give equal quotients.
int otsuLevel(const uint32_t* histogram, uint64_t count) {
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

}  // namespace kel::detail
