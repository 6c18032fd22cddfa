// Grey-adjust binarization against its steps; the levels and the estimator have tests of their own.
#include <cmath>
#include <limits>

#include "enhance_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"

using namespace test;

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
        work[i] = luminance(r, g, b);
        if (p.mode == 1) work[i] = greySpread(r, g, b, p.ratio);
        if (p.mode == 2 || p.mode == 3) work[i] = redLift(r, g, b, p.ratio);
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

TEST(GreyAdjust, EqualsItsStepsInEveryMode) {
    const float inf = std::numeric_limits<float>::infinity();
    const Parameters cases[] = {{0, 9, 0, 15, 3},     {1, 1, -20, 15, 3},    {1, 0.4F, 0, 5, -2},
                                {1, -2.5F, 30, 9, 1}, {2, 1, 0, 15, 0},      {2, -0.3F, 5, 31, 2},
                                {3, 0.7F, 0, 15, 0},  {3, 1.5F, 255, 7, -9}, {4, 0, 0, 15, 3},
                                {4, 400, 0, 15, 0},   {4, 1e9F, 0, 15, 3},   {4, 20, -300, 9, 0},
                                {1, inf, 0, 9, 0},    {2, inf, 0, 9, 0},     {2, NAN, 0, 9, 0},
                                {1, -inf, 0, 9, 0},   {2, -inf, 0, 9, 0},    {1, 3e30F, 0, 9, 0}};
    for (const Parameters& p : cases)
        for (const int channels : {1, 3, 0})
            compare(
                "grey adjust", {3, 1, channels != 1 || p.mode != 3, Content::stamped, {131, 90}},
                [&](auto s, auto d, auto z) {
                    EXPECT_EQ(
                        kel_BinaryImageByGreyAdjust(s, z.width, z.height, channels, d, p.offset,
                                                    p.block, p.param1, p.mode, p.ratio),
                        channels == 1 && p.mode == 3 ? -1 : 0);
                },
                [&](const Bytes& s, auto z, const Bytes& d) {
                    return channels == 1 && p.mode == 3 ? d : adjusted(s, z, channels, p);
                });
}

TEST(GreyAdjust, RefusesWhatHasNoPlane) {
    const kelSize size{20, 20};
    Bytes src = stampedPage(size).samples;
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
