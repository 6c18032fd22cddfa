// TIFF: round trips of every kind and compression, pages that libtiff did not write, what other
// programs see, damage.
#include <algorithm>
#include <cstdint>
#include <map>

#include "im_support.h"

using namespace test;

namespace {

constexpr const char* kFaxes[] = {"CCITTRLE", "CCITTFAX3", "CCITTFAX4"};

// -- Files made by hand --

using Values = std::vector<unsigned>;
using Tags = std::map<int, Values>;

constexpr int kWidth = 256, kHeight = 257, kBits = 258, kCompression = 259, kPhotometric = 262,
              kFillOrder = 266, kOffsets = 273, kOrientation = 274, kSamples = 277, kCounts = 279,
              kPlanar = 284, kColorMap = 320, kTileWidth = 322, kTileHeight = 323,
              kTileOffsets = 324, kTileCounts = 325, kExtra = 338, kSampleFormat = 339;
enum { kWhiteIsZero, kBlackIsZero, kRgb, kIndexes, kInks = 5, kYCbCr };  // photometric

void put(Bytes& to, uint64_t value, size_t bytes, bool big) {
    for (size_t i = 0; i < bytes; ++i)
        to.push_back(static_cast<unsigned char>(value >> 8 * (big ? bytes - 1 - i : i)));
}

enum Form { kLittle, kBig, kBigTiff };

constexpr unsigned headBytes(Form form) {
    return form == kBigTiff ? 16 : 8;
}

/// A file of one page: header, data, then the directory with the tags' long values. Tag values are
/// words, offsets and counts double words; those of one strip are filled in.
Bytes handMade(Tags tags, const Bytes& data, Form form = kLittle, unsigned next = 0) {
    const bool big = form == kBig, wide = form == kBigTiff;
    const size_t word = wide ? 8 : 4;
    if (tags.count(kTileOffsets) == 0) {
        tags.insert({kOffsets, {headBytes(form)}});
        tags.insert({kCounts, {unsigned(data.size())}});
    }
    Bytes directory, values;
    const size_t start = headBytes(form) + data.size();
    const size_t directoryBytes = wide ? 16 + 20 * tags.size() : 6 + 12 * tags.size();
    put(directory, tags.size(), wide ? 8 : 2, big);
    for (const auto& [id, list] : tags) {
        const bool words = id != kOffsets && id != kCounts && id != kTileOffsets &&
                           id != kTileCounts && id != kWidth && id != kHeight;
        Bytes field;
        for (const unsigned value : list)
            put(field, value, words ? 2 : 4, big);
        put(directory, unsigned(id), 2, big);
        put(directory, words ? 3 : 4, 2, big);
        put(directory, list.size(), word, big);
        if (field.size() > word) {
            put(directory, start + directoryBytes + values.size(), word, big);
            values.insert(values.end(), field.begin(), field.end());
        } else {
            field.resize(word);
            directory.insert(directory.end(), field.begin(), field.end());
        }
    }
    put(directory, next, word, big);
    Bytes file(2, big ? 'M' : 'I');
    put(file, wide ? 43 : 42, 2, big);
    if (wide) put(file, 8, 4, big);
    put(file, start, word, big);
    for (const Bytes& part : {data, directory, values})
        file.insert(file.end(), part.begin(), part.end());
    return file;
}

/// Samples of plane 0 from the top row on, plane after plane.
std::vector<int> topDown(const imImage* image) {
    std::vector<int> samples;
    if (image == nullptr) return samples;
    for (int p = 0; p < image->depth; ++p)
        for (int y = image->height - 1; y >= 0; --y)
            for (int x = 0; x < image->width; ++x) {
                const size_t at = size_t(y) * size_t(image->width) + size_t(x);
                samples.push_back(image->data_type == IM_USHORT
                                      ? static_cast<unsigned short*>(image->data[p])[at]
                                      : static_cast<unsigned char*>(image->data[p])[at]);
            }
    return samples;
}

/// Loads a file and tells its samples, in front of them its colour space.
std::vector<int> seenIn(const Bytes& bytes) {
    const Loaded file = loaded(bytes);
    if (file.image == nullptr) return {-file.error};
    std::vector<int> samples = topDown(file.image.get());
    samples.insert(samples.begin(), file.image->color_space);
    return samples;
}

Tags page(unsigned width, unsigned height, unsigned bits, unsigned photometric,
          const Tags& more = {}) {
    Tags tags = more;
    tags.insert({{kWidth, {width}},
                 {kHeight, {height}},
                 {kBits, {bits}},
                 {kCompression, {1}},
                 {kPhotometric, {photometric}}});
    return tags;
}

int modeOf(const Bytes& bytes) {
    const Loaded file = loaded(bytes);
    int mode = -1;
    imFileReadImageInfo(file.file.get(), 0, nullptr, nullptr, &mode, nullptr);
    return mode;
}

// -- Round trips --

void expectRoundTrip(int space, int type, int width, const char* compression) {
    const Im image = randomIm(width, 150, space, type);
    const Bytes bytes = encoded({image.get()}, "TIFF", compression);
    const Loaded back = loaded(bytes);
    EXPECT_TRUE(same(back.image.get(), image.get()))
        << compression << " " << imColorModeSpaceName(space) << " " << width;
    EXPECT_EQ(back.compression, compression);
}

TEST(ImTiff, RoundTripsExactly) {
    for (const int width : {1, 7, 8, 9, 33, 700}) {
        for (const char* compression : {"NONE", "RLE", "LZW", "DEFLATE", "LZMA", "ZSTD"}) {
            for (const int space : {IM_BINARY, IM_GRAY, IM_MAP, IM_RGB, IM_CMYK})
                expectRoundTrip(space, IM_BYTE, width, compression);
            for (const int space : {IM_GRAY, IM_RGB, IM_CMYK})
                expectRoundTrip(space, IM_USHORT, width, compression);
        }
        for (const char* compression : kFaxes)
            expectRoundTrip(IM_BINARY, IM_BYTE, width, compression);
    }
    const Im grey = randomIm(33, 40, IM_GRAY);
    EXPECT_TRUE(same(loaded(encoded({grey.get()}, "TIFF", "CCITTFAX4")).image.get(),
                     converted(*grey, IM_BINARY).get()));
}

TEST(ImTiff, JpegKeepsTheLookAndHeedsQuality) {
    Im image(imImageCreate(200, 100, IM_RGB, IM_BYTE));
    for (size_t i = 0; i < imBytes(*image); ++i)
        samplesOf(*image)[i] = static_cast<unsigned char>(i / 20000 * 60 + i % 200 / 4);
    const auto withQuality = [&image](int quality) {
        return encoded({image.get()}, "TIFF", "JPEG", nullptr, [quality](imFile* file) {
            imFileSetAttribute(file, "JPEGQuality", IM_INT, 1, &quality);
        });
    };
    const Bytes fine = withQuality(95);
    EXPECT_LT(withQuality(20).size(), fine.size());
    const Loaded back = loaded(fine);
    ASSERT_NE(back.image, nullptr);
    EXPECT_EQ(back.compression, "JPEG");
    for (size_t i = 0; i < imBytes(*image); ++i)
        ASSERT_NEAR(samplesOf(*back.image)[i], samplesOf(*image)[i], 6) << i;

    for (const auto& [from, to] : std::map<int, int>{{IM_MAP, IM_RGB}, {IM_BINARY, IM_GRAY}})
        EXPECT_EQ(loaded(encoded({randomIm(9, 9, from).get()}, "TIFF", "JPEG")).image->color_space,
                  to);
    int errors[2];
    encoded({randomIm(8, 8, IM_RGB, IM_USHORT).get()}, "TIFF", "JPEG", &errors[0]);
    encoded({randomIm(65501, 1, IM_GRAY).get()}, "TIFF", "JPEG", &errors[1]);
    EXPECT_EQ(errors[0], IM_ERR_DATA);
    EXPECT_EQ(errors[1], IM_ERR_DATA);
}

TEST(ImTiff, IsWhatOthersSee) {
    const auto expectSeen = [](const imImage* image, const char* compression,
                               const imImage* expected) {
        EXPECT_TRUE(same(seenBy("tifftopnm -byrow @", encoded({image}, "TIFF", compression)).get(),
                         expected))
            << compression;
    };
    const Im binary = randomIm(41, 13, IM_BINARY), map = randomIm(41, 13, IM_MAP, IM_BYTE, 1, 17);
    for (const char* compression : {"NONE", "RLE", "LZW", "DEFLATE"}) {
        for (const int type : {IM_BYTE, IM_USHORT})
            for (const int space : {IM_GRAY, IM_RGB}) {
                const Im image = randomIm(41, 13, space, type);
                expectSeen(image.get(), compression, image.get());
            }
        expectSeen(binary.get(), compression, binary.get());
        expectSeen(map.get(), compression, converted(*map, IM_RGB).get());
    }
    for (const char* compression : kFaxes)
        expectSeen(binary.get(), compression, binary.get());
}

TEST(ImTiff, ReadsWhatOthersWrite) {
    const auto expectRead = [](const imImage* image, const std::string& options) {
        const Bytes bytes = piped("pamtotiff " + options + " @", encoded({image}, "PNM"));
        EXPECT_TRUE(same(loaded(bytes).image.get(), image)) << options;
    };
    const Im image = randomIm(700, 600, IM_RGB), binary = randomIm(41, 13, IM_BINARY);
    for (const char* options : {"-none", "-packbits", "-lzw", "-flate", "-lzw -rowsperstrip 600"})
        expectRead(image.get(), std::string("-truecolor ") + options);
    for (const char* options :
         {"-g3", "-g3 -2d -fill", "-g4", "-minisblack", "-miniswhite -packbits"})
        expectRead(binary.get(), options);
}

TEST(ImTiff, AppendsPagesToAWholeFile) {
    const Im a = randomIm(50, 9, IM_BINARY), b = randomIm(9, 50, IM_RGB),
             c = randomIm(5, 5, IM_GRAY);
    imBinMemoryFileName block{nullptr, 64, 1.1F};
    inMemory([&] {
        const ImFile file(imFileNew(reinterpret_cast<const char*>(&block), "tiff", nullptr));
        const imImage* const images[] = {a.get(), b.get(), c.get()};
        const char* const compressions[] = {"CCITTFAX4", "LZW", "JPEG"};
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(imFileSetInfo(file.get(), compressions[i]), IM_ERR_NONE);
            EXPECT_EQ(imFileSaveImage(file.get(), images[i]), IM_ERR_NONE);
            const Bytes sofar(block.buffer, block.buffer + imFileGetWriteImageDataLen(file.get()));
            for (int page : {i, 0, i / 2}) {  // in any order
                const Loaded back = loaded(sofar, page);
                EXPECT_EQ(back.count, i + 1);
                EXPECT_EQ(back.compression, compressions[page]);
                EXPECT_TRUE(page == 2 || same(back.image.get(), images[page]));
            }
        }
        return 0;
    });
    imBinMemoryRelease(block.buffer);
}

