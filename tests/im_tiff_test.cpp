// TIFF: round trips of every kind and compression, pages that libtiff did not write, what other
// programs see, damage.
#include <algorithm>
#include <cstdint>
#include <map>

#include "im_support.h"

using namespace test;

namespace {

constexpr const char* kLossless[] = {"NONE", "RLE", "LZW", "DEFLATE", "LZMA", "ZSTD"};
constexpr const char* kFaxes[] = {"CCITTRLE", "CCITTFAX3", "CCITTFAX4"};

// -- Files made by hand --

using Values = std::vector<unsigned>;
using Tags = std::map<int, Values>;

enum TagId {
    kWidth = 256,
    kHeight,
    kBits,
    kCompression,
    kPhotometric = 262,
    kFillOrder = 266,
    kOffsets = 273,
    kOrientation,
    kSamples = 277,
    kRowsPerStrip,
    kCounts,
    kPlanar = 284,
    kColorMap = 320,
    kTileWidth = 322,
    kTileHeight,
    kTileOffsets,
    kTileCounts,
    kExtra = 338,
    kSampleFormat
};

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

enum { kWhiteIsZero, kBlackIsZero, kRgb, kIndexes, kInks = 5, kYCbCr, kLab = 8 };

int modeOf(const Bytes& bytes) {
    const Loaded file = loaded(bytes);
    int mode = -1;
    imFileReadImageInfo(file.file.get(), 0, nullptr, nullptr, &mode, nullptr);
    return mode;
}

// -- Round trips --

TEST(ImTiff, RoundTripsExactly) {
    for (const char* compression : kLossless)
        for (const int space : {IM_BINARY, IM_GRAY, IM_MAP, IM_RGB, IM_CMYK})
            for (const int type : {IM_BYTE, IM_USHORT})
                for (const int width : {1, 7, 8, 9, 33, 700}) {
                    if (type == IM_USHORT && (space == IM_MAP || space == IM_BINARY)) continue;
                    const Im image = randomIm(width, 150, space, type);
                    const Bytes bytes = encoded({image.get()}, "TIFF", compression);
                    const Loaded back = loaded(bytes);
                    ASSERT_TRUE(same(back.image.get(), image.get()))
                        << compression << " " << imColorModeSpaceName(space) << " " << width;
                    EXPECT_EQ(back.compression, compression);
                }
}

TEST(ImTiff, FaxesTakeBinaryAlone) {
    for (const char* compression : kFaxes)
        for (const int width : {1, 7, 8, 9, 33, 2600}) {
            const Im image = randomIm(width, 40, IM_BINARY), grey = randomIm(width, 40, IM_GRAY);
            const Loaded back = loaded(encoded({image.get()}, "TIFF", compression));
            EXPECT_TRUE(same(back.image.get(), image.get())) << compression << " " << width;
            EXPECT_EQ(back.compression, compression);
            EXPECT_TRUE(same(loaded(encoded({grey.get()}, "TIFF", compression)).image.get(),
                             converted(*grey, IM_BINARY).get()));
        }
}

TEST(ImTiff, JpegKeepsTheLookAndHeedsQuality) {
    const auto sized = [](const imImage* image, int quality, Bytes& bytes) {
        bytes = encoded({image}, "TIFF", "JPEG", nullptr, [quality](imFile* file) {
            imFileSetAttribute(file, "JPEGQuality", IM_INT, 1, &quality);
        });
        return bytes.size();
    };
    Im image(imImageCreate(200, 100, IM_RGB, IM_BYTE));
    for (size_t i = 0; i < imBytes(*image); ++i)
        samplesOf(*image)[i] = static_cast<unsigned char>(i / 20000 * 60 + i % 200 / 4);
    Bytes coarse, fine;
    EXPECT_LT(sized(image.get(), 20, coarse), sized(image.get(), 95, fine));
    const Loaded back = loaded(fine);
    ASSERT_NE(back.image, nullptr);
    EXPECT_EQ(back.compression, "JPEG");
    for (size_t i = 0; i < imBytes(*image); ++i)
        ASSERT_NEAR(samplesOf(*back.image)[i], samplesOf(*image)[i], 6) << i;

    const Im map = randomIm(20, 20, IM_MAP), binary = randomIm(20, 20, IM_BINARY);
    EXPECT_EQ(loaded(encoded({map.get()}, "TIFF", "JPEG")).image->color_space, IM_RGB);
    EXPECT_EQ(loaded(encoded({binary.get()}, "TIFF", "JPEG")).image->color_space, IM_GRAY);
    int error = 0;
    encoded({randomIm(8, 8, IM_RGB, IM_USHORT).get()}, "TIFF", "JPEG", &error);
    EXPECT_EQ(error, IM_ERR_DATA);
    encoded({randomIm(65501, 1, IM_GRAY).get()}, "TIFF", "JPEG", &error);
    EXPECT_EQ(error, IM_ERR_DATA);
}

TEST(ImTiff, IsWhatOthersSee) {
    for (const char* compression : {"NONE", "RLE", "LZW", "DEFLATE"})
        for (const int space : {IM_BINARY, IM_GRAY, IM_RGB}) {
            const Im image = randomIm(41, 13, space);
            const Bytes bytes = encoded({image.get()}, "TIFF", compression);
            EXPECT_TRUE(same(seenBy("tifftopnm @", bytes).get(), image.get())) << compression;
        }
    const Im binary = randomIm(41, 13, IM_BINARY), wide = randomIm(41, 13, IM_RGB, IM_USHORT);
    const Im map = randomIm(41, 13, IM_MAP, IM_BYTE, 1, 17);
    for (const char* compression : kFaxes)
        EXPECT_TRUE(same(seenBy("tifftopnm @", encoded({binary.get()}, "TIFF", compression)).get(),
                         binary.get()))
            << compression;
    EXPECT_TRUE(
        same(seenBy("tifftopnm -byrow @", encoded({wide.get()}, "TIFF")).get(), wide.get()));
    EXPECT_TRUE(same(seenBy("tifftopnm @", encoded({map.get()}, "TIFF")).get(),
                     converted(*map, IM_RGB).get()));
}

TEST(ImTiff, ReadsWhatOthersWrite) {
    const Im image = randomIm(41, 13, IM_RGB), binary = randomIm(41, 13, IM_BINARY);
    const Bytes pnm = encoded({image.get()}, "PNM"), bitmap = encoded({binary.get()}, "PNM");
    for (const char* options : {"-none", "-packbits", "-lzw", "-flate"})
        EXPECT_TRUE(same(
            loaded(piped(std::string("pamtotiff -truecolor ") + options + " @", pnm)).image.get(),
            image.get()))
            << options;
    for (const char* options :
         {"-g3", "-g3 -2d -fill", "-g4", "-minisblack", "-miniswhite -packbits"})
        EXPECT_TRUE(
            same(loaded(piped(std::string("pamtotiff ") + options + " @", bitmap)).image.get(),
                 binary.get()))
            << options;
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
    for (const char* unit : {"DPI", "DPC"}) {
        const float x = 118.5F, y = 200.25F;
        const Bytes bytes = encoded({image.get()}, "TIFF", nullptr, nullptr, [&](imFile* file) {
            imFileSetAttribute(file, "XResolution", IM_FLOAT, 1, &x);
            imFileSetAttribute(file, "YResolution", IM_FLOAT, 1, &y);
            imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, unit);
        });
        const Loaded back = loaded(bytes);
        const auto get = [&](const char* name) {
            return imFileGetAttribute(back.file.get(), name, nullptr, nullptr);
        };
        ASSERT_NE(get("YResolution"), nullptr);
        EXPECT_EQ(*static_cast<const float*>(get("XResolution")), x);
        EXPECT_EQ(*static_cast<const float*>(get("YResolution")), y);
        EXPECT_STREQ(static_cast<const char*>(get("ResolutionUnit")), unit);
    }
    const Loaded plain = loaded(encoded({image.get()}, "TIFF"));
    EXPECT_EQ(imFileGetAttribute(plain.file.get(), "ResolutionUnit", nullptr, nullptr), nullptr);
}

