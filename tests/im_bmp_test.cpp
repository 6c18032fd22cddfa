// BMP, ICO and PCX: round trips, what other programs see, the kinds that only others write (made by
// hand here), and headers that lie.
#include "im_support.h"

using namespace test;

namespace {

bool sameColors(const imImage* a, const imImage* b) {
    return a != nullptr && b != nullptr &&
           same(converted(*a, IM_RGB).get(), converted(*b, IM_RGB).get());
}

Bytes hex(const std::string& digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += digits[i] == ' ' ? 1 : 2)
        if (digits[i] != ' ')
            bytes.push_back(
                static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

void put(Bytes& bytes, size_t size, long long value) {
    for (size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> 8 * i));
}

/// A bitmap put together by hand; masks, palette and rows are hexadecimal.
struct ByHand {
    int headerBytes, width, height, bits;
    unsigned compression = 0;
    std::string masks = {}, palette = {}, rows = {};
    int colors = 0;  ///< as announced
    int gap = 0;     ///< between palette and rows

    Bytes dib() const {
        Bytes b;
        put(b, 4, headerBytes);
        put(b, headerBytes == 12 ? 2 : 4, width);
        put(b, headerBytes == 12 ? 2 : 4, height);
        put(b, 2, 1);
        put(b, 2, bits);
        if (headerBytes >= 40) {
            put(b, 4, compression);
            for (const int field : {0, 11811, 5906, colors, 0})
                put(b, 4, field);
        }
        const Bytes m = hex(masks);
        b.insert(b.end(), m.begin(), m.end());
        b.resize(std::max(b.size(), size_t(headerBytes)));
        const Bytes p = hex(palette);
        b.insert(b.end(), p.begin(), p.end());
        return b;
    }

    Bytes bytes() const {
        const Bytes head = dib(), data = hex(rows);
        Bytes b{'B', 'M'};
        const size_t at = 14 + head.size() + size_t(gap);
        put(b, 4, static_cast<long long>(at + data.size()));
        put(b, 4, 0);
        put(b, 4, static_cast<long long>(at));
        b.insert(b.end(), head.begin(), head.end());
        b.resize(at, 0xee);
        b.insert(b.end(), data.begin(), data.end());
        return b;
    }
};

/// Pixels in the order of the record: hexadecimal R, G, B of each.
std::string pixels(const Loaded& file) {
    if (file.image == nullptr) return "error " + std::to_string(file.error);
    const Im rgb = converted(*file.image, IM_RGB);
    const size_t count = imBytes(*rgb) / 3;
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        char digits[8];
        std::snprintf(digits, sizeof digits, i == 0 ? "%02x%02x%02x" : " %02x%02x%02x",
                      samplesOf(*rgb)[i], samplesOf(*rgb)[count + i],
                      samplesOf(*rgb)[2 * count + i]);
        text += digits;
    }
    return text;
}

std::string indexes(const Loaded& file) {
    std::string text;
    for (size_t i = 0; file.image != nullptr && i < imBytes(*file.image); ++i) {
        if (i > 0 && i % size_t(file.image->width) == 0) text += ' ';
        text += "0123456789abcdef"[samplesOf(*file.image)[i] & 15];
    }
    return text;
}

int saveError(const Im& image, const char* format, const char* compression = nullptr) {
    int error = 0;
    encoded({image.get()}, format, compression, &error);
    return error;
}

int modeOf(const Loaded& file) {
    int mode = -1;
    imFileReadImageInfo(file.file.get(), 0, nullptr, nullptr, &mode, nullptr);
    return mode;
}

TEST(ImBmp, RoundTripsAsOthersSeeThemAsPcxDoes) {
    for (const int width : {1, 7, 8, 9, 33, 300})
        for (const int space : {IM_BINARY, IM_GRAY, IM_MAP, IM_RGB})
            for (const std::string format : {"BMP", "PCX"})
                for (const std::string compression : {"NONE", "RLE"}) {
                    const bool bmpRuns = format == "BMP" && compression == "RLE";
                    if (space == IM_RGB && bmpRuns) continue;
                    const bool widened = space == IM_BINARY && bmpRuns;
                    const int colors = format == "BMP" ? 200 : 256;  // PCX always has them all
                    const Im image = randomIm(width, 9, space, IM_BYTE, unsigned(width), colors);
                    const Bytes file = encoded({image.get()}, format.c_str(), compression.c_str());
                    const Loaded back = loaded(file);
                    const Im grey = converted(*image, IM_GRAY);
                    EXPECT_TRUE(same(back.image.get(), widened ? grey.get() : image.get()))
                        << format << width << compression;
                    EXPECT_EQ(back.compression, compression);
                    if (format == "PCX" && compression == "NONE") continue;  // others read no such
                    const char* const command = format == "BMP" ? "bmptopnm @" : "pcxtoppm @";
                    EXPECT_TRUE(sameColors(seenBy(command, file).get(), image.get()))
                        << format << width << " " << space << compression;
                }
}