TEST(ImTiff, LeavesThePagesBeforeAFailureWhole) {
    const Im small = randomIm(8, 8, IM_GRAY), large = randomIm(300, 300, IM_GRAY);
    Bytes space(1000);
    imBinMemoryFileName block{space.data(), 1000, 0.0F};
    inMemory([&] {
        ImFile file(imFileNew(reinterpret_cast<const char*>(&block), "TIFF", nullptr));
        EXPECT_EQ(imFileSaveImage(file.get(), small.get()), IM_ERR_NONE);
        EXPECT_EQ(imFileSaveImage(file.get(), large.get()), IM_ERR_ACCESS);
        return 0;
    });
    const Loaded back = loaded(space);
    EXPECT_EQ(back.count, 1);
    EXPECT_TRUE(same(back.image.get(), small.get()));
}

TEST(ImTiff, KeepsTheUnitOfResolution) {
    const Im image = randomIm(8, 8, IM_GRAY);
    const float x = 118.5F, y = 200.25F;
    const char* names[] = {"XResolution", "YResolution", "ResolutionUnit"};
    for (const char* unit : {"DPI", "DPC", "none"}) {
        const Bytes bytes = encoded({image.get()}, "TIFF", nullptr, nullptr, [&](imFile* file) {
            imFileSetAttribute(file, names[0], IM_FLOAT, 1, &x);
            imFileSetAttribute(file, names[1], IM_FLOAT, 1, &y);
            imFileSetAttribute(file, names[2], IM_BYTE, 4, unit);
        });
        const Loaded back = loaded(bytes);
        const void* found[3];
        for (int i = 0; i < 3; ++i)
            found[i] = imFileGetAttribute(back.file.get(), names[i], nullptr, nullptr);
        ASSERT_EQ(found[1] == nullptr, std::string(unit) == "none");
        if (found[1] == nullptr) continue;
        EXPECT_EQ(*static_cast<const float*>(found[0]), x);
        EXPECT_EQ(*static_cast<const float*>(found[1]), y);
        EXPECT_STREQ(static_cast<const char*>(found[2]), unit);
    }
}

