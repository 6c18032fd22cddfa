// Levels by iteration, whole-and-part thresholds and marks round the page, against their plain
// forms.
#include <gtest/gtest.h>

#include <numeric>

#include "kel_ImageBasicProcess.h"
#include "support.h"

using namespace test;

namespace {

using Counts = std::vector<int>;

// One round: 1 a new level in `t`, -1 and -2 the empty classes.
int step(const Counts& hist, int& t, int maxLevel) {
    int64_t c1 = 0, m1 = 0, c2 = 0, m2 = 0;
    for (int i = 0; i < 256; ++i) {
        const auto product = [&](int w) {
            return int32_t(uint32_t(w) * uint32_t(hist[size_t(i)]));
        };
        if (i < t) c1 += hist[size_t(i)], m1 += product(i + 1);
        if (i > t && i <= maxLevel) c2 += hist[size_t(i)], m2 += product(i);
    }
    if (t == 0 || c1 == 0) return -1;
    if (t + 1 > maxLevel || c2 == 0) return -2;
    const double mean1 = double(m1) / double(c1), mean2 = double(m2) / double(c2);
    t = int((mean2 + std::max(0.0, mean1 - 1.0)) * 0.5 + 0.5);
    return 1;
}

int iterated(const Counts& hist, int t, int maxLevel, int& out) {
    for (int round = 0; round < maxLevel; ++round) {
        const int before = t;
        if (step(hist, t, maxLevel) != 1) return 0;
        if (t == before) return out = t, 1;
        t &= 255;
    }
    out = t;
    return 0;
}

Bytes wholeAndPart(Bytes src, kelSize size, int thres, double low, double high) {
    Bytes local(src.size(), 255);
    const bool plain = size.width < 3 || size.height < 3;
    if (!plain) KelBinarizeImage(src.data(), 1, local.data(), size, 1, 5, 19, 19, 0);
    for (size_t i = 0; i < src.size(); ++i) {
        const double scaled = plain ? thres : thres * (local[i] == 0 ? low : high);
        src[i] = compared(src[i], scaled < 0 ? 0 : scaled > 255.0 ? 255 : int(scaled), 0);
    }
    return src;
}

TEST(Iterate, RoundsEqualThePlainForm) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        Counts hist(256);
        const Bytes counts = randomBytes(256, seed), on = randomBytes(256, seed + 1);
        for (size_t i = 0; i < 256; ++i)
            if (on[i] % (1 + seed % 64) == 0) hist[i] = counts[i] << seed % 24;
        const int first = on[0], maxLevel = seed % 3 == 0 ? counts[1] : seed % 3 == 1 ? 255 : 2;
        int expected = 77, t = first;
        const int result = iterated(hist, first, maxLevel, expected);
        unsigned char out = 77, level = static_cast<unsigned char>(first);
        ASSERT_EQ(KelGetThreshold(hist.data(), 0, 0, 0, level, &out, maxLevel), result) << seed;
        ASSERT_EQ(out, expected) << seed;
        const int stepped = step(hist, t, maxLevel);
        ASSERT_EQ(KelCalThreshold(hist.data(), 9, 9, 9, &level, maxLevel),
                  stepped == 1 ? std::abs(t - first) : stepped);
        ASSERT_EQ(level, t & 255);
    }
    Counts hist(256, 3);
    unsigned char out = 7;
    EXPECT_EQ(KelGetThreshold(hist.data(), 0, 1, 1, 9, &out, -4), 0);
    EXPECT_EQ(out, 9);
    EXPECT_EQ(KelGetThreshold(hist.data(), 0, 1, 1, 100, &out, 100000), 1);  // 256 counts, no more
}

