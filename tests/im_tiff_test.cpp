// TIFF: JPEG in it, pages that libtiff did not write, damage.
#include <map>

#include "im_support.h"

using namespace test;

namespace {

using Values = std::vector<unsigned>;
using Tags = std::map<int, Values>;

constexpr int kWidth = 256, kHeight = 257, kBits = 258, kCompression = 259, kPhotometric = 262,
              kFillOrder = 266, kOffsets = 273, kOrientation = 274, kSamples = 277, kCounts = 279,
              kPlanar = 284, kColorMap = 320, kTileWidth = 322, kTileHeight = 323,
              kTileOffsets = 324, kTileCounts = 325, kExtra = 338, kSampleFormat = 339;
enum { kWhiteIsZero, kBlackIsZero, kRgb, kIndexes, kInks = 5, kYCbCr };  // photometric

enum Form { kLittle, kBig, kBigTiff };

/// A file of one page: header, data, then the directory with the tags' long values. Tag values are
/// words, offsets and counts double words; those of one strip are filled in.
Bytes handMade(Tags tags, const Bytes& data, Form form = kLittle, unsigned next = 0) {
    const bool big = form == kBig, wide = form == kBigTiff;
    const size_t word = wide ? 8 : 4, start = (wide ? 16 : 8) + data.size();
    if (tags.count(kTileOffsets) == 0) {
        tags.insert({kOffsets, {wide ? 16U : 8U}});
        tags.insert({kCounts, {unsigned(data.size())}});
    }
    const auto value = [big](size_t size, size_t v) {
        return number(size, static_cast<long long>(v), big);
    };
    Bytes directory = value(wide ? 8 : 2, tags.size()), values;
    const size_t valuesAt = start + (wide ? 16 + 20 * tags.size() : 6 + 12 * tags.size());
    for (const auto& [id, list] : tags) {
        const bool words = id != kOffsets && id != kCounts && id != kTileOffsets &&
                           id != kTileCounts && id != kWidth && id != kHeight;
        Bytes field;
        for (const unsigned v : list)
            field = field + value(words ? 2 : 4, v);
        const Bytes place = value(word, valuesAt + values.size());
        if (field.size() > word) values = values + field;
        directory = directory + value(2, size_t(id)) + value(2, words ? 3 : 4) +
                    value(word, list.size()) + (field.size() > word ? place : cut(field, word));
    }
    return Bytes(2, big ? 'M' : 'I') + value(2, wide ? 43 : 42) + (wide ? value(4, 8) : Bytes()) +
           value(word, start) + data + directory + value(word, next) + values;
}

Tags page(unsigned width, unsigned height, unsigned bits, unsigned photometric,
          const Tags& more = {}) {
    Tags tags = more;
    tags[kWidth] = {width};
    tags[kHeight] = {height};
    tags[kBits] = {bits};
    tags[kPhotometric] = {photometric};
    tags.insert({kCompression, {1}});
    return tags;
}

TEST(ImTiff, JpegKeepsTheLookAndHeedsQuality) {
    Im image(imImageCreate(200, 100, IM_RGB, IM_BYTE));
    for (size_t i = 0; i < imBytes(*image); ++i)
        samplesOf(*image)[i] = static_cast<unsigned char>(i / 20000 * 60 + i % 200 / 4);
    const auto withQuality = [&image](int q) {
        return encoded({image.get()}, "TIFF", "JPEG", nullptr, quality(q));
    };
    const Bytes fine = withQuality(95);
    EXPECT_LT(withQuality(20).size(), fine.size());
    const Loaded back = loaded(fine);
    EXPECT_EQ(back.compression, "JPEG");
    EXPECT_TRUE(same(back.image.get(), image.get(), 6));
}

TEST(ImTiff, LeavesThePagesBeforeAFailureWhole) {
    const Im small = randomIm(8, 8, IM_GRAY), large = randomIm(300, 300, IM_GRAY);
    Bytes space(1000);
    imBinMemoryFileName block{space.data(), 1000, 0.0F};
    const ImFile file = memoryFile(block, "TIFF");
    EXPECT_EQ(imFileSaveImage(file.get(), small.get()), IM_ERR_NONE);
    EXPECT_EQ(imFileSaveImage(file.get(), large.get()), IM_ERR_ACCESS);
    const Loaded back = loaded(space);
    EXPECT_EQ(back.count, 1);
    EXPECT_TRUE(same(back.image.get(), small.get()));
}

const Tags kThree = {{kSamples, {3}}}, kFour = {{kSamples, {4}}}, kFloats = {{kSampleFormat, {3}}};
const Tags kBlackWhite = {{kColorMap, {0, 65535, 0, 65535, 0, 65535}}};
const Tags kWhiteBlack = {{kColorMap, {65535, 0, 65535, 0, 65535, 0}}};
const Tags kColours = {{kColorMap, {0, 65535, 0, 65535, 0, 0}}};
const Tags kAlpha = {{kSamples, {4}}, {kExtra, {2}}};
const Tags kApart = {{kSamples, {4}},
                     {kExtra, {2}},
                     {kPlanar, {2}},
                     {kOffsets, {8, 10, 12, 14}},
                     {kCounts, {2, 2, 2, 2}}};
const Tags kOldMap = {{kColorMap, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}};
const Tags kMap = {{kColorMap, {0, 257, 514, 771, 1028, 1285, 1542, 1799, 2056, 2313, 2570, 2827}}};

TEST(ImTiff, ReadsSamplesAsTheyLie) {
    const char* const ramp = "MAP T 0:000408 1:010509 2:02060a 3:03070b";
    const struct {
        Tags tags;
        const char *data, *seen;
        Form form = kLittle;
    } pages[] = {
        {page(2, 1, 1, kBlackIsZero), "40", "BINARY T 0 1"},
        {page(2, 1, 1, kWhiteIsZero), "40", "BINARY T 1 0"},
        {page(2, 1, 1, kBlackIsZero, {{kFillOrder, {2}}}), "02", "BINARY T 0 1"},
        {page(2, 1, 2, kBlackIsZero), "20", "GRAY T 0 170"},
        {page(2, 1, 4, kWhiteIsZero), "0e", "GRAY T 255 17"},
        {page(2, 1, 6, kBlackIsZero), "03e0", "GRAY T 0 251"},
        {page(2, 1, 12, kBlackIsZero), "000ffe", "GRAY TW 0 65519"},
        {page(1, 1, 16, kWhiteIsZero), "0201", "GRAY TW 65277"},
        {page(1, 1, 16, kBlackIsZero), "0102", "GRAY TW 258", kBig},
        {page(1, 1, 16, kBlackIsZero), "0102", "GRAY TW 513", kBigTiff},
        {page(1, 1, 32, kBlackIsZero, kFloats), "00000000", "DATA"},
        {page(2, 1, 8, kInks, kFour), "01020309 04050609",
         "CMYK PT 254 251 / 253 250 / 252 249 / 246 246"},
        {page(1, 1, 4, kRgb, kThree), "1f80", "RGB PT 17 / 255 / 136"},
        {page(1, 1, 8, kRgb, {{kSamples, {2}}}), "0102", "DATA"},
        {page(2, 1, 8, kRgb, kAlpha), "01020309 04050609", "RGB APT 1 4 / 2 5 / 3 6"},
        {page(2, 1, 8, kRgb, kApart), "0104 0205 0306 0909", "RGB AT 1 4 / 2 5 / 3 6"},
        // Palettes of black and white make a bilevel page; old ones have bytes.
        {page(2, 1, 1, kIndexes, kBlackWhite), "40", "BINARY T 0 1"},
        {page(2, 1, 1, kIndexes, kWhiteBlack), "40", "BINARY T 1 0"},
        {page(2, 1, 1, kIndexes, kColours), "40", "MAP T 0:000000 1:ffff00"},
        {page(4, 1, 2, kIndexes, kMap), "1b", ramp},
        {page(4, 1, 2, kIndexes, kOldMap), "1b", ramp},
        // Neutral pixels stay neutral.
        {page(2, 1, 8, kYCbCr, {{kSamples, {3}}, {530, {1, 1}}}), "098080 c88080",
         "RGB PT 9 200 / 9 200 / 9 200"},
        // Turned and mirrored pages come upright, beyond the fourth kind as they lie.
        {page(2, 2, 8, kBlackIsZero, {{kOrientation, {1}}}), "01020304", "GRAY T 1 2 3 4"},
        {page(2, 2, 8, kBlackIsZero, {{kOrientation, {2}}}), "01020304", "GRAY T 2 1 4 3"},
        {page(2, 2, 8, kBlackIsZero, {{kOrientation, {3}}}), "01020304", "GRAY 4 3 2 1"},
        {page(2, 2, 8, kBlackIsZero, {{kOrientation, {4}}}), "01020304", "GRAY 3 4 1 2"},
        {page(2, 2, 8, kBlackIsZero, {{kOrientation, {5}}}), "01020304", "GRAY T 1 2 3 4"},
    };
    for (const auto& p : pages)
        EXPECT_EQ(shown(handMade(p.tags, hex(p.data), p.form)), p.seen) << (&p - pages);
}

TEST(ImTiff, ReadsTilesBeyondTheEdges) {
    // Six tiles of 16 x 16 for 33 x 20 pixels, each filled with its number.
    Bytes data;
    Tags tags = {{kTileWidth, {16}}, {kTileHeight, {16}}};
    for (unsigned tile = 0; tile < 6; ++tile) {
        tags[kTileOffsets].push_back(8 + 256 * tile);
        tags[kTileCounts].push_back(256);
        data.insert(data.end(), 256, static_cast<unsigned char>(tile));
    }
    std::string expected = "GRAY T";
    for (int i = 0; i < 33 * 20; ++i)
        expected += ' ' + std::to_string(i / 33 / 16 * 3 + i % 33 / 16);
    EXPECT_EQ(shown(handMade(page(33, 20, 8, kBlackIsZero, tags), data)), expected);
}

TEST(ImTiff, RefusesWhatItCannotRead) {
    const Tags grey = page(20, 20, 8, kBlackIsZero);
    const auto coded = [](unsigned width, unsigned height, unsigned compression,
                          unsigned samples = 1) {
        return page(width, height, compression == 4 ? 1 : 8, kBlackIsZero,
                    {{kCompression, {compression}}, {kSamples, {samples}}});
    };
    const Tags tile = {
        {kTileWidth, {65520}}, {kTileHeight, {65520}}, {kTileOffsets, {8}}, {kTileCounts, {400}}};
    const Bytes data(400, 7);
    EXPECT_EQ(loaded(handMade(grey, data)).error, IM_ERR_NONE);
    EXPECT_EQ(shown(handMade(grey, Bytes(300))), "ACCESS");
    EXPECT_EQ(shown(hex("49492a00 c8000000")), "FORMAT");
    EXPECT_EQ(shown(handMade(coded(100000, 100000, 1), data)), "MEM");
    EXPECT_EQ(shown(handMade(coded(40000, 40000, 1), data)), "ACCESS");
    EXPECT_EQ(shown(handMade(page(20, 20, 8, kBlackIsZero, tile), data)), "MEM");
    for (const unsigned compression : {32771U, 5U, 8U, 7U, 4U, 32773U})
        EXPECT_NE(loaded(handMade(coded(60000, 30000, compression), data)).error, IM_ERR_NONE)
            << compression;
    // The grey plane is small enough, but rows with all the other samples are not.
    EXPECT_GE(loaded(handMade(coded(1 << 22, 1, 50000, 1), data)).mode, 0);
    EXPECT_LT(loaded(handMade(coded(1 << 22, 1, 50000, 64), data)).mode, 0);
    const Loaded wavelets = loaded(handMade(coded(20, 20, 34712), data));
    EXPECT_EQ(wavelets.error, IM_ERR_COMPRESS);
    EXPECT_EQ(wavelets.compression, "JPEG2000");
    // The next directory: the same again, and one that the file doesn't have.
    for (const unsigned next : {8 + 400U, 60000U})
        EXPECT_EQ(loaded(handMade(grey, data, kLittle, next)).count, 1);
}

TEST(ImTiff, ChecksJbigBeforeDecoding) {
    // 16 x 2 pixels; libtiff keeps these bytes with their bits in reverse.
    const Bytes data = hex("0000800000000008000000400000004010 00c0383da1f706ff40");
    const Tags tags = page(16, 2, 1, kBlackIsZero, {{kCompression, {34661}}});
    EXPECT_EQ(shown(handMade(tags, data)),
              "BINARY T 0 0 0 0 1 1 1 1 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 1 1 1 1 0 0 0 0");
    // more rows than memory
    EXPECT_EQ(shown(handMade(tags, changed(data, 8, {0xff}))), "ACCESS");
}

TEST(ImTiff, LoadsWhitePagesAndShortFaxes) {
    // The whole page in 3508 bits: its size alone looks absurd.
    Im white(imImageCreate(2480, 3508, IM_BINARY, IM_BYTE));
    std::fill_n(samplesOf(*white), imBytes(*white), static_cast<unsigned char>(1));
    const Bytes bytes = encoded({white.get()}, "TIFF", "CCITTFAX4");
    EXPECT_LT(bytes.size(), 800U);
    EXPECT_TRUE(same(loaded(bytes).image.get(), white.get()));

    // Fax data that end early leave white rows behind the damaged one, for both senses of bits.
    for (const unsigned photometric : {kWhiteIsZero, kBlackIsZero}) {
        const Tags fax = page(16, 64, 1, photometric, {{kCompression, {4}}});
        const Loaded file = loaded(handMade(fax, hex("ff001001")));
        ASSERT_EQ(file.error, 0);
        const unsigned char* const rows = samplesOf(*file.image);  // the bottom row first
        EXPECT_EQ(Bytes(rows, rows + 16 * 55), Bytes(16 * 55, 1)) << photometric;
    }
}

}  // namespace
