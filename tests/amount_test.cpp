// Amount fields drawn from bars and blocks: marks, positions, the band of figures, the flag, and
// the files that tell which projection came last.
#include "files_support.h"
#include "kel_ImageBasicProcess.h"
#include "loaded_image.h"

using test::Bytes;

namespace {

using Ints = std::vector<int>;
using Names = std::vector<std::string>;

/// A page of paper with blocks of ink.
struct Field {
    explicit Field(kelSize s) : size(s), samples(test::area(s), 230) {}
    Field add(int left, int top, int width, int height) {
        for (int y = top; y < top + height; ++y)
            std::fill_n(&samples[size_t(y * size.width + left)], width, (unsigned char)20);
        return *this;
    }
    Field addBars(const Ints& columns) {
        for (int x : columns)
            add(x, 0, 1, size.height);
        return *this;
    }
    kelSize size;
    Bytes samples;
};

struct Amount {
    explicit Amount(Field field, int minPeak = 200)
        : result(KelDetectAmountPos(field.samples.data(), 1, field.size, positions.data(), &count,
                                    &top, &bottom, 99, minPeak)) {
        if (count >= 0) positions.resize(size_t(count));
    }
    int count = -7, top = -7, bottom = -7;
    Ints positions = Ints(20, -7);
    int result;
};

int chartRows() {
    return test::LoadedImage("proj_h.bmp").size.height;
}

TEST(Amount, PositionsByNumberOfMarks) {
    const test::WorkingFolder folder;
    const Amount two(Field({400, 60}).addBars({50, 100}));
    EXPECT_EQ(two.result, -1);
    EXPECT_EQ(two.positions, Ints(20, -7));
    EXPECT_EQ((Ints{two.count, two.top, two.bottom}), Ints(3, -7));
    EXPECT_EQ(folder.files(), Names{"proj_v.bmp"});

    const std::pair<Ints, Ints> cases[] = {
        {{50, 101, 150}, {40, 60, 91, 125, 160}},
        {{50, 101, 150, 200}, {40, 75, 111, 140, 175, 210}},
        {{50, 101, 150, 200, 251}, {40, 75, 125, 160, 190, 225, 261}},
        {{50, 101, 150, 200, 251, 300}, {40, 75, 125, 175, 210, 241, 275, 310}},
        {{5, 101, 397}, {0, 15, 91, 249, 399}}};
    for (const auto& [bars, positions] : cases) {
        const Amount a(Field({400, 60}).addBars(bars));
        EXPECT_EQ(a.positions, positions);
        EXPECT_EQ((Ints{a.result, a.top, a.bottom}), (Ints{0, 0, 60}));
    }
    EXPECT_EQ(folder.files(), (Names{"proj_h.bmp", "proj_v.bmp"}));
    Field blank({40, 40});
    EXPECT_EQ(Amount(blank).result, -1);
    blank.size = {0, 40};
    EXPECT_EQ(Amount(blank, -1).result, -1);
}

/// Where position `p` goes; `ink` gives a column's ink, a negative number beyond the edges.
template <class Ink>
int movedPlainly(int p, Ink ink) {
    const auto weight = [&](int k) { return ink(k) < 0 ? 1 << 30 : ink(k); };
    int best = p;
    for (int k : {p, p - 2, p - 1, p + 1, p + 2}) {
        if (weight(k) == 0) return k;
        if (weight(k) < weight(best)) best = k;
    }
    return best;
}

TEST(Amount, PositionsMoveToTheLightestColumn) {
    const test::WorkingFolder folder;
    for (unsigned seed = 0; seed < 60; ++seed) {
        const Bytes rows = test::randomBytes(400, seed, seed % 2, 5 - seed % 2);
        // Up to four rows of ink are not yet a wave.
        Field field({400, 100});
        for (int x = 0; x < 400; ++x)
            field.add(x, 7 * (x % 9), 1, rows[size_t(x)]);
        const Ints bars = {7, 101, 391};
        field.addBars(bars);
        const auto ink = [&](int x) {
            if (x < 0 || x > 399) return -1;
            return std::count(bars.begin(), bars.end(), x) > 0 ? 255 : rows[size_t(x)] * 255 / 100;
        };
        Ints expected = {0, 17, 91, 246, 399};
        for (int& p : expected)
            p = movedPlainly(p, ink);
        EXPECT_EQ(Amount(field).positions, expected) << seed;
    }
}

TEST(Amount, BandAndFlag) {
    const test::WorkingFolder folder;
    const auto page = [] { return Field({800, 200}).addBars({120, 400, 700}); };
    const Field lower = page().add(200, 100, 40, 34), upper = page().add(300, 20, 40, 32);
    const auto withFlag = [](Field field) { return field.add(20, 115, 17, 12); };
    const std::tuple<Field, int, Ints> cases[] = {
        {Field(lower).add(300, 20, 40, 32), 200, {5, 100, 133, 200}},
        {upper, 200, {5, 20, 51, 200}},
        {page().add(200, 100, 40, 29).add(200, 20, 40, 37), 200, {5, 0, 200, 200}},
        // Its rows of the band are drawn last; the band that is no band is cut to the plane.
        {withFlag(lower), 200, {5, 100, 133, 34}},
        {withFlag(page()), 200, {5, 0, 200, 200}},
        // A flag in second place, too wide, or high enough for a mark is none.
        {withFlag(lower).add(2, 30, 3, 20), 200, {5, 100, 133, 200}},
        {Field(lower).add(20, 115, 20, 12), 200, {5, 100, 133, 200}},
        {withFlag(lower), 10, {7, 100, 133, 200}}};
    for (const auto& [field, minPeak, expected] : cases) {
        const Amount a(field, minPeak);
        EXPECT_EQ(a.result, 0);
        EXPECT_EQ((Ints{a.count, a.top, a.bottom, chartRows()}), expected);
    }
}

TEST(Amount, FlagWaves) {
    const test::WorkingFolder folder;
    const Ints cases[] = {{45, 3, 255, 1}, {49, 5, 201, 1}, {44, 3, 255, 0}, {50, 3, 255, 0},
                          {47, 6, 255, 0}, {47, 1, 255, 0}, {47, 2, 200, 0}, {47, 2, 201, 1}};
    for (const Ints& c : cases) {  // start, length, level, and whether it is found
        Bytes image(30 * 100);
        std::fill_n(image.begin() + c[0] * 30, c[1] * 30, (unsigned char)(c[2]));
        EXPECT_EQ(KelRecognitionOppFlag(image.data(), {30, 100}), c[3]) << c[0];
        EXPECT_EQ(chartRows(), 100);
    }
    std::filesystem::remove("proj_h.bmp");
    Bytes blank(100);
    EXPECT_EQ(KelRecognitionOppFlag(blank.data(), {10, 10}), 0);
    EXPECT_EQ(KelRecognitionOppFlag(nullptr, {10, 0}), 0);
    EXPECT_EQ(folder.files(), Names{});
}

}  // namespace
