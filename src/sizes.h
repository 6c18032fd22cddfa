// Checked products of image sizes (plane_view.h has the ones of sizes known to be good), and the
// wrapping 32-bit arithmetic that some results are defined by.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "kel_define.h"

namespace kel::detail {

/// Bytes of an image of 8-bit samples; nothing for a negative size or one beyond 64 bits.
inline std::optional<size_t> planeBytes(int width, int height, int planes = 1) {
    if (width < 0 || height < 0 || planes < 0) return std::nullopt;
    const uint64_t plane = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    if (planes > 0 && plane > std::numeric_limits<size_t>::max() / static_cast<size_t>(planes))
        return std::nullopt;
    return static_cast<size_t>(plane) * static_cast<size_t>(planes);
}

/// True when the image has no sample at all.
inline bool isEmpty(kelSize size) {
    return size.width < 1 || size.height < 1;
}

inline int32_t wrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t wrapSub(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t wrapMul(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

}  // namespace kel::detail
