// PNG and GIF: how the file stores it, odd palettes, damaged files.
#include "im_support.h"

using namespace test;

namespace {

TEST(ImPng, TellsHowTheFileStoresIt) {
    const auto made = [](const char* command, const Im& image) {
        return loaded(piped(command, encoded({image.get()}, "PNM")));
    };
    const Im grey = randomIm(33, 9, IM_GRAY), bits = randomIm(5, 5, IM_BINARY);
    const Im colors = randomIm(5, 5, IM_MAP, IM_BYTE, 1, 2);
    for (const int levels : {4, 16}) {  // 2 and 4 bits
        for (size_t i = 0; i < imBytes(*grey); ++i)
            samplesOf(*grey)[i] =
                static_cast<unsigned char>(samplesOf(*grey)[i] * levels / 256 * 255 / (levels - 1));
        EXPECT_TRUE(same(made("pnmtopng @", grey).image.get(), grey.get())) << levels;
    }
    EXPECT_EQ(made("pnmtopng -force -alpha=@ @", grey).mode,
              IM_GRAY | IM_ALPHA | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(made("pnmtopng @", colors).mode, IM_MAP | IM_TOPDOWN);
    EXPECT_EQ(made("pnmtopng -force @", colors).mode, IM_RGB | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(made("pnmtopng @", bits).mode, IM_BINARY | IM_TOPDOWN);
}

TEST(ImPngGif, PalettesOfTwoColors) {
    const Im bits = randomIm(19, 3, IM_BINARY), image = randomIm(19, 3, IM_MAP, IM_BYTE, 1, 2);
    std::memcpy(samplesOf(*image), samplesOf(*bits), imBytes(*bits));
    const imPaletteColor black{0, 0, 0}, grey{9, 9, 9}, white{255, 255, 255};
    for (const char* format : {"PNG", "GIF"})
        for (const imPaletteColor zero : {black, grey, white}) {
            image->palette[0] = zero;
            image->palette[1] = zero.red == 255 ? black : white;
            const Loaded back = loaded(encoded({image.get()}, format));
            EXPECT_TRUE(sameColors(back.image.get(), image.get()));
            EXPECT_EQ(back.image->color_space, zero.red == 9 ? IM_MAP : IM_BINARY);
        }
    samplesOf(*image)[7] = 5;  // beyond the palette: black, in files that others accept
    EXPECT_TRUE(sameColors(seenBy("pngtopnm @", encoded({image.get()}, "PNG")).get(), image.get()));
    EXPECT_TRUE(sameColors(seenBy("giftopnm @", encoded({image.get()}, "GIF")).get(), image.get()));
}

/// A GIF of one image of 4 by 1, with a table of two entries or none.
std::string tinyGif(const std::string& table, const char* codeBits, const char* codes) {
    return shown(hex("474946383961 0400 0100" + std::string(table.empty() ? "00" : "80") + "0000" +
                     table + "2c 0000 0000 0400 0100 00" + codeBits + "03" + codes + "00 3b"));
}

TEST(ImGif, OddIndexes) {
    // Clear, 0, 1, 2, 3, end: 3 bits each, 4 from the fifth on; without a table greys.
    EXPECT_EQ(tinyGif("ffffff 000000", "02", "443405"), "BINARY T 1 0 0 0");  // black beyond
    EXPECT_EQ(tinyGif("", "02", "443405"), "MAP T 0:000000 1:555555 2:aaaaaa 3:ffffff");
    // Codes that stand for nothing yet, and a depth that no code has.
    EXPECT_EQ(tinyGif("", "02", "ffffff"), "ACCESS");
    EXPECT_EQ(tinyGif("", "09", "443405"), "ACCESS");
}

/// A PNG whose header begins with other bytes, its sum renewed.
Bytes withHeader(const Bytes& png, const Bytes& header) {
    const size_t name = 12, end = name + 4 + 13;
    const Bytes other = changed(png, name + 4, header);
    unsigned sum = ~0U;
    for (size_t i = 8 * name; i < 8 * end; ++i) {
        sum ^= unsigned(other[i / 8]) >> i % 8 & 1;
        sum = sum >> 1 ^ (sum & 1 ? 0xedb88320U : 0);
    }
    return changed(other, end, number(4, ~sum, true));
}

TEST(ImPngGif, RefuseDamage) {
    const Im image = randomIm(33, 9, IM_RGB), grey = randomIm(33, 9, IM_GRAY);
    const Bytes png = encoded({image.get()}, "PNG"), gif = encoded({grey.get()}, "GIF");
    const size_t size = 13 + 768 + 5;  // of the image, in the GIF
    const struct {
        Bytes file;
        int error;
    } rows[] = {
        {withHeader(png, {0, 0, 0, 33}), IM_ERR_NONE},
        {withHeader(png, {0, 0, 0, 0}), IM_ERR_FORMAT},
        {withHeader(png, {0x7f, 0xff, 0xff, 0xff}), IM_ERR_MEM},
        {withHeader(png, {0, 0, 64, 0, 0, 0, 64, 0}), IM_ERR_ACCESS},
        {withHeader(png, {0, 0, 0, 33, 0, 0, 0, 10}), IM_ERR_ACCESS},
        {withHeader(png, {0, 0, 0, 33, 0, 0, 0, 9, 3}), IM_ERR_FORMAT},
        {changed(gif, size, {33, 0, 9, 0}), IM_ERR_NONE},
        {changed(gif, size, {0, 0, 9, 0}), IM_ERR_FORMAT},
        {changed(gif, size, {255, 255, 255, 255}), IM_ERR_MEM},
        {changed(gif, size, {255, 255, 255, 15}), IM_ERR_ACCESS},
        {changed(gif, size, {33, 0, 10, 0}), IM_ERR_ACCESS},
    };
    for (const auto& row : rows)
        EXPECT_EQ(loaded(row.file).error, row.error) << (&row - rows);

    const size_t end = png.size() - 12;  // an end chunk isn't missed
    for (size_t i = 0; i < end; i += 7)
        EXPECT_NE(loaded(cut(png, i)).error, IM_ERR_NONE) << i;
    for (size_t i = 0; i < gif.size() - 2; i += 7)
        EXPECT_NE(loaded(cut(gif, i)).error, IM_ERR_NONE) << i;
    EXPECT_EQ(loaded(cut(png, end - 1)).error, IM_ERR_ACCESS);
    EXPECT_TRUE(same(loaded(cut(png, end)).image.get(), image.get()));
    const auto flipped = static_cast<unsigned char>(png[png.size() / 2] ^ 0x10);
    EXPECT_EQ(loaded(changed(png, png.size() / 2, {flipped})).error, IM_ERR_ACCESS);

    // Without the end of the last image, the others are there.
    const Bytes two = encoded({grey.get(), grey.get()}, "GIF"), shorter = cut(two, two.size() - 10);
    EXPECT_TRUE(same(loaded(shorter, 0).image.get(), grey.get()));
    EXPECT_EQ(loaded(shorter, 1).error, IM_ERR_ACCESS);
}

}  // namespace