TEST(ImBmp, ReadsWhatOthersWriteAsIcoAndPcxDo) {
    for (const int colors : {2, 4, 8, 15, 200}) {
        const Im image = randomIm(20, 30, IM_MAP, IM_BYTE, 5, colors);
        const Im rgb = converted(*image, IM_RGB);
        const Bytes pnm = encoded({rgb.get()}, "PNM");
        for (const std::string command :
             {"ppmtobmp @", "ppmtobmp -os2 @", "ppmtobmp -bpp=24 @", "ppmtowinicon @", "ppmtopcx @",
              "ppmtopcx -packed @", "ppmtopcx -8bit @", "ppmtopcx -24bit @"}) {
            if (colors > 16 && command == "ppmtopcx -packed @") continue;  // 4 bits at most
            const Bytes file = piped(command, pnm);
            EXPECT_TRUE(sameColors(loaded(file).image.get(), rgb.get())) << command << colors;
        }
    }
}

TEST(ImBmp, ReadsEveryDepthAndMask) {
    const int packed = IM_PACKED, withAlpha = IM_PACKED | IM_ALPHA;
    const std::string p2 = "0000ff00 ff000000", ink = "00000000 ffffff00";
    const std::string m565 = "00f80000 e0070000 1f000000";
    const std::string mixed = "0000ff0f 00f00000 ff030000";  // 12, 4 and 10 bits
    const std::string rgba = "ff000000 00ff0000 0000ff00 000000ff";
    const std::string argb = "0000ff00 00ff0000 ff000000 000000ff";
    const std::string paper = "ffffff00 00000000";
    const struct {
        ByHand file;
        int space;
        const char* seen;
        int flags;
    } cases[] = {
        {{40, 3, 1, 1, 0, "", p2, "a0000000"}, IM_MAP, "0000ff ff0000 0000ff", 0},
        {{40, 3, 1, 1, 0, "", ink, "a0000000"}, IM_BINARY, "ffffff 000000 ffffff", 0},
        {{40, 3, 1, 1, 0, "", paper, "a0000000"}, IM_BINARY, "000000 ffffff 000000", 0},
        {{40, 3, 1, 1, 0, "", "", "a0000000"}, IM_BINARY, "ffffff 000000 ffffff", 0},
        {{40, 3, 1, 1, 0, "", "ffffff00", "a0000000", 1}, IM_BINARY, "000000 ffffff 000000", 0},
        {{12, 3, 1, 1, 0, "", "0000ff ff0000", "a0000000"}, IM_MAP, "0000ff ff0000 0000ff", 0},
        {{12, 1, 2, 24, 0, "", "", "010203ee 040506"}, IM_RGB, "030201 060504", packed},
        {{16, 1, 1, 24, 0, "", "", "010203"}, IM_RGB, "030201", packed},
        // two black and white colours, but indexes beyond them
        {{40, 4, 1, 4, 0, "", ink, "10f10000", 2}, IM_MAP, "ffffff 000000 000000 ffffff", 0},
        {{64, 3, 1, 8, 0, "", p2, "01000100", 2, 9}, IM_MAP, "0000ff ff0000 0000ff", 0},
        {{40, 2, 1, 16, 0, "", "", "ff7f 2104"}, IM_RGB, "ffffff 080808", packed},
        {{40, 2, 1, 16, 3, m565, "", "1ff8 e007"}, IM_RGB, "ff00ff 00ff00", packed},
        {{108, 1, 1, 32, 3, mixed, "", "00f20008"}, IM_RGB, "80ff80", packed},
        {{40, 2, 1, 32, 0, "", "", "01020304 05060708"}, IM_RGB, "030201 070605", packed},
        {{40, 1, 1, 32, 6, rgba, "", "01020304"}, IM_RGB, "010203", withAlpha},
        {{124, 1, 1, 32, 3, argb, "", "01020304"}, IM_RGB, "030201", withAlpha},
    };
    for (const auto& c : cases) {
        const Bytes bytes = c.file.bytes();
        const Loaded file = loaded(bytes);
        EXPECT_EQ(pixels(file), c.seen);
        EXPECT_EQ(modeOf(file), c.space | c.flags) << c.seen;
    }
}