// -- Layouts --

TEST(ImTiff, ReadsSamplesOfEveryDepth) {
    // Two pixels of each depth: the lowest sample and the one below the highest.
    EXPECT_EQ(seenIn(handMade(page(2, 1, 1, kBlackIsZero), {0x40})), (std::vector{3, 0, 1}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 1, kWhiteIsZero), {0x40})), (std::vector{3, 1, 0}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 1, kBlackIsZero, {{kFillOrder, {2}}}), {0x02})),
              (std::vector{3, 0, 1}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 2, kBlackIsZero), {0x20})), (std::vector{2, 0, 170}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 4, kBlackIsZero), {0x0e})), (std::vector{2, 0, 238}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 4, kWhiteIsZero), {0x0e})), (std::vector{2, 255, 17}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 6, kBlackIsZero), {0x03, 0xe0})),
              (std::vector{2, 0, 251}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 12, kBlackIsZero), {0x00, 0x0f, 0xfe})),
              (std::vector{2, 0, 65519}));
    for (const Form form : {kLittle, kBigTiff})
        EXPECT_EQ(seenIn(handMade(page(2, 1, 16, kWhiteIsZero), {2, 1, 4, 3}, form)),
                  (std::vector{2, 0xfefd, 0xfcfb}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 16, kBlackIsZero), {2, 1, 4, 3}, kBig)),
              (std::vector{2, 0x201, 0x403}));
    EXPECT_EQ(seenIn(handMade(page(1, 1, 32, kBlackIsZero, {{kSampleFormat, {3}}}), {0, 0, 0, 0})),
              (std::vector{-IM_ERR_DATA}));
    EXPECT_EQ(seenIn(handMade(page(1, 1, 8, kBlackIsZero, {{kSampleFormat, {2}}}), {0})),
              (std::vector{-IM_ERR_DATA}));
}

