// Conversion of double to integer by truncation, defined for every value.
#pragma once

#include <limits>

namespace kel::detail {

/// Truncated toward zero; the nearest int for values beyond its range, 0 for what is no number.
inline int truncated(double value) {
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    if (!(value > lowest)) return value <= lowest ? lowest : 0;
    return value >= highest ? highest : static_cast<int>(value);
}

/// Truncated and clamped to 0..255.
inline unsigned char truncatedToByte(double value) {
    if (!(value > 0)) return 0;
    return static_cast<unsigned char>(value < 255 ? static_cast<int>(value) : 255);
}

}  // namespace kel::detail