TEST(ImBmp, DecodesRuns) {
    const struct {
        int bits;
        unsigned compression;
        const char *rows, *seen;
    } cases[] = {
        {8, 1, "0301 0202 0000 0404 0001", "111220 444400"},
        // runs beyond the row; literals and a delta; the end within literals; a delta far off
        {8, 1, "0902 0000 0903 0903 0001", "222222 333333"},
        {8, 1, "0003 010203ee 0002 0101 0204 0001", "123000 000044"},
        {8, 1, "0000 0006 0102", "000000 120000"},
        {8, 1, "0201 0002 00ff 0201", "110000 000000"},
        {4, 2, "0512 0000 0005 12345eee 0203 0001", "121210 123450"},
        {4, 2, "0512 0203", "121210 000000"},
    };
    for (const auto& c : cases) {
        const std::string palette(c.bits == 8 ? 2048 : 128, '1');
        const ByHand file{40, 6, 2, c.bits, c.compression, "", palette, c.rows};
        EXPECT_EQ(indexes(loaded(file.bytes())), c.seen) << c.rows;
        EXPECT_EQ(loaded(file.bytes()).compression, "RLE");
    }
}

TEST(ImBmp, DeliversTopDownFilesInTheirOrder) {
    ByHand file{40, 1, 2, 24, 0, "", "", "010203ee 040506ee"};
    const std::string upright = pixels(loaded(file.bytes()));
    file.height = -2;
    const Bytes bytes = file.bytes();
    const Loaded turned = loaded(bytes);
    EXPECT_EQ(pixels(turned), upright);
    EXPECT_EQ(modeOf(turned), IM_RGB | IM_PACKED | IM_TOPDOWN);
}

TEST(ImBmp, CarriesResolutionAsPcxDoes) {
    const Im image = randomIm(3, 3, IM_RGB);
    for (const char* format : {"BMP", "PCX"}) {
        const Bytes bytes = encoded({image.get()}, format, nullptr, nullptr, [](imFile* file) {
            const float x = 118.11F, y = 200;
            imFileSetAttribute(file, "XResolution", IM_FLOAT, 1, &x);
            imFileSetAttribute(file, "YResolution", IM_FLOAT, 1, &y);
            imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, "DPC");
        });
        const Loaded back = loaded(bytes);
        const auto value = [&back](const char* name) {
            return imFileGetAttribute(back.file.get(), name, nullptr, nullptr);
        };
        EXPECT_NEAR(*static_cast<const float*>(value("XResolution")), 300.0F, 0.01F);
        EXPECT_NEAR(*static_cast<const float*>(value("YResolution")), 508.0F, 0.01F);
        EXPECT_STREQ(static_cast<const char*>(value("ResolutionUnit")), "DPI");
    }
}

TEST(ImBmp, RefusesWhatItCannotHold) {
    const struct {
        ByHand file;
        int error;
    } cases[] = {
        {{40, 2, 2, 24, 0, "", "", "000000000000eeee 0000000000"}, IM_ERR_ACCESS},
        {{40, 2, INT32_MIN, 24, 0, "", "", "00"}, IM_ERR_FORMAT},
        {{40, 0, 2, 24, 0, "", "", "00"}, IM_ERR_FORMAT},
        {{40, -2, 2, 24, 0, "", "", "00"}, IM_ERR_FORMAT},
        {{41, 2, 2, 3, 0, "", "", "00"}, IM_ERR_FORMAT},
        {{39, 2, 2, 24, 0, "", "", "00"}, IM_ERR_FORMAT},
        {{40, 2, 2, 8, 2, "", "00000000", "00"}, IM_ERR_FORMAT},
        {{40, 2, 2, 24, 4, "", "", "00"}, IM_ERR_COMPRESS},
        {{64, 2, 2, 1, 3, "", "", "00"}, IM_ERR_COMPRESS},
        {{40, 50000, 50000, 1, 0, "", "", "00"}, IM_ERR_MEM},
        {{40, 40000, 40000, 1, 0, "", "", "00"}, IM_ERR_ACCESS},
        {{40, 40000, 40000, 8, 1, "", "00000000", "0001"}, IM_ERR_ACCESS},
        {{40, 2, 2, 8, 0, "", "", "", 256, -9}, IM_ERR_ACCESS},
    };
    for (const auto& c : cases)
        EXPECT_EQ(loaded(c.file.bytes()).error, c.error) << (&c - cases);

    EXPECT_EQ(saveError(randomIm(3, 3, IM_RGB), "BMP", "RLE"), IM_ERR_DATA);
    EXPECT_EQ(saveError(randomIm(3, 3, IM_GRAY, IM_USHORT), "BMP"), IM_ERR_DATA);
    EXPECT_EQ(saveError(randomIm(3, 3, IM_GRAY), "BMP", "LZW"), IM_ERR_COMPRESS);
}

