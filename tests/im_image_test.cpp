// The toolkit's image record and its conversions between colour spaces.
#include <array>
#include <cmath>
#include <cstdint>

#include "im_support.h"

using namespace test;

namespace {

TEST(ImImage, SizesNamesAndLimits) {
    EXPECT_EQ(imImageDataSize(10, 5, IM_CMYK | IM_ALPHA | IM_PACKED, IM_USHORT), 500);
    EXPECT_EQ(imImageDataSize(10, 5, 5, IM_BYTE), 0);
    EXPECT_EQ(imImageDataSize(32768, 32768, IM_RGB, IM_BYTE), 0);
    EXPECT_STREQ(imColorModeSpaceName(IM_BINARY | IM_TOPDOWN), "BINARY");
    EXPECT_EQ(imColorModeSpaceName(7), nullptr);
    EXPECT_STREQ(imDataTypeName(IM_CFLOAT), "cfloat");
    EXPECT_EQ(imDataTypeSize(8), 0);

    using Kind = std::array<int, 4>;  // width, height, space, type
    for (const auto& [width, height, space, type] :
         {Kind{0, 5, IM_GRAY, IM_BYTE}, Kind{5, -1, IM_GRAY, IM_BYTE}, Kind{5, 5, 5, IM_BYTE},
          Kind{5, 5, IM_GRAY, 8}, Kind{5, 5, IM_MAP, IM_USHORT}, Kind{5, 5, IM_BINARY, IM_INT},
          Kind{65536, 32768, IM_GRAY, IM_BYTE}, Kind{46341, 46341, IM_GRAY, IM_BYTE}})
        EXPECT_EQ(imImageCreate(width, height, space, type), nullptr) << width << "x" << height;
    imImageDestroy(nullptr);

    const Im image(imImageCreate(7, 3, IM_CMYK, IM_USHORT));
    EXPECT_EQ(image->depth, 4);
    EXPECT_EQ(image->line_size, 14);
    for (int p = 0; p < 4; ++p)
        EXPECT_EQ(static_cast<unsigned char*>(image->data[p]) - samplesOf(*image), p * 42);
    EXPECT_EQ(Bytes(samplesOf(*image), samplesOf(*image) + 168), Bytes(168));
}

int sampleAt(const imImage& image, int plane, size_t i) {
    return image.data_type == IM_USHORT ? static_cast<const uint16_t*>(image.data[plane])[i]
                                        : static_cast<const unsigned char*>(image.data[plane])[i];
}

// R, G, B of a pixel, by the definition of each space.
std::array<int, 3> colorAt(const imImage& image, size_t i, int high) {
    const int v = sampleAt(image, 0, i);
    if (image.color_space == IM_GRAY) return {v, v, v};
    if (image.color_space == IM_BINARY) return {v * high, v * high, v * high};
    if (image.color_space == IM_MAP) {
        const imPaletteColor c = image.palette[v];
        const int scale = high / 255;
        return {c.red * scale, c.green * scale, c.blue * scale};
    }
    std::array<int, 3> rgb = {v, sampleAt(image, 1, i), sampleAt(image, 2, i)};
    if (image.color_space == IM_CMYK)
        for (int& sample : rgb)
            sample = int(std::floor(double(sample) * sampleAt(image, 3, i) / high + 0.5));
    return rgb;
}

TEST(ImImage, EveryConversionFollowsItsDefinition) {
    for (const int type : {IM_BYTE, IM_USHORT})
        for (const int from : {IM_RGB, IM_MAP, IM_GRAY, IM_BINARY, IM_CMYK})
            for (const int to : {IM_RGB, IM_GRAY, IM_BINARY, IM_CMYK}) {
                if (from == to) continue;
                SCOPED_TRACE(::testing::Message() << from << " to " << to << " type " << type);
                const bool narrow = from == IM_MAP || from == IM_BINARY;
                const Im src = randomIm(370, 50, from, narrow ? int(IM_BYTE) : type, 3);
                const Im dst(imImageCreate(370, 50, to, to == IM_BINARY ? int(IM_BYTE) : type));
                ASSERT_EQ(imConvertColorSpace(src.get(), dst.get()), IM_ERR_NONE);
                // To BINARY the source's own range counts.
                const int high =
                    (to == IM_BINARY ? src : dst)->data_type == IM_USHORT ? 65535 : 255;
                for (size_t i = 0; i < 370 * 50; ++i) {
                    const std::array<int, 3> color = colorAt(*src, i, high);
                    const auto [r, g, b] = color;
                    const int luminance = int((0.299 * r + 0.587 * g) + 0.114 * b);
                    const int grey = from == IM_GRAY || from == IM_BINARY ? r : luminance;
                    if (to == IM_GRAY)
                        ASSERT_EQ(sampleAt(*dst, 0, i), grey);
                    else if (to == IM_BINARY)
                        ASSERT_EQ(sampleAt(*dst, 0, i), grey > high / 2 ? 1 : 0);
                    else
                        ASSERT_EQ(colorAt(*dst, i, high), color);
                }
            }
}

TEST(ImImage, QuantisingKeepsFewColoursAndComesNearMany) {
    // A few colours stay what they are.
    const Im few = randomIm(50, 40, IM_MAP, IM_BYTE, 5, 200);
    const Im exact = converted(*converted(*converted(*few, IM_RGB), IM_MAP), IM_RGB);
    EXPECT_TRUE(same(exact.get(), converted(*few, IM_RGB).get()));

    // A smooth picture of 64,000 colours: the mean error stays small.
    const Im smooth(imImageCreate(320, 200, IM_RGB, IM_BYTE));
    for (int i = 0; i < 320 * 200; ++i) {
        const int x = i % 320, y = i / 320, color[] = {x * 255 / 319, y, 255 - x / 2};
        for (int p = 0; p < 3; ++p)
            static_cast<unsigned char*>(smooth->data[p])[i] = static_cast<unsigned char>(color[p]);
    }
    const Im back = converted(*converted(*smooth, IM_MAP), IM_RGB);
    double error = 0.0;
    for (size_t i = 0; i < imBytes(*smooth); ++i)
        error += std::abs(int(samplesOf(*smooth)[i]) - int(samplesOf(*back)[i]));
    EXPECT_LT(error / double(imBytes(*smooth)), 5.0);
}

TEST(ImImage, ConversionsRefuseWhatDoesNotFit) {
    const Im grey = randomIm(4, 4, IM_GRAY), wide = randomIm(4, 4, IM_GRAY, IM_USHORT),
             other = randomIm(5, 4, IM_RGB), real = randomIm(4, 4, IM_RGB, IM_FLOAT);
    const Im rgb(imImageCreate(4, 4, IM_RGB, IM_BYTE)), map(imImageCreate(4, 4, IM_MAP, IM_BYTE));
    EXPECT_EQ(imConvertColorSpace(nullptr, rgb.get()), IM_ERR_DATA);
    EXPECT_EQ(imConvertColorSpace(grey.get(), nullptr), IM_ERR_DATA);
    EXPECT_EQ(imConvertColorSpace(grey.get(), other.get()), IM_ERR_DATA);
    EXPECT_EQ(imConvertColorSpace(wide.get(), rgb.get()), IM_ERR_DATA);
    EXPECT_EQ(imConvertColorSpace(real.get(), grey.get()), IM_ERR_DATA);
    EXPECT_EQ(imConvertColorSpace(wide.get(), map.get()), IM_ERR_NONE);
}

}  // namespace
