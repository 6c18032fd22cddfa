// Making and addressing images inside the toolkit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "im.h"

namespace im {

struct ImageDeleter {
    void operator()(imImage* image) const { imImageDestroy(image); }
};
using ImageHandle = std::unique_ptr<imImage, ImageDeleter>;

/// As imImageCreate, but with samples of any value, for those who write them all; throws
/// IM_ERR_MEM or, for what no image can be, IM_ERR_DATA.
ImageHandle makeImage(int width, int height, int colorSpace, int dataType);

/// As imImageCreate (samples 0), with the errors of makeImage.
ImageHandle makeClearImage(int width, int height, int colorSpace, int dataType);

/// Planes of a colour space; 0 for an unknown one.
int planesOf(int colorSpace);

/// Bytes of an image, for sizes from 1 on; 0 for more than 2^31 - 1 and for unknown codes.
int checkedImageBytes(int width, int height, int planes, int dataType);

inline size_t lineBytes(const imImage& image) {
    return static_cast<size_t>(image.line_size);
}

/// Samples of one plane.
inline size_t planeSamples(const imImage& image) {
    return static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
}

/// Row `y` of a plane, counted from the top: files count so, planes have the bottom row first.
inline uint8_t* rowFromTop(imImage& image, int plane, int y) {
    return static_cast<uint8_t*>(image.data[plane]) +
           static_cast<size_t>(image.height - 1 - y) * lineBytes(image);
}

inline const uint8_t* rowFromTop(const imImage& image, int plane, int y) {
    return static_cast<const uint8_t*>(image.data[plane]) +
           static_cast<size_t>(image.height - 1 - y) * lineBytes(image);
}

/// The same row as 16-bit samples; for IM_USHORT.
inline uint16_t* wideRowFromTop(imImage& image, int plane, int y) {
    return reinterpret_cast<uint16_t*>(rowFromTop(image, plane, y));
}

inline const uint16_t* wideRowFromTop(const imImage& image, int plane, int y) {
    return reinterpret_cast<const uint16_t*>(rowFromTop(image, plane, y));
}

/// Call this when row `y` from the top is read or written. Rows lie upward in memory, which the
/// processor doesn't foresee: it is told of a row further on. Saves a third of the time that
/// widening a bilevel page takes, and half of packing one.
inline void foreseeRows(const imImage& image, int plane, int y) {
    constexpr int ahead = 8;
    if (y + ahead >= image.height) return;
    const uint8_t* const row = rowFromTop(image, plane, y + ahead);
    for (size_t i = 0; i < lineBytes(image); i += 64)
        __builtin_prefetch(row + i, 1);
}

}  // namespace im
