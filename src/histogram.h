// The counts of a plane's levels.
#pragma once

#include <array>
#include <cstdint>

#include "plane_view.h"

namespace kel::detail {

using Histogram = std::array<uint32_t, 256>;

/// Counts the samples of each level; all 0 for a plane without samples.
Histogram histogramOf(ConstPlaneView plane);

}  // namespace kel::detail
