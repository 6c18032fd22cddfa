// The HSV family at every level of the row kernels, and the estimate of hue ranges.
#include "kel_ImageBasicProcess_hsv.h"

#include <limits>

#include "colour_twin.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"

using test::Bytes;
using test::Rgb;

namespace {

/// Every triple whose largest channel is one of a few, and all of one tie.
Bytes manyTriples() {
    std::vector<std::array<int, 3>> pixels;
    for (int most : {255, 254, 225, 191, 128, 97, 60, 31, 7, 3, 2, 1, 0})
        for (int a = 0; a <= most; ++a)
            for (int b = 0; b <= most; ++b)
                pixels.insert(pixels.end(), {{most, a, b}, {b, most, a}, {a, b, most}});
    return test::planesOf(pixels);
}

TEST(Hsv, GreyMapsEqualTheirRuleForManyTriples) {
    Bytes image = manyTriples();
    const kelSize size{static_cast<int>(image.size() / 3), 1};
    const std::pair<int, double> ends[] = {{0, 0},     {359, 1},   {240, 0.001}, {660, 0.5},
                                           {-77, 0.3}, {700, 0.5}, {17, 1.7},    {200, -0.9}};
    for (const auto& [hue, ratio] : ends) {
        const Bytes expected =
            test::eachPixel(image, [r = ratio, h = hue](Rgb p) { return test::affinity(p, r, h); });
        for (auto level : {kel::detail::CpuLevel::plain, kel::detail::CpuLevel::best}) {
            kel::detail::limitCpuLevel(level);
            test::Guarded out(expected.size());
            KelRgb2Grey_Hsv(image.data(), size, out.data(), ratio, hue);
            ASSERT_EQ(out.bytes(), expected) << hue;
        }
    }
    const std::tuple<int, double, double> windows[] = {
        {0, 0, 1}, {300, 0.25, 0.5}, {120, 0.5, 0.5}, {-400, 0.1, 0.9}, {60, 0.6, 0.4}};
    for (const auto& window : windows) {
        const auto [hue, low, high] = window;
        const Bytes expected = test::eachPixel(image, [&](Rgb p) {
            return std::apply([&](auto... w) { return test::triangleAffinity(p, w...); }, window);
        });
        test::Guarded out(expected.size());
        KelRgb2Grey_Hsv1(image.data(), size, out.data(), hue, low, high);
        ASSERT_EQ(out.bytes(), expected);
    }
}

TEST(Hsv, PointsFollowTheirRules) {
    const Bytes image = test::randomBytes(3 * 4000, 5, 0, 40);  // many ties
    for (size_t i = 0; i < 4000; ++i) {
        kelRGB rgb{image[i], image[4000 + i], static_cast<uint8_t>(image[8000 + i] * (i % 7))};
        const Rgb p{rgb.r, rgb.g, rgb.b};
        kelHSV hsv{}, ranged{};
        ASSERT_EQ(KelCvtRgb2HsvPoint(&rgb, &hsv) + KelCvtRgb2HsvPoint_CalRange(&rgb, &ranged), 0);
        const bool neutral = p.chroma() == 0;
        const double hue = neutral ? 0 : test::fullHue(p);
        const double s = neutral ? 0 : static_cast<double>(p.chroma()) / p.most();
        ASSERT_EQ(std::tuple(hsv.h, hsv.s, hsv.v), std::tuple(hue, s, p.most()));
        ASSERT_EQ(std::tuple(ranged.h, ranged.s, ranged.v),
                  std::tuple(neutral ? -1.0 : hue, s, p.most()));
        const int favoured = static_cast<int>(i % 360);
        const double ratio = static_cast<double>(i % 11) / 10;
        int d = static_cast<int>(hue - favoured);
        d += d < 0 ? 360 : 0;
        const int closeness = d <= 180 ? 180 - d : d - 180;
        const auto grey = [&](double v) {
            const double w = (v * ratio + (1 - ratio) * s) * 1.4167;
            return std::min(static_cast<int>(closeness * w + 0.5), 255);
        };
        ASSERT_EQ(KelCvtRgb2HsvPoint1(&rgb, ratio, favoured), neutral ? 0 : grey(p.most() / 255.0));
        ASSERT_EQ(KelTransHsv(&hsv, ratio, favoured), grey(p.most()));
    }
    // Bright pixels have no hue.
    kelRGB bright{226, 240, 250}, coloured[] = {{225, 240, 250}, {240, 225, 250}, {240, 250, 225}};
    kelHSV hsv{};
    KelCvtRgb2HsvPoint_CalRange(&bright, &hsv);
    EXPECT_EQ(std::tuple(hsv.h, hsv.s, hsv.v), std::tuple(-1.0, 24 / 250.0, 250));
    for (kelRGB& rgb : coloured) {
        KelCvtRgb2HsvPoint_CalRange(&rgb, &hsv);
        EXPECT_EQ(hsv.h, test::fullHue({rgb.r, rgb.g, rgb.b}));
    }
}

TEST(Hsv, NumbersOutOfAnyRangeAreSafe) {
    kelRGB red{200, 3, 2};
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (int hue : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        for (double odd : {std::nan(""), infinity, -infinity, 1e300, -1e300}) {
            kelHSV hsv{odd, 0.5, odd};
            for (int grey :
                 {KelCvtRgb2HsvPoint1(&red, odd, hue), KelTransHsv(&hsv, odd, hue),
                  KelCvtRgb2HsvPoint2(&red, hue, odd, odd), KelTransHsv2(&hsv, hue, 0.1, 0.9)})
                EXPECT_TRUE(grey >= 0 && grey <= 255);
            EXPECT_LE(KelCvtRgb2HsvPoint2(200, 3, 2, odd, hue), 255);
        }
}

using Numbers = std::vector<int>;
using Hues = std::vector<std::pair<int, int>>;  ///< of pixels, in degrees, and how many

/// The result, both ends, and whether they wrap and there is no colour; -5 where not written.
Numbers rangeOf(const Hues& hues, int greys, double blackRate = 0.5) {
    std::vector<std::array<int, 3>> pixels;
    for (auto [hue, many] : hues) {
        const int up = 40 + 3 * (hue % 60), down = 40 + 3 * (60 - hue % 60);
        const std::array<int, 3> table[] = {{220, up, 40},   {down, 220, 40}, {40, 220, up},
                                            {40, down, 220}, {up, 40, 220},   {220, 40, down}};
        pixels.insert(pixels.end(), size_t(many), table[hue / 60]);
    }
    pixels.insert(pixels.end(), size_t(greys), {90, 90, 90});
    Bytes samples = test::planesOf(pixels);
    const int count = static_cast<int>(pixels.size());
    int low = -5, high = -5;
    unsigned char wraps = 251, black = 251;
    double saturation = -1, value = -1;
    const int result = KelCalHsvRange(samples.data(), count, 120, 30, blackRate, &low, &high,
                                      &wraps, &black, &saturation, &value);
    const int coloured = count - greys;
    EXPECT_NEAR(saturation, coloured * (180 / 220.0) / count, 1e-12);
    EXPECT_NEAR(value, (coloured * 220.0 + greys * 90.0) / count, 1e-9);
    return {result, low, high, static_cast<signed char>(wraps), static_cast<signed char>(black)};
}

TEST(Hsv, RangesOfHue) {
    const auto about = [](int from, int to, int many) {
        Hues hues;
        for (int h = from; h <= to; ++h)
            hues.emplace_back((h + 360) % 360, many);
        return hues;
    };
    const std::tuple<Hues, int, Numbers> cases[] = {
        {about(200, 220, 5), 0, {0, 189, 231, 0, 0}},
        // A cell at a third of the peak: 33 of 100 is not below the edge, 32 is.
        {{{200, 100}, {201, 33}, {202, 32}}, 0, {0, 189, 212, 0, 0}},
        {about(95, 95, 9), 0, {0, 84, 106, 0, 0}},
        {about(100, 168, 4), 0, {0, 89, 179, 0, 0}},       // 90 wide with its margins
        {about(100, 169, 4), 0, {-1, 89, 180, 0, 0}},      // written all the same
        {about(91, 360 + 269, 1), 0, {-1, -5, -5, 0, 0}},  // down to 0 without an edge
        // The turned axis has 361 cells, and the one between 359 and 0 degrees is always empty.
        {about(0, 0, 9), 0, {0, 10, 349, 1, 0}},
        {about(-12, 8, 3), 0, {0, 18, 349, 1, 0}},
        {about(30, 40, 3), 0, {0, 18, 50, 0, 0}},
        {about(2, 6, 3), 0, {0, 0, 16, 0, 0}},
        {about(300, 340, 2), 0, {0, 288, 350, 0, 0}},
        {about(345, 356, 2), 0, {0, 333, 360, 0, 0}},
        {about(10, 78, 2), 0, {0, 0, 88, 0, 0}},  // 90 wide with its margins
        {about(10, 79, 2), 0, {-1, -5, -5, -5, 0}},
        {about(0, 180, 2), 0, {-1, -5, -5, -5, 0}},
        {about(200, 220, 5), 104, {0, 189, 231, 0, 0}},
        {about(200, 220, 5), 106, {0, -5, -5, -5, 1}},
        {{}, 4, {0, -5, -5, -5, 1}}};
    for (const auto& [hues, greys, expected] : cases)
        EXPECT_EQ(rangeOf(hues, greys), expected) << (hues.empty() ? -1 : hues[0].first);
    EXPECT_EQ(rangeOf({}, 4, 1.0)[0], -1);  // no hue at all
}

}  // namespace
