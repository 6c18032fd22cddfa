// Otsu's level, for the toolkit and the library alike.
#pragma once

#include <cstdint>

namespace kel::detail {

/// The lowest level that maximises the variance between the samples at most at the level and those
/// above it (N. Otsu, "A threshold selection method from gray-level histograms", IEEE Transactions
/// on Systems, Man, and Cybernetics 9, 1979). A flat image gives its own level, none at all -1.
/// @param histogram 256 counts of samples, `count` together
int otsuLevel(const uint32_t* histogram, uint64_t count);

}  // namespace kel::detail
