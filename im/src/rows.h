// Rows of samples between the layouts of files and the planes of an image.
#pragma once

#include <cstddef>
#include <cstdint>

#include "im.h"

namespace im {

/// Bytes that `width` samples of `bits` (1 to 64) bits take, without padding.
inline size_t packedBytes(int width, int bits) {
    return (static_cast<size_t>(width) * static_cast<size_t>(bits) + 7) / 8;
}

/// Samples of 1, 2, 4 or 8 bits, the highest bits of a byte first, to one byte each. `flip` 1 turns
/// single bits over.
void unpackSamples(const uint8_t* packed, uint8_t* samples, int width, int bits, uint8_t flip = 0);

/// The inverse; bits beyond the row are 0.
void packSamples(const uint8_t* samples, uint8_t* packed, int width, int bits, uint8_t flip = 0);

/// Pixels of `step` bytes (3, or 4 with the fourth ignored) to the three planes of row `y` from the
/// top. `order` tells which plane each of the three bytes goes to: {0, 1, 2} for R, G, B.
struct ByteOrder {
    int plane[3];
};
constexpr ByteOrder kRgb{{0, 1, 2}};
constexpr ByteOrder kBgr{{2, 1, 0}};
void splitPixels(const uint8_t* pixels, int step, ByteOrder order, imImage& image, int y);

/// The three planes of row `y` from the top to pixels of 3 bytes.
void mergePixels(const imImage& image, int y, ByteOrder order, uint8_t* pixels);

/// 16-bit samples, the high byte first, to and from memory's order. In place is allowed.
void wideFromBigEndian(const uint8_t* bytes, uint16_t* samples, size_t count);
void wideToBigEndian(const uint16_t* samples, uint8_t* bytes, size_t count);

/// All planes of row `y` from the top of an IM_USHORT image to pixels, the high bytes first.
void mergeWidePixels(const imImage& image, int y, uint8_t* pixels);

/// Every byte to its complement.
void invertBytes(uint8_t* bytes, size_t count);

}  // namespace im
