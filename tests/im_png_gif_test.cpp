// PNG and GIF: round trips of every kind, what other programs see and make, several images,
// resolution, odd palettes, damaged files.
#include "im_support.h"

using namespace test;

namespace {

struct Kind {
    int space, type, colors;
};
constexpr Kind kKinds[] = {
    {IM_GRAY, IM_BYTE, 0}, {IM_BINARY, IM_BYTE, 0}, {IM_MAP, IM_BYTE, 1},   {IM_MAP, IM_BYTE, 2},
    {IM_MAP, IM_BYTE, 3},  {IM_MAP, IM_BYTE, 16},   {IM_MAP, IM_BYTE, 17},  {IM_MAP, IM_BYTE, 256},
    {IM_RGB, IM_BYTE, 0},  {IM_GRAY, IM_USHORT, 0}, {IM_RGB, IM_USHORT, 0},
};
constexpr size_t kOfGif = 8, kOfPng = std::size(kKinds);  // kinds that a format has

::testing::AssertionResult sameColors(const imImage* a, const imImage* b) {
    if (a == nullptr || b == nullptr) return ::testing::AssertionFailure() << "no image";
    return same(converted(*a, IM_RGB).get(), converted(*b, IM_RGB).get());
}

Loaded made(const char* command, const Im& image) {
    return loaded(piped(command, encoded({image.get()}, "PNM")));
}

int saveError(const Im& image, const char* format) {
    int error = 0;
    encoded({image.get()}, format, nullptr, &error);
    return error;
}

Bytes cut(const Bytes& bytes, size_t size) {
    return Bytes(bytes.begin(), bytes.begin() + std::ptrdiff_t(size));
}

TEST(ImPngGif, RoundTripsAsOthersSeeIt) {
    for (size_t k = 0; k < 2 * kOfPng; ++k)
        for (const int width : {1, 7, 8, 9, 33, 700}) {
            const Kind& kind = kKinds[k % kOfPng];
            const bool png = k < kOfPng;
            if (!png && k % kOfPng >= kOfGif) continue;
            const Im image = randomIm(width, 9, kind.space, kind.type, 3, kind.colors);
            const Bytes file = encoded({image.get()}, png ? "PNG" : "GIF");
            const Loaded back = loaded(file);
            ASSERT_EQ(back.error, IM_ERR_NONE);
            EXPECT_EQ(back.compression, png ? "DEFLATE" : "LZW");
            // The tables of GIF have 2, 4, 8... entries.
            if (!png && kind.space == IM_MAP) {
                EXPECT_LE(back.image->palette_count, 2 * kind.colors);
                back.image->palette_count = kind.colors;
            }
            EXPECT_TRUE(same(back.image.get(), image.get())) << k << " " << width;
            if (width != 33) continue;
            EXPECT_TRUE(
                sameColors(seenBy(png ? "pngtopnm @" : "giftopnm @", file).get(), image.get()));
        }
}

TEST(ImPngGif, ReadsWhatOthersMake) {
    const struct {
        const char* command;
        size_t kinds;
    } programs[] = {
        {"pnmtopng @", kOfPng},
        {"pnmtopng -interlace @", kOfPng},
        {"ppmtopgm @ | pnmtopng -force -alpha=- @", kOfPng},
        {"ppmtopgm @ | pnmtopng -force -interlace -alpha=- @", kOfPng},
        {"pamtogif @", kOfGif},
        {"pamtogif -interlace @", kOfGif},
        {"pamtogif -nolzw -transparent=black -comment=words @", kOfGif},
    };
    for (const auto& program : programs)
        for (size_t k = 0; k < program.kinds; ++k)
            for (const int size : {1, 2, 5, 33}) {
                const Kind& kind = kKinds[k];
                const Im image = randomIm(size, size + 1, kind.space, kind.type, 5, kind.colors);
                EXPECT_TRUE(sameColors(made(program.command, image).image.get(), image.get()))
                    << program.command << " " << k << " " << size;
            }
}

TEST(ImPng, TellsHowTheFileStoresIt) {
    const Im grey = randomIm(33, 9, IM_GRAY), bits = randomIm(5, 5, IM_BINARY);
    const Im colors = randomIm(5, 5, IM_MAP, IM_BYTE, 1, 2);
    for (const int levels : {4, 16}) {  // 2 and 4 bits
        for (size_t i = 0; i < imBytes(*grey); ++i)
            samplesOf(*grey)[i] =
                static_cast<unsigned char>(samplesOf(*grey)[i] * levels / 256 * 255 / (levels - 1));
        EXPECT_TRUE(same(made("pnmtopng @", grey).image.get(), grey.get())) << levels;
    }
    const auto modeOf = [](const char* command, const Im& image) {
        int mode = 0;
        imFileReadImageInfo(made(command, image).file.get(), 0, nullptr, nullptr, &mode, nullptr);
        return mode;
    };
    EXPECT_EQ(modeOf("pnmtopng -force -alpha=@ @", grey),
              IM_GRAY | IM_ALPHA | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(modeOf("pnmtopng @", colors), IM_MAP | IM_TOPDOWN);
    EXPECT_EQ(modeOf("pnmtopng -force @", colors), IM_RGB | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(modeOf("pnmtopng @", bits), IM_BINARY | IM_TOPDOWN);
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

TEST(ImPng, CarriesResolution) {
    const Im image = randomIm(4, 4, IM_GRAY);
    const auto kept = [&](const char* unit, float x, const char* which) {
        const float y = 2 * x;
        const Loaded back = loaded(encoded({image.get()}, "PNG", nullptr, nullptr, [&](imFile* f) {
            imFileSetAttribute(f, "XResolution", IM_FLOAT, 1, &x);
            imFileSetAttribute(f, "YResolution", IM_FLOAT, 1, &y);
            imFileSetAttribute(f, "ResolutionUnit", IM_BYTE, 4, unit);
        }));
        const void* const value = imFileGetAttribute(back.file.get(), which, nullptr, nullptr);
        return value == nullptr ? 0.0F : *static_cast<const float*>(value);
    };
    EXPECT_NEAR(kept("DPI", 300, "XResolution"), 300.0F, 0.02F);
    EXPECT_NEAR(kept("DPI", 300, "YResolution"), 600.0F, 0.02F);
    EXPECT_NEAR(kept("DPC", 100, "XResolution"), 254.0F, 0.02F);
    EXPECT_EQ(kept(nullptr, 300, "XResolution"), 0.0F);
}

TEST(ImGif, SeveralImages) {
    const Im images[] = {randomIm(20, 30, IM_MAP, IM_BYTE, 1, 4), randomIm(50, 10, IM_BINARY),
                         randomIm(33, 3, IM_GRAY)};
    const Bytes gif = encoded({images[0].get(), images[1].get(), images[2].get()}, "GIF");
    EXPECT_EQ(gif[6], 50);  // the screen holds them all
    EXPECT_EQ(gif[8], 30);
    EXPECT_EQ(gif.back(), ';');
    EXPECT_TRUE(sameColors(seenBy("giftopnm -image=2 @", gif).get(), images[1].get()));
    const Loaded file = loaded(gif);
    EXPECT_EQ(file.count, 3);
    for (const int index : {2, 1, 0, 0, 2}) {  // any order, and again
        const Im back(imFileLoadImage(file.file.get(), index, nullptr));
        EXPECT_TRUE(same(back.get(), images[index].get())) << index;
    }
    // Without the end of the last, the others are there.
    const Bytes shorter = cut(gif, gif.size() - 10);
    EXPECT_TRUE(same(loaded(shorter, 1).image.get(), images[1].get()));
    EXPECT_EQ(loaded(shorter, 2).error, IM_ERR_ACCESS);
}

// A GIF of one image of 4 by 1, with a table of two entries or none.
Bytes tinyGif(const Bytes& table, unsigned char codeBits, const Bytes& codes) {
    const auto flags = static_cast<unsigned char>(table.empty() ? 0 : 0x80);
    const auto length = static_cast<unsigned char>(codes.size());
    Bytes gif;
    for (const Bytes& part :
         {Bytes{'G', 'I', 'F', '8', '9', 'a', 4, 0, 1, 0, flags, 0, 0}, table,
          Bytes{',', 0, 0, 0, 0, 4, 0, 1, 0, 0, codeBits, length}, codes, Bytes{0, ';'}})
        gif.insert(gif.end(), part.begin(), part.end());
    return gif;
}

TEST(ImGif, OddIndexes) {
    // Clear, 0, 1, 2, 3, end: 3 bits each, 4 from the fifth on.
    const Bytes counting = {0x44, 0x34, 0x05};
    const Loaded bits = loaded(tinyGif({255, 255, 255, 0, 0, 0}, 2, counting));
    ASSERT_EQ(bits.error, IM_ERR_NONE);
    EXPECT_EQ(bits.image->color_space, IM_BINARY);
    EXPECT_EQ(std::memcmp(samplesOf(*bits.image), "\1\0\0\0", 4), 0);  // black beyond the table
    const Loaded ramp = loaded(tinyGif({}, 2, counting));              // greys, without one
    ASSERT_EQ(ramp.error, IM_ERR_NONE);
    EXPECT_EQ(std::memcmp(samplesOf(*ramp.image), "\0\1\2\3", 4), 0);
    EXPECT_EQ(ramp.image->palette_count, 4);
    EXPECT_EQ(ramp.image->palette[2].green, 170);
    // Codes that stand for nothing yet, and a depth that no code has.
    EXPECT_EQ(loaded(tinyGif({}, 2, {0xff, 0xff, 0xff})).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(tinyGif({}, 9, counting)).error, IM_ERR_ACCESS);
}

TEST(ImPngGif, ConvertsWhatTheyDoNotHave) {
    const Im few = converted(*randomIm(30, 20, IM_MAP, IM_BYTE, 1, 200), IM_RGB);
    EXPECT_TRUE(sameColors(loaded(encoded({few.get()}, "GIF")).image.get(), few.get()));
    for (const int space : {IM_GRAY, IM_RGB, IM_CMYK})
        EXPECT_EQ(saveError(randomIm(30, 20, space, IM_USHORT), "GIF"), IM_ERR_NONE);
    const Im cmyk = randomIm(9, 4, IM_CMYK);
    EXPECT_TRUE(sameColors(loaded(encoded({cmyk.get()}, "PNG")).image.get(), cmyk.get()));
    for (const char* format : {"PNG", "GIF"})
        EXPECT_EQ(saveError(randomIm(2, 2, IM_GRAY, IM_FLOAT), format), IM_ERR_DATA);
    EXPECT_EQ(saveError(randomIm(65536, 1, IM_GRAY), "GIF"), IM_ERR_DATA);
}

// A PNG whose header begins with other bytes, its sum renewed.
Bytes withHeader(Bytes png, const Bytes& header) {
    const size_t name = 12, end = name + 4 + 13;
    std::copy(header.begin(), header.end(), &png[name + 4]);
    unsigned sum = ~0U;
    for (size_t i = 8 * name; i < 8 * end; ++i) {
        sum ^= unsigned(png[i / 8]) >> i % 8 & 1;
        sum = sum >> 1 ^ (sum & 1 ? 0xedb88320U : 0);
    }
    for (size_t i = 0; i < 4; ++i)
        png[end + i] = static_cast<unsigned char>(~sum >> (24 - 8 * i));
    return png;
}

TEST(ImPngGif, RefuseDamage) {
    const Im image = randomIm(33, 9, IM_RGB), grey = randomIm(33, 9, IM_GRAY);
    const Bytes png = encoded({image.get()}, "PNG"), gif = encoded({grey.get()}, "GIF");
    EXPECT_EQ(loaded(withHeader(png, {0, 0, 0, 33})).error, IM_ERR_NONE);
    EXPECT_EQ(loaded(withHeader(png, {0, 0, 0, 0})).error, IM_ERR_FORMAT);
    EXPECT_EQ(loaded(withHeader(png, {0x7f, 0xff, 0xff, 0xff})).error, IM_ERR_MEM);
    EXPECT_EQ(loaded(withHeader(png, {0, 0, 64, 0, 0, 0, 64, 0})).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(withHeader(png, {0, 0, 0, 33, 0, 0, 0, 10})).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(withHeader(png, {0, 0, 0, 33, 0, 0, 0, 9, 3})).error, IM_ERR_FORMAT);
    const auto sized = [&](const Bytes& size) {
        Bytes other = gif;
        std::copy(size.begin(), size.end(), &other[13 + 768 + 5]);
        return loaded(other).error;
    };
    EXPECT_EQ(sized({33, 0, 9, 0}), IM_ERR_NONE);
    EXPECT_EQ(sized({0, 0, 9, 0}), IM_ERR_FORMAT);
    EXPECT_EQ(sized({255, 255, 255, 255}), IM_ERR_MEM);
    EXPECT_EQ(sized({255, 255, 255, 15}), IM_ERR_ACCESS);
    EXPECT_EQ(sized({33, 0, 10, 0}), IM_ERR_ACCESS);

    const size_t end = png.size() - 12;  // an end chunk isn't missed
    for (size_t size = 0; size < end; size += 7)
        EXPECT_NE(loaded(cut(png, size)).error, IM_ERR_NONE) << size;
    for (size_t size = 0; size < gif.size() - 2; size += 7)
        EXPECT_NE(loaded(cut(gif, size)).error, IM_ERR_NONE) << size;
    EXPECT_EQ(loaded(cut(png, end - 1)).error, IM_ERR_ACCESS);
    EXPECT_TRUE(same(loaded(cut(png, end)).image.get(), image.get()));
    Bytes damaged = png;
    damaged[png.size() / 2] ^= 0x10;
    EXPECT_EQ(loaded(damaged).error, IM_ERR_ACCESS);
}

TEST(ImPngGif, TellWhenTheFileIsFull) {
    const Im image = randomIm(90, 90, IM_GRAY);
    for (const char* format : {"PNG", "GIF"}) {
        unsigned char room[900];
        imBinMemoryFileName block{room, sizeof room, 0.0F};
        const ImFile file(inMemory(
            [&] { return imFileNew(reinterpret_cast<const char*>(&block), format, nullptr); }));
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(imFileSaveImage(file.get(), image.get()), IM_ERR_ACCESS);
    }
}

}  // namespace