TEST(ImIco, RoundTripsAsOthersSeeThem) {
    const Im binary = randomIm(33, 9, IM_BINARY), grey = randomIm(256, 3, IM_GRAY),
             map = randomIm(7, 256, IM_MAP), rgb = randomIm(9, 9, IM_RGB);
    const std::vector<const imImage*> images{binary.get(), grey.get(), map.get(), rgb.get()};
    const Bytes bytes = encoded(images, "ICO");
    for (size_t i = 0; i < images.size(); ++i) {
        const Loaded back = loaded(bytes, int(i));
        EXPECT_EQ(back.count, 4);
        EXPECT_TRUE(same(back.image.get(), images[i])) << i;
        const std::string command = "winicontopam -quiet -image=" + std::to_string(i) +
                                    " @ | pamchannel -tupletype=RGB 0 1 2 | pamtopnm";
        EXPECT_TRUE(sameColors(seenBy(command, bytes).get(), images[i])) << i;
    }
    EXPECT_EQ(saveError(randomIm(257, 1, IM_GRAY), "ICO"), IM_ERR_DATA);
}

/// An icon of one entry.
Bytes iconOf(const Bytes& entry, int type = 1) {
    Bytes b;
    put(b, 2, 0);
    put(b, 2, type);
    put(b, 2, 1);
    put(b, 8, 0x0020000100000101);
    put(b, 4, static_cast<long long>(entry.size()));
    put(b, 4, 22);
    b.insert(b.end(), entry.begin(), entry.end());
    return b;
}

TEST(ImIco, LeavesOpacityOut) {
    Bytes entry = ByHand{40, 1, 2, 32}.dib();
    const Bytes row = hex("01020304 00000000");
    entry.insert(entry.end(), row.begin(), row.end());
    for (const int type : {1, 2}) {
        const Bytes icon = iconOf(entry, type);
        const Loaded file = loaded(icon);
        EXPECT_EQ(pixels(file), "030201");
        EXPECT_EQ(modeOf(file), IM_RGB | IM_PACKED | IM_ALPHA);
    }
    EXPECT_EQ(loaded(iconOf(entry, 3)).error, IM_ERR_FORMAT);
    EXPECT_EQ(loaded(iconOf(Bytes(entry.begin(), entry.begin() + 43))).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(iconOf(ByHand{40, 1, -2, 32}.dib())).error, IM_ERR_FORMAT);
}

TEST(ImIco, ReadsImagesInPng) {
    const Im image = randomIm(40, 30, IM_RGB);
    const Bytes icon = iconOf(piped("pnmtopng @", encoded({image.get()}, "PNM")));
    if (imFormatInfo("PNG", nullptr, nullptr, nullptr) != IM_ERR_NONE) {
        EXPECT_EQ(loaded(icon).error, IM_ERR_DATA);
        GTEST_SKIP() << "no PNG here";
    }
    EXPECT_TRUE(sameColors(loaded(icon).image.get(), image.get()));
}

/// A plain PCX file of one row.
Bytes pcxByHand(int version, int bits, int planes, int width, const Bytes& row,
                const Bytes& palette = {}) {
    Bytes b(128 + row.size());
    b[0] = 10;
    b[1] = static_cast<unsigned char>(version);
    b[3] = static_cast<unsigned char>(bits);
    b[8] = static_cast<unsigned char>(width - 1);
    b[9] = static_cast<unsigned char>((width - 1) >> 8);
    std::copy(palette.begin(), palette.end(), b.begin() + 16);
    b[65] = static_cast<unsigned char>(planes);
    b[66] = static_cast<unsigned char>(row.size() / size_t(planes));
    std::copy(row.begin(), row.end(), b.begin() + 128);
    return b;
}

