// Every level of the row kernels against the plain rules, at every width and misalignment that
// could matter, with guard bytes round the outputs.
#include "kernels/row_kernels.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <string>

#include "guarded.h"

using namespace kel::detail;
using test::Bytes;
using test::Guarded;

namespace kel::detail {

void PrintTo(CpuLevel level, std::ostream* out) {
    *out << (level == CpuLevel::plain ? "plain" : "avx2");
}

}  // namespace kel::detail

namespace {

class Levels : public ::testing::TestWithParam<CpuLevel> {
  protected:
    const RowKernels& kernels() const { return rowKernels(GetParam()); }
};

std::string nameOf(CpuLevel level) {
    return level == CpuLevel::plain ? "plain" : "avx2";
}

INSTANTIATE_TEST_SUITE_P(RowKernels, Levels, ::testing::Values(CpuLevel::plain, CpuLevel::avx2),
                         [](const auto& param) { return nameOf(param.param); });

unsigned char luminance(int r, int g, int b) {
    return static_cast<unsigned char>(static_cast<int>((0.299 * r + 0.587 * g) + 0.114 * b));
}

TEST_P(Levels, IsTheLevelAskedFor) {
    if (GetParam() != CpuLevel::plain && !__builtin_cpu_supports("avx2"))
        GTEST_SKIP() << "this processor has no AVX2";
    EXPECT_EQ(kernels().level, nameOf(GetParam()));
    limitCpuLevel(CpuLevel::plain);
    EXPECT_STREQ(kernels().level, "plain");
    limitCpuLevel(CpuLevel::best);
    EXPECT_EQ(kernels().level, nameOf(GetParam()));
}

TEST_P(Levels, EveryWidthAndStart) {
    for (size_t n = 0; n <= 130; ++n) {
        const size_t start = n % 5;
        const auto seed = static_cast<unsigned>(n);
        const Bytes r = test::randomBytes(n + 8, seed), g = test::randomBytes(n + 8, seed + 1000),
                    b = test::randomBytes(n + 8, seed + 2000);
        const Bytes pixels = test::randomBytes(3 * n + 8, seed + 3000);
        const unsigned char *rp = r.data() + start, *gp = g.data() + start, *bp = b.data() + start;

        Guarded planes[3] = {Guarded(n), Guarded(n), Guarded(n)};
        kernels().deinterleaveBgr(pixels.data() + start, planes[0].data(), planes[1].data(),
                                  planes[2].data(), n, n % 2 == 0);
        Guarded merged(3 * n), grey(n), cvGrey(n), binary(n);
        kernels().interleaveBgr(rp, gp, bp, merged.data(), n, n % 2 == 0);
        kernels().luminance(rp, gp, bp, grey.data(), n);
        kernels().greyOfBgr(rp, gp, bp, cvGrey.data(), n);
        kernels().threshold(rp, binary.data(), n, 100, 0);
        for (size_t i = 0; i < n; ++i) {
            for (size_t c = 0; c < 3; ++c) {
                ASSERT_EQ(planes[c].data()[i], pixels[start + 3 * i + 2 - c]) << n << " at " << i;
                ASSERT_EQ(merged.data()[3 * i + 2 - c], (c == 0 ? rp : c == 1 ? gp : bp)[i]) << n;
            }
            ASSERT_EQ(grey.data()[i], luminance(rp[i], gp[i], bp[i])) << n << " at " << i;
            ASSERT_EQ(binary.data()[i], rp[i] > 100 ? 0 : 255);
        }
        for (const Guarded* out :
             {&planes[0], &planes[1], &planes[2], &merged, &grey, &cvGrey, &binary})
            ASSERT_TRUE(out->intact()) << n;

        std::vector<uint16_t> cells(n + 1, 0xABCD);
        if (n < 3) continue;
        kernels().sampleMeanCells(rp, gp, bp, cells.data(), n - 2);
        for (size_t i = 0; i + 2 < n; ++i) {
            int sum = 0;
            for (size_t k = 0; k < 3; ++k)
                sum += rp[i + k] + gp[i + k] + bp[i + k];
            ASSERT_EQ(cells[i], gp[i + 1] * 256 + sum / 9) << n << " at " << i;
        }
        ASSERT_EQ(cells[n - 2], 0xABCD);
    }
}

// Colours that share blocks with neutral pixels, and colours whose weighted sum is a multiple of
// 1000.
TEST_P(Levels, LuminanceOfMixedBlocks) {
    std::vector<std::array<int, 3>> special;
    for (int r = 0; r < 256; ++r)
        for (int g = 0; g < 256; ++g)
            for (int b = 0; b < 256; ++b)
                if ((299 * r + 587 * g + 114 * b) % 1000 == 0) special.push_back({r, g, b});
    ASSERT_EQ(special.size(), 16774U);
    const size_t n = 32 * special.size();
    Bytes planes[3];
    for (unsigned c = 0; c < 3; ++c)
        planes[c] = test::randomBytes(n, c);
    for (size_t k = 0; k < special.size(); ++k) {
        for (size_t i = 0; i < 32; ++i) {
            const bool neutral = (k * 7 + i) % 3 != 0;
            for (size_t c = 1; neutral && c < 3; ++c)
                planes[c][32 * k + i] = planes[0][32 * k + i];
        }
        for (size_t c = 0; c < 3 && k % 2; ++c)
            planes[c][32 * k + k % 32] = static_cast<unsigned char>(special[k][c]);
    }
    Bytes out(n);
    kernels().luminance(planes[0].data(), planes[1].data(), planes[2].data(), out.data(), n);
    for (size_t i = 0; i < n; ++i)
        ASSERT_EQ(out[i], luminance(planes[0][i], planes[1][i], planes[2][i])) << i;
}

TEST_P(Levels, LuminanceOfEveryTriple) {
    Bytes planes[3] = {Bytes(65536), Bytes(65536), Bytes(65536)};
    Bytes out(65536);
    for (size_t i = 0; i < 65536; ++i) {
        planes[1][i] = static_cast<unsigned char>(i >> 8);
        planes[2][i] = static_cast<unsigned char>(i);
    }
    for (int r = 0; r < 256; ++r) {
        planes[0].assign(65536, static_cast<unsigned char>(r));
        kernels().luminance(planes[0].data(), planes[1].data(), planes[2].data(), out.data(),
                            65536);
        for (size_t i = 0; i < 65536; ++i)
            ASSERT_EQ(out[i], luminance(r, static_cast<int>(i >> 8), static_cast<int>(i & 255)));
    }
}

TEST_P(Levels, GreyOfBgrEqualsOpenCvForEveryTriple) {
    Bytes planes[3] = {Bytes(65536), Bytes(65536), Bytes(65536)};
    Bytes out(65536);
    for (int r = 0; r < 256; ++r) {
        cv::Mat pixels(256, 256, CV_8UC3), expected;
        for (int i = 0; i < 65536; ++i) {
            pixels.at<cv::Vec3b>(i / 256, i % 256) = cv::Vec3b(
                static_cast<uint8_t>(i), static_cast<uint8_t>(i / 256), static_cast<uint8_t>(r));
            planes[1][static_cast<size_t>(i)] = static_cast<unsigned char>(i / 256);
            planes[2][static_cast<size_t>(i)] = static_cast<unsigned char>(i);
        }
        planes[0].assign(65536, static_cast<unsigned char>(r));
        cv::cvtColor(pixels, expected, cv::COLOR_BGR2GRAY);
        kernels().greyOfBgr(planes[0].data(), planes[1].data(), planes[2].data(), out.data(),
                            65536);
        ASSERT_TRUE(std::equal(out.begin(), out.end(), expected.data)) << r;
    }
}

}  // namespace
