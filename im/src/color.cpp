// Conversion between colour spaces.
#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>

#include "error.h"
#include "image.h"
#include "kernels/row_kernels.h"
#include "palette.h"
#include "quantize.h"

namespace im {
namespace {

template <class Sample>
constexpr int kHighest = std::is_same_v<Sample, uint8_t> ? 255 : 65535;

template <class Sample>
Sample* planeOf(const imImage& image, int plane) {
    return static_cast<Sample*>(image.data[plane]);
}

template <class Sample>
void rgbToGray(const Sample* r, const Sample* g, const Sample* b, Sample* grey, size_t count) {
    if constexpr (std::is_same_v<Sample, uint8_t>) {
        kel::detail::rowKernels().luminance(r, g, b, grey, count);
    } else {
        for (size_t i = 0; i < count; ++i)
            grey[i] =
                static_cast<Sample>(static_cast<int>((0.299 * r[i] + 0.587 * g[i]) + 0.114 * b[i]));
    }
}

template <class Sample>
void cmykToRgb(const imImage& src, imImage& dst) {
    constexpr uint32_t high = kHighest<Sample>;
    const size_t count = planeSamples(src);
    const auto* const black = planeOf<const Sample>(src, 3);
    for (int p = 0; p < 3; ++p) {
        const auto* const ink = planeOf<const Sample>(src, p);
        auto* const out = planeOf<Sample>(dst, p);
        for (size_t i = 0; i < count; ++i)
            out[i] = static_cast<Sample>((uint32_t{ink[i]} * black[i] + high / 2) / high);
    }
}

template <class Sample>
void rgbToCmyk(const imImage& src, imImage& dst) {
    const size_t count = planeSamples(src);
    for (int p = 0; p < 3; ++p)
        std::copy_n(planeOf<const Sample>(src, p), count, planeOf<Sample>(dst, p));
    std::fill_n(planeOf<Sample>(dst, 3), count, static_cast<Sample>(kHighest<Sample>));
}

template <class Sample>
void mapToRgb(const imImage& src, imImage& dst) {
    const size_t count = planeSamples(src);
    const auto* const index = planeOf<const uint8_t>(src, 0);
    constexpr int scale = kHighest<Sample> / 255;
    Sample table[3][256];
    for (int i = 0; i < 256; ++i) {
        table[0][i] = static_cast<Sample>(src.palette[i].red * scale);
        table[1][i] = static_cast<Sample>(src.palette[i].green * scale);
        table[2][i] = static_cast<Sample>(src.palette[i].blue * scale);
    }
    for (int p = 0; p < 3; ++p) {
        auto* const out = planeOf<Sample>(dst, p);
        for (size_t i = 0; i < count; ++i)
            out[i] = table[p][index[i]];
    }
}

// Grey of any space, in the sample type of `dst`.
template <class Sample>
void toGray(const imImage& src, imImage& dst) {
    const size_t count = planeSamples(src);
    auto* const out = planeOf<Sample>(dst, 0);
    switch (src.color_space) {
        case IM_BINARY: {
            const auto* const bit = planeOf<const uint8_t>(src, 0);
            for (size_t i = 0; i < count; ++i)
                out[i] = static_cast<Sample>(bit[i] != 0 ? kHighest<Sample> : 0);
            return;
        }
        case IM_GRAY:
            std::copy_n(planeOf<const Sample>(src, 0), count, out);
            return;
        case IM_RGB:
            rgbToGray(planeOf<const Sample>(src, 0), planeOf<const Sample>(src, 1),
                      planeOf<const Sample>(src, 2), out, count);
            return;
        default:
            break;
    }
    const ImageHandle rgb = makeImage(src.width, src.height, IM_RGB, dst.data_type);
    require(imConvertColorSpace(&src, rgb.get()) == IM_ERR_NONE, IM_ERR_DATA);
    toGray<Sample>(*rgb, dst);
}

template <class Sample>
void toBinary(const imImage& src, imImage& dst) {
    ImageHandle own;
    const imImage* grey = &src;
    if (src.color_space != IM_GRAY) {
        own = makeImage(src.width, src.height, IM_GRAY, src.data_type);
        toGray<Sample>(src, *own);
        grey = own.get();
    }
    const size_t count = planeSamples(src);
    const auto* const level = planeOf<const Sample>(*grey, 0);
    auto* const out = planeOf<uint8_t>(dst, 0);
    for (size_t i = 0; i < count; ++i)
        out[i] = level[i] > kHighest<Sample> / 2 ? 1 : 0;
}

void greysToMap(const imImage& src, imImage& dst) {
    imPaletteColor colors[256];
    setPalette(dst, colors, paletteFor(src, colors));
    std::copy_n(planeOf<const uint8_t>(src, 0), planeSamples(src), planeOf<uint8_t>(dst, 0));
}

// From any space to RGB.
template <class Sample>
void toRgb(const imImage& src, imImage& dst) {
    if (src.color_space == IM_CMYK) return cmykToRgb<Sample>(src, dst);
    if (src.color_space == IM_MAP) return mapToRgb<Sample>(src, dst);
    require(src.color_space == IM_GRAY || src.color_space == IM_BINARY, IM_ERR_DATA);
    const size_t count = planeSamples(src);
    ImageHandle grey = makeImage(src.width, src.height, IM_GRAY, dst.data_type);
    toGray<Sample>(src, *grey);
    for (int p = 0; p < 3; ++p)
        std::copy_n(planeOf<const Sample>(*grey, 0), count, planeOf<Sample>(dst, p));
}

// 16-bit samples as bytes, rounded.
ImageHandle narrowed(const imImage& wide) {
    ImageHandle image = makeImage(wide.width, wide.height, wide.color_space, IM_BYTE);
    const size_t count = planeSamples(wide) * static_cast<size_t>(wide.depth);
    const auto* const in = planeOf<const uint16_t>(wide, 0);
    auto* const out = planeOf<uint8_t>(*image, 0);
    for (size_t i = 0; i < count; ++i)
        out[i] = static_cast<uint8_t>((uint32_t{in[i]} + 128) / 257);
    return image;
}

ImageHandle asRgb(const imImage& src) {
    ImageHandle rgb = makeImage(src.width, src.height, IM_RGB, IM_BYTE);
    toRgb<uint8_t>(src, *rgb);
    return rgb;
}

void toMap(const imImage& src, imImage& dst) {
    if (src.data_type == IM_USHORT) return toMap(*narrowed(src), dst);
    if (src.color_space == IM_RGB) return quantize(src, dst);
    if (src.color_space == IM_CMYK) return quantize(*asRgb(src), dst);
    greysToMap(src, dst);
}

template <class Sample>
void convertAs(const imImage& src, imImage& dst) {
    switch (dst.color_space) {
        case IM_RGB:
            return toRgb<Sample>(src, dst);
        case IM_GRAY:
            return toGray<Sample>(src, dst);
        case IM_BINARY:
            return toBinary<Sample>(src, dst);
        case IM_MAP:
            return toMap(src, dst);
        default:
            break;
    }
    if (src.color_space == IM_RGB) return rgbToCmyk<Sample>(src, dst);
    const ImageHandle rgb = makeImage(src.width, src.height, IM_RGB, dst.data_type);
    toRgb<Sample>(src, *rgb);
    rgbToCmyk<Sample>(*rgb, dst);
}

bool isBytesAlways(const imImage& image) {
    return image.color_space == IM_MAP || image.color_space == IM_BINARY;
}

void convert(const imImage& src, imImage& dst) {
    require(src.width == dst.width && src.height == dst.height, IM_ERR_DATA);
    if (src.color_space == dst.color_space) {
        require(src.data_type == dst.data_type, IM_ERR_DATA);
        std::memcpy(
            dst.data[0], src.data[0],
            lineBytes(src) * static_cast<size_t>(src.height) * static_cast<size_t>(src.depth));
        if (src.palette != nullptr) setPalette(dst, src.palette, src.palette_count);
        return;
    }
    const int type = isBytesAlways(src) ? dst.data_type : src.data_type;
    require(type == IM_BYTE || type == IM_USHORT, IM_ERR_DATA);
    require(isBytesAlways(dst) || dst.data_type == type, IM_ERR_DATA);
    type == IM_BYTE ? convertAs<uint8_t>(src, dst) : convertAs<uint16_t>(src, dst);
}

}  // namespace
}  // namespace im

int imConvertColorSpace(const imImage* src, imImage* dst) try {
    if (src == nullptr || dst == nullptr) return IM_ERR_DATA;
    im::convert(*src, *dst);
    return IM_ERR_NONE;
} catch (const im::Error& e) {
    return e.code;
} catch (const std::bad_alloc&) {
    return IM_ERR_MEM;
}
