// Every level of the row kernels against the plain rules, at every width and misalignment that
// could matter, with guard bytes round the outputs.
#include "kernels/row_kernels.h"

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <string>

#include "support.h"

using namespace kel::detail;
using namespace test;

namespace {

struct Levels : ::testing::TestWithParam<const char*> {
    const RowKernels& kernels =
        rowKernels(GetParam() == std::string("plain") ? CpuLevel::plain : CpuLevel::best);
};

INSTANTIATE_TEST_SUITE_P(RowKernels, Levels, ::testing::Values("plain", "avx2"),
                         [](const auto& level) { return std::string(level.param); });

/// The bits of samples by a rule of their index, in whole words, and their runs.
struct PlainBits {
    template <class Rule>
    PlainBits(size_t count, Rule rule) : bytes((count + 63) / 64 * 8) {
        for (size_t i = 0; i < count; ++i) {
            if (!rule(i)) continue;
            bytes[i / 8] |= static_cast<unsigned char>(1 << i % 8);
            runs += i == 0 || !rule(i - 1);
        }
    }
    Bytes bytes;
    size_t runs = 0;
};

uint64_t* wordsOf(Guarded& bits) {
    return reinterpret_cast<uint64_t*>(bits.data());
}

TEST_P(Levels, IsTheLevelAskedFor) {
    if (GetParam() == std::string("avx2") && !__builtin_cpu_supports("avx2"))
        GTEST_SKIP() << "this processor has no AVX2";
    EXPECT_STREQ(kernels.level, GetParam());
    limitCpuLevel(CpuLevel::plain);
    EXPECT_STREQ(rowKernels().level, "plain");
    limitCpuLevel(CpuLevel::best);
}

TEST_P(Levels, Colours) {
    for (unsigned n = 0; n <= 130; ++n) {
        const Bytes in = randomBytes(3 * n + 24, n), pixels = randomBytes(3 * n + 8, n);
        const unsigned char* const p[3] = {&in[n % 5], &in[n % 5 + n + 8], &in[n % 5 + 2 * n + 16]};
        const unsigned char* const pixel = &pixels[n % 5];
        Guarded planes[3] = {Guarded(n), Guarded(n), Guarded(n)};
        Guarded merged(3 * n), grey(n), binary(n), cells(2 * n);
        kernels.deinterleaveBgr(pixel, planes[0].data(), planes[1].data(), planes[2].data(), n,
                                n % 2 == 0);
        kernels.interleaveBgr(p[0], p[1], p[2], merged.data(), n, n % 2 == 0);
        kernels.luminance(p[0], p[1], p[2], grey.data(), n);
        kernels.threshold(p[0], binary.data(), n, 100, 0);
        if (n > 2)
            kernels.sampleMeanCells(p[0], p[1], p[2], reinterpret_cast<uint16_t*>(cells.data()),
                                    n - 2);
        for (size_t c = 0; c < 3; ++c)
            ASSERT_EQ(planes[c].bytes(),
                      eachByte(n, [&](size_t i) { return pixel[3 * i + 2 - c]; }))
                << n;
        ASSERT_EQ(merged.bytes(), eachByte(3 * n, [&](size_t i) { return p[2 - i % 3][i / 3]; }));
        ASSERT_EQ(grey.bytes(),
                  eachByte(n, [&](size_t i) { return luminance(p[0][i], p[1][i], p[2][i]); }));
        ASSERT_EQ(binary.bytes(), eachByte(n, [&](size_t i) { return p[0][i] > 100 ? 0 : 255; }));
        ASSERT_EQ(cells.bytes(), eachByte(2 * n,
                                          [&](size_t i) {  // the mean, then the sample
                                              if (i / 2 + 2 >= n) return 0xAB;
                                              int sum = 0;
                                              for (size_t k = 0; k < 9; ++k)
                                                  sum += p[k / 3][i / 2 + k % 3];
                                              return i % 2 == 0 ? sum / 9 : p[1][i / 2 + 1];
                                          }))
            << n;
    }
}

TEST_P(Levels, BitsSumsAndHalves) {
    for (unsigned n = 0; n <= 200; ++n) {
        Bytes in = randomBytes(2 * n + 8, n), below = randomBytes(2 * n + 8, n + 1000);
        for (size_t i = 0; i < in.size(); ++i)
            if (below[i] % 3 != 0) in[i] = n % 2 == 0 ? 0 : static_cast<unsigned char>(1 << i % 8);
        const unsigned char *const p = &in[n % 5], *const q = &below[n % 5];
        Guarded bits((n + 63) / 64 * 8), sums(4 * n), means(n), wide(n), packed((n + 7) / 8);
        const PlainBits expected(n, [&](size_t i) { return p[i] != 0; });
        ASSERT_EQ(kernels.packNonZero(p, wordsOf(bits), n), expected.runs) << n;
        ASSERT_EQ(bits.bytes(), expected.bytes) << n;
        kernels.addWeighted(p, 0x01020304U, reinterpret_cast<uint32_t*>(sums.data()), n);
        ASSERT_EQ(sums.bytes(), eachByte(4 * n, [&](size_t i) {
                      return (0xABABABABU + 0x01020304U * p[i / 4]) >> i % 4 * 8;
                  }));
        kernels.halve(p, q, means.data(), n, n % 3);
        ASSERT_EQ(means.bytes(), eachByte(n, [&](size_t i) {
                      return (p[2 * i] + p[2 * i + 1] + q[2 * i] + q[2 * i + 1] + n % 3) / 4;
                  }));
        for (const uint8_t flip : {0, 1}) {
            kernels.expandBits(p, wide.data(), n, flip);
            ASSERT_EQ(wide.bytes(),
                      eachByte(n, [&](size_t i) { return (p[i / 8] >> (7 - i % 8) & 1) ^ flip; }));
            kernels.packBits(p, packed.data(), n, flip);
            ASSERT_EQ(packed.bytes(), eachByte(packed.bytes().size(), [&](size_t byte) {
                          int value = 0;
                          for (size_t i = byte * 8; i < std::min<size_t>(byte * 8 + 8, n); ++i)
                              value |= (p[i] != 0) != (flip != 0) ? 128 >> i % 8 : 0;
                          return value;
                      }));
        }
    }
}

TEST_P(Levels, FullSamplesChangesAndSpreadBits) {
    for (unsigned n = 0; n <= 200; ++n) {
        const Bytes in = randomBytes(n + 8, n, 254, n % 2 == 0 ? 2 : 60);
        std::vector<int32_t> numbers(n + 2);
        for (unsigned i = 1; i < n; ++i)
            numbers[i] = numbers[i - 1] + (i % 7 == 0);
        const int32_t* const number = &numbers[n > 100];
        const size_t words = (n + 63) / 64;
        Guarded full(8 * words), copy(8 * words), changes(8 * words), spread(8 * words);
        const PlainBits fulls(n, [&](size_t i) { return in[n % 5 + i] == 255; });
        ASSERT_EQ(kernels.area.packFull(&in[n % 5], wordsOf(full), n), fulls.runs) << n;
        ASSERT_EQ(full.bytes(), fulls.bytes) << n;
        ASSERT_EQ(kernels.area.packPacked(full.data(), wordsOf(copy), n), fulls.runs) << n;
        ASSERT_EQ(copy.bytes(), fulls.bytes) << n;
        kernels.area.packChanges(number, wordsOf(changes), n);
        const auto isChange = [&](size_t i) { return number[i] != (i > 0 ? number[i - 1] : 0); };
        ASSERT_EQ(changes.bytes(), PlainBits(n, isChange).bytes) << n;

        std::vector<uint64_t> rows[5], scratch(words + 2, 77);
        const uint64_t* row[5];
        for (unsigned k = 0; k < 5; ++k) {
            for (const unsigned char b : randomBytes(words, n + k, 0, 64))
                rows[k].push_back(b < 8 ? uint64_t{0x8000000000000001U} >> b << b : 0);
            row[k] = rows[k].data();
        }
        kernels.area.spreadBits(row, scratch.data(), wordsOf(spread), words);
        const PlainBits nearby(64 * words, [&](size_t i) {
            bool isNear = false;
            for (size_t k = i > 2 ? i - 2 : 0; k < std::min(i + 3, 64 * words); ++k)
                for (const uint64_t* bits : row)
                    isNear |= (bits[k / 64] >> k % 64 & 1) != 0;
            return isNear;
        });
        ASSERT_EQ(spread.bytes(), nearby.bytes) << n;
    }
}

TEST_P(Levels, TablesAndCounts) {
    for (unsigned n = 0; n <= 600; n += n < 70 || n > 250 ? 1 : 7) {
        const Bytes in = randomBytes(n + 5, n), table = randomBytes(256, n + 1),
                    mask = randomBytes(n + 1, n, 0, 2);
        const unsigned char* const p = &in[n % 5];
        const size_t words = (n + 63) / 64;
        Guarded out(n), same(Bytes(p, p + n)), binary(n), marks(8 * words), candidates(8 * words);
        Guarded mixed(eachByte(n, [&](size_t i) { return mask[i] != 0 ? 255 : 0; }));
        std::vector<uint32_t> counts(256), expected(256);
        for (unsigned i = 0; i < n; ++i)
            expected[p[i]] += 2;
        kernels.lookUp(p, table.data(), out.data(), n);
        kernels.lookUp(same.data(), table.data(), same.data(), n);
        ASSERT_EQ(out.bytes(), eachByte(n, [&](size_t i) { return table[p[i]]; })) << n;
        ASSERT_EQ(same.bytes(), out.bytes()) << n;
        for (int twice = 0; twice < 2; ++twice)
            kernels.countSamples(p, counts.data(), n);
        ASSERT_EQ(counts, expected) << n;
        kernels.thresholdByMask(p, mask.data(), binary.data(), n, 130, 90);
        ASSERT_EQ(binary.bytes(), eachByte(n, [&](size_t i) {
                      return p[i] > (mask[i] != 0 ? 90 : 130) ? 255 : 0;
                  }));
        // As a local plane, in place.
        kernels.markCertain(p, mixed.data(), mixed.data(), wordsOf(marks), wordsOf(candidates), n,
                            60, 180);
        const auto isMarked = [&](size_t i) { return p[i] < 60 || (mask[i] != 0 && p[i] <= 180); };
        const auto isCandidate = [&](size_t i) { return mask[i] != 0 && p[i] > 180; };
        ASSERT_EQ(marks.bytes(), PlainBits(n, isMarked).bytes) << n;
        ASSERT_EQ(candidates.bytes(), PlainBits(n, isCandidate).bytes) << n;
        ASSERT_EQ(mixed.bytes(), eachByte(n, [&](size_t i) { return isMarked(i) ? 255 : 0; }));
    }
}

TEST_P(Levels, ReversalsAndTranspositions) {
    for (unsigned n = 0; n <= 80; ++n) {
        const Bytes in = randomBytes(100 * n, n);
        const unsigned count = n > 0 ? 100 * n - n % 7 : 0;
        Guarded reversed(count), turned(100 * n);
        kernels.reverseBytes(in.data(), reversed.data(), count);
        kernels.transpose(in.data(), n, turned.data(), 100, n, 100);
        ASSERT_EQ(reversed.bytes(), eachByte(count, [&](size_t i) { return in[count - 1 - i]; }));
        ASSERT_EQ(turned.bytes(),
                  eachByte(100 * n, [&](size_t i) { return in[i % 100 * n + i / 100]; }));
    }
    for (unsigned bytes = 1; bytes <= 200; bytes += 1 + bytes / 40)
        for (const size_t rows : {0U, 1U, 2U, 5U})
            for (const bool stream : {false, true}) {
                const Bytes in = randomBytes(bytes * rows, bytes, 0, 3);
                Guarded turned(in.size()), marked(in.size());
                kernels.turnRows(in.data(), turned.data(), bytes, rows, stream);
                kernels.turnRowsMarked(in.data(), marked.data(), bytes, rows, 9, stream);
                const Bytes expected = eachByte(in.size(), [&](size_t i) {
                    return in[(rows - 1 - i / bytes) * bytes + i % bytes];
                });
                ASSERT_EQ(turned.bytes(), expected) << bytes << " by " << rows;
                ASSERT_EQ(marked.bytes(),
                          eachByte(in.size(), [&](size_t i) { return expected[i] != 0 ? 9 : 0; }));
            }
}

/// Planes of one length.
struct Colours {
    Bytes r, g, b;
    void add(int red, int green, int blue) {
        r.push_back(static_cast<unsigned char>(red));
        g.push_back(static_cast<unsigned char>(green));
        b.push_back(static_cast<unsigned char>(blue));
    }
};

void expectFolds(const RowKernels& kernels, const Colours& p, float spreadRatio, float liftRatio) {
    Bytes spread(p.r.size()), lifted(p.r.size());
    kernels.greySpread(p.r.data(), p.g.data(), p.b.data(), spread.data(), spread.size(),
                       spreadRatio);
    kernels.greyRedLift(p.r.data(), p.g.data(), p.b.data(), lifted.data(), lifted.size(),
                        liftRatio);
    for (size_t i = 0; i < spread.size(); ++i) {
        const int r = p.r[i], g = p.g[i], b = p.b[i];
        ASSERT_EQ(spread[i], greySpread(r, g, b, spreadRatio)) << spreadRatio << " " << i;
        ASSERT_EQ(lifted[i], redLift(r, g, b, liftRatio)) << liftRatio << " " << i;
    }
}

void expectLuminance(const RowKernels& kernels, const Colours& p) {
    Bytes out(p.r.size());
    kernels.luminance(p.r.data(), p.g.data(), p.b.data(), out.data(), out.size());
    for (size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(out[i], luminance(p.r[i], p.g[i], p.b[i])) << +p.r[i] << " " << i;
}

TEST_P(Levels, EveryTriple) {
    const float ratio = GetParam() == std::string("plain") ? 0.7F : 1.0F;
    Bytes out(65536), pixels(3 * 65536), expected(65536);
    cv::Mat expectedMat(1, 65536, CV_8UC1, expected.data());
    Colours p;
    for (int i = 0; i < 65536; ++i)
        p.add(0, i >> 8, i);
    for (int red = 0; red < 256; ++red) {
        p.r.assign(65536, static_cast<unsigned char>(red));
        ASSERT_NO_FATAL_FAILURE(expectLuminance(kernels, p));
        ASSERT_NO_FATAL_FAILURE(expectFolds(kernels, p, ratio, -ratio));
        kernels.greyOfBgr(p.r.data(), p.g.data(), p.b.data(), out.data(), out.size());
        kernels.interleaveBgr(p.r.data(), p.g.data(), p.b.data(), pixels.data(), 65536, false);
        cv::cvtColor(cv::Mat(1, 65536, CV_8UC3, pixels.data()), expectedMat, cv::COLOR_BGR2GRAY);
        ASSERT_EQ(out, expected);
    }
}

// Whole blocks of pixels that are nearly grey, by weights within and beyond what tables hold.
TEST_P(Levels, FoldsOfNearGreys) {
    Colours p;
    for (int k = 0; k < 256 * 31 * 31; ++k) {
        const int green = k / 961, red = green + k / 31 % 31 - 15, blue = green + k % 31 - 15;
        const auto [low, high] = std::minmax({red, green, blue});
        const int middle = red + green + blue - low - high;
        if (low >= 0 && high <= 255 && high - low + std::max(high - middle, middle - low) <= 15)
            p.add(red, green, blue);
    }
    for (const float ratio : {0.0F, 0.1F, 0.5F, 0.7F, 1.0F, 2.5F, 6.3F, 6.5F, -1.0F, -2.7F, -2.8F,
                              1e3F, 1e7F, -INFINITY, NAN})
        ASSERT_NO_FATAL_FAILURE(expectFolds(kernels, p, ratio, ratio));
}

// Neutral pixels and colours whose weighted sum is a multiple of 1000, together in one block.
TEST_P(Levels, LuminanceOfMixedBlocks) {
    Colours p;
    for (int k = 0; k < 1 << 24; ++k) {
        const int r = k >> 16, g = k >> 8 & 255, b = k & 255;
        if ((299 * r + 587 * g + 114 * b) % 1000 != 0) continue;
        p.add(r, g, b);
        for (int i = 0; i < 3; ++i)  // neutral or mixed neighbours
            k % 5 ? p.add(r + i, r + i, r + i) : p.add(r + i, g + i, b + i);
    }
    ASSERT_EQ(p.r.size(), 4 * 16774U);
    expectLuminance(kernels, p);
}

}  // namespace
