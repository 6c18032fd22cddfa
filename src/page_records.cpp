#include "page_records.h"

#include <cstddef>

#include "kel_im.h"

namespace kel::detail {

ImImageHandle recordOf(unsigned char* data, int width, int height, int colorSpace) {
    ImImageHandle image = makeImImage(width, height, colorSpace);
    if (image != nullptr) KelPutIMLibImage(image.get(), data);
    return image;
}

ImImageHandle convertedRecord(const imImage& record, int colorSpace) {
    ImImageHandle result = makeImImageLike(record, colorSpace);
    if (result != nullptr) imConvertColorSpace(&record, result.get());
    return result;
}

ImImageHandle binaryRecordOf(unsigned char* data, int width, int height, int colorSpace) {
    if (colorSpace != IM_GRAY) {
        const ImImageHandle image = recordOf(data, width, height, colorSpace);
        return image == nullptr ? nullptr : convertedRecord(*image, IM_BINARY);
    }
    // Grey goes straight to its highest bit, on the way over from top to bottom.
    ImImageHandle image = makeImImage(width, height, IM_BINARY);
    if (image == nullptr) return nullptr;
    const auto row = static_cast<size_t>(width), rows = static_cast<size_t>(height);
    auto* const plane = static_cast<unsigned char*>(image->data[0]);
    for (size_t y = 0; y < rows; ++y) {
        const unsigned char* const from = data + y * row;
        unsigned char* const to = plane + (rows - 1 - y) * row;
        for (size_t x = 0; x < row; ++x)
            to[x] = static_cast<unsigned char>(from[x] >> 7);
    }
    return image;
}

}  // namespace kel::detail
