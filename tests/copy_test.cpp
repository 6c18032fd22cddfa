// Copy, crop, paste and border, on guarded buffers.
#include <gtest/gtest.h>

#include "guarded.h"
#include "kel_ImageBasicProcess.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

/// Sample (plane c, row y, column x) of a channel image.
unsigned char& at(Bytes& image, kelSize size, int c, int y, int x) {
    return image[static_cast<size_t>(c) * area(size) +
                 static_cast<size_t>(y) * static_cast<size_t>(size.width) + static_cast<size_t>(x)];
}

/// What a copy of `from` (its part at fx, fy of w by h) to tx, ty of `to` leaves in `to`.
Bytes pasted(Bytes from, kelSize fromSize, int fx, int fy, int w, int h, Bytes to, kelSize toSize,
             int tx, int ty, int planes) {
    for (int c = 0; c < planes; ++c)
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                at(to, toSize, c, ty + y, tx + x) = at(from, fromSize, c, fy + y, fx + x);
    return to;
}

const kelSize kSmall{10, 7};
const kelSize kLarge{21, 9};

TEST(CopyImage, GoesToTheCornerOfTheTarget) {
    for (int channels : {1, 2, 3}) {
        for (kelSize target : {kSmall, kLarge, kelSize{10, 9}}) {
            Bytes src = test::randomBytes(area(kSmall) * static_cast<size_t>(channels), 1);
            Guarded dst(test::randomBytes(area(target) * static_cast<size_t>(channels), 2));
            const Bytes before = dst.content();
            ASSERT_EQ(KelCopyImage(src.data(), kSmall, channels, dst.data(), target, channels), 0);
            EXPECT_EQ(dst.content(),
                      pasted(src, kSmall, 0, 0, 10, 7, before, target, 0, 0, channels));
            EXPECT_TRUE(dst.intact());
        }
    }
}

TEST(CopyImage, RefusesInOrder) {
    Bytes src(600);
    Guarded dst(600);
    const Bytes before = dst.content();
    EXPECT_EQ(KelCopyImage(src.data(), {11, 5}, 1, dst.data(), {10, 10}, 1), -1);
    EXPECT_EQ(KelCopyImage(src.data(), {5, 11}, 1, dst.data(), {10, 10}, 1), -1);
    EXPECT_EQ(KelCopyImage(src.data(), {5, 5}, 3, dst.data(), {10, 10}, 1), -1);
    EXPECT_EQ(KelCopyImage(src.data(), {5, 5}, 0, dst.data(), {10, 10}, 0), 0);
    EXPECT_EQ(KelCopyImage(src.data(), {0, 5}, 3, dst.data(), {10, 10}, 3), 0);
    EXPECT_EQ(KelCopyImage(src.data(), {5, -5}, 3, dst.data(), {10, 10}, 3), 0);
    EXPECT_EQ(dst.content(), before);
}

TEST(CopyImage1Channel, MovesTheNamedPlaneEitherWay) {
    const Bytes colour = test::randomBytes(3 * area(kSmall), 3);
    Bytes src = colour;
    const char names[] = {'R', 'G', 'B'};
    for (int c = 0; c < 3; ++c) {
        const auto start = colour.begin() + c * static_cast<ptrdiff_t>(area(kSmall));
        const Bytes plane(start, start + static_cast<ptrdiff_t>(area(kSmall)));
        Guarded one(area(kLarge));
        ASSERT_EQ(KelCopyImage1Channel(src.data(), kSmall, 3, one.data(), kLarge, 99, 2, names[c]),
                  0);
        EXPECT_EQ(one.content(),
                  pasted(plane, kSmall, 0, 0, 10, 7, Bytes(area(kLarge), 0xAB), kLarge, 0, 0, 1));
        Guarded three(3 * area(kLarge));
        ASSERT_EQ(
            KelCopyImage1Channel(src.data(), kSmall, 99, three.data(), kLarge, 3, 0, names[c]), 0);
        Bytes expected(3 * area(kLarge), 0xAB);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 10; ++x)
                at(expected, kLarge, c, y, x) = colour[static_cast<size_t>(y * 10 + x)];
        EXPECT_EQ(three.content(), expected);
        EXPECT_TRUE(one.intact() && three.intact());
    }
}

TEST(CopyImage1Channel, RefusesInOrder) {
    Bytes src(300);
    Guarded dst(300);
    const Bytes before = dst.content();
    const auto call = [&](kelSize from, int fromChannels, int toChannels, unsigned char fromColour,
                          char channel) {
        return KelCopyImage1Channel(src.data(), from, fromChannels, dst.data(), {10, 10},
                                    toChannels, fromColour, channel);
    };
    EXPECT_EQ(call({20, 20}, 1, 1, 1, 'g'), -1);
    EXPECT_EQ(call({20, 20}, 1, 3, 1, 'G'), -1);
    EXPECT_EQ(call({20, 20}, 3, 1, 0, 'G'), -1);
    EXPECT_EQ(call({11, 2}, 3, 1, 1, 'G'), -2);
    EXPECT_EQ(call({0, 2}, 3, 1, 1, 'G'), 0);
    EXPECT_EQ(dst.content(), before);
}