TEST(ImPcx, ReadsTheDepthsOfOldFiles) {
    const Bytes inks{255, 255, 255, 0, 0, 0}, redBlue{255, 0, 0, 0, 0, 255};
    const struct {
        Bytes file;
        int space;
        Bytes samples;
        int firstRed;  ///< of the palette
    } cases[] = {
        {pcxByHand(5, 1, 1, 3, {0xa0}), IM_BINARY, {1, 0, 1}, -1},
        {pcxByHand(5, 1, 1, 3, {0xa0}, inks), IM_BINARY, {0, 1, 0}, -1},
        {pcxByHand(3, 1, 1, 3, {0xa0}, redBlue), IM_BINARY, {1, 0, 1}, -1},
        {pcxByHand(2, 1, 1, 3, {0xa0}, redBlue), IM_MAP, {1, 0, 1}, 255},
        {pcxByHand(2, 1, 4, 3, {0x80, 0xc0, 0, 0xa0}, redBlue), IM_MAP, {11, 2, 8}, 255},
        {pcxByHand(3, 1, 3, 2, {0x80, 0x40, 0x80}, redBlue), IM_MAP, {5, 2}, 0},
        {pcxByHand(2, 2, 1, 5, {0x1b, 0x80}, redBlue), IM_MAP, {0, 1, 2, 3, 2}, 255},
        {pcxByHand(2, 4, 1, 3, {0x1f, 0x80}, redBlue), IM_MAP, {1, 15, 8}, 255},
        {pcxByHand(0, 8, 1, 3, {1, 2, 200}), IM_GRAY, {1, 2, 200}, -1},
        {pcxByHand(5, 4, 3, 2, {0x1f, 0x20, 0xf3}), IM_RGB, {17, 255, 34, 0, 255, 51}, -1},
        {pcxByHand(5, 8, 4, 1, {1, 2, 3, 4}), IM_RGB, {1, 2, 3}, -1},
    };
    for (const auto& c : cases) {
        const Loaded seen = loaded(c.file);
        ASSERT_NE(seen.image, nullptr) << (&c - cases);
        EXPECT_EQ(seen.image->color_space, c.space) << (&c - cases);
        EXPECT_EQ(Bytes(samplesOf(*seen.image), samplesOf(*seen.image) + imBytes(*seen.image)),
                  c.samples)
            << (&c - cases);
        if (c.space == IM_MAP) {
            EXPECT_EQ(seen.image->palette[0].red, c.firstRed);
        }
    }
    // Runs go on into the next plane and are cut at the end of the row.
    Bytes runs = pcxByHand(5, 8, 3, 2, {0xc3, 7, 0xc9, 8, 0, 0});
    runs[2] = 1;
    const Loaded cut = loaded(runs);
    ASSERT_NE(cut.image, nullptr);
    EXPECT_EQ(Bytes(samplesOf(*cut.image), samplesOf(*cut.image) + 6), (Bytes{7, 7, 7, 8, 8, 8}));
}

TEST(ImPcx, RefusesWhatItCannotHold) {
    const Bytes good = pcxByHand(5, 8, 3, 2, {1, 2, 3, 4, 5, 6});
    const auto errorWith = [&good](std::initializer_list<std::pair<size_t, int>> changes) {
        Bytes bytes = good;
        for (const auto& [at, value] : changes)
            bytes[at] = static_cast<unsigned char>(value);
        return loaded(bytes).error;
    };
    EXPECT_EQ(errorWith({}), IM_ERR_NONE);
    EXPECT_EQ(errorWith({{10, 1}}), IM_ERR_ACCESS);              // a row that isn't there
    EXPECT_EQ(errorWith({{2, 1}, {10, 40}}), IM_ERR_ACCESS);     // more than any runs make
    EXPECT_EQ(errorWith({{3, 1}, {65, 0}}), IM_ERR_FORMAT);      // no planes
    EXPECT_EQ(errorWith({{2, 1}, {133, 0xc9}}), IM_ERR_ACCESS);  // ends in a run
    for (const auto& [at, value] :
         {std::pair{size_t{1}, 6}, {2, 2}, {3, 2}, {4, 9}, {8, 2}, {65, 5}})
        EXPECT_EQ(errorWith({{at, value}}), IM_ERR_FORMAT) << at;

    EXPECT_EQ(saveError(randomIm(65535, 1, IM_GRAY), "PCX"), IM_ERR_DATA);
    EXPECT_EQ(saveError(randomIm(65534, 1, IM_GRAY), "PCX"), IM_ERR_NONE);
    EXPECT_EQ(saveError(randomIm(2, 65537, IM_GRAY), "PCX"), IM_ERR_DATA);
    EXPECT_EQ(saveError(randomIm(65536, 2, IM_BINARY), "PCX"), IM_ERR_NONE);
    EXPECT_EQ(saveError(randomIm(65537, 2, IM_BINARY), "PCX"), IM_ERR_DATA);
    EXPECT_EQ(saveError(randomIm(2, 2, IM_RGB, IM_USHORT), "PCX"), IM_ERR_DATA);
}

}  // namespace
