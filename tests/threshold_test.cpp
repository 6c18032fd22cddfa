// Fixed thresholds on one plane and on three.
#include <gtest/gtest.h>

#include "guarded.h"
#include "kel_ImageBasicProcess.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

unsigned char compared(unsigned char sample, int thres, int isOpp) {
    return (static_cast<int>(sample) > thres) != (isOpp != 0) ? 255 : 0;
}

TEST(Threshold, ComparesStrictlyAtEveryLevelAndSize) {
    for (kelSize size : test::awkwardSizes()) {
        const Bytes src = test::randomBytes(area(size), 1);
        for (int thres : {-2147483647 - 1, -1, 0, 1, 127, 128, 254, 255, 256, 2147483647}) {
            for (int isOpp : {0, 1, 2, 255}) {
                Bytes expected = src;
                for (auto& s : expected)
                    s = compared(s, thres, isOpp);
                Bytes input = src;
                Guarded apart(area(size));
                KelBinarizeThreshold(input.data(), apart.data(), size, thres,
                                     static_cast<unsigned char>(isOpp));
                ASSERT_EQ(apart.content(), expected) << thres << " isOpp " << isOpp;
                EXPECT_EQ(input, src);
                EXPECT_TRUE(apart.intact());
                Guarded inPlace(src);
                KelBinarizeThreshold(inPlace.data(), inPlace.data(), size, thres,
                                     static_cast<unsigned char>(isOpp));
                ASSERT_EQ(inPlace.content(), expected);
                EXPECT_TRUE(inPlace.intact());
            }
        }
    }
}

TEST(Threshold, EqualSamplesAreNotAbove) {
    Bytes all(256);
    for (size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<unsigned char>(i);
    for (int thres = 0; thres < 255; ++thres) {
        Bytes out(256);
        KelBinarizeThreshold(all.data(), out.data(), {16, 16}, thres, 0);
        ASSERT_EQ(out[static_cast<size_t>(thres)], 0);
        ASSERT_EQ(out[static_cast<size_t>(thres) + 1], 255);
    }
}

TEST(Threshold, AnOverlappingTargetSeesTheSamplesWrittenBefore) {
    for (size_t shift : {1, 7, 15, 16, 17, 40}) {
        Bytes buffer = test::randomBytes(200, 2);
        Bytes expected = buffer;
        for (size_t i = 0; i < 150; ++i)
            expected[i + shift] = compared(expected[i], 100, 1);
        KelBinarizeThreshold(buffer.data(), buffer.data() + shift, {15, 10}, 100, 1);
        ASSERT_EQ(buffer, expected) << shift;
    }
}

TEST(Threshold, SampleCountIsA32BitProduct) {
    // The product wraps to 0 and to a negative number: nothing is done.
    unsigned char sample = 77;
    KelBinarizeThreshold(&sample, &sample, {65536, 65536}, 10, 0);
    KelBinarizeThreshold(&sample, &sample, {65536, 32768}, 10, 0);
    KelBinarizeThreshold(&sample, &sample, {-3, -1}, 10, 0);
    KelBinarizeThreshold3(&sample, &sample, {0, 5}, 0, 1, 2, 3, 0);
    EXPECT_EQ(sample, 77);
}

TEST(Threshold3, EachPlaneHasItsOwnLevel) {
    for (kelSize size : test::awkwardSizes()) {
        const auto n = area(size);
        const Bytes src = test::randomBytes(3 * n, 3);
        const int thres[3] = {60, -1, 200};
        Bytes expected = src;
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = compared(src[i], thres[i / n], 0);
        Bytes input = src;
        Guarded apart(3 * n), inPlace(src);
        KelBinarizeThreshold3(input.data(), apart.data(), size, 12345, 60, -1, 200, 0);
        KelBinarizeThreshold3(inPlace.data(), inPlace.data(), size, 0, 60, -1, 200, 0);
        EXPECT_EQ(apart.content(), expected);
        EXPECT_EQ(inPlace.content(), expected);
        EXPECT_TRUE(apart.intact() && inPlace.intact());
    }
}

}  // namespace
