// Grey-adjust binarization against its steps; the levels and the estimator have tests of their own.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "support.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

struct Parameters {
    int mode;
    float ratio;
    int offset, block, param1;
};

int estimated(Bytes plane, kelSize size) {
    return KelAutoThresholdValue3(plane.data(), nullptr, size);
}

Bytes adjusted(const Bytes& src, kelSize size, int channels, const Parameters& p) {
    const size_t n = area(size);
    Bytes work(n), out(n);
    for (size_t i = 0; i < n; ++i) {
        work[i] = src[i];
        if (channels == 1) continue;
        const int r = src[i], g = src[n + i], b = src[2 * n + i];
        work[i] = test::luminance(r, g, b);
        if (p.mode == 1) work[i] = test::greySpread(r, g, b, p.ratio);
        if (p.mode == 2 || p.mode == 3) work[i] = test::redLift(r, g, b, p.ratio);
    }
    if (channels != 1 && p.mode == 4) {
        const int level = std::min(estimated(work, size), 180);
        const auto below =
            std::count_if(work.begin(), work.end(), [&](int s) { return s < level; });
        if (p.ratio > static_cast<float>(below)) return out;
    }
    KelColorLeversAdjust1D(work.data(), work.data(), size, 0.01, 0.01);
    KelBinarizeImage(work.data(), 1, out.data(), size, 1, 3, 0, p.block, p.param1);
    const Bytes red(src.begin(), src.begin() + ptrdiff_t(n));
    const int level = estimated(work, size) + p.offset;
    const int redLevel = estimated(red, size);
    for (size_t i = 0; i < n; ++i)
        if (work[i] > level || (p.mode == 3 && channels != 1 && red[i] > redLevel)) out[i] = 0;
    return out;
}

// Dim red and blue print, the red within reach of a lift, on a page of neighbouring greys.
Bytes coloured(kelSize size, unsigned seed) {
    Bytes src = test::page(size, 3).samples;
    const size_t n = area(size);
    for (size_t i = 0; i < n; ++i) {
        const size_t at = (i + seed) % 29;
        for (size_t c = 0; c < 3 && at < 9; ++c)
            src[c * n + i] = static_cast<unsigned char>(
                (at < 5 ? c == 0 : c == 2) ? 170 + i % 20 : 135 + (i * (c + seed)) % 29);
    }
    return src;
}

TEST(GreyAdjust, EqualsItsStepsInEveryMode) {
    const float inf = std::numeric_limits<float>::infinity();
    const Parameters cases[] = {{0, 9, 0, 15, 3},     {1, 1, -20, 15, 3},    {1, 0.4F, 0, 5, -2},
                                {1, -2.5F, 30, 9, 1}, {2, 1, 0, 15, 0},      {2, -0.3F, 5, 31, 2},
                                {3, 0.7F, 0, 15, 0},  {3, 1.5F, 255, 7, -9}, {4, 0, 0, 15, 3},
                                {4, 400, 0, 15, 0},   {4, 1e9F, 0, 15, 3},   {4, 20, -300, 9, 0},
                                {1, inf, 0, 9, 0},    {2, inf, 0, 9, 0},     {2, NAN, 0, 9, 0},
                                {1, -inf, 0, 9, 0},   {2, -inf, 0, 9, 0},    {1, 3e30F, 0, 9, 0}};
    for (kelSize size :
         {kelSize{1, 1}, kelSize{3, 3}, kelSize{33, 4}, kelSize{65, 65}, kelSize{131, 90}})
        for (unsigned seed = 0; seed < 3; ++seed)
            for (const Parameters& p : cases)
                for (const int channels : {1, 3, 0}) {
                    if (channels == 1 && p.mode == 3) continue;
                    Bytes src = coloured(size, seed);
                    const Bytes expected = adjusted(src, size, channels, p);
                    const auto call = [&](unsigned char* from, unsigned char* to) {
                        return kel_BinaryImageByGreyAdjust(from, size.width, size.height, channels,
                                                           to, p.offset, p.block, p.param1, p.mode,
                                                           p.ratio);
                    };
                    Guarded apart(area(size)), inPlace(src);
                    ASSERT_EQ(call(src.data(), apart.data()), 0);
                    ASSERT_EQ(apart.bytes(), expected) << ::testing::PrintToString(size) << p.mode
                                                       << " " << p.ratio << " " << channels;
                    call(inPlace.data(), inPlace.data());
                    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), inPlace.data()));
                    inPlace.bytes();
                }
}

TEST(GreyAdjust, RefusesWhatHasNoPlane) {
    const kelSize size{20, 20};
    Bytes src = coloured(size, 0);
    Guarded out(area(size));
    const auto call = [&](int width, int channels, int mode) {
        return kel_BinaryImageByGreyAdjust(src.data(), width, 20, channels, out.data(), 0, 15, 0,
                                           mode, 1);
    };
    EXPECT_EQ(call(20, 1, 3), -1);
    for (const int mode : {-1, 5, 100})
        EXPECT_EQ(call(20, 3, mode), -1);
    EXPECT_EQ(call(0, 3, 1), 0);
    EXPECT_EQ(out.bytes(), Bytes(area(size), 0xAB));
    EXPECT_EQ(call(20, 1, 77), 0);
    EXPECT_EQ(out.bytes(), adjusted(src, size, 1, {0, 0, 0, 15, 0}));
}

}  // namespace
