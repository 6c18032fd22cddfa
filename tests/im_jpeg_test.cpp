// JPEG: what other programs see and write, the quality text, resolution, short and hostile files.
#include <algorithm>
#include <cmath>

#include "im_support.h"

using namespace test;

namespace {

/// Smooth waves: what JPEG keeps well.
Im waves(int width, int height, int space) {
    Im image(imImageCreate(width, height, space, IM_BYTE));
    for (int p = 0; p < image->depth; ++p)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                static_cast<unsigned char*>(image->data[p])[y * width + x] =
                    static_cast<unsigned char>(128 + 100 * std::sin(x / 17.0 + p) *
                                                         std::cos(y / 23.0 - p));
    return image;
}

/// The largest difference of two images of one kind; 1000 for others.
int distance(const imImage* a, const imImage* b) {
    if (a == nullptr || b == nullptr || a->color_space != b->color_space || a->width != b->width ||
        a->height != b->height)
        return 1000;
    int most = 0;
    const auto* const x = static_cast<const unsigned char*>(a->data[0]);
    const auto* const y = static_cast<const unsigned char*>(b->data[0]);
    for (size_t i = 0; i < imBytes(*a); ++i)
        most = std::max(most, std::abs(x[i] - y[i]));
    return most;
}

/// Where `text` first lies in `bytes`; their size when nowhere.
size_t placeOf(const std::string& text, const Bytes& bytes) {
    const auto found =
        std::search(bytes.begin(), bytes.end(), text.begin(), text.end(),
                    [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); });
    return size_t(found - bytes.begin());
}

std::function<void(imFile*)> quality(int q) {
    return [q](imFile* file) { imFileSetAttribute(file, "JPEGQuality", IM_INT, 1, &q); };
}

TEST(ImJpeg, KeepsPicturesAndAgreesWithAnotherDecoder) {
    for (const int space : {IM_GRAY, IM_RGB, IM_CMYK})
        for (const int width : {1, 7, 8, 17, 65}) {
            const Im image = waves(width, 33, space);
            const Bytes bytes = encoded({image.get()}, "JPEG", nullptr, nullptr, quality(100));
            const Loaded back = loaded(bytes);
            ASSERT_EQ(back.error, 0);
            EXPECT_LE(distance(back.image.get(), image.get()), 6) << space << " " << width;
            if (space != IM_CMYK) {
                EXPECT_TRUE(same(back.image.get(), seenBy("djpeg -pnm @", bytes).get()));
            }
        }
    // Inks are marked by the Adobe marker, without a transform.
    const Im inks = waves(8, 8, IM_CMYK);
    const Bytes bytes = encoded({inks.get()}, "JPEG");
    EXPECT_LT(placeOf({"\xff\xee\0\x0e"
                       "Adobe",
                       9},
                      bytes),
              bytes.size());

    const Im bits = randomIm(33, 9, IM_BINARY), map = randomIm(33, 9, IM_MAP);
    for (const imImage* image : {bits.get(), map.get()}) {
        const int space = image->color_space == IM_BINARY ? IM_GRAY : IM_RGB;
        EXPECT_EQ(encoded({image}, "JPEG"), encoded({converted(*image, space).get()}, "JPEG"));
    }
    int error = 0;
    encoded({randomIm(4, 4, IM_GRAY, IM_USHORT).get()}, "JPEG", nullptr, &error);
    EXPECT_EQ(error, IM_ERR_DATA);
    encoded({randomIm(65501, 1, IM_GRAY).get()}, "JPEG", nullptr, &error);
    EXPECT_EQ(error, IM_ERR_DATA);
}

TEST(ImJpeg, ReadsEveryCoding) {
    const Bytes pnm = encoded({waves(120, 70, IM_RGB).get()}, "PNM");
    for (const char* options :
         {"", "-grayscale", "-rgb", "-progressive", "-arithmetic", "-arithmetic -progressive",
          "-restart 1", "-sample 1x1", "-sample 4x1", "-sample 1x2"}) {
        const Bytes bytes = piped(std::string("cjpeg ") + options + " @", pnm);
        const Loaded back = loaded(bytes);
        EXPECT_TRUE(same(back.image.get(), seenBy("djpeg -pnm @", bytes).get())) << options;
        EXPECT_EQ(back.format, "JPEG");
    }
}

TEST(ImJpeg, TellsItsQuality) {
    const Im image = waves(16, 16, IM_RGB);
    for (int q = -1; q <= 102; ++q) {
        const Loaded back = loaded(encoded({image.get()}, "JPEG", nullptr, nullptr, quality(q)));
        EXPECT_EQ(back.compression, std::to_string(std::clamp(q, 1, 100)));
    }
    EXPECT_EQ(encoded({image.get()}, "JPEG"),
              encoded({image.get()}, "JPEG", nullptr, nullptr, quality(75)));
    // 16-bit tables do not saturate.
    const Bytes pnm = encoded({image.get()}, "PNM");
    for (const char* q : {"1", "3", "10", "50"})
        EXPECT_EQ(loaded(piped(std::string("cjpeg -quality ") + q + " @", pnm)).compression, q);

    // No decoding, no quality.
    const Bytes bytes = encoded({image.get()}, "JPEG");
    imBinMemoryFileName block{const_cast<unsigned char*>(bytes.data()), int(bytes.size()), 1.1F};
    const ImFile file(
        inMemory([&] { return imFileOpen(reinterpret_cast<const char*>(&block), nullptr); }));
    int width = 0, mode = 0;
    EXPECT_EQ(imFileReadImageInfo(file.get(), 0, &width, nullptr, &mode, nullptr), 0);
    EXPECT_EQ(width, 16);
    EXPECT_EQ(mode, IM_RGB | IM_PACKED | IM_TOPDOWN);
    char compression[20];
    imFileGetInfo(file.get(), nullptr, compression, nullptr);
    EXPECT_STREQ(compression, "JPEG");
}

