// Copy, crop, paste and border; plane conversions and fixed thresholds. (That luminance is exact
// for every triple, at every kernel level, is tested with the row kernels.)
#include <gtest/gtest.h>

#include "kel_ImageBasicProcess.h"
#include "support.h"

using namespace test;

namespace {

using Results = std::vector<int>;

const kelSize kSmall{10, 7};
const kelSize kLarge{21, 9};
const CvRect kWhole = cvRect(0, 0, 10, 7);

/// Copies the part (x, y, w, h) of plane `fromPlane` to column tx, row ty of plane `toPlane`.
void paste(Image& from, int fromPlane, CvRect part, Image& to, int toPlane, int tx, int ty) {
    for (int y = 0; y < part.height; ++y)
        for (int x = 0; x < part.width; ++x)
            to.at(toPlane, ty + y, tx + x) = from.at(fromPlane, part.y + y, part.x + x);
}

TEST(Copy, WholeImagesAndPastesLandWhereTheyShould) {
    for (int channels : {1, 2, 3})
        for (kelSize size : {kSmall, kLarge, kelSize{10, 9}}) {
            Image src(kSmall, channels, 1), corner(size, channels, 2), pasted(size, channels, 2);
            Guarded copy(corner.samples), clip(corner.samples);
            const int x = size.width - 10, y = size.height - 7;
            for (int c = 0; c < channels; ++c) {
                paste(src, c, kWhole, corner, c, 0, 0);
                paste(src, c, kWhole, pasted, c, x, y);
            }
            const auto pasteAt = [&](int left, int top) {
                return KelCopyImageClip(src.samples.data(), kSmall, clip.data(), size, channels,
                                        left, top);
            };
            EXPECT_EQ((Results{KelCopyImage(src.samples.data(), kSmall, channels, copy.data(), size,
                                            channels),
                               pasteAt(x + 1, y), pasteAt(x, y + 1), pasteAt(x, y)}),
                      (Results{0, -1, -1, 0}));
            EXPECT_EQ(copy.bytes(), corner.samples);
            EXPECT_EQ(clip.bytes(), pasted.samples);
        }
}

TEST(Copy, OnePlaneMovesEitherWay) {
    for (int c = 0; c < 3; ++c) {
        Image colour(kSmall, 3, 3), one(kLarge, 1, 4), three(kLarge, 3, 5);
        Guarded toOne(one.samples), toThree(three.samples);
        unsigned char* from = colour.samples.data();
        KelCopyImage1Channel(from, kSmall, 3, toOne.data(), kLarge, 99, 2, "RGB"[c]);
        KelCopyImage1Channel(from, kSmall, 99, toThree.data(), kLarge, 3, 0, "RGB"[c]);
        paste(colour, c, kWhole, one, 0, 0, 0);
        paste(colour, 0, kWhole, three, c, 0, 0);
        EXPECT_EQ(toOne.bytes(), one.samples);
        EXPECT_EQ(toThree.bytes(), three.samples);
    }
}

TEST(Copy, SubImageRepairsItsRectangle) {
    CvRect cases[][2] = {{cvRect(2, 1, 5, 4), cvRect(2, 1, 5, 4)},
                         {cvRect(-5, 0, 9, 7), cvRect(0, 0, 9, 7)},  // the size is kept
                         {cvRect(8, 5, 9, 7), cvRect(8, 5, 2, 2)},   // trimmed, and told
                         {cvRect(-2, -3, 12, 9), kWhole}};
    for (int channels : {1, 3})
        for (auto [r, repaired] : cases) {
            Image src(kSmall, channels, 4), target({12, 9}, channels, 5);
            Guarded dst(target.samples);
            EXPECT_EQ(
                KelCopySubImage(src.samples.data(), kSmall, dst.data(), {12, 9}, channels, &r), 0);
            EXPECT_EQ((Results{r.x, r.y, r.width, r.height}),
                      (Results{repaired.x, repaired.y, repaired.width, repaired.height}));
            for (int p = 0; p < channels; ++p)
                paste(src, p, repaired, target, p, 0, 0);
            EXPECT_EQ(dst.bytes(), target.samples);
        }
}

TEST(Copy, RefusesInOrderAndWritesNothing) {
    Bytes samples(1200);
    unsigned char* src = samples.data();
    Guarded dst(1200);
    const auto copy = [&](kelSize from, int planes, int toPlanes) {
        return KelCopyImage(src, from, planes, dst.data(), {10, 10}, toPlanes);
    };
    EXPECT_EQ((Results{copy({11, 5}, 1, 1), copy({5, 11}, 1, 1), copy({5, 5}, 3, 1),
                       copy({5, 5}, 0, 0), copy({5, -5}, 3, 3)}),
              (Results{-1, -1, -1, 0, 0}));
    const auto plane = [&](kelSize from, int planes, int toPlanes, bool fromColour, char name) {
        return KelCopyImage1Channel(src, from, planes, dst.data(), {10, 10}, toPlanes, fromColour,
                                    name);
    };
    EXPECT_EQ((Results{plane({20, 20}, 3, 3, true, 'g'), plane({20, 20}, 1, 3, true, 'G'),
                       plane({20, 20}, 3, 1, false, 'G'), plane({11, 2}, 3, 1, true, 'G'),
                       plane({0, 2}, 3, 1, true, 'G')}),
              (Results{-1, -1, -1, -2, 0}));
    const auto cut = [&](CvRect rect, int channels) {
        return KelCopySubImage(src, {10, 7}, dst.data(), {8, 6}, channels, &rect);
    };
    // Too large for the target comes first, even where the repaired rectangle would fit.
    EXPECT_EQ((Results{cut(cvRect(99, 0, 9, 2), 1), cut(cvRect(0, 0, 2, 7), 1),
                       cut(cvRect(10, 0, 2, 2), 1), cut(cvRect(0, 7, 2, 2), 1),
                       cut(cvRect(0, 0, 0, 2), 1), cut(cvRect(-1, 0, 2, 2), 2)}),
              (Results{-1, -1, -2, -2, -2, 0}));
    const auto clip = [&](kelSize from, int channels, int x) {
        return KelCopyImageClip(src, from, dst.data(), {20, 10}, channels, x, 1);
    };
    EXPECT_EQ((Results{clip({5, 5}, 1, 2147483647), clip({5, 5}, 1, -1), clip({5, 0}, 3, 1),
                       clip({5, 5}, 0, 1)}),
              (Results{-1, -1, 0, 0}));
    const auto convert = [&](kelSize from, int planes, int toPlanes) {
        return KelColorConvert(src, from, planes, dst.data(), {10, 10}, toPlanes);
    };
    EXPECT_EQ((Results{convert({11, 5}, 3, 1), convert({11, 5}, 2, 4), convert({5, 11}, 1, 1),
                       convert({5, -1}, 1, 3)}),
              (Results{-1, -1, -1, 0}));
    for (int bad : {2, 4, 0, -1})
        EXPECT_EQ((Results{convert({5, 5}, bad, 1), convert({5, 5}, 1, bad)}), (Results{-2, -2}));
    EXPECT_EQ(dst.bytes(), Bytes(1200, 0xAB));
}

TEST(Copy, BorderIsOnePixelButOnlyRowZeroOfLowImages) {
    for (kelSize size : awkwardSizes()) {
        Image image(size, 2, 7);
        Guarded painted(image.samples);
        SetBorder(painted.data(), size, 2, 9);
        for (int c = 0; c < 2; ++c)
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x) {
                    const bool edge = y == size.height - 1 || x == 0 || x == size.width - 1;
                    if (y == 0 || (size.height >= 3 && edge)) image.at(c, y, x) = 9;
                }
        EXPECT_EQ(painted.bytes(), image.samples) << size;
    }
}

