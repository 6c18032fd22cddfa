#include "palette.h"

#include <algorithm>

#include "image.h"

namespace im {

namespace {

bool isGrey(imPaletteColor c, int level) {
    return c.red == level && c.green == level && c.blue == level;
}

}  // namespace

void setGreys(imPaletteColor* colors, int count) {
    for (int i = 0; i < count; ++i) {
        const auto grey = static_cast<uint8_t>(255 * i / (count - 1));
        colors[i] = {grey, grey, grey};
    }
}

PaletteKind kindOfPalette(const imPaletteColor* colors, int count) {
    if (count == 2) {
        if (isGrey(colors[0], 0) && isGrey(colors[1], 255)) return {IM_BINARY, 0};
        if (isGrey(colors[0], 255) && isGrey(colors[1], 0)) return {IM_BINARY, 1};
    }
    if (count != 256) return {IM_MAP, 0};
    for (int i = 0; i < 256; ++i)
        if (!isGrey(colors[i], i)) return {IM_MAP, 0};
    return {IM_GRAY, 0};
}

void setPalette(imImage& image, const imPaletteColor* colors, int count) {
    const int used = std::min(count, 256);
    std::copy(colors, colors + used, image.palette);
    std::fill(image.palette + used, image.palette + 256, imPaletteColor{0, 0, 0});
    image.palette_count = std::max(used, 1);
}

int colorsInUse(const imImage& image) {
    const auto* const index = static_cast<const uint8_t*>(image.data[0]);
    const int highest = *std::max_element(index, index + planeSamples(image));
    return std::max(image.palette_count, highest + 1);
}

int paletteFor(const imImage& image, imPaletteColor* colors) {
    if (image.color_space == IM_MAP) {
        std::copy(image.palette, image.palette + 256, colors);
        return image.palette_count;
    }
    for (int i = 0; i < 256; ++i) {
        const auto level =
            static_cast<uint8_t>(image.color_space == IM_BINARY ? (i == 1 ? 255 : 0) : i);
        colors[i] = {level, level, level};
    }
    return image.color_space == IM_BINARY ? 2 : 256;
}

}  // namespace im
