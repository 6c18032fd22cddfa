// Histograms and levels against their plain forms; equalisation where there is no display.
#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <tuple>

#include "kel_ImageBasicProcess.h"
#include "support.h"

using namespace test;

namespace {

using Counts = std::vector<int>;

struct Stretch {
    int result = -1;
    Counts map = Counts(256, -7);
    int lowLevel = 1000, highLevel = 2000;
    auto all() const { return std::tie(result, map, lowLevel, highLevel); }
};

Stretch stretched(const Counts& hist, int total, double lowRate, double highRate) {
    Stretch s;
    if (total < 1) return s;
    int low = 0, high = 255;
    double sum = 0;
    for (; low < 255 && sum < lowRate; ++low)
        sum += hist[size_t(low)] / double(total);
    for (sum = 0; high > 0 && sum < highRate; --high)
        sum += hist[size_t(high)] / double(total);
    const int count = high - low + 1;
    if (low == 255 || high == 0 || count < 5) return s;
    const double scale = 255.0 / count;
    for (int i = low; i <= high; ++i)
        s.map[size_t(i)] = std::min(255, int((i - low + 1) * scale));
    s.lowLevel = low == 0 ? 0 : low - 1;
    s.highLevel = high == 255 ? 255 : high + 1;
    s.result = 0;
    return s;
}

Bytes adjusted(Bytes plane, double lowRate, double highRate) {
    const Stretch s = stretched(histogramOf(plane), int(plane.size()), lowRate, highRate);
    for (auto& v : plane)
        if (s.result == 0)
            v = static_cast<unsigned char>(v <= s.lowLevel ? 0 : v >= s.highLevel ? 255 : s.map[v]);
    return plane;
}

// Narrow, wide, one-sided and flat planes.
Bytes plane(kelSize size, unsigned seed) {
    const unsigned lowest = seed * 37 % 256, range = 1 + seed * seed * 3 % (256 - lowest);
    Bytes samples = randomBytes(area(size), seed, lowest, range);
    for (size_t i = 0; i < samples.size(); i += 3)
        if (seed % 4 == 3) samples[i] = 255;
    return samples;
}

const std::pair<double, double> kRates[] = {{0.01, 0.01}, {0, 0},   {0.3, 0.05}, {1, 0.2},
                                            {0.2, 1},     {-1, -1}, {2, 0},      {0.5, 0.45}};

TEST(Levels, EqualTheirPlainForms) {
    for (kelSize size : awkwardSizes({{150, 90}}))
        for (unsigned seed = 0; seed < 16; ++seed)
            for (const auto& [lowRate, highRate] : kRates) {
                Bytes planes[3] = {plane(size, seed), plane(size, seed + 5), plane(size, seed + 9)};
                const int total = int(planes[0].size());
                Counts hist(256, -1);
                ASSERT_EQ(KelCalHist(planes[0].data(), size, hist.data()), 0);
                ASSERT_EQ(hist, histogramOf(planes[0]));
                Stretch got;
                got.result = KelHistSegProportion(hist.data(), total, lowRate, highRate,
                                                  got.map.data(), &got.lowLevel, &got.highLevel);
                ASSERT_TRUE(got.all() == stretched(hist, total, lowRate, highRate).all()) << seed;
                for (const char channel : {'R', 'G', 'B', 'r', '1'}) {
                    const int channels = channel == '1' ? 1 : 3 + int(seed % 3) * 2;
                    Bytes src, result;
                    for (int c = 0; c < std::min(channels, 3); ++c) {
                        const Bytes& p = planes[c];
                        const bool copied = channels != 1 && channel < 'a' && "RGB"[c] != channel;
                        const Bytes to = copied ? p : adjusted(p, lowRate, highRate);
                        src.insert(src.end(), p.begin(), p.end());
                        result.insert(result.end(), to.begin(), to.end());
                    }
                    Guarded apart(src.size()), inPlace(src);
                    KelAutoColorLeversAdjust(src.data(), apart.data(), size, channels, channel,
                                             lowRate, highRate);
                    KelAutoColorLeversAdjust1(inPlace.data(), inPlace.data(), size.width,
                                              size.height, channels, channel, lowRate, highRate);
                    ASSERT_EQ(apart.bytes(), result) << channel << channels << " " << seed;
                    ASSERT_EQ(inPlace.bytes(), result) << channel << channels << " " << seed;
                }
            }
}

Bytes equalised(Bytes plane) {
    const Counts hist = histogramOf(plane);
    const double count = double(plane.size());
    for (auto& v : plane)
        v = static_cast<unsigned char>(std::accumulate(&hist[0], &hist[v] + 1, 0) * 255.0 / count);
    return plane;
}

TEST(Levels, EqualisationNeedsNoDisplay) {
    unsetenv("DISPLAY");  // a window would wait for a key
    for (kelSize size : awkwardSizes()) {
        Bytes src = page(size, 1).samples;
        Guarded inPlace(src), apart(src.size());
        KelHistAver(src.data(), apart.data(), size);
        KelHistAver(inPlace.data(), inPlace.data(), size);
        ASSERT_EQ(apart.bytes(), equalised(src));
        ASSERT_EQ(inPlace.bytes(), equalised(src));
    }
}

// Run by windows_test.sh, which has a display and presses a key.
TEST(Levels, DISABLED_WindowsWaitForAKey) {
    Bytes src = page({320, 200}, 1).samples, out(src.size());
    KelHistAver(src.data(), out.data(), {320, 200});
    EXPECT_EQ(out, equalised(src));
}

}  // namespace
