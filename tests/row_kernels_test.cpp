// Every level of the row kernels against the plain rules, at every width and misalignment that
// could matter, with guard bytes round the outputs.
#include "kernels/row_kernels.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <string>

#include "support.h"

using namespace kel::detail;
using test::Bytes;
using test::Guarded;

namespace {

struct Levels : ::testing::TestWithParam<const char*> {
    const RowKernels& kernels =
        rowKernels(GetParam() == std::string("plain") ? CpuLevel::plain : CpuLevel::best);
};

INSTANTIATE_TEST_SUITE_P(RowKernels, Levels, ::testing::Values("plain", "avx2"),
                         [](const auto& level) { return std::string(level.param); });

TEST_P(Levels, IsTheLevelAskedFor) {
    if (GetParam() == std::string("avx2") && !__builtin_cpu_supports("avx2"))
        GTEST_SKIP() << "this processor has no AVX2";
    EXPECT_STREQ(kernels.level, GetParam());
    limitCpuLevel(CpuLevel::plain);
    EXPECT_STREQ(rowKernels().level, "plain");
    limitCpuLevel(CpuLevel::best);
}

TEST_P(Levels, EveryWidthAndStart) {
    for (unsigned n = 0; n <= 130; ++n) {
        const unsigned start = n % 5;
        const Bytes in[3] = {test::randomBytes(n + 8, n), test::randomBytes(n + 8, n + 1000),
                             test::randomBytes(n + 8, n + 2000)};
        const Bytes pixels = test::randomBytes(3 * n + 8, n + 3000);
        const unsigned char* p[3] = {&in[0][start], &in[1][start], &in[2][start]};
        Guarded planes[3] = {Guarded(n), Guarded(n), Guarded(n)};
        Guarded merged(3 * n), grey(n), binary(n), cells(2 * n);
        auto* const cell = reinterpret_cast<uint16_t*>(cells.data());
        kernels.deinterleaveBgr(&pixels[start], planes[0].data(), planes[1].data(),
                                planes[2].data(), n, n % 2 == 0);
        kernels.interleaveBgr(p[0], p[1], p[2], merged.data(), n, n % 2 == 0);
        kernels.luminance(p[0], p[1], p[2], grey.data(), n);
        kernels.threshold(p[0], binary.data(), n, 100, 0);
        if (n > 2) kernels.sampleMeanCells(p[0], p[1], p[2], cell, n - 2);
        for (unsigned i = 0; i < n; ++i) {
            for (unsigned c = 0; c < 3; ++c) {
                ASSERT_EQ(planes[c].data()[i], pixels[start + 3 * i + 2 - c]) << n << " at " << i;
                ASSERT_EQ(merged.data()[3 * i + 2 - c], p[c][i]) << n << " at " << i;
            }
            ASSERT_EQ(grey.data()[i], test::luminance(p[0][i], p[1][i], p[2][i])) << n;
            ASSERT_EQ(binary.data()[i], p[0][i] > 100 ? 0 : 255) << n;
            if (i + 2 >= n) continue;
            int sum = 0;
            for (int k = 0; k < 9; ++k)
                sum += p[k / 3][i + k % 3];
            ASSERT_EQ(cell[i], p[1][i + 1] * 256 + sum / 9) << n << " at " << i;
        }
        for (const Guarded* out :
             {&planes[0], &planes[1], &planes[2], &merged, &grey, &binary, &cells})
            out->bytes();
    }
}

TEST_P(Levels, BitsSumsAndHalves) {
    for (unsigned n = 0; n <= 200; ++n) {
        const unsigned start = n % 5;
        Bytes in = test::randomBytes(2 * n + 8, n), below = test::randomBytes(2 * n + 8, n + 1000);
        for (size_t i = 0; i < in.size(); ++i)
            if (below[i] % 3 != 0) in[i] = n % 2 == 0 ? 0 : static_cast<unsigned char>(1 << i % 8);
        const unsigned char* const p = &in[start];
        const size_t words = (n + 63) / 64;
        Guarded bits(8 * words), sums(4 * n), means(n);
        const size_t runs = kernels.packNonZero(p, reinterpret_cast<uint64_t*>(bits.data()), n);
        auto* const sum = reinterpret_cast<uint32_t*>(sums.data());
        kernels.addWeighted(p, 0x01020304U, sum, n);
        kernels.halve(p, &below[start], means.data(), n, n % 3);
        size_t starts = 0;
        for (unsigned i = 0; i < 64 * words; ++i) {
            const bool set = i < n && p[i] != 0;
            starts += set && (i == 0 || p[i - 1] == 0);
            ASSERT_EQ((bits.data()[i / 8] >> i % 8 & 1) != 0, set) << n << " at " << i;
        }
        ASSERT_EQ(runs, starts) << n;
        for (unsigned i = 0; i < n; ++i) {
            ASSERT_EQ(sum[i], 0xABABABABU + 0x01020304U * p[i]) << n << " at " << i;
            const unsigned char* const q = &below[start];
            const int sum4 = p[2 * i] + p[2 * i + 1] + q[2 * i] + q[2 * i + 1];
            ASSERT_EQ(means.data()[i], (sum4 + static_cast<int>(n % 3)) / 4);
        }
        for (const Guarded* out : {&bits, &sums, &means})
            out->bytes();
    }
}

TEST_P(Levels, FullSamplesChangesAndSpreadBits) {
    for (unsigned n = 0; n <= 200; ++n) {
        const unsigned start = n % 5;
        const Bytes in = test::randomBytes(n + 8, n, 254, n % 2 == 0 ? 2 : 60);
        std::vector<int32_t> numbers(n + 1);
        for (unsigned i = 1; i < n; ++i)
            numbers[i] = i % 7 == 0 ? numbers[i - 1] + 1 : numbers[i - 1];
        const size_t words = (n + 63) / 64;
        Guarded full(8 * words), changes(8 * words), spread(8 * words);
        const size_t runs =
            kernels.area.packFull(&in[start], reinterpret_cast<uint64_t*>(full.data()), n);
        kernels.area.packChanges(&numbers[n > 100], reinterpret_cast<uint64_t*>(changes.data()), n);
        std::vector<uint64_t> rows[5], scratch(words + 2, 77);
        const uint64_t* row[5];
        for (unsigned k = 0; k < 5; ++k) {
            for (const unsigned char b : test::randomBytes(words, n + k, 0, 64))
                rows[k].push_back(b < 8 ? uint64_t{0x8000000000000001U} >> b << b : 0);
            row[k] = rows[k].data();
        }
        kernels.area.spreadBits(row, scratch.data(), reinterpret_cast<uint64_t*>(spread.data()),
                                words);
        std::vector<uint64_t> copy(words);
        EXPECT_EQ(kernels.area.packPacked(full.data(), copy.data(), n), runs);
        EXPECT_TRUE(std::memcmp(copy.data(), full.data(), 8 * words) == 0);
        const auto isFull = [&](unsigned i) { return in[start + i] == 255; };
        size_t starts = 0;
        const auto inAnyRow = [&](size_t i) {
            return i < 64 * words && std::any_of(row, row + 5, [i](const uint64_t* bits) {
                       return (bits[i / 64] >> i % 64 & 1) != 0;
                   });
        };
        for (unsigned i = 0; i < 64 * words; ++i) {
            const auto bitOf = [i](Guarded& bits) {
                return (bits.data()[i / 8] >> i % 8 & 1) != 0;
            };
            const int32_t* const number = &numbers[n > 100];
            ASSERT_EQ(bitOf(full), i < n && isFull(i)) << n << " at " << i;
            ASSERT_EQ(bitOf(changes), i < n && number[i] != (i > 0 ? number[i - 1] : 0)) << n;
            bool isNear = false;
            for (size_t k = i + 128; k < i + 133; ++k)
                isNear |= k >= 130 && inAnyRow(k - 130);
            ASSERT_EQ(bitOf(spread), isNear) << n << " at " << i;
            starts += i < n && isFull(i) && (i == 0 || !isFull(i - 1));
        }
        ASSERT_EQ(runs, starts) << n;
        full.bytes();
        spread.bytes();
        changes.bytes();
    }
}

TEST_P(Levels, TablesAndCounts) {
    for (unsigned n = 0; n <= 600; n += n < 70 || n > 250 ? 1 : 7) {
        const Bytes in = test::randomBytes(n + 5, n), table = test::randomBytes(256, n + 1);
        const unsigned char* const p = &in[n % 5];
        Guarded out(n), same(Bytes(p, p + n)), binary(n);
        const Bytes mask = test::randomBytes(n + 1, n, 0, 2);
        uint32_t counts[256] = {}, expected[256] = {};
        kernels.lookUp(p, table.data(), out.data(), n);
        kernels.lookUp(same.data(), table.data(), same.data(), n);
        for (int twice = 0; twice < 2; ++twice)
            kernels.countSamples(p, counts, n);
        Guarded mixed(Bytes(mask.begin(), mask.begin() + n)), bits(16 * ((n + 63) / 64));
        for (unsigned i = 0; i < n; ++i)  // as a local plane, in place
            mixed.data()[i] = mask[i] != 0 ? 255 : 0;
        auto* const marks = reinterpret_cast<uint64_t*>(bits.data());
        uint64_t* const candidates = marks + (n + 63) / 64;
        kernels.markCertain(p, mixed.data(), mixed.data(), marks, candidates, n, 60, 180);
        for (unsigned i = 0; i < 64 * ((n + 63) / 64); ++i) {
            const bool marked = i < n && (p[i] < 60 || (mask[i] != 0 && p[i] <= 180));
            const bool candidate = i < n && mask[i] != 0 && p[i] > 180;
            ASSERT_EQ(marks[i / 64] >> i % 64 & 1, marked) << n << " at " << i;
            ASSERT_EQ(candidates[i / 64] >> i % 64 & 1, candidate) << n << " at " << i;
            ASSERT_TRUE(i >= n || mixed.data()[i] == (marked ? 255 : 0));
        }
        kernels.thresholdByMask(p, mask.data(), binary.data(), n, 130, 90);
        for (unsigned i = 0; i < n; ++i) {
            ASSERT_EQ(binary.data()[i], p[i] > (mask[i] != 0 ? 90 : 130) ? 255 : 0) << n;
            ASSERT_EQ(out.data()[i], table[p[i]]) << n << " at " << i;
            expected[p[i]] += 2;
        }
        ASSERT_EQ(same.bytes(), out.bytes()) << n;
        for (const Guarded* checked : {&binary, &mixed, &bits})
            checked->bytes();
        ASSERT_TRUE(std::equal(counts, counts + 256, expected)) << n;
    }
}

TEST_P(Levels, ReversalsAndTranspositions) {
    for (unsigned n = 0; n <= 80; ++n) {
        const Bytes in = test::randomBytes(100 * n, n);
        Guarded reversed(100 * n), turned(100 * n);
        const unsigned count = n > 0 ? 100 * n - n % 7 : 0;
        kernels.reverseBytes(in.data(), reversed.data(), count);
        kernels.transpose(in.data(), n, turned.data(), 100, n, 100);
        for (unsigned i = 0; i < 100 * n; ++i)
            ASSERT_EQ(turned.data()[i % n * 100 + i / n], in[i]) << n << " at " << i;
        for (unsigned i = 0; i < count; ++i)
            ASSERT_EQ(reversed.data()[i], in[count - 1 - i]) << n << " at " << i;
        turned.bytes(), reversed.bytes();
    }
}

/// Calls check(r, g, b) with planes of 65536 samples, which together hold every triple.
template <class Check>
void forEveryTriple(Check check) {
    Bytes r(65536), g(65536), b(65536);
    for (size_t i = 0; i < 65536; ++i) {
        g[i] = static_cast<unsigned char>(i >> 8);
        b[i] = static_cast<unsigned char>(i);
    }
    for (int level = 0; level < 256; ++level) {
        std::fill(r.begin(), r.end(), static_cast<unsigned char>(level));
        ASSERT_NO_FATAL_FAILURE(check(r, g, b));
    }
}

TEST_P(Levels, BitsOfEveryWidth) {
    for (unsigned n = 0; n <= 130; ++n) {
        const unsigned start = n % 3;
        const Bytes bits = test::randomBytes(n / 8 + 8, n),
                    samples = test::randomBytes(n + 8, n, 0, 3);
        for (const uint8_t flip : {0, 1}) {
            Guarded wide(n), packed((n + 7) / 8);
            kernels.expandBits(&bits[start], wide.data(), n, flip);
            kernels.packBits(&samples[start], packed.data(), n, flip);
            Bytes expected((n + 7) / 8);
            for (unsigned i = 0; i < n; ++i) {
                ASSERT_EQ(wide.data()[i], (bits[start + i / 8] >> (7 - i % 8) & 1) ^ flip) << n;
                if ((samples[start + i] != 0) != (flip != 0)) expected[i / 8] |= 128 >> i % 8;
            }
            ASSERT_EQ(packed.bytes(), expected) << n;
            wide.bytes();
        }
    }
}

TEST_P(Levels, RowsTurnedOver) {
    for (unsigned bytes = 1; bytes <= 200; bytes += 1 + bytes / 40)
        for (const size_t rows : {0U, 1U, 2U, 5U})
            for (const bool stream : {false, true}) {
                const Bytes in = test::randomBytes(bytes * rows, bytes, 0, 3);
                Guarded turned(in.size()), marked(in.size());
                kernels.turnRows(in.data(), turned.data(), bytes, rows, stream);
                kernels.turnRowsMarked(in.data(), marked.data(), bytes, rows, 9, stream);
                Bytes expected;
                for (size_t row = rows; row-- > 0;)
                    expected.insert(expected.end(), in.begin() + ptrdiff_t(row * bytes),
                                    in.begin() + ptrdiff_t((row + 1) * bytes));
                ASSERT_EQ(turned.bytes(), expected) << bytes << " by " << rows;
                for (auto& b : expected)
                    b = b != 0 ? 9 : 0;
                ASSERT_EQ(marked.bytes(), expected) << bytes << " by " << rows;
            }
}

TEST_P(Levels, LuminanceOfEveryTriple) {
    Bytes out(65536);
    forEveryTriple([&](const Bytes& r, const Bytes& g, const Bytes& b) {
        kernels.luminance(r.data(), g.data(), b.data(), out.data(), out.size());
        for (size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(out[i], test::luminance(r[i], g[i], b[i])) << +r[i] << " " << i;
    });
}

TEST_P(Levels, GreyOfBgrEqualsOpenCvForEveryTriple) {
    Bytes out(65536), pixels(3 * 65536), expected(65536);
    cv::Mat expectedMat(1, 65536, CV_8UC1, expected.data());
    forEveryTriple([&](const Bytes& r, const Bytes& g, const Bytes& b) {
        kernels.greyOfBgr(r.data(), g.data(), b.data(), out.data(), out.size());
        kernels.interleaveBgr(r.data(), g.data(), b.data(), pixels.data(), out.size(), false);
        cv::cvtColor(cv::Mat(1, 65536, CV_8UC3, pixels.data()), expectedMat, cv::COLOR_BGR2GRAY);
        ASSERT_EQ(out, expected);
    });
}

TEST_P(Levels, FoldsOfEveryTriple) {
    const double ratio = GetParam() == std::string("plain") ? 0.7F : 1.0F;
    Bytes spread(65536), lifted(65536);
    forEveryTriple([&](const Bytes& r, const Bytes& g, const Bytes& b) {
        kernels.greySpread(r.data(), g.data(), b.data(), spread.data(), r.size(), ratio);
        kernels.greyRedLift(r.data(), g.data(), b.data(), lifted.data(), r.size(), -ratio);
        for (size_t i = 0; i < r.size(); ++i) {
            ASSERT_EQ(spread[i], test::greySpread(r[i], g[i], b[i], ratio)) << +r[i] << " " << i;
            ASSERT_EQ(lifted[i], test::redLift(r[i], g[i], b[i], -ratio)) << +r[i] << " " << i;
        }
    });
}

// Whole blocks of pixels that are nearly grey, by weights within and beyond what tables hold.
TEST_P(Levels, FoldsOfNearGreys) {
    Bytes r, g, b;
    for (int k = 0; k < 256 * 31 * 31; ++k) {
        const int green = k / 961, red = green + k / 31 % 31 - 15, blue = green + k % 31 - 15;
        const auto [low, high] = std::minmax({red, green, blue});
        const int middle = red + green + blue - low - high;
        if (low < 0 || high > 255 || high - low + std::max(high - middle, middle - low) > 15)
            continue;
        r.push_back(static_cast<unsigned char>(red));
        g.push_back(static_cast<unsigned char>(green));
        b.push_back(static_cast<unsigned char>(blue));
    }
    Bytes spread(r.size()), lifted(r.size());
    for (const float ratio : {0.0F, 0.1F, 0.5F, 0.7F, 1.0F, 2.5F, 6.3F, 6.5F, -1.0F, -2.7F, -2.8F,
                              1e3F, 1e7F, -INFINITY, NAN}) {
        kernels.greySpread(r.data(), g.data(), b.data(), spread.data(), r.size(), ratio);
        kernels.greyRedLift(r.data(), g.data(), b.data(), lifted.data(), r.size(), ratio);
        for (size_t i = 0; i < r.size(); ++i) {
            ASSERT_EQ(spread[i], test::greySpread(r[i], g[i], b[i], ratio)) << ratio << " " << i;
            ASSERT_EQ(lifted[i], test::redLift(r[i], g[i], b[i], ratio)) << ratio << " " << i;
        }
    }
}

// Neutral pixels and colours whose weighted sum is a multiple of 1000, together in one block.
TEST_P(Levels, LuminanceOfMixedBlocks) {
    Bytes p[3];
    for (int k = 0; k < 1 << 24; ++k) {
        const int rgb[3] = {k >> 16, k >> 8 & 255, k & 255};
        if ((299 * rgb[0] + 587 * rgb[1] + 114 * rgb[2]) % 1000 != 0) continue;
        for (int c = 0; c < 3; ++c) {  // the triple, and three neutral or mixed neighbours
            p[c].push_back(static_cast<unsigned char>(rgb[c]));
            for (int i = 0; i < 3; ++i)
                p[c].push_back(static_cast<unsigned char>(rgb[k % 5 ? 0 : c] + i));
        }
    }
    ASSERT_EQ(p[0].size(), 4 * 16774U);
    Bytes out(p[0].size());
    kernels.luminance(p[0].data(), p[1].data(), p[2].data(), out.data(), out.size());
    for (size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(out[i], test::luminance(p[0][i], p[1][i], p[2][i])) << i;
}

}  // namespace
