// Plane conversions and fixed thresholds. (That luminance is exact for every triple, at every
// kernel level, is tested with the row kernels.)
#include <gtest/gtest.h>

#include "kel_ImageBasicProcess.h"
#include "support.h"

using test::area;
using test::Bytes;
using test::Guarded;
using test::Image;

namespace {

TEST(Convert, CopiesExpandsAndReduces) {
    const int counts[][2] = {{1, 1}, {3, 3}, {1, 3}, {3, 1}};
    for (auto [from, to] : counts) {
        for (kelSize size : test::awkwardSizes()) {
            for (int extra : {0, 5}) {
                Image src(size, from, 9);
                Image target({size.width + extra, size.height + extra}, to, 10);
                Guarded dst(target.samples);
                const Bytes grey = test::greyOf(src.samples, from);
                // Luminance is packed with the source's stride; copies use the target's own.
                if (from > to) std::copy(grey.begin(), grey.end(), target.samples.begin());
                for (int c = 0; c < to && from <= to; ++c)
                    for (int y = 0; y < size.height; ++y)
                        for (int x = 0; x < size.width; ++x)
                            target.at(c, y, x) = src.at(from == 1 ? 0 : c, y, x);
                ASSERT_EQ(
                    KelColorConvert(src.samples.data(), size, from, dst.data(), target.size, to),
                    0);
                EXPECT_EQ(dst.bytes(), target.samples) << from << " to " << to;
            }
        }
    }
}

TEST(Convert, OverlappingTargetsGiveTheStatedResult) {
    const kelSize size{101, 3};
    const auto n = area(size);
    for (size_t start : {size_t{0}, size_t{1}, size_t{31}, size_t{32}, n - 3, n, 2 * n - 40}) {
        Bytes planes = test::randomBytes(3 * n + 64, 8), expected = planes;
        for (size_t i = 0; i < n; ++i)  // luminance: sample by sample
            expected[start + i] =
                test::luminance(expected[i], expected[n + i], expected[2 * n + i]);
        KelColorConvert(planes.data(), size, 3, planes.data() + start, size, 1);
        ASSERT_EQ(planes, expected) << "start " << start;
        // Expansion: the whole plane is read first.
        Bytes inPlace = planes, apart(3 * n);
        KelColorConvert(planes.data() + start, size, 1, apart.data(), size, 3);
        KelColorConvert(inPlace.data() + start, size, 1, inPlace.data(), size, 3);
        inPlace.resize(3 * n);
        EXPECT_EQ(inPlace, apart) << "start " << start;
    }
}

TEST(Convert, RefusesInOrder) {
    Bytes src(400);
    Guarded dst(400);
    const auto call = [&](kelSize from, int planes, int toPlanes) {
        return KelColorConvert(src.data(), from, planes, dst.data(), {10, 10}, toPlanes);
    };
    EXPECT_EQ((std::vector<int>{call({11, 5}, 3, 1), call({11, 5}, 2, 4), call({5, 11}, 1, 1),
                                call({5, -1}, 1, 3)}),
              (std::vector<int>{-1, -1, -1, 0}));
    for (int bad : {2, 4, 0, -1})
        EXPECT_EQ(call({5, 5}, bad, 1) + call({5, 5}, 1, bad), -4);
    EXPECT_EQ(dst.bytes(), Bytes(400, 0xAB));
}

TEST(Threshold, ComparesStrictlyAtEveryLevelAndSize) {
    for (kelSize size : test::awkwardSizes()) {
        const size_t n = area(size);
        const Bytes src = test::randomBytes(3 * n, 1);
        for (int thres : {-2147483647 - 1, -1, 0, 1, 127, 128, 254, 255, 256, 2147483647}) {
            for (unsigned char isOpp : {0, 1, 2, 255}) {
                const int levels[3] = {thres, 90, thres / 2};
                Bytes expected = src, input = src;
                for (size_t i = 0; i < src.size(); ++i)
                    expected[i] = test::compared(src[i], levels[i / n], isOpp);
                Guarded one(n), three(src);
                KelBinarizeThreshold(input.data(), one.data(), size, thres, isOpp);
                KelBinarizeThreshold3(three.data(), three.data(), size, 7, levels[0], levels[1],
                                      levels[2], isOpp);
                EXPECT_EQ(three.bytes(), expected);
                expected.resize(n);
                EXPECT_EQ(one.bytes(), expected);
                EXPECT_EQ(input, src);
            }
        }
    }
}

TEST(Threshold, OverlapAndWrappedCounts) {
    for (size_t shift : {0, 1, 15, 16, 40}) {  // a later sample sees what was written before
        Bytes buffer = test::randomBytes(200, 2), expected = buffer;
        for (size_t i = 0; i < 150; ++i)
            expected[i + shift] = test::compared(expected[i], 100, 1);
        KelBinarizeThreshold(buffer.data(), buffer.data() + shift, {15, 10}, 100, 1);
        EXPECT_EQ(buffer, expected) << shift;
    }
    // The 32-bit product of the sides is 0 or negative, or a side is: nothing is done.
    unsigned char sample = 77;
    for (kelSize size : {kelSize{65536, 65536}, kelSize{65536, 32768}, kelSize{-3, -1}})
        KelBinarizeThreshold(&sample, &sample, size, 10, 0);
    EXPECT_EQ(sample, 77);
}

}  // namespace