// -- Layouts --

const Tags kThree = {{kSamples, {3}}}, kFour = {{kSamples, {4}}}, kFloats = {{kSampleFormat, {3}}};
const Tags kBlackWhite = {{kColorMap, {0, 65535, 0, 65535, 0, 65535}}};
const Tags kWhiteBlack = {{kColorMap, {65535, 0, 65535, 0, 65535, 0}}};
const Tags kColours = {{kColorMap, {0, 65535, 0, 65535, 0, 0}}};

const struct {
    Tags tags;
    Bytes data;
    std::vector<int> seen;  // colour space, then the samples; or the error below 0
} kSmallPages[] = {
    {page(2, 1, 1, kBlackIsZero), {0x40}, {IM_BINARY, 0, 1}},
    {page(2, 1, 1, kWhiteIsZero), {0x40}, {IM_BINARY, 1, 0}},
    {page(2, 1, 1, kBlackIsZero, {{kFillOrder, {2}}}), {0x02}, {IM_BINARY, 0, 1}},
    {page(2, 1, 2, kBlackIsZero), {0x20}, {IM_GRAY, 0, 170}},
    {page(2, 1, 4, kWhiteIsZero), {0x0e}, {IM_GRAY, 255, 17}},
    {page(2, 1, 6, kBlackIsZero), {0x03, 0xe0}, {IM_GRAY, 0, 251}},
    {page(2, 1, 12, kBlackIsZero), {0x00, 0x0f, 0xfe}, {IM_GRAY, 0, 65519}},
    {page(1, 1, 16, kWhiteIsZero), {2, 1}, {IM_GRAY, 0xfefd}},
    {page(1, 1, 32, kBlackIsZero, kFloats), {0, 0, 0, 0}, {-IM_ERR_DATA}},
    {page(2, 1, 8, kInks, kFour),
     {1, 2, 3, 9, 4, 5, 6, 9},
     {4, 254, 251, 253, 250, 252, 249, 246, 246}},
    {page(1, 1, 4, kRgb, kThree), {0x1f, 0x80}, {IM_RGB, 17, 255, 136}},
    {page(1, 1, 8, kRgb, {{kSamples, {2}}}), {1, 2}, {-IM_ERR_DATA}},
    // Palettes of black and white make a bilevel page.
    {page(2, 1, 1, kIndexes, kBlackWhite), {0x40}, {IM_BINARY, 0, 1}},
    {page(2, 1, 1, kIndexes, kWhiteBlack), {0x40}, {IM_BINARY, 1, 0}},
    {page(2, 1, 1, kIndexes, kColours), {0x40}, {IM_MAP, 0, 1}},
    // Neutral pixels stay neutral.
    {page(2, 1, 8, kYCbCr, {{kSamples, {3}}, {530, {1, 1}}}),
     {9, 128, 128, 200, 128, 128},
     {IM_RGB, 9, 200, 9, 200, 9, 200}},
};

