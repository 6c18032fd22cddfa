// Records of loaded pages and the pixel cursor.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "kel_ImageStorage.h"
#include "support.h"

using namespace test;

namespace {

/// A record as a loader would leave it: 5 by 4 pixels in three planes.
tagImage loaded() {
    tagImage image{};
    image.imageData = new unsigned char[60];
    std::iota(image.imageData, image.imageData + 60, static_cast<unsigned char>(7));
    image.width = 5;
    image.height = 4;
    image.channels = 3;
    image.dataSize = 120;  // wider samples: the copy goes by the product all the same
    std::strcpy(image.format, "JPEG");
    std::strcpy(image.compression, "75");
    std::memcpy(image.xResolution, "118.1100", 8);  // all 8 bytes used, no terminator
    return image;
}

TEST(Storage, ReleasesRecordsOnceAndOnlyWhenThereAreSome) {
    KelReleaseKelImage(nullptr);
    Kel_ReleaseImage(nullptr);
    const tagImage zero{};
    tagImage image = loaded();
    KelReleaseKelImage(&image);
    EXPECT_EQ(std::memcmp(&image, &zero, sizeof zero), 0);
    std::memset(&image, 0x5A, sizeof image);
    KelInitKelImage(&image);
    EXPECT_EQ(std::memcmp(&image, &zero, sizeof zero), 0);
    for (auto release : {KelReleaseImageArrs, Kel_ReleaseImageArr}) {
        tagImage* const records = new tagImage[2]{loaded(), loaded()};
        tagImage* arr = records;
        for (int count : {0, -1, 2, 3}) {  // the third call releases, the fourth finds nothing
            const int given = count;
            release(&arr, &count);
            EXPECT_EQ(arr, given < 1 ? records : nullptr);
            EXPECT_EQ(count, given == 2 ? 0 : given);
        }
    }
}

TEST(Storage, UnpacksTheFirstRecord) {
    tagImage image = loaded();
    for (const char* text : {"75", "CCITTFAX4"})  // a rate, a name
        for (int wantInfo : {0, 2, 1}) {          // only 1 asks for the information
            unsigned char* dst = nullptr;
            int width = 0, height = 0, channels = 0, rate = -1;
            double x = -1, y = -1;
            char format[12] = "", compression[32] = "";
            const bool wanted = wantInfo == 1;
            std::strcpy(image.compression, text);
            Kel_CopyImageArr2One(&image, 0, wantInfo, &dst, &width, &height, &channels,
                                 wanted ? format : nullptr, wanted ? compression : nullptr,
                                 wanted ? &rate : nullptr, &x, &y);
            EXPECT_EQ((std::vector<int>{width, height, channels}), (std::vector<int>{5, 4, 3}));
            EXPECT_EQ(Bytes(dst, dst + 60), Bytes(image.imageData, image.imageData + 60));
            EXPECT_EQ(std::pair(x, y), wanted ? std::pair(118.11, 0.0) : std::pair(-1.0, -1.0));
            EXPECT_STREQ(format, wanted ? "JPEG" : "");
            EXPECT_STREQ(compression, wanted ? text : "");
            EXPECT_EQ(rate, !wanted ? -1 : text[0] == '7' ? 75 : 0);
            Kel_ReleaseImage(dst);
        }
    image.width = -1;
    EXPECT_THROW(Kel_CopyImageArr2One(&image, 1, 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, nullptr, nullptr),
                 std::bad_alloc);
    KelReleaseKelImage(&image);
}

TEST(RgbPoint, WalksThePlanesTogether) {
    Bytes planes = {1, 2, 3, 4, 10, 20, 30, 40, 100, 200, 201, 202};
    kelRGBPoint point, other;
    point.Ini(planes.data() + 1, 4);
    for (auto [channel, value] : {std::pair{'R', 2}, {'G', 20}, {'B', 200}, {'r', 0}, {'X', 0}})
        EXPECT_EQ(point.getValue(channel), value);
    other.setOff(point, 1, 2, -1);
    other.CopyValue(point);
    EXPECT_EQ(planes, (Bytes{1, 2, 2, 4, 10, 20, 30, 20, 200, 200, 201, 202}));
    point.Copy(&planes[3], &planes[7], &planes[11]);
    kelRGBPoint(&planes[0], &planes[4], &planes[8]).CopyValue(point);
    point.setValue(7, 8, 9);
    EXPECT_EQ(planes, (Bytes{4, 2, 2, 7, 20, 20, 30, 8, 202, 200, 201, 9}));
}

}  // namespace
