// KelResizeImage: the kernels behind methods 5 to 8 against their rules pixel by pixel, for every
// level of the row kernels and every team, and OpenCV's methods against the calls that define them.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ResizeImage_BFast.h"
#include "kel_cv.h"
#include "kernels/row_kernels.h"
#include "parallel.h"
#include "support.h"

using namespace kel::detail;
using test::area;
using test::Bytes;
using test::Guarded;

namespace {

struct Resize : ::testing::Test {
    void TearDown() override {
        forceTeamSize(0);
        limitCpuLevel(CpuLevel::best);
    }
};

/// The rules as they are defined, on a target filled beforehand.
void resizeByRule(const Bytes& src, kelSize from, Bytes& dst, kelSize to, int channels,
                  int method) {
    if (area(from) == 0) return;
    const int W = from.width, left = channels != 1 && method != 5 ? 1 : 0;
    const double yScale = from.height / double(to.height), xScale = W / double(to.width);
    for (int c = 0; c < (channels == 1 ? 1 : 3); ++c)
        for (int y = 0; y < to.height - left; ++y)
            for (int x = 0; x < to.width - left; ++x) {
                const int sy = int(y * yScale), sx = int(x * xScale);
                const unsigned char* s = src.data() + size_t(c) * area(from) + sy * W + sx;
                int value = s[0];
                if (method != 8 && sx < W - 1 && sy < from.height - 1) {
                    const int fourth = channels == 1 ? s[W - 1] : s[W + 1];
                    const double fy = y * yScale - sy, fx = x * xScale - sx;
                    if (method == 5)
                        value = int(s[0] * (1 - fx) * (1 - fy) + s[1] * fx * (1 - fy) +
                                    s[W] * (1 - fx) * fy + s[W + 1] * fx * fy);
                    else if (method == 6)
                        value = (s[0] + s[1] + s[W] + fourth) >> 2;
                    else
                        value = std::min({value, int(s[1]), int(s[W]), fourth});
                }
                dst[size_t(c) * area(to) + size_t(y * to.width + x)] =
                    static_cast<unsigned char>(value);
            }
}

void expectRule(kelSize from, kelSize to, int channels, int method) {
    // The source ends with its allocation, so that a sanitizer sees reads beyond it; smooth parts
    // and equal samples bring the bilinear sums close to whole numbers.
    Bytes src = test::randomBytes(area(from) * size_t(channels), 7);
    for (size_t i = 0; i < src.size(); ++i)
        if (i / 40 % 3 == 0) src[i] = static_cast<unsigned char>(i / 120 % 2 ? 255 : 201);
    Bytes expected(area(to) * size_t(channels), 0xAB);
    resizeByRule(src, from, expected, to, channels, method);
    Guarded out(expected.size());
    ASSERT_EQ(KelResizeImage(src.data(), from, out.data(), to, channels, method), 0);
    ASSERT_EQ(out.bytes(), expected)
        << ::testing::PrintToString(from) << " to " << ::testing::PrintToString(to) << ", "
        << channels << " planes, method " << method;
}

TEST_F(Resize, KernelsEqualTheirRules) {
    std::vector<std::pair<kelSize, kelSize>> cases = {
        {{640, 90}, {333, 250}}, {{3000, 9}, {2500, 12}}, {{400, 300}, {320, 240}},
        {{200, 80}, {900, 160}}, {{4000, 6}, {50, 5}},    {{64, 64}, {32, 32}},
        {{5000, 3}, {1700, 3}},  {{130, 40}, {130, 40}},  {{9000, 2}, {2300, 2}}};
    for (kelSize from : test::awkwardSizes())
        for (kelSize to : test::awkwardSizes())
            cases.push_back({from, to});
    for (CpuLevel level : {CpuLevel::plain, CpuLevel::best}) {
        limitCpuLevel(level);
        for (const auto& [from, to] : cases)
            for (int channels : {1, 3})
                for (int method : {5, 6, 7, 8}) {
                    expectRule(from, to, channels, method);
                    if (HasFatalFailure()) return;
                }
    }
}

TEST_F(Resize, EveryTeamGivesTheSame) {
    for (int threads : {1, 2, 3, 4})
        for (int channels : {1, 3})
            for (int method : {5, 6, 7, 8}) {
                forceTeamSize(threads);
                expectRule({350, 270}, {301, 223}, channels, method);
                expectRule({700, 2}, {9000, 9}, channels, method);
            }
}

TEST_F(Resize, WhatTheKernelsRefuse) {
    Bytes src = test::randomBytes(300, 1);
    Guarded out(300);
    unsigned char *const s = src.data(), *const d = out.data(), *const none = nullptr;
    const struct {
        unsigned char *from, *to;
        kelSize size, toSize;
    } cases[] = {{none, d, {9, 9}, {9, 9}}, {s, d, {0, 9}, {9, 9}}, {s, d, {9, -1}, {9, 9}},
                 {s, none, {9, 9}, {9, 9}}, {s, d, {9, 9}, {0, 9}}, {s, d, {9, 9}, {9, -5}}};
    for (const auto& [from, to, size, toSize] : cases)
        for (int channels : {1, 3}) {
            const auto [w, h] = size;
            const auto [tw, th] = toSize;
            EXPECT_EQ(KelResizeImageLinear_Fast(from, w, h, channels, to, tw, th, 5), 1);
            EXPECT_EQ(KelResizeImageNNLinear_Fast(from, w, h, channels, to, tw, th), 0);
            for (int method : {6, 7, 8})
                EXPECT_EQ(KelResizeImage(from, size, to, toSize, channels, method), 0);
        }
    for (int channels : {0, 2, 4, -1})
        EXPECT_EQ(KelResizeImageLinear_Fast(s, 9, 9, channels, d, 9, 9, 0), 1);
    EXPECT_EQ(KelResizeImage(s, {9, 9}, d, {9, 9}, 2, 7), 0);
    EXPECT_EQ(out.bytes(), Bytes(300, 0xAB));
}

TEST_F(Resize, OtherMethodsAreOpenCv) {
    std::vector<std::pair<kelSize, kelSize>> cases = {
        {{60, 44}, {48, 35}},  {{60, 44}, {30, 22}},     {{60, 44}, {20, 11}},
        {{61, 45}, {200, 99}}, {{203, 97}, {87, 101}},   {{33, 21}, {33, 21}},
        {{70, 60}, {70, 20}},  {{5, 7}, {600, 450}},     {{700, 500}, {421, 330}},
        {{66, 34}, {33, 17}},  {{900, 640}, {450, 320}}, {{9, 3}, {6300, 3}}};
    for (int w : {1, 2, 3, 31, 64, 130})
        for (int h : {1, 2, 9})
            for (kelSize to : {kelSize{1, 1}, kelSize{2, 3}, kelSize{33, 5}, kelSize{65, 18}})
                cases.push_back({{w, h}, to});
    const std::pair<int, int> methods[] = {{0, 1}, {1, 0}, {2, 1},  {3, 3},
                                           {4, 2}, {9, 1}, {-7, 1}, {2147483647, 1}};
    for (const auto& [from, to] : cases)
        for (int channels : {1, 2, 3})
            for (const auto& [method, interpolation] : methods) {
                limitCpuLevel(method == 9 ? CpuLevel::plain : CpuLevel::best);
                forceTeamSize(method == 2 ? 3 : 0);
                Bytes src = test::page(from, channels).samples;
                Bytes expected(area(to) * size_t(channels), 0xAB);
                const auto in = makeIplImage(from.width, from.height, channels);
                const auto scaled = makeIplImage(to.width, to.height, channels);
                KelPutIplImage(in.get(), src.data());
                cvResize(in.get(), scaled.get(), interpolation);
                KelGetIplImage(scaled.get(), expected.data());
                Guarded out(expected.size());
                EXPECT_EQ(KelResizeImage(src.data(), from, out.data(), to, channels, method), 0);
                ASSERT_EQ(out.bytes(), expected)
                    << ::testing::PrintToString(from) << " to " << ::testing::PrintToString(to)
                    << ", " << channels << " planes, method " << method;
                // The two images may be one.
                src.resize(std::max(src.size(), expected.size()));
                if (channels == 2) continue;
                KelResizeImage(src.data(), from, src.data(), to, channels, method);
                EXPECT_TRUE(std::equal(expected.begin(), expected.end(), src.begin()));
            }
    Bytes any(100);
    for (int channels : {1, 3}) {
        for (int method : {0, 1, 3, 4}) {
            EXPECT_EQ(KelResizeImage(nullptr, {5, 5}, any.data(), {4, 4}, channels, method), -1);
            EXPECT_EQ(KelResizeImage(any.data(), {5, 5}, nullptr, {4, 4}, channels, method), -2);
        }
        for (kelSize none : {kelSize{0, 5}, kelSize{5, 0}, kelSize{-2, 5}}) {
            EXPECT_ANY_THROW(KelResizeImage(any.data(), none, any.data(), {5, 5}, channels, 3));
            EXPECT_ANY_THROW(KelResizeImage(any.data(), {5, 5}, any.data(), none, channels, 0));
        }
    }
}

}  // namespace
