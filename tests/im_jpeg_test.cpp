// JPEG: what other programs see and write, the quality text, short and hostile files.
#include <cmath>

#include "im_support.h"

using namespace test;

namespace {

/// Smooth waves: what JPEG keeps well.
Im waves(int width, int height, int space) {
    Im image(imImageCreate(width, height, space, IM_BYTE));
    for (int p = 0; p < image->depth; ++p)
        for (int i = 0; i < width * height; ++i) {
            const double x = i % width, y = i / width;
            static_cast<unsigned char*>(image->data[p])[i] =
                static_cast<unsigned char>(128 + 100 * std::sin(x / 17 + p) * std::cos(y / 23 - p));
        }
    return image;
}

/// Where `part` first lies in `bytes`; their size when nowhere.
size_t placeOf(const Bytes& part, const Bytes& bytes) {
    return size_t(std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) -
                  bytes.begin());
}

TEST(ImJpeg, KeepsPicturesAndAgreesWithAnotherDecoder) {
    for (const int space : {IM_GRAY, IM_RGB, IM_CMYK})
        for (const int width : {1, 7, 8, 17, 65}) {
            const Im image = waves(width, 33, space);
            const Bytes bytes = encoded({image.get()}, "JPEG", nullptr, nullptr, quality(100));
            const Loaded back = loaded(bytes);
            ASSERT_EQ(back.error, 0);
            EXPECT_TRUE(same(back.image.get(), image.get(), 6)) << space << " " << width;
            if (space != IM_CMYK) {
                EXPECT_TRUE(same(back.image.get(), seenBy("djpeg -pnm @", bytes).get()));
            }
        }
    // Inks are marked by the Adobe marker, without a transform.
    const Bytes bytes = encoded({waves(8, 8, IM_CMYK).get()}, "JPEG");
    EXPECT_LT(placeOf(hex("ffee000e 41646f6265"), bytes), bytes.size());
}

TEST(ImJpeg, ReadsEveryCodingAlsoCutShort) {
    const Bytes pnm = encoded({waves(120, 70, IM_RGB).get()}, "PNM");
    for (const char* options :
         {"", "-grayscale", "-rgb", "-progressive", "-arithmetic", "-arithmetic -progressive",
          "-restart 1", "-sample 1x1", "-sample 4x1", "-sample 1x2"}) {
        const Bytes bytes = piped(std::string("cjpeg ") + options + " @", pnm);
        for (const Bytes& part : {bytes, cut(bytes, bytes.size() * 2 / 3)})
            EXPECT_TRUE(
                same(loaded(part).image.get(), seenBy("{ djpeg -pnm @; true; }", part).get()))
                << options;
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
    Bytes bytes = encoded({image.get()}, "JPEG");
    const ImFile file = openedInMemory(bytes);
    int mode = 0;
    EXPECT_EQ(imFileReadImageInfo(file.get(), 0, nullptr, nullptr, &mode, nullptr), 0);
    EXPECT_EQ(mode, IM_RGB | IM_PACKED | IM_TOPDOWN);
    char compression[20];
    imFileGetInfo(file.get(), nullptr, compression, nullptr);
    EXPECT_STREQ(compression, "JPEG");
}

TEST(ImJpeg, ReadsFilesOnTheDiskInPieces) {
    const Im image = randomIm(900, 600, IM_RGB);
    Bytes bytes = encoded({image.get()}, "JPEG", nullptr, nullptr, quality(95));
    ASSERT_GT(bytes.size(), 3U * 65536);
    const Bytes comment = hex("fffeffff") + Bytes(0xfffd);  // ends in another piece of the file
    bytes = cut(bytes, 2) + comment + comment + comment + Bytes(bytes.begin() + 2, bytes.end());
    EXPECT_TRUE(same(loadedFromDisk(bytes).get(), seenBy("djpeg -pnm @", bytes).get()));
    bytes.resize(bytes.size() - 70000);
    EXPECT_TRUE(same(loadedFromDisk(bytes).get(), loaded(bytes).image.get()));
}

TEST(ImJpeg, RefusesWhatItCannotHold) {
    const Bytes good = encoded({waves(64, 64, IM_RGB).get()}, "JPEG");
    const size_t frame = placeOf(hex("ffc0"), good);
    const struct {
        size_t at;
        const char *values, *seen;
    } changes[] = {
        {1, "c3", "COMPRESS"},      // lossless
        {4, "0c", "DATA"},          // 12-bit samples
        {5, "0000", "FORMAT"},      // no rows
        {5, "ff00ff00", "MEM"},     // 3 x 65280 x 65280
        {5, "20002000", "ACCESS"},  // 8192 x 8192 in 1 KB
        {2, "0003", "ACCESS"},      // frame header cut short
    };
    for (const auto& c : changes)
        EXPECT_EQ(shown(changed(good, frame + c.at, hex(c.values))), c.seen);
    EXPECT_EQ(shown(hex("ffd8ffd9")), "ACCESS");
    EXPECT_EQ(shown(hex("ffd80000")), "FORMAT");
}

TEST(ImJpeg, BoundsThePassesOfProgressiveFiles) {
    const Bytes pnm = encoded({waves(16, 16, IM_GRAY).get()}, "PNM");
    const Bytes bytes = piped("cjpeg -progressive @", pnm), end = hex("ffd9");
    const Bytes start = hex("ffda");
    const auto last = std::find_end(bytes.begin(), bytes.end(), start.begin(), start.end());
    const Bytes scan(last, bytes.end() - 2);
    const auto errorWithScans = [&](int more) {
        Bytes result = cut(bytes, bytes.size() - 2);
        for (int i = 0; i < more; ++i)
            result.insert(result.end(), scan.begin(), scan.end());
        return loaded(result + end).error;
    };
    EXPECT_EQ(errorWithScans(400), IM_ERR_NONE);
    EXPECT_EQ(errorWithScans(500), IM_ERR_ACCESS);
}

}  // namespace
