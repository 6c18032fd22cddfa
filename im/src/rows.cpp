#include "rows.h"

#include <cstring>

#include "image.h"
#include "kernels/row_kernels.h"

namespace im {

using kel::detail::rowKernels;

void unpackSamples(const uint8_t* packed, uint8_t* samples, int width, int bits, uint8_t flip) {
    const auto count = static_cast<size_t>(width);
    switch (bits) {
        case 1:
            rowKernels().expandBits(packed, samples, count, flip);
            return;
        case 2:
            for (size_t x = 0; x < count; ++x)
                samples[x] = packed[x / 4] >> (6 - 2 * (x % 4)) & 3;
            return;
        case 4:
            for (size_t x = 0; x < count; ++x)
                samples[x] = packed[x / 2] >> (4 - 4 * (x % 2)) & 15;
            return;
        default:
            std::memmove(samples, packed, count);
    }
}

void packSamples(const uint8_t* samples, uint8_t* packed, int width, int bits, uint8_t flip) {
    const auto count = static_cast<size_t>(width);
    if (bits == 1) {
        rowKernels().packBits(samples, packed, count, flip);
        return;
    }
    if (bits == 8) {
        std::memmove(packed, samples, count);
        return;
    }
    const size_t perByte = 8 / static_cast<size_t>(bits);
    std::memset(packed, 0, packedBytes(width, bits));
    for (size_t x = 0; x < count; ++x)
        packed[x / perByte] =
            static_cast<uint8_t>(packed[x / perByte] | samples[x] << (perByte - 1 - x % perByte) *
                                                                         static_cast<size_t>(bits));
}

void splitPixels(const uint8_t* pixels, int step, ByteOrder order, imImage& image, int y) {
    const auto count = static_cast<size_t>(image.width);
    uint8_t* to[3];
    for (int i = 0; i < 3; ++i)
        to[i] = rowFromTop(image, order.plane[i], y);
    for (int p = 0; p < 3; ++p)
        foreseeRows(image, p, y);
    if (step == 3) {
        // The kernel names its planes for B, G, R pixels: last byte first.
        rowKernels().deinterleaveBgr(pixels, to[2], to[1], to[0], count, false);
        return;
    }
    for (size_t x = 0; x < count; ++x)
        for (size_t i = 0; i < 3; ++i)
            to[i][x] = pixels[static_cast<size_t>(step) * x + i];
}

void mergePixels(const imImage& image, int y, ByteOrder order, uint8_t* pixels) {
    const uint8_t* from[3];
    for (int i = 0; i < 3; ++i) {
        foreseeRows(image, i, y);
        from[i] = rowFromTop(image, order.plane[i], y);
    }
    rowKernels().interleaveBgr(from[2], from[1], from[0], pixels, static_cast<size_t>(image.width),
                               false);
}

void wideFromBigEndian(const uint8_t* bytes, uint16_t* samples, size_t count) {
    for (size_t i = 0; i < count; ++i)
        samples[i] = static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
}

void wideToBigEndian(const uint16_t* samples, uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint16_t sample = samples[i];
        bytes[2 * i] = static_cast<uint8_t>(sample >> 8);
        bytes[2 * i + 1] = static_cast<uint8_t>(sample);
    }
}

void mergeWidePixels(const imImage& image, int y, uint8_t* pixels) {
    const auto depth = static_cast<size_t>(image.depth);
    for (size_t p = 0; p < depth; ++p) {
        const uint16_t* const samples = wideRowFromTop(image, static_cast<int>(p), y);
        uint8_t* to = pixels + 2 * p;
        for (size_t x = 0; x < static_cast<size_t>(image.width); ++x, to += 2 * depth) {
            to[0] = static_cast<uint8_t>(samples[x] >> 8);
            to[1] = static_cast<uint8_t>(samples[x]);
        }
    }
}

void invertBytes(uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(~bytes[i]);
}

}  // namespace im
