// Real files of many makers: every sample is what an independent decoder has made of it
// (Pillow 9.4; the sums are FNV-1a over the planes, rows top first, binary as 0 and 255, palettes
// resolved).
#include "im_support.h"

using namespace test;

namespace {

uint64_t sumOf(const imImage& image) {
    uint64_t sum = 0xcbf29ce484222325;
    for (int p = 0; p < image.depth; ++p)
        for (int y = image.height; y-- > 0;)
            for (int x = 0; x < image.width; ++x) {
                const unsigned sample =
                    static_cast<unsigned char*>(image.data[p])[y * image.line_size + x];
                sum ^= image.color_space == IM_BINARY ? sample * 255 : sample;
                sum *= 0x100000001b3;
            }
    return sum;
}

TEST(ImSamples, AreWhatOtherDecodersMakeOfThem) {
    const struct {
        const char* name;
        int page, pages, width, height, space;
        const char* compression;
        uint64_t sum;
    } samples[] = {
        {"bmp-pal8.bmp", 0, 1, 127, 64, IM_MAP, "NONE", 0x0010706294c81289},
        {"bmp-rle4.bmp", 0, 1, 127, 64, IM_MAP, "RLE", 0x2a2c0726ddd8a97f},
        {"gif-logo.gif", 0, 1, 135, 135, IM_MAP, "LZW", 0x07c7cc736b46bf77},
        {"ico-small.ico", 0, 1, 16, 16, IM_MAP, "NONE", 0x00d1fca41986b657},
        {"jp2-grey-lossless.jp2", 0, 1, 119, 101, IM_GRAY, "JPEG2000", 0x097a377306670080},
        {"jpeg-baseline.jpg", 0, 1, 227, 149, IM_RGB, "75", 0x21f05a98fb0a572c},
        {"jpeg-ycck.jpg", 0, 1, 592, 800, IM_CMYK, "75", 0x0afc0c3992ed83d9},
        {"png-grey1.png", 0, 1, 32, 32, IM_BINARY, "DEFLATE", 0x96e8988fce83155f},
        {"png-grey8-interlaced.png", 0, 1, 32, 32, IM_GRAY, "DEFLATE", 0x41d4d925c29e1249},
        {"png-palette4.png", 0, 1, 32, 32, IM_MAP, "DEFLATE", 0xff1ef60045dd7825},
        {"png-rgb8.png", 0, 1, 32, 32, IM_RGB, "DEFLATE", 0xb246a03d03dddd25},
        {"pnm-bilevel.pbm", 0, 1, 128, 128, IM_BINARY, "NONE", 0x5c9fd9d62a063f8a},
        {"scan-five-pages.tif", 4, 5, 2484, 3515, IM_BINARY, "CCITTFAX4", 0x24ff039cab6a1e32},
        {"sgi-rle-rgb8.rgb", 0, 1, 7, 6, IM_RGB, "RLE", 0xe6fe614a1b5c2518},
        {"tga-rle-palette.tga", 0, 1, 128, 128, IM_MAP, "RLE", 0xa9eb9a99d10b2b25},
        {"tiff-cmyk.tif", 0, 1, 2, 3, IM_CMYK, "LZW", 0x5845193f49b4154c},
        {"tiff-palette4.tif", 0, 1, 73, 43, IM_MAP, "NONE", 0x5659df3f0d39f328},
        {"tiff-fax2d.tif", 0, 1, 1728, 1082, IM_BINARY, "CCITTFAX3", 0xfdd072226f857ae5},
    };
    for (const auto& s : samples) {
        SCOPED_TRACE(s.name);
        Loaded file = loaded(fileBytes(std::string(KEL_TEST_DATA "/") + s.name), s.page);
        ASSERT_EQ(file.error, IM_ERR_NONE);
        EXPECT_EQ(file.count, s.pages);
        EXPECT_EQ(file.compression, s.compression);
        EXPECT_EQ(file.image->color_space, s.space);
        if (s.space == IM_MAP) file.image = converted(*file.image, IM_RGB);
        ASSERT_EQ(file.image->width, s.width);
        ASSERT_EQ(file.image->height, s.height);
        EXPECT_EQ(sumOf(*file.image), s.sum);
    }
}

}  // namespace
