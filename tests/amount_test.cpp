// Amount fields drawn from bars and blocks: marks, positions, the band of figures, the flag, and
// the files that tell which projection came last.
#include "files_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"

using test::Bytes;

namespace {

using Ints = std::vector<int>;
using Names = std::vector<std::string>;

struct Block {
    int x, y, width, height;
};

struct Field {
    explicit Field(kelSize s) : size(s), samples(test::area(s), 230) {}
    Field& add(const Block& b) {
        for (int y = b.y; y < b.y + b.height; ++y)
            for (int x = b.x; x < b.x + b.width; ++x)
                samples[size_t(y) * size_t(size.width) + size_t(x)] = 20;
        return *this;
    }
    Field& addBars(const Ints& columns) {
        for (int x : columns)
            add({x, 0, 1, size.height});
        return *this;
    }
    kelSize size;
    Bytes samples;
};

struct Amount {
    int result, count = -7, top = -7, bottom = -7;
    Ints positions = Ints(20, -7);
};

Amount detect(Field field, int minPeak = 200) {
    Amount a;
    a.result = KelDetectAmountPos(field.samples.data(), 1, field.size, a.positions.data(), &a.count,
                                  &a.top, &a.bottom, 99, minPeak);
    if (a.count >= 0) a.positions.resize(size_t(a.count));
    return a;
}

int chartRows(const char* name) {
    int width = 0, height = 0, channels = 0;
    unsigned char* chart = nullptr;
    EXPECT_EQ(Kel_LoadImageFile2Buffer(name, &chart, &width, &height, &channels), 0);
    Kel_ReleaseImage(chart);
    return height;
}

TEST(Amount, PositionsByNumberOfMarks) {
    const test::WorkingFolder folder;
    const Amount two = detect(Field({400, 60}).addBars({50, 100}));
    EXPECT_EQ(two.result, -1);
    EXPECT_EQ(two.positions, Ints(20, -7));
    EXPECT_EQ(two.count + two.top + two.bottom, -21);
    EXPECT_EQ(folder.files(), Names{"proj_v.bmp"});

    const std::pair<Ints, Ints> cases[] = {
        {{50, 101, 150}, {40, 60, 91, 125, 160}},
        {{50, 101, 150, 200}, {40, 75, 111, 140, 175, 210}},
        {{50, 101, 150, 200, 251}, {40, 75, 125, 160, 190, 225, 261}},
        {{50, 101, 150, 200, 251, 300}, {40, 75, 125, 175, 210, 241, 275, 310}},
        {{5, 101, 397}, {0, 15, 91, 249, 399}}};
    for (const auto& [bars, positions] : cases) {
        const Amount a = detect(Field({400, 60}).addBars(bars));
        EXPECT_EQ(a.result, 0);
        EXPECT_EQ(a.positions, positions);
        EXPECT_EQ(a.top, 0);
        EXPECT_EQ(a.bottom, 60);
    }
    EXPECT_EQ(folder.files(), (Names{"proj_h.bmp", "proj_v.bmp"}));
    Field blank({40, 40});
    EXPECT_EQ(detect(blank).result, -1);
    blank.size = {0, 40};
    EXPECT_EQ(detect(blank, -1).result, -1);
}

/// Where position `p` goes; `ink` gives a column's ink, a negative number beyond the edges.
template <class Ink>
int movedPlainly(int p, Ink ink) {
    const auto P = [&](int k) { return ink(k) < 0 ? 1 << 30 : ink(k); };
    if (P(p) == 0) return p;
    if (P(p - 2) == 0) return p - 2;
    int best = P(p) <= P(p - 2) ? P(p) : P(p - 2), to = P(p) <= P(p - 2) ? p : p - 2;
    if (P(p - 1) == 0) return p - 1;
    if (P(p - 1) < best) best = P(p - 1), to = p - 1;
    if (P(p + 1) == 0) return p + 1;
    if (P(p + 1) < best) best = P(p + 1), to = p + 1;
    return P(p + 2) == 0 || P(p + 2) < best ? p + 2 : to;
}

TEST(Amount, PositionsMoveToTheLightestColumn) {
    const test::WorkingFolder folder;
    for (unsigned seed = 0; seed < 60; ++seed) {
        const Bytes rows = test::randomBytes(400, seed, seed % 2, 5 - seed % 2);
        // Up to four rows of ink are not yet a wave.
        Field field({400, 100});
        for (int x = 0; x < 400; ++x)
            field.add({x, 7 * (x % 9), 1, rows[size_t(x)]});
        const Ints bars = {7, 101, 391};
        field.addBars(bars);
        const auto ink = [&](int x) {
            if (x < 0 || x > 399) return -1;
            return std::count(bars.begin(), bars.end(), x) > 0 ? 255 : rows[size_t(x)] * 255 / 100;
        };
        Ints expected = {0, 17, 91, 246, 399};
        for (int& p : expected)
            p = movedPlainly(p, ink);
        EXPECT_EQ(detect(field).positions, expected) << seed;
    }
}

TEST(Amount, BandAndFlag) {
    const test::WorkingFolder folder;
    const auto page = [] { return Field({800, 200}).addBars({120, 400, 700}); };
    const Block lower{200, 100, 40, 34}, upper{300, 20, 40, 32}, flag{20, 115, 17, 12};
    const auto expectBand = [](const Amount& a, int count, int top, int bottom, int lastRows) {
        EXPECT_EQ(a.result, 0);
        EXPECT_EQ(a.count, count);
        EXPECT_EQ(a.top, top);
        EXPECT_EQ(a.bottom, bottom);
        EXPECT_EQ(chartRows("proj_h.bmp"), lastRows);
    };
    expectBand(detect(page().add(lower).add(upper)), 5, 100, 133, 200);
    expectBand(detect(page().add(upper)), 5, 20, 51, 200);
    expectBand(detect(page().add({200, 100, 40, 29}).add({200, 20, 40, 37})), 5, 0, 200, 200);
    // Its rows of the band are drawn last; the band that is no band is cut to the plane.
    expectBand(detect(page().add(lower).add(flag)), 5, 100, 133, 34);
    expectBand(detect(page().add(flag)), 5, 0, 200, 200);
    // A flag in second place, too wide, or high enough for a mark is none.
    expectBand(detect(page().add(lower).add(flag).add({2, 30, 3, 20})), 5, 100, 133, 200);
    expectBand(detect(page().add(lower).add({20, 115, 20, 12})), 5, 100, 133, 200);
    expectBand(detect(page().add(lower).add(flag), 10), 7, 100, 133, 200);
}

TEST(Amount, FlagWaves) {
    const test::WorkingFolder folder;
    struct Case {
        int start, length, level, found;
    };
    for (const Case& c :
         {Case{45, 3, 255, 1}, Case{49, 5, 201, 1}, Case{44, 3, 255, 0}, Case{50, 3, 255, 0},
          Case{47, 6, 255, 0}, Case{47, 1, 255, 0}, Case{47, 2, 200, 0}, Case{47, 2, 201, 1}}) {
        Bytes image(30 * 100);
        std::fill_n(image.begin() + c.start * 30, c.length * 30, (unsigned char)(c.level));
        EXPECT_EQ(KelRecognitionOppFlag(image.data(), {30, 100}), c.found) << c.start;
        EXPECT_EQ(chartRows("proj_h.bmp"), 100);
    }
    std::filesystem::remove("proj_h.bmp");
    Bytes blank(100);
    EXPECT_EQ(KelRecognitionOppFlag(blank.data(), {10, 10}), 0);
    EXPECT_EQ(KelRecognitionOppFlag(nullptr, {10, 0}), 0);
    EXPECT_EQ(folder.files(), Names{});
}

}  // namespace
