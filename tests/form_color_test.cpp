// The colour of form rules: refusals, which lines count, the strips along them, merged hue ranges.
#include <opencv2/imgproc.hpp>

#include <climits>

#include "colour_twin.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "kel_PatternAnalysis_internal.h"

using kel::detail::FormLines;
using test::Bytes;

namespace {

using Ints = std::vector<int>;
constexpr double kValueLimit = 60, kChromaLimit = 40, kBlackRate = 0.4;

struct Range {
    kel::detail::HueRequest request() {
        return {kValueLimit, kChromaLimit, kBlackRate, &low, &high, &wraps, &isBlack, &sat, &value};
    }
    auto fields() const { return std::tuple(low, high, int{wraps}, int{isBlack}, sat, value); }
    int low = -7, high = -7;
    unsigned char wraps = 77, isBlack = 77;
    double sat = -7, value = -7;
};

TEST(FormColour, PagesThatCountAsBlackAndPagesWithoutLines) {
    const kelSize size{300, 200};
    test::Image form = test::stampedPage(size);
    const auto call = [&](int channels, int dpi, Range& r) {
        return KelCalFormColor(form.samples.data(), size, channels, dpi, kValueLimit, kChromaLimit,
                               kBlackRate, &r.isBlack, &r.low, &r.high, &r.wraps, &r.sat, &r.value,
                               "name");
    };
    const Bytes before = form.samples;
    for (auto [channels, dpi, isBlack] :
         {std::tuple{1, 200, 1}, {3, 29, 1}, {3, -5, 1}, {3, 200, 0}, {3, 300, 0}, {3, 30, 0}}) {
        Range r, expected;
        expected.isBlack = static_cast<unsigned char>(isBlack);
        EXPECT_EQ(call(channels, dpi, r), isBlack == 1 ? 0 : -4);
        EXPECT_EQ(r.fields(), expected.fields()) << channels << " " << dpi;
    }
    EXPECT_EQ(form.samples, before);
}

TEST(FormColour, LinesNearTheEdgesAreDropped) {
    const std::tuple<Ints, double, int, Ints> cases[] = {
        {{0, 19, 20, 50, 80, 81, 99}, 1.0, 100, {20, 50, 80}},
        {{13, 14, 33}, 1.5, 69, {21, 49}},
        {{3, 12, 95}, 1.0, 100, {}},
        {{5, 10, 15}, 1.0, 30, {}},  // at both edges at once
        {{}, 1.0, 100, {}}};
    for (auto [lines, factor, extent, expected] : cases) {
        const int count =
            kel::detail::keepInnerLines(lines.data(), int(lines.size()), factor, extent);
        lines.resize(size_t(std::max(count, 0)));
        EXPECT_EQ(lines, expected);
    }
}

TEST(FormColour, StripsAlongLines) {
    const kelSize size{420, 260};
    test::Image form = test::stampedPage(size);
    struct Case {
        Ints rows, columns;
        int smallWidth, left, right;  ///< what columns mean
        int lines, lastRows, result;  ///< lines taken, rows of the last strip
    };
    for (const Case& c : {
             Case{{40, 80, 120}, {}, 280, 168, 252, 3, 3, 0},
             Case{{40, 80}, {30, 99, 300}, 280, 30, 300, 2, 3, 0},
             Case{{41}, {140}, 280, 0, 140, 1, 3, 0}, Case{{41}, {230}, 280, 30, 230, 1, 3, 0},
             Case{{41}, {139}, 280, 139, 279, 1, 3, 0},
             Case{{41, 121}, {60}, 280, 60, 260, 2, 3, 0},
             Case{{41, 121}, {0, 419}, 280, 0, 419, 2, 3, 0},
             Case{{41, 121}, {350, 419}, 280, 350, 419, 2, 3, 0},
             Case{{40, 259}, {}, 420, 168, 252, 2, 2, 0},      // cut by the page's lower edge
             Case{{40, 261}, {}, 420, 168, 252, 0, 0, -3},     // beyond it: nothing counts
             Case{{0, 40}, {}, 420, 168, 252, 2, 3, 0},        // moved down by one row
             Case{{40}, {300, 300}, 280, 300, 300, 0, 0, -3},  // no column left
         }) {
        const int width = int((c.right - c.left + 1) * 0.5), x0 = int(width * 0.4 + c.left);
        const int inside = std::min(width, size.width - x0);
        const bool whole = c.lastRows == 3;
        Bytes stacked;
        for (int plane = 0; plane < 3; ++plane)
            for (int i = 0; i < c.lines; ++i)
                for (int k = 0; k < (i + 1 == c.lines ? c.lastRows : 3); ++k)
                    for (int x = 0; x < (whole ? width : inside); ++x)
                        stacked.push_back(
                            x < inside
                                ? form.at(plane, std::max(c.rows[size_t(i)] - 1, 0) + k, x0 + x)
                                : 0);
        Range expected, r;
        if (c.result == 0)
            KelCalHsvRange(stacked.data(), int(stacked.size() / 3), kValueLimit, kChromaLimit,
                           kBlackRate, &expected.low, &expected.high, &expected.wraps,
                           &expected.isBlack, &expected.sat, &expected.value);
        const FormLines lines{c.rows.data(), int(c.rows.size()), c.columns.data(),
                              int(c.columns.size())};
        EXPECT_EQ(kel::detail::formColourAlong(form.samples.data(), size, c.smallWidth, lines,
                                               r.request()),
                  c.result);
        EXPECT_EQ(r.fields(), expected.fields()) << c.rows[0] << " " << c.left;
    }
}

TEST(FormColour, MergedRanges) {
    const Ints cases[] = {
        // low, high and wrap of both, and of what they make
        {10, 20, 0, 30, 40, 0, 10, 40, 0},    {10, 20, 5, 5, 15, 5, 5, 20, 5},
        {20, 180, 0, 300, 30, 1, 300, 20, 1}, {40, 200, 0, 300, 30, 1, 300, 30, 1},
        {20, 100, 0, 300, 30, 1, 300, 30, 1}, {20, 179, 0, 30, 300, 1, 300, 300, 1},
        {300, 30, 1, 20, 180, 0, 300, 20, 1}, {300, 30, 1, 20, 179, 0, 300, 30, 1},
        {30, 9, 1, 20, 100, 0, 100, 9, 1},    {20, 180, 0, 30, 300, 1, 30, 20, 1}};
    for (const Ints& c : cases) {
        int low = -7, high = -7;
        unsigned char wrap = 77;
        overOper(c[0], c[1], char(c[2]), c[3], c[4], char(c[5]), &low, &high, &wrap);
        EXPECT_EQ((Ints{low, high, wrap}), Ints(c.begin() + 6, c.end())) << c[0] << " " << c[1];
    }
}

TEST(FormColour, Rectangles) {
    kelSegInfo seg, other(1, 2, 3, 4, 3, 0.5);
    EXPECT_EQ((Ints{seg.x, seg.y, seg.width, seg.height, seg.channels}), (Ints{0, 0, 0, 0, 1}));
    seg.copy(other);
    other.setValue(9, 8, 7, 6, 1, -1.5);
    EXPECT_EQ((Ints{seg.x, seg.y, seg.width, seg.height, seg.channels}), (Ints{1, 2, 3, 4, 3}));
    EXPECT_EQ(other.x + seg.value + other.value, 9 + 0.5 - 1.5);
}

}  // namespace