TEST(ImTiff, ReadsSamplesAsTheyLie) {
    for (const auto& [tags, data, seen] : kSmallPages)
        EXPECT_EQ(seenIn(handMade(tags, data)), seen) << ::testing::PrintToString(tags);
    for (const Form form : {kBig, kBigTiff})
        EXPECT_EQ(seenIn(handMade(page(1, 1, 16, kBlackIsZero), {1, 2}, form)),
                  (std::vector{static_cast<int>(IM_GRAY), form == kBig ? 0x102 : 0x201}));
}

TEST(ImTiff, ReadsColoursPackedAndApart) {
    Tags tags = page(2, 1, 8, kRgb, {{kSamples, {4}}, {kExtra, {2}}});
    const Bytes packed = handMade(tags, {1, 2, 3, 9, 4, 5, 6, 9});
    tags.insert({{kPlanar, {2}}, {kOffsets, {8, 10, 12, 14}}, {kCounts, {2, 2, 2, 2}}});
    const Bytes apart = handMade(tags, {1, 4, 2, 5, 3, 6, 9, 9});
    EXPECT_EQ(seenIn(packed), (std::vector{0, 1, 4, 2, 5, 3, 6}));
    EXPECT_EQ(seenIn(apart), seenIn(packed));
    EXPECT_EQ(modeOf(packed), IM_RGB | IM_ALPHA | IM_PACKED | IM_TOPDOWN);
    EXPECT_EQ(modeOf(apart), IM_RGB | IM_ALPHA | IM_TOPDOWN);
}

