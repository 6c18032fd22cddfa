// Otsu's level and the growth of its marks, against the steps that define them.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "im_process.h"
#include "im_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_im.h"
#include "support.h"

using namespace test;

namespace {

// The toolkit's level, and its binary plane as 0 and 255.
int otsu(Bytes& plane, kelSize size, Bytes* binary = nullptr) {
    const Im grey(imImageCreate(size.width, size.height, IM_GRAY, IM_BYTE)),
        two(imImageCreate(size.width, size.height, IM_BINARY, IM_BYTE));
    KelPutIMLibImage(grey.get(), plane.data());
    const int level = imProcessOtsuThreshold(grey.get(), two.get());
    if (binary) KelGetIMLibImage(two.get(), binary->data());
    return level;
}

Bytes withMean(Bytes src, kelSize size, int block, int param1, double ratio) {
    const int w = size.width, h = size.height;
    Bytes local(src.size()), binary(src.size()), out(src.size());
    CvMat from = cvMat(h, w, CV_8UC1, src.data()), to = cvMat(h, w, CV_8UC1, local.data());
    cvAdaptiveThreshold(&from, &to, 255.0, CV_ADAPTIVE_THRESH_MEAN_C, CV_THRESH_BINARY_INV, block,
                        param1);
    const int level = otsu(src, size, &binary);
    for (size_t i = 0; i < src.size(); ++i) {
        out[i] = static_cast<unsigned char>(~binary[i] & local[i]);
        if (src[i] < int(level * ratio)) out[i] = 255;
        if (out[i] == 255) local[i] = 0;
    }
    for (bool changed = true; changed;) {
        changed = false;
        for (int y = 1; y < h - 1; ++y)
            for (int x = 1; x < w - 1; ++x) {
                const auto i = size_t(y * w + x);
                if (local[i] != 255) continue;
                for (int k = 0; k < 9; ++k)  // its own target is 0 as long as it is a candidate
                    if (out[size_t((y + k / 3 - 1) * w + x + k % 3 - 1)] != 0) local[i] = 0;
                if (local[i] == 0) out[i] = 255;
                changed |= local[i] == 0;
            }
    }
    return out;
}

TEST(Otsu, PlainFormsReadPlaneZeroAlone) {
    for (kelSize size : awkwardSizes())
        for (const int channels : {1, 3, 2, 0}) {
            const bool usable = area(size) > 0 && channels % 2 == 1;
            Bytes src = randomBytes(3 * area(size), 5, 20, 150);
            Bytes plane(src.begin(), src.begin() + ptrdiff_t(area(size)));
            const int level = usable ? otsu(plane, size) : 0;
            ASSERT_EQ(KelBinarizeImageOstuTraditionalGetThres(src.data(), size, channels), level);
            for (const int offset : {0, -30, 500})
                for (const int isOpp : {0, 3}) {
                    Guarded out(area(size));
                    Bytes expected(area(size), 0xAB);
                    for (size_t i = 0; usable && i < expected.size(); ++i)
                        expected[i] = compared(plane[i], level + offset, isOpp);
                    ASSERT_EQ(
                        KelBinarizeImageOstuTraditional(src.data(), channels, out.data(), size,
                                                        static_cast<unsigned char>(isOpp), offset),
                        0);
                    ASSERT_EQ(out.bytes(), expected) << size << channels;
                }
        }
}

// Bands of paper near white, so that much is locally dark and globally bright, with some ink.
Bytes bands(kelSize size, unsigned seed) {
    Bytes src = randomBytes(area(size), seed, 215, 1 + seed % 5 * 9);
    for (size_t i = 0; i < src.size(); ++i) {
        const size_t x = i % size_t(size.width), y = i / size_t(size.width);
        if ((x + seed) % 23 < 9 || (y * seed) % 17 < 4)
            src[i] = static_cast<unsigned char>(src[i] - 25);
        if ((x * 7 + y * 13 + seed) % (11 + 40 * (seed % 3)) == 0) src[i] = 30;
        if (i % 97 == 5) src[i] = 255;
    }
    return src;
}

TEST(Otsu, GrowthEqualsSweepsUntilNothingChanges) {
    size_t grown = 0;
    for (kelSize size : awkwardSizes({{64, 9}, {66, 30}, {200, 90}}))
        for (unsigned seed = 0; seed < 24; ++seed) {
            Bytes src = seed % 8 == 7 ? page(size, 1).samples : bands(size, seed);
            const int block = 3 + int(seed % 5) * 6, param1 = int(seed % 4) * 2 - 1;
            const double ratio = seed % 6 == 5 ? 1.2 : seed % 6 == 4 ? 0.0 : seed == 3 ? 1e6 : 0.9;
            const Bytes expected = src.empty() ? src : withMean(src, size, block, param1, ratio);
            Guarded apart(src.size()), inPlace(src);
            KelAutoThresholdwithOstuAndMeanC1(src.data(), apart.data(), size, block, param1, ratio);
            KelAutoThresholdwithOstuAndMeanC1(inPlace.data(), inPlace.data(), size, block, param1,
                                              ratio);
            ASSERT_EQ(apart.bytes(), expected) << size << " " << seed;
            ASSERT_EQ(inPlace.bytes(), expected) << size << " " << seed;
            const int level = src.empty() ? 0 : otsu(src, size);
            for (size_t i = 0; i < src.size(); ++i)
                grown += expected[i] == 255 && src[i] > level && src[i] >= level * ratio;
            if (ratio != 0.9) continue;
            KelAutoThresholdwithOstuAndMeanC(src.data(), apart.data(), size, block, param1);
            ASSERT_EQ(apart.bytes(), expected);
        }
    EXPECT_GT(grown, 20000U);
    Bytes src = bands({20, 20}, 1);
    EXPECT_ANY_THROW(KelAutoThresholdwithOstuAndMeanC(src.data(), src.data(), {20, 20}, 4, 0));
    EXPECT_EQ(src, bands({20, 20}, 1));
}

}  // namespace
