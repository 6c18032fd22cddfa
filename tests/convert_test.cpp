// Plane conversions through KelColorConvert().
#include <gtest/gtest.h>

#include "guarded.h"
#include "kel_ImageBasicProcess.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

// The defining rule of luminance, in double precision.
unsigned char luminance(int r, int g, int b) {
    return static_cast<unsigned char>(static_cast<int>((0.299 * r + 0.587 * g) + 0.114 * b));
}

TEST(ColorConvert, LuminanceIsExactForEveryTriple) {
    // One image per level of red, of 256 by 256: rows run over green, columns over blue.
    const kelSize size{256, 256};
    Bytes planes(3 * area(size));
    Bytes grey(area(size));
    for (int r = 0; r < 256; ++r) {
        for (size_t i = 0; i < area(size); ++i) {
            planes[i] = static_cast<unsigned char>(r);
            planes[area(size) + i] = static_cast<unsigned char>(i / 256);
            planes[2 * area(size) + i] = static_cast<unsigned char>(i % 256);
        }
        ASSERT_EQ(KelColorConvert(planes.data(), size, 3, grey.data(), size, 1), 0);
        for (int i = 0; i < 65536; ++i)
            ASSERT_EQ(grey[static_cast<size_t>(i)], luminance(r, i / 256, i % 256))
                << r << "," << i / 256 << "," << i % 256;
    }
}

TEST(ColorConvert, NeutralLevelsLoseOneWhereTheRuleTruncates) {
    Bytes planes(3 * 256);
    for (size_t i = 0; i < planes.size(); ++i)
        planes[i] = static_cast<unsigned char>(i);
    Bytes grey(256);
    KelColorConvert(planes.data(), {256, 1}, 3, grey.data(), {256, 1}, 1);
    int lower = 0;
    for (int v = 0; v < 256; ++v)
        lower += grey[static_cast<size_t>(v)] < v;
    EXPECT_EQ(lower, 65);
    EXPECT_EQ(grey[1], 0);
    EXPECT_EQ(grey[254], 253);
    EXPECT_EQ(grey[255], 255);
}

TEST(ColorConvert, LuminanceIgnoresTheTargetsStride) {
    for (kelSize size : test::awkwardSizes()) {
        const kelSize larger{size.width + 9, size.height + 2};
        const auto n = area(size);
        Bytes src = test::randomBytes(3 * n, 7, 200, 255);
        Guarded dst(area(larger));
        Bytes expected = dst.content();
        for (size_t i = 0; i < n; ++i)
            expected[i] = luminance(src[i], src[n + i], src[2 * n + i]);
        ASSERT_EQ(KelColorConvert(src.data(), size, 3, dst.data(), larger, 1), 0);
        EXPECT_EQ(dst.content(), expected) << size.width << "x" << size.height;
        EXPECT_TRUE(dst.intact());
    }
}

TEST(ColorConvert, LuminanceOverItsOwnPlanesIsThatOfSingleSamples) {
    const kelSize size{101, 3};
    const auto n = area(size);
    // Starts before, on and shortly behind the planes.
    for (size_t start : {size_t{0}, size_t{1}, size_t{15}, size_t{31}, size_t{32}, n - 3, n, n + 1,
                         2 * n, 2 * n - 40}) {
        Bytes planes = test::randomBytes(3 * n + 64, 8);
        Bytes expected = planes;
        for (size_t i = 0; i < n; ++i)
            expected[start + i] = luminance(expected[i], expected[n + i], expected[2 * n + i]);
        KelColorConvert(planes.data(), size, 3, planes.data() + start, size, 1);
        ASSERT_EQ(planes, expected) << "start " << start;
    }
}

TEST(ColorConvert, CopiesAndExpandsIntoTheCorner) {
    const int counts[][2] = {{1, 1}, {3, 3}, {1, 3}};
    for (const auto& count : counts) {
        for (kelSize size : test::awkwardSizes()) {
            for (int extra : {0, 5}) {
                const kelSize target{size.width + extra, size.height + extra};
                Bytes src = test::randomBytes(area(size) * static_cast<size_t>(count[0]), 9);
                Guarded dst(area(target) * static_cast<size_t>(count[1]));
                Bytes expected = dst.content();
                for (int c = 0; c < count[1]; ++c)
                    for (int y = 0; y < size.height; ++y)
                        for (int x = 0; x < size.width; ++x) {
                            const int from = count[0] == 1 ? 0 : c;
                            expected[static_cast<size_t>((c * target.height + y) * target.width +
                                                         x)] =
                                src[static_cast<size_t>((from * size.height + y) * size.width + x)];
                        }
                ASSERT_EQ(KelColorConvert(src.data(), size, count[0], dst.data(), target, count[1]),
                          0);
                EXPECT_EQ(dst.content(), expected) << count[0] << " to " << count[1];
                EXPECT_TRUE(dst.intact());
            }
        }
    }
}

TEST(ColorConvert, GreyExpandsInPlace) {
    const kelSize size{6, 5}, target{9, 7};
    const Bytes grey = test::randomBytes(area(size), 10);
    Bytes apart(3 * area(target), 0), inPlace(3 * area(target), 0);
    Bytes src = grey;
    KelColorConvert(src.data(), size, 1, apart.data(), target, 3);
    std::copy(grey.begin(), grey.end(), inPlace.begin());
    std::copy(grey.begin(), grey.end(), apart.begin());  // the rest of the corner's rows stays
    KelColorConvert(src.data(), size, 1, apart.data(), target, 3);
    KelColorConvert(inPlace.data(), size, 1, inPlace.data(), target, 3);
    EXPECT_EQ(inPlace, apart);
}

TEST(ColorConvert, RefusesInOrder) {
    Bytes src(400);
    Guarded dst(400);
    const Bytes before = dst.content();
    const auto call = [&](kelSize from, int fromChannels, kelSize to, int toChannels) {
        return KelColorConvert(src.data(), from, fromChannels, dst.data(), to, toChannels);
    };
    EXPECT_EQ(call({11, 5}, 3, {10, 10}, 1), -1);
    EXPECT_EQ(call({11, 5}, 2, {10, 10}, 4), -1);
    EXPECT_EQ(call({5, 11}, 1, {10, 10}, 1), -1);
    for (int bad : {2, 4, 0, -1}) {
        EXPECT_EQ(call({5, 5}, bad, {10, 10}, 1), -2);
        EXPECT_EQ(call({5, 5}, 1, {10, 10}, bad), -2);
    }
    EXPECT_EQ(call({0, 5}, 3, {10, 10}, 1), 0);
    EXPECT_EQ(call({5, -1}, 1, {10, 10}, 3), 0);
    EXPECT_EQ(dst.content(), before);
}

}  // namespace
