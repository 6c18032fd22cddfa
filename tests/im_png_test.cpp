// PNG: round trips of every kind, what other programs see and make, resolution, damaged files.
#include "im_support.h"

using namespace test;

namespace {

struct Kind {
    int space, type, colors;
};
constexpr Kind kKinds[] = {
    {IM_BINARY, IM_BYTE, 2}, {IM_GRAY, IM_BYTE, 256}, {IM_GRAY, IM_USHORT, 0}, {IM_RGB, IM_BYTE, 0},
    {IM_RGB, IM_USHORT, 0},  {IM_MAP, IM_BYTE, 1},    {IM_MAP, IM_BYTE, 2},    {IM_MAP, IM_BYTE, 3},
    {IM_MAP, IM_BYTE, 16},   {IM_MAP, IM_BYTE, 17},   {IM_MAP, IM_BYTE, 256}};

Bytes asPnm(const Im& image) {
    return encoded({image.get()}, "PNM");
}

// Bytes of a PNG with another chunk body, its sum renewed. `at` is the place of the chunk's name.
Bytes patched(Bytes png, size_t at, size_t length,
              const std::function<void(unsigned char*)>& edit) {
    edit(&png[at + 4]);
    unsigned sum = ~0U;
    for (size_t i = at; i < at + 4 + length; ++i) {
        sum ^= png[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xedb88320U : 0);
    }
    for (size_t i = 0; i < 4; ++i)
        png[at + 4 + length + i] = static_cast<unsigned char>(~sum >> (24 - 8 * i));
    return png;
}

constexpr size_t kHeaderName = 12, kHeaderLength = 13;

TEST(ImPng, RoundTripsAsOthersSeeIt) {
    for (const Kind& kind : kKinds)
        for (const int width : {1, 7, 8, 9, 33}) {
            const Im image = randomIm(width, 5, kind.space, kind.type, 3, kind.colors);
            const Bytes png = encoded({image.get()}, "PNG");
            const Loaded back = loaded(png);
            EXPECT_TRUE(same(back.image.get(), image.get())) << kind.colors << " " << width;
            EXPECT_EQ(back.compression, "DEFLATE");
            if (width != 33) continue;
            const Im seen = seenBy("pngtopnm @", png);
            ASSERT_NE(seen, nullptr);
            EXPECT_TRUE(same(converted(*seen, IM_RGB).get(), converted(*image, IM_RGB).get()));
        }
    const Im cmyk = randomIm(9, 4, IM_CMYK);
    const Loaded back = loaded(encoded({cmyk.get()}, "PNG"));
    EXPECT_TRUE(same(back.image.get(), converted(*cmyk, IM_RGB).get()));
}

TEST(ImPng, ReadsWhatOthersMake) {
    for (const int size : {1, 2, 5, 8, 33})
        for (const char* command : {"pnmtopng @", "pnmtopng -interlace @", "pnmtopng -force @",
                                    "pnmtopng -force -interlace -alpha=@ @"})
            for (const Kind& kind : kKinds) {
                const bool alpha = std::strstr(command, "alpha") != nullptr;
                if (alpha && kind.type == IM_USHORT && kind.space == IM_RGB) continue;
                if (alpha && kind.space != IM_GRAY) continue;
                const Im image = randomIm(size, size + 1, kind.space, kind.type, 5, kind.colors);
                const Loaded back = loaded(piped(command, asPnm(image)));
                ASSERT_EQ(back.error, IM_ERR_NONE) << command;
                EXPECT_TRUE(
                    same(converted(*back.image, IM_RGB).get(), converted(*image, IM_RGB).get()))
                    << command << " " << size << " " << kind.space << " " << kind.colors;
            }
}

TEST(ImPng, TellsHowTheFileStoresIt) {
    const Im image = randomIm(33, 9, IM_GRAY);
    for (int levels : {4, 16}) {
        for (size_t i = 0; i < imBytes(*image); ++i)
            samplesOf(*image)[i] = static_cast<unsigned char>(samplesOf(*image)[i] * levels / 256 *
                                                              255 / (levels - 1));
        const Loaded low = loaded(piped("pnmtopng @", asPnm(image)));  // 2 or 4 bits
        EXPECT_TRUE(same(low.image.get(), image.get())) << levels;
    }
    const auto modeOf = [&](const char* command, const Im& source) {
        const Loaded file = loaded(piped(command, asPnm(source)));
        int mode = 0;
        imFileReadImageInfo(file.file.get(), 0, nullptr, nullptr, &mode, nullptr);
        return mode;
    };
    const Im colours = randomIm(5, 5, IM_MAP, IM_BYTE, 1, 2), bits = randomIm(5, 5, IM_BINARY);
    EXPECT_EQ(modeOf("pnmtopng -force -alpha=@ @", image),
              IM_GRAY | IM_ALPHA | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(modeOf("pnmtopng @", colours), IM_MAP | IM_TOPDOWN);
    EXPECT_EQ(modeOf("pnmtopng -force @", colours), IM_RGB | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(modeOf("pnmtopng @", bits), IM_BINARY | IM_TOPDOWN);
}

TEST(ImPng, PalettesOfTwoColours) {
    // The same bits as black on white, as white on black and as grey on white.
    const Im image = randomIm(19, 3, IM_MAP, IM_BYTE, 1, 2);
    const Im bits = randomIm(19, 3, IM_BINARY);
    std::memcpy(samplesOf(*image), samplesOf(*bits), imBytes(*bits));
    const auto stored = [&](imPaletteColor zero, imPaletteColor one) {
        image->palette[0] = zero;
        image->palette[1] = one;
        return loaded(encoded({image.get()}, "PNG"));
    };
    const imPaletteColor black{0, 0, 0}, grey{9, 9, 9}, white{255, 255, 255};
    EXPECT_TRUE(same(stored(black, white).image.get(), bits.get()));
    EXPECT_TRUE(same(stored(grey, white).image.get(), image.get()));
    const Loaded flipped = stored(white, black);
    for (size_t i = 0; i < imBytes(*bits); ++i)
        samplesOf(*bits)[i] ^= 1;
    EXPECT_TRUE(same(flipped.image.get(), bits.get()));

    samplesOf(*image)[7] = 5;  // beyond the palette: black, in a file that others accept
    const Im seen = seenBy("pngtopnm @", encoded({image.get()}, "PNG"));
    ASSERT_NE(seen, nullptr);
    EXPECT_TRUE(same(converted(*seen, IM_RGB).get(), converted(*image, IM_RGB).get()));
}

TEST(ImPng, CarriesResolution) {
    const Im image = randomIm(4, 4, IM_GRAY);
    const auto resolutionOf = [&](const char* unit, float x, float y) {
        const Bytes png = encoded({image.get()}, "PNG", nullptr, nullptr, [&](imFile* file) {
            imFileSetAttribute(file, "XResolution", IM_FLOAT, 1, &x);
            imFileSetAttribute(file, "YResolution", IM_FLOAT, 1, &y);
            if (unit != nullptr) imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, unit);
        });
        const Loaded back = loaded(png);
        const void* const data[] = {imFileGetAttribute(back.file.get(), "XResolution", 0, 0),
                                    imFileGetAttribute(back.file.get(), "YResolution", 0, 0)};
        if (data[0] == nullptr || data[1] == nullptr) return std::pair(0.0F, 0.0F);
        EXPECT_STREQ(
            static_cast<const char*>(imFileGetAttribute(back.file.get(), "ResolutionUnit", 0, 0)),
            "DPI");
        return std::pair(*static_cast<const float*>(data[0]), *static_cast<const float*>(data[1]));
    };
    EXPECT_NEAR(resolutionOf("DPI", 300, 200).first, 300.0F, 0.02F);
    EXPECT_NEAR(resolutionOf("DPI", 300, 200).second, 200.0F, 0.02F);
    EXPECT_NEAR(resolutionOf("DPC", 100, 100).first, 254.0F, 0.02F);
    EXPECT_EQ(resolutionOf(nullptr, 300, 300).first, 0.0F);
}

TEST(ImPng, RefusesDamage) {
    const Im image = randomIm(33, 9, IM_RGB);
    const Bytes png = encoded({image.get()}, "PNG");
    const auto withHeader = [&](const std::vector<unsigned char>& header) {
        return loaded(patched(png, kHeaderName, kHeaderLength,
                              [&](unsigned char* body) {
                                  std::copy(header.begin(), header.end(), body);
                              }))
            .error;
    };
    EXPECT_EQ(withHeader({0, 0, 0, 0}), IM_ERR_FORMAT);
    EXPECT_EQ(withHeader({0x7f, 0xff, 0xff, 0xff}), IM_ERR_MEM);
    EXPECT_EQ(withHeader({0, 0, 0x40, 0, 0, 0, 0x40, 0}), IM_ERR_ACCESS);
    EXPECT_EQ(withHeader({0, 0, 0, 33, 0, 0, 0, 10}), IM_ERR_ACCESS);  // a row more than there is
    EXPECT_EQ(withHeader({0, 0, 0, 33, 0, 0, 0, 9, 3, 2}), IM_ERR_FORMAT);
    EXPECT_EQ(withHeader({0, 0, 0, 33, 0, 0, 0, 9, 8, 3}), IM_ERR_FORMAT);  // without a palette

    const size_t tail = 12;  // the end chunk is not missed
    for (size_t size = 0; size < png.size() - tail; size += 7)
        EXPECT_NE(loaded(Bytes(png.begin(), png.begin() + long(size))).error, 0) << size;
    EXPECT_EQ(loaded(Bytes(png.begin(), png.end() - long(tail) - 1)).error, IM_ERR_ACCESS);
    Bytes trailing = png;
    trailing.insert(trailing.end(), 100, 'x');
    EXPECT_TRUE(same(loaded(trailing).image.get(), image.get()));
    Bytes damaged = png;
    damaged[png.size() / 2] ^= 0x10;
    EXPECT_EQ(loaded(damaged).error, IM_ERR_ACCESS);

    int error = 0;
    const Im real(imImageCreate(2, 2, IM_GRAY, IM_FLOAT));
    encoded({real.get()}, "PNG", nullptr, &error);
    EXPECT_EQ(error, IM_ERR_DATA);
}

}  // namespace
