// Records of loaded pages and the pixel cursor.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "guarded.h"
#include "kel_ImageStorage.h"

namespace {

bool isZero(const tagImage& image) {
    const tagImage zero{};
    return std::memcmp(&image, &zero, sizeof zero) == 0;
}

/// A record as a loader would leave it.
void fill(tagImage& image, int width, int height, int channels) {
    KelInitKelImage(&image);
    const auto bytes = static_cast<size_t>(width) * static_cast<size_t>(height * channels);
    image.imageData = new unsigned char[bytes];
    for (size_t i = 0; i < bytes; ++i)
        image.imageData[i] = static_cast<unsigned char>(i * 7);
    image.width = width;
    image.height = height;
    image.channels = channels;
    image.dataSize = static_cast<int>(bytes);
    std::strcpy(image.format, "JPEG");
    std::strcpy(image.compression, "75");
    std::memcpy(image.xResolution, "118.1100", 8);  // all 8 bytes used, no terminator
    std::memcpy(image.yResolution, "99.5", 5);
}

TEST(Storage, ReleasedRecordIsAllZero) {
    KelReleaseKelImage(nullptr);
    tagImage image;
    std::memset(&image, 0x5A, sizeof image);
    KelInitKelImage(&image);
    EXPECT_TRUE(isZero(image));
    image.width = 12;
    KelReleaseKelImage(&image);
    EXPECT_TRUE(isZero(image));
    fill(image, 4, 3, 3);
    KelReleaseKelImage(&image);
    EXPECT_TRUE(isZero(image));
    Kel_ReleaseImage(nullptr);
}

TEST(Storage, ReleasesArraysOnceAndOnlyWhenThereAreRecords) {
    for (auto release : {KelReleaseImageArrs, Kel_ReleaseImageArr}) {
        tagImage* none = nullptr;
        int count = 3;
        release(&none, &count);
        EXPECT_EQ(count, 3);

        auto* records = new tagImage[2];
        fill(records[0], 2, 2, 1);
        fill(records[1], 3, 1, 3);
        tagImage* arr = records;
        for (int unusable : {0, -1}) {
            count = unusable;
            release(&arr, &count);
            EXPECT_EQ(arr, records);
            EXPECT_EQ(count, unusable);
        }
        count = 2;
        release(&arr, &count);
        EXPECT_EQ(arr, nullptr);
        EXPECT_EQ(count, 0);
        release(&arr, &count);
    }
}

TEST(Storage, UnpacksTheFirstRecord) {
    tagImage image;
    fill(image, 5, 4, 3);
    image.dataSize = 120;  // wider samples: the copy goes by the product all the same
    unsigned char* dst = nullptr;
    int width = 0, height = 0, channels = 0, rate = -1;
    double x = -1, y = -1;
    ASSERT_EQ(Kel_CopyImageArr2One(&image, 0, 0, &dst, &width, &height, &channels, nullptr, nullptr,
                                   nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(std::vector<int>({5, 4, 3}), std::vector<int>({width, height, channels}));
    EXPECT_EQ(std::memcmp(dst, image.imageData, 60), 0);
    Kel_ReleaseImage(dst);

    char format[12], compression[32];
    ASSERT_EQ(Kel_CopyImageArr2One(&image, 1, 1, &dst, &width, &height, &channels, format,
                                   compression, &rate, &x, &y),
              0);
    EXPECT_STREQ(format, "JPEG");
    EXPECT_STREQ(compression, "75");
    EXPECT_EQ(rate, 75);
    EXPECT_DOUBLE_EQ(x, 118.11);
    EXPECT_DOUBLE_EQ(y, 99.5);
    Kel_ReleaseImage(dst);

    std::strcpy(image.compression, "CCITTFAX4");
    std::memset(image.xResolution, 0, 8);
    // Only the value 1 asks for the information.
    Kel_CopyImageArr2One(&image, 1, 2, &dst, &width, &height, &channels, nullptr, nullptr, &rate,
                         &x, &y);
    EXPECT_EQ(rate, 75);
    Kel_ReleaseImage(dst);
    Kel_CopyImageArr2One(&image, 1, 1, &dst, &width, &height, &channels, format, compression, &rate,
                         &x, &y);
    EXPECT_EQ(rate, 0);
    EXPECT_EQ(x, 0.0);
    Kel_ReleaseImage(dst);
    KelReleaseKelImage(&image);
}

TEST(Storage, RecordWithoutSamplesGivesAnEmptyBuffer) {
    tagImage image{};
    unsigned char* dst = nullptr;
    int width = 1, height = 1, channels = 1;
    EXPECT_EQ(Kel_CopyImageArr2One(&image, 1, 0, &dst, &width, &height, &channels, nullptr, nullptr,
                                   nullptr, nullptr, nullptr),
              0);
    EXPECT_NE(dst, nullptr);
    EXPECT_EQ(width + height + channels, 0);
    Kel_ReleaseImage(dst);
    image.width = -1;
    image.height = image.channels = 1;
    EXPECT_THROW(Kel_CopyImageArr2One(&image, 1, 0, &dst, &width, &height, &channels, nullptr,
                                      nullptr, nullptr, nullptr, nullptr),
                 std::bad_alloc);
}

TEST(Storage, LimitsAreOnUnlessSetOtherwise) {
    const tagLimitSize limit;
    EXPECT_EQ(limit.limitEnabled, 1);
    EXPECT_EQ(limit.width, 4096);
    EXPECT_EQ(limit.height, 4096);
}

TEST(RgbPoint, WalksThePlanesTogether) {
    test::Bytes planes = {1, 2, 3, 4, 10, 20, 30, 40, 100, 200, 201, 202};
    kelRGBPoint point;
    point.Ini(planes.data() + 1, 4);
    EXPECT_EQ(point.getValue('R'), 2);
    EXPECT_EQ(point.getValue('G'), 20);
    EXPECT_EQ(point.getValue('B'), 200);
    EXPECT_EQ(point.getValue('r'), 0);

    kelRGBPoint other(&planes[0], &planes[4], &planes[8]);
    other.setOff(point, 1, 2, -1);
    EXPECT_EQ(other.getValue('R'), 3);
    EXPECT_EQ(other.getValue('G'), 40);
    EXPECT_EQ(other.getValue('B'), 100);
    other.CopyValue(point);
    EXPECT_EQ(planes, (test::Bytes{1, 2, 2, 4, 10, 20, 30, 20, 200, 200, 201, 202}));
    point.Copy(&planes[3], &planes[7], &planes[11]);
    point.setValue(7, 8, 9);
    EXPECT_EQ(planes, (test::Bytes{1, 2, 2, 7, 10, 20, 30, 8, 200, 200, 201, 9}));
}

}  // namespace
