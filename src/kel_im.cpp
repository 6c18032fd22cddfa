// The bridge to the imaging toolkit's image record.
#include "kel_im.h"

#include <algorithm>
#include <cstring>

#include "kernels/row_kernels.h"
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

uint8_t* planeBytesOf(const imImage& image, int plane) {
    return static_cast<uint8_t*>(image.data[plane]);
}

// Every byte that is not 0 becomes `mark`.
void normalise(uint8_t* bytes, size_t count, uint8_t mark) {
    rowKernels().turnRowsMarked(bytes, bytes, count, 1, mark, false);
}

// The planes of a record, their rows taken without padding.
struct RecordLayout {
    explicit RecordLayout(const imImage& record)
        : rowBytes(static_cast<size_t>(record.width) * copiedSampleBytes(record.data_type)),
          rows(static_cast<size_t>(record.height)),
          isStreamed(rowBytes * rows * static_cast<size_t>(record.depth) >= kStreamedBytes) {}

    /// From here on an image and its copy no longer fit into the caches.
    static constexpr size_t kStreamedBytes = 16 << 20;

    size_t rowBytes;
    size_t rows;
    bool isStreamed;
};

// Whether a BINARY record has one byte a sample, as all that the toolkit makes: its plane 0 is then
// what the normalising pass runs over, and both can be done at once.
bool isPlainBinary(const imImage& record) {
    return record.color_space == IM_BINARY && copiedSampleBytes(record.data_type) == 1;
}

// Turns plane `plane` over from one side to the other. `mark` is for plain binary records.
void turnPlane(const imImage& record, const RecordLayout& layout, int plane, const uint8_t* from,
               uint8_t* to, uint8_t mark) {
    if (isPlainBinary(record) && plane == 0)
        rowKernels().turnRowsMarked(from, to, layout.rowBytes, layout.rows, mark,
                                    layout.isStreamed);
    else
        rowKernels().turnRows(from, to, layout.rowBytes, layout.rows, layout.isStreamed);
}

bool hasSamples(const imImage& image) {
    return image.width > 0 && image.height > 0 && image.depth > 0;
}

// Normalises the bytes that the binary convention speaks of, where turnPlane has not.
void normaliseWideBinary(const imImage& record, uint8_t* first, uint8_t mark) {
    if (record.color_space == IM_BINARY && !isPlainBinary(record))
        normalise(first, static_cast<size_t>(record.width) * static_cast<size_t>(record.height),
                  mark);
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
    const RecordLayout layout(*src);
    auto* plane = static_cast<uint8_t*>(dst);
    for (int p = 0; p < src->depth; ++p, plane += layout.rowBytes * layout.rows)
        turnPlane(*src, layout, p, planeBytesOf(*src, p), plane, 255);
    normaliseWideBinary(*src, static_cast<uint8_t*>(dst), 255);
    return 0;
}

int KelPutIMLibImage(imImage* dst, void* src) {
    if (dst->data_type == IM_CFLOAT) return 1;
    if (!hasSamples(*dst)) return 0;
    const RecordLayout layout(*dst);
    const auto* plane = static_cast<const uint8_t*>(src);
    for (int p = 0; p < dst->depth; ++p, plane += layout.rowBytes * layout.rows)
        turnPlane(*dst, layout, p, plane, planeBytesOf(*dst, p), 1);
    normaliseWideBinary(*dst, planeBytesOf(*dst, 0), 1);
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
        normalise(dst, width * static_cast<size_t>(h), 255);
    return 0;
}

int KelPutSubIMLibImage(imImage* dst, unsigned char* src, int x, int y, int w, int h) {
    if (!isWithin(*dst, x, y, w, h)) return 1;
    const auto width = static_cast<size_t>(w);
    const unsigned char* from = src;
    for (int p = 0; p < dst->depth; ++p)
        for (int j = 0; j < h; ++j, from += width)
            std::memcpy(placeInPlane(*dst, p, x, y + j), from, width);
    // The start of the plane, and not the region: kept so.
    if (dst->color_space == IM_BINARY && dst->depth > 0)
        normalise(planeBytesOf(*dst, 0), width * static_cast<size_t>(h), 1);
    return 0;
}
