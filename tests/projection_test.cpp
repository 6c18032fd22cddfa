// Projections, waves, the moving average and the bar charts against plain forms.
#include <array>
#include <climits>
#include <filesystem>

#include "kel_PatternAnalysis.h"
#include "kernels/row_kernels.h"
#include "loaded_image.h"

using kel::detail::CpuLevel;
using test::Bytes;
using test::Guarded;

namespace {

using Ints = std::vector<int>;
constexpr int kUntouched = int(0xABABABAB);

Ints projected(const Bytes& plane, kelSize size, bool rows, bool counts) {
    const int lines = rows ? size.height : size.width, length = rows ? size.width : size.height;
    Ints out(size_t(std::max(lines, 0)));
    for (int i = 0; i < lines; ++i) {
        for (int k = 0; k < length; ++k) {
            const int sample = plane[size_t(rows ? i * size.width + k : k * size.width + i)];
            out[size_t(i)] += counts ? sample == 255 : sample;
        }
        if (!counts && length > 0) out[size_t(i)] = int(out[size_t(i)] / double(length));
    }
    return out;
}

TEST(Projection, EqualsThePlainForm) {
    auto sizes = test::awkwardSizes();
    sizes.insert(sizes.end(), {{5, 600}, {4100, 3}, {200, 257}});
    for (const auto level : {CpuLevel::plain, CpuLevel::best})
        for (kelSize size : sizes)
            for (unsigned lowest : {0U, 254U})
                for (char direction : {'H', 'V', 'h', 'X'})
                    for (bool counts : {false, true}) {
                        kel::detail::limitCpuLevel(level);
                        Bytes plane = test::randomBytes(test::area(size), 5, lowest, 256 - lowest);
                        Ints expected = projected(plane, size, direction == 'H', counts);
                        Guarded out(4 * expected.size());
                        auto* const ints = reinterpret_cast<int*>(out.data());
                        const bool known = direction == 'H' || direction == 'V';
                        if (!known) std::fill(expected.begin(), expected.end(), kUntouched);
                        ASSERT_EQ((counts ? KelImageProject1 : KelImageProjcet)(plane.data(), size,
                                                                                ints, direction),
                                  known ? 0 : -1);
                        out.bytes();
                        ASSERT_EQ(Ints(ints, ints + expected.size()), expected)
                            << ::testing::PrintToString(size) << direction << counts;
                    }
}

TEST(Waves, RunsAboveTheThreshold) {
    using Wave = std::array<int, 5>;  // start, end, peak value, peak position and sum
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
        EXPECT_EQ(count, int(c.waves.size()));
        std::vector<Wave> found;
        for (kelWaveCharacter *w = &first, *next; w != nullptr && count > 0; w = next) {
            next = w->next;
            EXPECT_EQ(w->length, w->end - w->start + 1);
            EXPECT_EQ(w->startSet + w->endSet, 2);
            found.push_back({w->start, w->end, w->peakValue, w->peakPos, w->sum});
            if (w != &first) delete w;
        }
        EXPECT_EQ(found, c.waves);
    }
}

TEST(Waves, RecordsAndLists) {
    kelWaveCharacterSeq list, borrowed;
    list.head = new kelWaveCharacter[1];
    list.head->next = new kelWaveCharacter[1];
    list.NewOne();  // the destructor frees all nodes, whatever the count
    EXPECT_EQ(list.count, 1);
    borrowed.head = list.head;  // a count of 0 frees nothing
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
    const std::tuple<Ints, bool, int, Ints> cases[] = {
        {{3, 0, -2, 1}, false, 4, {3, 0, 0, 1}},
        {{200, 100, 1, -200}, true, 256, {255, 128, 1, 0}},
        {{1000, 3, 999}, true, 256, {255, 0, 255}}};
    std::string name = test::scratchPath("chart.bmp");
    for (const auto show : {KelArrayShow, KelArrayShow1}) {
        for (auto [values, normalise, extent, bars] : cases)
            for (char direction : {'H', 'V'}) {
                const auto len = int(values.size());
                const bool rows = direction == 'H';
                ASSERT_EQ(show(values.data(), len, name.data(), normalise, direction), 0);
                const test::LoadedImage chart(name);
                ASSERT_TRUE(chart.size == (rows ? kelSize{extent, len} : kelSize{len, extent}));
                for (int i = 0; i < len; ++i)
                    for (int k = 0; k < extent; ++k)
                        ASSERT_EQ(chart.samples[size_t(rows ? i * extent + k : k * len + i)],
                                  k < bars[size_t(i)] ? 255 : 0)
                            << i << " " << k;
                std::filesystem::remove(name);
            }
        const std::tuple<Ints, int, bool, char> refused[] = {{{1}, 0, true, 'H'},
                                                             {{0, -5}, 2, true, 'H'},
                                                             {{-5}, 1, false, 'V'},
                                                             {{1}, 1, true, 'v'},
                                                             {{INT_MAX}, 1, false, 'V'}};
        for (auto [values, len, normalise, direction] : refused)
            EXPECT_EQ(show(values.data(), len, name.data(), normalise, direction), -1);
        EXPECT_FALSE(std::filesystem::exists(name));
        EXPECT_EQ(show(Ints{1}.data(), 1, nullptr, true, 'V'), 0);
    }
}

}  // namespace