TEST(ImTiff, ReadsColoursPackedAndApart) {
    const Bytes packed = {1, 2, 3, 9, 4, 5, 6, 9}, apart = {1, 4, 2, 5, 3, 6, 9, 9};
    const Tags alpha = {{kSamples, {4}}, {kExtra, {2}}};
    const std::vector<int> rgb = {0, 1, 4, 2, 5, 3, 6};
    EXPECT_EQ(seenIn(handMade(page(2, 1, 8, kRgb, alpha), packed)), rgb);
    EXPECT_EQ(modeOf(handMade(page(2, 1, 8, kRgb, alpha), packed)),
              IM_RGB | IM_ALPHA | IM_PACKED | IM_TOPDOWN);
    Tags planes = alpha;
    planes[kPlanar] = {2};
    planes[kOffsets] = {8, 10, 12, 14};
    planes[kCounts] = {2, 2, 2, 2};
    EXPECT_EQ(seenIn(handMade(page(2, 1, 8, kRgb, planes), apart)), rgb);
    EXPECT_EQ(modeOf(handMade(page(2, 1, 8, kRgb, planes), apart)), IM_RGB | IM_ALPHA | IM_TOPDOWN);
    EXPECT_EQ(seenIn(handMade(page(2, 1, 8, kInks, {{kSamples, {4}}}), packed)),
              (std::vector{4, 254, 251, 253, 250, 252, 249, 246, 246}));
    EXPECT_EQ(seenIn(handMade(page(1, 1, 4, kRgb, {{kSamples, {3}}}), {0x1f, 0x80})),
              (std::vector{0, 17, 255, 136}));
    EXPECT_EQ(seenIn(handMade(page(1, 1, 8, kRgb, {{kSamples, {2}}}), {1, 2})),
              (std::vector{-IM_ERR_DATA}));
}

TEST(ImTiff, ReadsPalettes) {
    const auto colors = [](unsigned count, unsigned unit) {
        Values map;
        for (unsigned i = 0; i < 3 * count; ++i)
            map.push_back(i * unit);
        return map;
    };
    for (const unsigned unit : {257U, 1U}) {  // words, and the bytes of old writers
        const Bytes bytes =
            handMade(page(3, 1, 2, kIndexes, {{kColorMap, colors(4, unit)}}), {0x1b});
        const Loaded back = loaded(bytes);
        ASSERT_EQ(topDown(back.image.get()), (std::vector{0, 1, 2}));
        EXPECT_EQ(back.image->palette_count, 4);
        EXPECT_EQ(back.image->palette[3].green, 7);
    }
    // Two colours that are black and white make a bilevel page.
    const Values blackWhite = {0, 65535, 0, 65535, 0, 65535},
                 flipped = {65535, 0, 65535, 0, 65535, 0};
    EXPECT_EQ(seenIn(handMade(page(2, 1, 1, kIndexes, {{kColorMap, blackWhite}}), {0x40})),
              (std::vector{3, 0, 1}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 1, kIndexes, {{kColorMap, flipped}}), {0x40})),
              (std::vector{3, 1, 0}));
    EXPECT_EQ(seenIn(handMade(page(2, 1, 1, kIndexes, {{kColorMap, colors(2, 257)}}), {0x40})),
              (std::vector{1, 0, 1}));
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

TEST(ImTiff, ConvertsColourSpaces) {
    // Neutral pixels stay neutral, by YCbCr of 1 x 1 sampling and by L*a*b*.
    const Tags three = {{kSamples, {3}}, {530, {1, 1}}};
    EXPECT_EQ(seenIn(handMade(page(2, 2, 8, kYCbCr, three), {9, 128, 128, 200, 128, 128,  //
                                                             0, 128, 128, 255, 128, 128})),
              (std::vector{0, 9, 200, 0, 255, 9, 200, 0, 255, 9, 200, 0, 255}));
    const std::vector<int> lab = seenIn(handMade(
        page(1, 2, 8, kLab, {{kSamples, {3}}, {kOrientation, {4}}}), {255, 0, 0, 0, 0, 0}));
    ASSERT_EQ(lab.size(), 7U);
    EXPECT_LT(lab[1], 8);  // the row above is the file's second
    EXPECT_GT(lab[2], 245);
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
    Tags unknown = grey;
    unknown[kCompression] = {34712};
    const Loaded wavelets = loaded(handMade(unknown, data));
    EXPECT_EQ(wavelets.error, IM_ERR_COMPRESS);
    EXPECT_EQ(wavelets.compression, "JPEG2000");
    Tags tiled = page(
        20, 20, 8, kBlackIsZero,
        {{kTileWidth, {65520}}, {kTileHeight, {65520}}, {kTileOffsets, {8}}, {kTileCounts, {400}}});
    EXPECT_EQ(errorOf(handMade(tiled, data)), IM_ERR_MEM);
}

TEST(ImTiff, EndsLoopsOfDirectories) {
    const Bytes data(4, 7);
    const Bytes loop = handMade(page(2, 2, 8, kBlackIsZero), data, kLittle, 8 + 4);
    EXPECT_EQ(loaded(loop).count, 1);
    EXPECT_EQ(loaded(loop, 1).error, IM_ERR_ACCESS);
    // A next directory that the file doesn't have.
    EXPECT_EQ(loaded(handMade(page(2, 2, 8, kBlackIsZero), data, kLittle, 60000)).count, 1);
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