TEST(ImJpeg, CarriesTheResolution) {
    for (const int space : {IM_GRAY, IM_RGB, IM_CMYK})
        for (const std::string unit : {"DPI", "DPC"}) {
            const Loaded back = loaded(encoded(
                {waves(8, 8, space).get()}, "JPEG", nullptr, nullptr, [&unit](imFile* file) {
                    const float x = 299.6F, y = 150;
                    imFileSetAttribute(file, "XResolution", IM_FLOAT, 1, &x);
                    imFileSetAttribute(file, "YResolution", IM_FLOAT, 1, &y);
                    imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, unit.c_str());
                }));
            const auto value = [&back](const char* name) {
                return imFileGetAttribute(back.file.get(), name, nullptr, nullptr);
            };
            ASSERT_NE(value("XResolution"), nullptr);
            EXPECT_EQ(*static_cast<const float*>(value("XResolution")), 300.0F);
            EXPECT_EQ(*static_cast<const float*>(value("YResolution")), 150.0F);
            EXPECT_EQ(static_cast<const char*>(value("ResolutionUnit")), unit);
        }
    const Loaded none = loaded(encoded({waves(8, 8, IM_RGB).get()}, "JPEG"));
    int count = -1;
    imFileGetAttributeList(none.file.get(), nullptr, &count);
    EXPECT_EQ(count, 0);
}

TEST(ImJpeg, ReadsFilesOnTheDiskInPieces) {
    const Im image = randomIm(900, 600, IM_RGB);
    Bytes bytes = encoded({image.get()}, "JPEG", nullptr, nullptr, quality(95));
    ASSERT_GT(bytes.size(), 3U * 65536);
    // A comment that ends in another piece of the file.
    const Bytes comment{0xff, 0xfe, 0xff, 0xff};
    for (int i = 0; i < 3; ++i) {
        bytes.insert(bytes.begin() + 2, 0xfffd, 0);
        bytes.insert(bytes.begin() + 2, comment.begin(), comment.end());
    }
    EXPECT_TRUE(same(loadedFromDisk(bytes).get(), seenBy("djpeg -pnm @", bytes).get()));
    bytes.resize(bytes.size() - 70000);
    EXPECT_TRUE(same(loadedFromDisk(bytes).get(), loaded(bytes).image.get()));
}

TEST(ImJpeg, DecodesWhatThereIsOfAShortFile) {
    const Bytes pnm = encoded({waves(200, 200, IM_RGB).get()}, "PNM");
    for (const char* options : {"", "-progressive", "-arithmetic"}) {
        Bytes bytes = piped(std::string("cjpeg ") + options + " @", pnm);
        bytes.resize(bytes.size() * 2 / 3);
        EXPECT_TRUE(
            same(loaded(bytes).image.get(), seenBy("{ djpeg -pnm @; true; }", bytes).get()));
    }
}

TEST(ImJpeg, RefusesWhatItCannotHold) {
    const Bytes good = encoded({waves(64, 64, IM_RGB).get()}, "JPEG");
    const size_t frame = placeOf("\xff\xc0", good);
    const auto errorWith = [&](size_t at, std::initializer_list<int> values) {
        Bytes bytes = good;
        for (const int v : values)
            bytes[frame + at++] = static_cast<unsigned char>(v);
        return loaded(bytes).error;
    };
    EXPECT_EQ(errorWith(0, {}), IM_ERR_NONE);
    EXPECT_EQ(errorWith(1, {0xc3}), IM_ERR_COMPRESS);            // lossless
    EXPECT_EQ(errorWith(4, {12}), IM_ERR_DATA);                  // 12-bit samples
    EXPECT_EQ(errorWith(5, {0, 0}), IM_ERR_FORMAT);              // no rows
    EXPECT_EQ(errorWith(5, {0xff, 0, 0xff, 0}), IM_ERR_MEM);     // 3 x 65280 x 65280
    EXPECT_EQ(errorWith(5, {0x20, 0, 0x20, 0}), IM_ERR_ACCESS);  // 8192 x 8192 in 1 KB
    EXPECT_EQ(errorWith(2, {0, 3}), IM_ERR_ACCESS);              // frame header cut short
    EXPECT_EQ(loaded({0xff, 0xd8, 0xff, 0xd9}).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded({0xff, 0xd8, 0x00, 0x00}).error, IM_ERR_FORMAT);
}

TEST(ImJpeg, BoundsThePassesOfProgressiveFiles) {
    const Bytes pnm = encoded({waves(16, 16, IM_GRAY).get()}, "PNM");
    const Bytes bytes = piped("cjpeg -progressive @", pnm);
    size_t last = bytes.size() - 2;  // the end marker; before it the last scan
    while (bytes[last] != 0xff || bytes[last + 1] != 0xda)
        --last;
    const auto withScans = [&](int more) {
        Bytes result(bytes.begin(), bytes.end() - 2);
        for (int i = 0; i < more; ++i)
            result.insert(result.end(), bytes.begin() + std::ptrdiff_t(last), bytes.end() - 2);
        result.insert(result.end(), bytes.end() - 2, bytes.end());
        return loaded(result).error;
    };
    EXPECT_EQ(withScans(400), IM_ERR_NONE);
    EXPECT_EQ(withScans(500), IM_ERR_ACCESS);
}

}  // namespace
