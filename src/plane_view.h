// A view of one plane: pointer, size and row stride travel together. Views own nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kel_define.h"

namespace kel::detail {

template <class Sample>
struct BasicPlaneView {
    Sample* data;
    int width;
    int height;
    ptrdiff_t strideBytes;

    Sample* row(int y) const { return data + y * strideBytes; }

    /// The w by h part at column x, row y; the caller has checked that it lies inside.
    BasicPlaneView part(int x, int y, int w, int h) const {
        return {row(y) + x, w, h, strideBytes};
    }
};

using PlaneView = BasicPlaneView<unsigned char>;
using ConstPlaneView = BasicPlaneView<const unsigned char>;

/// Samples from the start of one plane of a channel image to the start of the next.
inline ptrdiff_t planeStep(kelSize size) {
    return static_cast<ptrdiff_t>(size.width) * static_cast<ptrdiff_t>(size.height);
}

/// Plane `index` of a channel image.
inline PlaneView planeOf(unsigned char* image, kelSize size, int index) {
    return {image + index * planeStep(size), size.width, size.height, size.width};
}

inline ConstPlaneView constPlaneOf(const unsigned char* image, kelSize size, int index) {
    return {image + index * planeStep(size), size.width, size.height, size.width};
}

/// Copies `from` into the top left corner of `to`, which is at least as large.
inline void copyPlane(ConstPlaneView from, PlaneView to) {
    if (from.width < 1) return;
    const auto width = static_cast<size_t>(from.width);
    if (from.strideBytes == from.width && to.strideBytes == from.width) {
        if (from.height > 0)
            std::memmove(to.data, from.data, width * static_cast<size_t>(from.height));
        return;
    }
    for (int y = 0; y < from.height; ++y)
        std::memmove(to.row(y), from.row(y), width);
}

/// True when two blocks share a byte.
inline bool overlaps(const unsigned char* a, size_t aBytes, const unsigned char* b, size_t bBytes) {
    const auto aStart = reinterpret_cast<uintptr_t>(a);
    const auto bStart = reinterpret_cast<uintptr_t>(b);
    return aStart < bStart + bBytes && bStart < aStart + aBytes;
}

}  // namespace kel::detail
