// Projections, waves, the moving average and the bar charts against plain forms.
#include <climits>
#include <filesystem>

#include "files_support.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "kel_PatternAnalysis.h"
#include "kernels/row_kernels.h"

using kel::detail::CpuLevel;
using test::Bytes;
using test::Guarded;

namespace {

using Ints = std::vector<int>;
constexpr int kUntouched = int(0xABABABAB);

Ints projected(const Bytes& plane, kelSize size, char direction, bool counts) {
    const bool rows = direction == 'H';
    Ints out(size_t(std::max(rows ? size.height : size.width, 0)), 0);
    const bool kept = !counts && test::area(size) == 0 && (rows ? size.height : size.width) < 1;
    if (kept) return out;
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const int sample = plane[size_t(y) * size_t(size.width) + size_t(x)];
            out[size_t(rows ? y : x)] += counts ? sample == 255 : sample;
        }
    if (!counts && test::area(size) > 0)
        for (int& v : out)
            v = static_cast<int>(v / static_cast<double>(rows ? size.width : size.height));
    return out;
}

void checkSize(kelSize size) {
    for (unsigned lowest : {0U, 254U}) {
        Bytes plane = test::randomBytes(test::area(size), 5, lowest, 256 - lowest);
        for (char direction : {'H', 'V', 'h', 'X'})
            for (bool counts : {false, true}) {
                const Ints expected = projected(plane, size, direction, counts);
                Guarded out(4 * expected.size());
                auto* const ints = reinterpret_cast<int*>(out.data());
                const auto call = counts ? KelImageProject1 : KelImageProjcet;
                const bool known = direction == 'H' || direction == 'V';
                ASSERT_EQ(call(plane.data(), size, ints, direction), known ? 0 : -1);
                out.bytes();
                const Ints got(ints, ints + expected.size());
                ASSERT_EQ(got, known ? expected : Ints(expected.size(), kUntouched))
                    << ::testing::PrintToString(size) << direction << counts;
            }
    }
}

TEST(Projection, EqualsThePlainForm) {
    auto sizes = test::awkwardSizes();
    sizes.insert(sizes.end(), {{5, 600}, {4100, 3}, {200, 257}});
    for (const auto level : {CpuLevel::plain, CpuLevel::best})
        for (kelSize size : sizes) {
            kel::detail::limitCpuLevel(level);
            checkSize(size);
        }
}
struct Wave {
    int start, end, peakValue, peakPos, sum;
    bool operator==(const Wave& w) const {
        return start == w.start && end == w.end && peakValue == w.peakValue &&
               peakPos == w.peakPos && sum == w.sum;
    }
};

TEST(Waves, RunsAboveTheThreshold) {
    struct Case {
        Ints samples;
        int threshold;
        std::vector<Wave> waves;
    };
    for (Case c : {Case{{}, 0, {}}, Case{{0, 3, 3}, 3, {}},
                   Case{{5, 1, 7, 7, 2}, 1, {{0, 0, 5, 0, 5}, {2, 4, 7, 2, 16}}},
                   Case{{4, 4, 4}, 3, {{0, 2, 4, 0, 12}}},
                   Case{{-3, 0, -9, -1}, -5, {{0, 1, 0, 0, -3}, {3, 3, 0, 0, -1}}},
                   Case{{INT_MAX, INT_MAX}, INT_MIN, {{0, 1, INT_MAX, 0, -2}}}}) {
        kelWaveCharacter first;
        int count = 99;
        EXPECT_EQ(KelDetectWaveCharacter1(c.samples.data(), int(c.samples.size()), &first, &count,
                                          c.threshold),
                  0);
        std::vector<Wave> found;
        for (kelWaveCharacter* w = &first; w != nullptr;) {
            kelWaveCharacter* const next = w->next;
            EXPECT_EQ(w->length, count > 0 ? w->end - w->start + 1 : 0);
            EXPECT_EQ(w->startSet + w->endSet, count > 0 ? 2 : 0);
            if (count > 0) found.push_back({w->start, w->end, w->peakValue, w->peakPos, w->sum});
            if (w != &first) delete w;
            w = next;
        }
        EXPECT_EQ(found, c.waves);
        EXPECT_EQ(count, int(c.waves.size()));
    }
}