TEST(Iterate, BinarizationsEqualTheirPlainForm) {
    for (kelSize size : awkwardSizes({{200, 60}}))
        for (unsigned seed = 0; seed < 6; ++seed) {
            const int offset = seed == 3 ? -300 : seed == 4 ? 2147483647 : int(seed) * 5 - 12;
            const int minThres = seed == 5 ? 130 : seed == 2 ? 100 : 40;
            Bytes src = seed % 2 == 0 || area(size) == 0
                            ? page(size, 1).samples
                            : randomBytes(area(size), seed, seed * 30, seed == 1 ? 1 : 70);
            const Counts hist = histogramOf(src);
            const int cut = int(double(src.size()) * 0.005);
            int low = 0, high = 255;
            for (int i = 255; i >= 0; --i)  // the number of samples at and below i sinks
                if (std::accumulate(&hist[0], &hist[size_t(i)] + 1, 0) > cut)
                    low = std::max(i - 1, 0);
            for (int i = 0; i <= 255; ++i)
                if (std::accumulate(&hist[size_t(i)], &hist[255] + 1, 0) > cut)
                    high = std::min(i + 1, 255);
            const int start = (low + high) / 2;
            int level = start;
            const bool found = !src.empty() && iterated(hist, start, 255, level) == 1;
            if (found)
                level = level > minThres ? int(std::clamp<int64_t>(int64_t(level) + offset, 0, 255))
                                         : 2 * minThres % 256;
            const std::pair<double, double> ratios[] = {
                {1, 1}, {0.8, 1.3}, {-1, 1e300}, {1.1, 0.5}};
            for (const auto& [inInk, onPaper] : ratios) {
                Guarded out(area(size)), inPlace(src);
                unsigned char thres = 3;
                const int result =
                    inInk == 1
                        ? KelBinarize_qifa(src.data(), size, out.data(), &thres, offset, minThres)
                        : KelBinarize_qifa_WholeAndPart(src.data(), size, out.data(), thres, offset,
                                                        minThres, inInk, onPaper);
                ASSERT_EQ(result, found ? 0 : -1) << seed;
                ASSERT_EQ(thres, src.empty() ? 3 : level) << seed;
                const Bytes marked = wholeAndPart(src, size, level, inInk, onPaper);
                ASSERT_EQ(out.bytes(), found ? marked : Bytes(src.size(), 0xAB))
                    << size << " " << seed;
                KelBinarizeThreshold_WholeAndPart(inPlace.data(), inPlace.data(), size, level,
                                                  inInk, onPaper);
                ASSERT_EQ(inPlace.bytes(), marked);
            }
        }
}

TEST(PartArea, EqualsThePlainForm) {
    for (kelSize size : awkwardSizes({{20, 21}}))
        for (unsigned seed = 0; seed < 24; ++seed) {
            const int channels = int(seed % 4), mx = int(seed % 5), my = 1 + int(seed % 7);
            const int thres = seed < 20 ? 30 + 10 * int(seed) : seed % 2 == 0 ? -5 : 300;
            const int w = size.width, h = size.height;
            const size_t n = area(size);
            Bytes src = randomBytes((channels == 1 ? 1 : 3) * n, seed);
            Bytes marks = randomBytes(area(size), seed + 9, 0, 2 + seed % 3);
            Guarded out(marks);
            ASSERT_EQ(KelBinarizePartArea(src.data(), out.data(), w, h, channels, mx, my, thres),
                      0);
            for (int y = 0; mx > 0 && n > 0 && y < h; ++y) {
                const auto at = [&](int x) { return size_t(y) * size_t(w) + size_t(x); };
                for (int x = 0; x < w; ++x) {
                    const unsigned char* const s = &src[at(x)];
                    const int grey =
                        channels == 1 ? *s : (3098 * s[0] + 4186 * s[n] + 2496 * s[2 * n]) / 10000;
                    const bool rows = y < my || (y >= h - my - 1 && y <= h - 2);
                    const bool sides = y >= my && y <= h - my - 2 && (x < mx || x >= w - mx - 1);
                    if ((w <= 2 * mx || h <= 2 * my || rows || sides) && thres > grey)
                        marks[at(x)] = 255;
                }
                int x = 0;
                while (x < w / 2 && marks[at(x)] != 0)
                    ++x;
                if (x != 0 && x < w / 2) marks[at(x)] = 255;
                for (x = w - 1; x > w / 2 && marks[at(x)] != 0;)
                    --x;
                if (x > w / 2 && at(x) != size_t(w - 1)) marks[at(x)] = 255;
            }
            ASSERT_EQ(out.bytes(), marks) << size << " seed " << seed;
        }
}

}  // namespace