TEST(Convert, CopiesExpandsAndReduces) {
    const int counts[][2] = {{1, 1}, {3, 3}, {1, 3}, {3, 1}};
    for (auto [from, to] : counts)
        for (kelSize size : awkwardSizes())
            for (int extra : {0, 5}) {
                Image src(size, from, 9), target({size.width + extra, size.height + extra}, to, 10);
                Guarded dst(target.samples);
                const Bytes grey = greyOf(src.samples, from);
                // Luminance is packed with the source's stride; copies use the target's own.
                if (from > to) std::copy(grey.begin(), grey.end(), target.samples.begin());
                for (int c = 0; c < to && from <= to; ++c)
                    paste(src, from == 1 ? 0 : c, cvRect(0, 0, size.width, size.height), target, c,
                          0, 0);
                KelColorConvert(src.samples.data(), size, from, dst.data(), target.size, to);
                EXPECT_EQ(dst.bytes(), target.samples) << from << " to " << to;
            }
}

TEST(Convert, OverlappingTargetsGiveTheStatedResult) {
    const kelSize size{101, 3};
    const auto n = area(size);
    for (size_t start : {size_t{0}, size_t{1}, size_t{31}, size_t{32}, n - 3, n, 2 * n - 40}) {
        Bytes planes = randomBytes(3 * n + 64, 8), expected = planes;
        for (size_t i = 0; i < n; ++i)  // luminance: sample by sample
            expected[start + i] = luminance(expected[i], expected[n + i], expected[2 * n + i]);
        KelColorConvert(planes.data(), size, 3, planes.data() + start, size, 1);
        ASSERT_EQ(planes, expected) << "start " << start;
        // Expansion: the whole plane is read first.
        Bytes apart(3 * n);
        KelColorConvert(planes.data() + start, size, 1, apart.data(), size, 3);
        KelColorConvert(planes.data() + start, size, 1, planes.data(), size, 3);
        planes.resize(3 * n);
        EXPECT_EQ(planes, apart) << "start " << start;
    }
}

TEST(Threshold, ComparesStrictlyAtEveryLevelAndSize) {
    for (kelSize size : awkwardSizes()) {
        const size_t n = area(size);
        Bytes src = randomBytes(3 * n, 1);
        for (int thres : {-2147483647 - 1, -1, 0, 1, 127, 128, 254, 255, 256, 2147483647})
            for (unsigned char isOpp : {0, 1, 2, 255}) {
                const int levels[3] = {thres, 90, thres / 2};
                Guarded one(n), three(src);
                KelBinarizeThreshold(src.data(), one.data(), size, thres, isOpp);
                KelBinarizeThreshold3(three.data(), three.data(), size, 7, levels[0], levels[1],
                                      levels[2], isOpp);
                Bytes expected = eachByte(
                    3 * n, [&](size_t i) { return compared(src[i], levels[i / n], isOpp); });
                EXPECT_EQ(three.bytes(), expected);
                expected.resize(n);
                EXPECT_EQ(one.bytes(), expected);
            }
        EXPECT_EQ(src, randomBytes(3 * n, 1));
    }
}

TEST(Threshold, OverlapAndWrappedCounts) {
    for (size_t shift : {0, 1, 15, 16, 40}) {  // a later sample sees what was written before
        Bytes buffer = randomBytes(200, 2), expected = buffer;
        for (size_t i = 0; i < 150; ++i)
            expected[i + shift] = compared(expected[i], 100, 1);
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