TEST(CopySubImage, RepairsTheRectangleAndCutsItOut) {
    struct Case {
        CvRect rect;
        CvRect after;
    };
    const Case cases[] = {
        {cvRect(2, 1, 5, 4), cvRect(2, 1, 5, 4)},
        {cvRect(-5, 0, 9, 7), cvRect(0, 0, 9, 7)},     // the size is not reduced by the shift
        {cvRect(8, 5, 9, 7), cvRect(8, 5, 2, 2)},      // trimmed, and told
        {cvRect(-2, -3, 12, 9), cvRect(0, 0, 10, 7)},  // both
        {cvRect(1, 1, 12, 1), cvRect(1, 1, 9, 1)},
    };
    const kelSize target{12, 9};
    for (int channels : {1, 3}) {
        for (const auto& c : cases) {
            Bytes src = test::randomBytes(area(kSmall) * static_cast<size_t>(channels), 4);
            Guarded dst(area(target) * static_cast<size_t>(channels));
            const Bytes before = dst.content();
            CvRect r = c.rect;
            ASSERT_EQ(KelCopySubImage(src.data(), kSmall, dst.data(), target, channels, &r), 0);
            EXPECT_EQ(r.x, c.after.x);
            EXPECT_EQ(r.y, c.after.y);
            EXPECT_EQ(r.width, c.after.width);
            EXPECT_EQ(r.height, c.after.height);
            EXPECT_EQ(dst.content(), pasted(src, kSmall, r.x, r.y, r.width, r.height, before,
                                            target, 0, 0, channels));
            EXPECT_TRUE(dst.intact());
        }
    }
}

TEST(CopySubImage, RefusesInOrder) {
    Bytes src = test::randomBytes(3 * 70, 5);
    Guarded dst(300);
    const Bytes before = dst.content();
    const auto call = [&](CvRect rect, int channels, int result) {
        const CvRect given = rect;
        EXPECT_EQ(KelCopySubImage(src.data(), kSmall, dst.data(), {8, 6}, channels, &rect), result);
        if (result != 0) {
            EXPECT_EQ(rect.x, given.x);
            EXPECT_EQ(rect.width, given.width);
        }
    };
    call(cvRect(99, 0, 9, 2), 1, -1);  // too wide for the target comes first, clipped or not
    call(cvRect(0, 0, 2, 7), 1, -1);
    call(cvRect(10, 0, 2, 2), 1, -2);
    call(cvRect(0, 7, 2, 2), 1, -2);
    call(cvRect(0, 0, 0, 2), 1, -2);
    call(cvRect(-1, 0, 2, 2), 2, 0);
    EXPECT_EQ(dst.content(), before);
}

TEST(CopyImageClip, PastesWhereItFits) {
    for (int channels : {1, 3, 4}) {
        Bytes src = test::randomBytes(area(kSmall) * static_cast<size_t>(channels), 6);
        Guarded dst(area(kLarge) * static_cast<size_t>(channels));
        const Bytes before = dst.content();
        EXPECT_EQ(KelCopyImageClip(src.data(), kSmall, dst.data(), kLarge, channels, 12, 2), -1);
        EXPECT_EQ(KelCopyImageClip(src.data(), kSmall, dst.data(), kLarge, channels, 11, 3), -1);
        EXPECT_EQ(KelCopyImageClip(src.data(), kSmall, dst.data(), kLarge, channels, 2147483647, 2),
                  -1);
        EXPECT_EQ(KelCopyImageClip(src.data(), kSmall, dst.data(), kLarge, 0, 1, 1), 0);
        EXPECT_EQ(KelCopyImageClip(src.data(), {10, 0}, dst.data(), kLarge, channels, 1, 1), 0);
        EXPECT_NE(KelCopyImageClip(src.data(), kSmall, dst.data(), kLarge, channels, -1, 1), 0);
        EXPECT_EQ(dst.content(), before);
        EXPECT_EQ(KelCopyImageClip(src.data(), kSmall, dst.data(), kLarge, channels, 11, 2), 0);
        EXPECT_EQ(dst.content(), pasted(src, kSmall, 0, 0, 10, 7, before, kLarge, 11, 2, channels));
        EXPECT_TRUE(dst.intact());
    }
}

TEST(SetBorder, PaintsOnePixelButOnlyRowZeroOfLowImages) {
    for (kelSize size : test::awkwardSizes()) {
        Guarded image(2 * area(size));
        SetBorder(image.data(), size, 2, 9);
        Bytes expected(2 * area(size), 0xAB);
        for (int c = 0; c < 2; ++c)
            for (int y = 0; y < size.height; ++y)
                for (int x = 0; x < size.width; ++x)
                    if (y == 0 || (size.height >= 3 &&
                                   (y == size.height - 1 || x == 0 || x == size.width - 1)))
                        at(expected, size, c, y, x) = 9;
        EXPECT_EQ(image.content(), expected) << size.width << "x" << size.height;
        EXPECT_TRUE(image.intact());
    }
}

}  // namespace
