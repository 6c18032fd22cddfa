// The bridge to the imaging toolkit's image record.
#include "kel_im.h"

#include <algorithm>
#include <cstring>

#include "sizes.h"

using namespace kel::detail;

namespace {

// Bytes of a sample as the size calculation has it; 0 where it has none. The copies have a rule of
// their own.
int countedSampleBytes(int dataType) {
    switch (dataType) {
        case IM_BYTE:
            return 1;
        case IM_USHORT:
            return 2;
        case IM_INT:
        case IM_FLOAT:
            return 4;
        default:
            return 0;
    }
}

size_t copiedSampleBytes(int dataType) {
    return static_cast<size_t>(std::max(countedSampleBytes(dataType), 1));
}

// Contiguous bytes, without a branch on their value.
void copyNonZeroAs(const uint8_t* from, uint8_t* to, size_t count, uint8_t mark) {
    for (size_t i = 0; i < count; ++i)
        to[i] = from[i] != 0 ? mark : uint8_t{0};
}

uint8_t* planeBytesOf(const imImage& image, int plane) {
    return static_cast<uint8_t*>(image.data[plane]);
}

// Walks the rows of record and buffer together: `copyRow` gets plane, record's row and buffer's
// row.
template <class CopyRow>
void forEachRow(const imImage& record, void* buffer, const CopyRow& copyRow) {
    const size_t rowBytes = static_cast<size_t>(record.width) * copiedSampleBytes(record.data_type);
    const auto height = static_cast<size_t>(record.height);
    auto* plane = static_cast<uint8_t*>(buffer);
    for (int p = 0; p < record.depth; ++p, plane += rowBytes * height)
        for (size_t r = 0; r < height; ++r)
            copyRow(p, planeBytesOf(record, p) + r * rowBytes, plane + (height - 1 - r) * rowBytes,
                    rowBytes);
}

bool hasSamples(const imImage& image) {
    return image.width > 0 && image.height > 0 && image.depth > 0;
}

bool isWithin(const imImage& image, int x, int y, int w, int h) {
    return x >= 0 && y >= 0 && w >= 1 && h >= 1 && int64_t{x} + w <= image.width &&
           int64_t{y} + h <= image.height;
}

// The record's row that holds row `y` of the picture, at column `x`.
uint8_t* placeInPlane(const imImage& image, int plane, int x, int y) {
    return planeBytesOf(image, plane) +
           static_cast<ptrdiff_t>(image.height - 1 - y) * image.line_size + x;
}

}  // namespace

int KelCalImImageDataSize(imImage* image) {
    const int sampleBytes = countedSampleBytes(image->data_type);
    if (sampleBytes == 0) return -1;
    const int32_t bytes =
        wrapMul(wrapMul(wrapMul(image->width, image->height), image->depth), sampleBytes);
    return bytes < 1 ? -1 : bytes;
}

int KelGetIMLibImage(imImage* src, void* dst) {
    if (src->data_type == IM_CFLOAT) return 1;
    if (!hasSamples(*src)) return 0;
    // Only the first width times height bytes of the buffer are normalised: plane 0, where samples
    // are bytes as with every BINARY record that the toolkit makes.
    const bool binary = src->color_space == IM_BINARY;
    const bool fused = binary && copiedSampleBytes(src->data_type) == 1;
    forEachRow(*src, dst, [&](int plane, const uint8_t* from, uint8_t* to, size_t bytes) {
        if (fused && plane == 0)
            copyNonZeroAs(from, to, bytes, 255);
        else
            std::memcpy(to, from, bytes);
    });
    if (binary && !fused) {
        auto* const first = static_cast<uint8_t*>(dst);
        copyNonZeroAs(first, first,
                      static_cast<size_t>(src->width) * static_cast<size_t>(src->height), 255);
    }
    return 0;
}

int KelPutIMLibImage(imImage* dst, void* src) {
    if (dst->data_type == IM_CFLOAT) return 1;
    if (!hasSamples(*dst)) return 0;
    const bool binary = dst->color_space == IM_BINARY;
    const bool fused = binary && copiedSampleBytes(dst->data_type) == 1;
    forEachRow(*dst, src, [&](int plane, uint8_t* to, const uint8_t* from, size_t bytes) {
        if (fused && plane == 0)
            copyNonZeroAs(from, to, bytes, 1);
        else
            std::memcpy(to, from, bytes);
    });
    if (binary && !fused) {
        uint8_t* const first = planeBytesOf(*dst, 0);
        copyNonZeroAs(first, first,
                      static_cast<size_t>(dst->width) * static_cast<size_t>(dst->height), 1);
    }
    return 0;
}

int KelGetSubIMLibImage(imImage* src, unsigned char* dst, int x, int y, int w, int h) {
    if (!isWithin(*src, x, y, w, h)) return 1;
    const auto width = static_cast<size_t>(w);
    unsigned char* to = dst;
    for (int p = 0; p < src->depth; ++p)
        for (int j = 0; j < h; ++j, to += width)
            std::memcpy(to, placeInPlane(*src, p, x, y + j), width);
    if (src->color_space == IM_BINARY && src->depth > 0)
        copyNonZeroAs(dst, dst, width * static_cast<size_t>(h), 255);
    return 0;
}

int KelPutSubIMLibImage(imImage* dst, unsigned char* src, int x, int y, int w, int h) {
    if (!isWithin(*dst, x, y, w, h)) return 1;
    const auto width = static_cast<size_t>(w);
    const unsigned char* from = src;
    for (int p = 0; p < dst->depth; ++p)
        for (int j = 0; j < h; ++j, from += width)
            std::memcpy(placeInPlane(*dst, p, x, y + j), from, width);
    if (dst->color_space == IM_BINARY && dst->depth > 0) {
        // The start of the plane, and not the region: kept so.
        uint8_t* const first = planeBytesOf(*dst, 0);
        copyNonZeroAs(first, first, width * static_cast<size_t>(h), 1);
    }
    return 0;
}