TEST(ImTiff, ReadsPalettesOfWordsAndOfOldBytes) {
    for (const unsigned unit : {257U, 1U}) {
        Values map(12);
        for (unsigned i = 0; i < 12; ++i)
            map[i] = i * unit;
        const Bytes bytes = handMade(page(3, 1, 2, kIndexes, {{kColorMap, map}}), {0x1b});
        const Loaded back = loaded(bytes);
        ASSERT_EQ(seenIn(bytes), (std::vector{static_cast<int>(IM_MAP), 0, 1, 2}));
        EXPECT_EQ(back.image->palette_count, 4);
        EXPECT_EQ(back.image->palette[3].green, 7);
    }
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
    const std::vector<int> samples =
        topDown(loaded(handMade(page(33, 20, 8, kBlackIsZero, tags), data)).image.get());
    ASSERT_EQ(samples.size(), 33U * 20U);
    for (size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ(size_t(samples[i]), i / 33 / 16 * 3 + i % 33 / 16) << i;
}

TEST(ImTiff, DeliversVisualOrder) {
    const std::vector<std::vector<int>> expected = {
        {2, 1, 2, 3, 4}, {2, 2, 1, 4, 3}, {2, 4, 3, 2, 1}, {2, 3, 4, 1, 2}, {2, 1, 2, 3, 4}};
    for (unsigned orientation = 1; orientation <= 5; ++orientation) {
        const Bytes bytes =
            handMade(page(2, 2, 8, kBlackIsZero, {{kOrientation, {orientation}}}), {1, 2, 3, 4});
        EXPECT_EQ(seenIn(bytes), expected[orientation - 1]) << orientation;
        EXPECT_EQ((modeOf(bytes) & IM_TOPDOWN) == 0, orientation == 3 || orientation == 4);
    }
}

// -- Damage --

TEST(ImTiff, RefusesWhatItCannotRead) {
    const auto errorOf = [](const Bytes& bytes) { return loaded(bytes).error; };
    const Tags grey = page(20, 20, 8, kBlackIsZero);
    const Bytes data(400, 7);
    EXPECT_EQ(errorOf(handMade(grey, data)), IM_ERR_NONE);
    EXPECT_EQ(errorOf(handMade(grey, Bytes(300))), IM_ERR_ACCESS);
    EXPECT_EQ(errorOf({'I', 'I', 42, 0, 200, 0, 0, 0}), IM_ERR_FORMAT);
    EXPECT_EQ(errorOf(handMade(page(100000, 100000, 8, kBlackIsZero), data)), IM_ERR_MEM);
    EXPECT_EQ(errorOf(handMade(page(40000, 40000, 8, kBlackIsZero), data)), IM_ERR_ACCESS);
    for (const unsigned compression : {32771U, 5U, 8U, 7U, 4U, 32773U}) {
        Tags tags = page(60000, 30000, compression == 4 ? 1 : 8, kBlackIsZero);
        tags[kCompression] = {compression};
        EXPECT_NE(errorOf(handMade(tags, data)), IM_ERR_NONE) << compression;
    }
    // The grey plane is small enough, but rows with all the other samples are not.
    for (const unsigned samples : {1U, 64U}) {
        const Tags row =
            page(1 << 22, 1, 8, kBlackIsZero, {{kSamples, {samples}}, {kCompression, {50000}}});
        EXPECT_EQ(modeOf(handMade(row, data)) < 0, samples == 64);
    }
    Tags unknown = grey;
    unknown[kCompression] = {34712};
    const Loaded wavelets = loaded(handMade(unknown, data));
    EXPECT_EQ(wavelets.error, IM_ERR_COMPRESS);
    EXPECT_EQ(wavelets.compression, "JPEG2000");
    Tags tiled = page(
        20, 20, 8, kBlackIsZero,
        {{kTileWidth, {65520}}, {kTileHeight, {65520}}, {kTileOffsets, {8}}, {kTileCounts, {400}}});
    EXPECT_EQ(errorOf(handMade(tiled, data)), IM_ERR_MEM);
    // The next directory: the same again, and one that the file doesn't have.
    for (const unsigned next : {8 + 400U, 60000U})
        EXPECT_EQ(loaded(handMade(grey, data, kLittle, next)).count, 1);
}

TEST(ImTiff, ChecksJbigBeforeDecoding) {
    // 16 x 2 pixels; libtiff keeps these bytes with their bits in reverse.
    Bytes data = {0x00, 0x00, 0x80, 0x00, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x40, 0x00,
                  0x00, 0x00, 0x40, 0x10, 0x00, 0xc0, 0x38, 0x3d, 0xa1, 0xf7, 0x06, 0xff, 0x40};
    Tags tags = page(16, 2, 1, kBlackIsZero);
    tags[kCompression] = {34661};
    const std::vector<int> seen = seenIn(handMade(tags, data));
    ASSERT_EQ(seen.size(), 33U);
    for (int x = 1; x <= 16; ++x) {
        EXPECT_EQ(seen[size_t(x)], x >= 5 && x <= 8 ? 1 : 0);
        EXPECT_EQ(seen[size_t(x) + 16], x >= 9 && x <= 12 ? 1 : 0);
    }
    data[8] = 0xff;  // more rows than memory
    EXPECT_EQ(seenIn(handMade(tags, data)), (std::vector{-IM_ERR_ACCESS}));
}

TEST(ImTiff, LoadsWhitePagesAndShortFaxes) {
    // The whole page in 3508 bits: its size alone looks absurd.
    Im white(imImageCreate(2480, 3508, IM_BINARY, IM_BYTE));
    std::fill_n(samplesOf(*white), imBytes(*white), static_cast<unsigned char>(1));
    const Bytes bytes = encoded({white.get()}, "TIFF", "CCITTFAX4");
    EXPECT_LT(bytes.size(), 800U);
    EXPECT_TRUE(same(loaded(bytes).image.get(), white.get()));

    // Fax data that end early leave white rows, for both senses of the bits, behind the damaged
    // one.
    for (const unsigned photometric : {kWhiteIsZero, kBlackIsZero}) {
        Tags fax = page(16, 64, 1, photometric);
        fax[kCompression] = {4};
        const std::vector<int> rows =
            topDown(loaded(handMade(fax, {0xff, 0x00, 0x10, 0x01})).image.get());
        ASSERT_EQ(rows.size(), 16U * 64U);
        EXPECT_TRUE(std::all_of(rows.begin() + 16 * 9, rows.end(), [](int s) { return s == 1; }))
            << photometric;
    }
}

}  // namespace