TEST(Waves, RecordsAndLists) {
    kelWaveCharacterSeq list, borrowed;
    list.head = new kelWaveCharacter[1];
    list.head->next = new kelWaveCharacter[1];
    list.NewOne();  // the destructor frees all nodes, whatever the count
    EXPECT_EQ(list.count, 1);
    kelWaveCharacter& wave = *list.head;
    wave.SetStart1(4);
    wave.SetEnd(9);
    EXPECT_EQ(wave.length, 6);
    wave.SetEnd1(10, 30);
    wave.SetEnd1(11, 3);
    EXPECT_EQ(wave.length, 8);
    EXPECT_EQ(wave.sum, 33);
    EXPECT_EQ(wave.startSet + wave.endSet, 2);
    borrowed.head = &wave;  // a count of 0 frees nothing
}

TEST(Waves, MovingAverage) {
    for (int len : {-1, 0, 1, 2, 3, 5, 6, 7, 40})
        for (int radius : {-2, 0, 1, 2, 3, INT_MAX})
            for (int passes : {0, 1, 5}) {
                const Bytes noise = test::randomBytes(size_t(std::max(len, 0)), 3);
                Ints wave(noise.begin(), noise.end());
                for (size_t i = 0; i < wave.size(); i += 3)
                    wave[i] = i % 2 == 0 ? -7 * wave[i] : INT_MAX - wave[i];
                Ints expected(wave.size());
                for (int64_t i = radius; passes > 0 && radius >= 0 && i < int64_t{len} - radius;
                     ++i) {
                    uint32_t sum = 0;
                    for (int64_t k = i - radius; k <= i + radius; ++k)
                        sum += static_cast<uint32_t>(wave[size_t(k)]);
                    expected[size_t(i)] = static_cast<int>(sum) / (2 * radius + 1);
                }
                EXPECT_EQ(KelConvolveWave(wave.data(), len, radius, passes), 0);
                EXPECT_EQ(wave, expected) << len << " " << radius << " " << passes;
            }
}

TEST(ArrayShow, DrawsAndRefuses) {
    struct Case {
        Ints values;
        bool normalise;
        int chart;
        Ints bars;
    };
    std::string name = test::scratchPath("chart.bmp");
    for (const auto show : {KelArrayShow, KelArrayShow1}) {
        for (Case c : {Case{{3, 0, -2, 1}, false, 4, {3, 0, 0, 1}},
                       Case{{200, 100, 1, -200}, true, 256, {255, 128, 1, 0}},
                       Case{{1000, 3, 999}, true, 256, {255, 0, 255}}})
            for (char direction : {'H', 'V'}) {
                const auto len = int(c.values.size());
                ASSERT_EQ(show(c.values.data(), len, name.data(), c.normalise, direction), 0);
                int width = 0, height = 0, channels = 0;
                unsigned char* chart = nullptr;
                ASSERT_EQ(
                    Kel_LoadImageFile2Buffer(name.c_str(), &chart, &width, &height, &channels), 0);
                ASSERT_EQ(width, direction == 'H' ? c.chart : len);
                ASSERT_EQ(height, direction == 'H' ? len : c.chart);
                for (int i = 0; i < len; ++i)
                    for (int k = 0; k < c.chart; ++k)
                        ASSERT_EQ(chart[direction == 'H' ? i * width + k : k * width + i],
                                  k < c.bars[size_t(i)] ? 255 : 0)
                            << i << " " << k;
                Kel_ReleaseImage(chart);
                std::filesystem::remove(name);
            }
        Ints nothing = {0, -5}, something = {1}, endless = {INT_MAX};
        EXPECT_EQ(show(something.data(), 0, name.data(), true, 'H'), -1);
        EXPECT_EQ(show(nothing.data(), 2, name.data(), true, 'H'), -1);
        EXPECT_EQ(show(nothing.data() + 1, 1, name.data(), false, 'V'), -1);
        EXPECT_EQ(show(something.data(), 1, name.data(), true, 'v'), -1);
        EXPECT_EQ(show(endless.data(), 1, name.data(), false, 'V'), -1);
        EXPECT_FALSE(std::filesystem::exists(name));
        EXPECT_EQ(show(something.data(), 1, nullptr, true, 'V'), 0);
    }
}

}  // namespace
