// Copy, crop, paste and border, on guarded buffers.
#include <gtest/gtest.h>

#include "kel_ImageBasicProcess.h"
#include "support.h"

using test::Guarded;
using test::Image;

namespace {

const kelSize kSmall{10, 7};
const kelSize kLarge{21, 9};

/// Copies the part (x, y, w, h) of plane `fromPlane` to column tx, row ty of plane `toPlane`.
void paste(Image& from, int fromPlane, CvRect part, Image& to, int toPlane, int tx, int ty) {
    for (int y = 0; y < part.height; ++y)
        for (int x = 0; x < part.width; ++x)
            to.at(toPlane, ty + y, tx + x) = from.at(fromPlane, part.y + y, part.x + x);
}

TEST(Copy, WholeImagesAndPastesLandWhereTheyShould) {
    for (int channels : {1, 2, 3}) {
        for (kelSize size : {kSmall, kLarge, kelSize{10, 9}}) {
            Image src(kSmall, channels, 1), corner(size, channels, 2), pasted(size, channels, 2);
            Guarded copy(corner.samples), clip(corner.samples);
            const int x = size.width - 10, y = size.height - 7;
            for (int c = 0; c < channels; ++c) {
                paste(src, c, cvRect(0, 0, 10, 7), corner, c, 0, 0);
                paste(src, c, cvRect(0, 0, 10, 7), pasted, c, x, y);
            }
            unsigned char* from = src.samples.data();
            EXPECT_EQ(KelCopyImage(from, kSmall, channels, copy.data(), size, channels), 0);
            EXPECT_EQ(copy.bytes(), corner.samples);
            EXPECT_EQ(KelCopyImageClip(from, kSmall, clip.data(), size, channels, x + 1, y), -1);
            EXPECT_EQ(KelCopyImageClip(from, kSmall, clip.data(), size, channels, x, y + 1), -1);
            EXPECT_EQ(KelCopyImageClip(from, kSmall, clip.data(), size, channels, x, y), 0);
            EXPECT_EQ(clip.bytes(), pasted.samples);
        }
    }
}

TEST(Copy, OnePlaneMovesEitherWay) {
    for (int c = 0; c < 3; ++c) {
        const char name = "RGB"[c];
        Image colour(kSmall, 3, 3), one(kLarge, 1, 4), three(kLarge, 3, 5);
        Guarded toOne(one.samples), toThree(three.samples);
        unsigned char* from = colour.samples.data();
        EXPECT_EQ(KelCopyImage1Channel(from, kSmall, 3, toOne.data(), kLarge, 99, 2, name), 0);
        EXPECT_EQ(KelCopyImage1Channel(from, kSmall, 99, toThree.data(), kLarge, 3, 0, name), 0);
        paste(colour, c, cvRect(0, 0, 10, 7), one, 0, 0, 0);
        paste(colour, 0, cvRect(0, 0, 10, 7), three, c, 0, 0);
        EXPECT_EQ(toOne.bytes(), one.samples);
        EXPECT_EQ(toThree.bytes(), three.samples);
    }
}

TEST(Copy, SubImageRepairsItsRectangle) {
    const CvRect cases[][2] = {{cvRect(2, 1, 5, 4), cvRect(2, 1, 5, 4)},
                               {cvRect(-5, 0, 9, 7), cvRect(0, 0, 9, 7)},  // the size is kept
                               {cvRect(8, 5, 9, 7), cvRect(8, 5, 2, 2)},   // trimmed, and told
                               {cvRect(-2, -3, 12, 9), cvRect(0, 0, 10, 7)}};
    for (int channels : {1, 3}) {
        for (const auto& c : cases) {
            Image src(kSmall, channels, 4), target({12, 9}, channels, 5);
            Guarded dst(target.samples);
            CvRect r = c[0];
            EXPECT_EQ(
                KelCopySubImage(src.samples.data(), kSmall, dst.data(), {12, 9}, channels, &r), 0);
            for (auto field : {&CvRect::x, &CvRect::y, &CvRect::width, &CvRect::height})
                EXPECT_EQ(r.*field, c[1].*field);
            for (int p = 0; p < channels; ++p)
                paste(src, p, r, target, p, 0, 0);
            EXPECT_EQ(dst.bytes(), target.samples);
        }
    }
}

TEST(Copy, RefusesInOrderAndWritesNothing) {
    Image image({20, 20}, 3, 6);
    unsigned char* src = image.samples.data();
    Guarded dst(1200);
    using Results = std::vector<int>;
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
    EXPECT_EQ(dst.bytes(), test::Bytes(1200, 0xAB));
}

TEST(Copy, BorderIsOnePixelButOnlyRowZeroOfLowImages) {
    for (kelSize size : test::awkwardSizes()) {
        Image image(size, 2, 7);
        Guarded painted(image.samples);
        SetBorder(painted.data(), size, 2, 9);
        for (int c = 0; c < 2; ++c)
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x) {
                    const bool edge = y == size.height - 1 || x == 0 || x == size.width - 1;
                    if (y == 0 || (size.height >= 3 && edge)) image.at(c, y, x) = 9;
                }
        EXPECT_EQ(painted.bytes(), image.samples) << ::testing::PrintToString(size);
    }
}

}  // namespace
