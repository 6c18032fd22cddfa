// Coloured and neutral print told apart: each operation against its plain rule.
#include "enhance_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"

using namespace test;

namespace {

int redness(Rgb p) {
    return static_cast<int>(p.r - (p.g + p.b) * 0.5);
}

Bytes whitened(const Bytes& image, const std::function<bool(Rgb)>& isWhite) {
    Bytes out = image;
    const Bytes white = eachPixel(image, isWhite);
    for (size_t i = 0; i < out.size(); ++i)
        if (white[i % white.size()]) out[i] = 255;
    return out;
}

/// The 3 by 3 means of a plane in its flat order; behind the last plane its last sample repeats.
Bytes plainMeans(const Bytes& image, kelSize size, size_t plane, bool keepBorder) {
    const size_t n = area(size), w = static_cast<size_t>(size.width);
    Bytes out(image.begin() + ptrdiff_t(plane * n), image.begin() + ptrdiff_t((plane + 1) * n));
    if (!keepBorder) out.assign(n, 0);
    for (int y = 1; y < size.height - 1; ++y)
        for (size_t x = 1; x < w; ++x) {
            const size_t at = plane * n + static_cast<size_t>(y) * w + x;
            int sum = 0;
            for (size_t row : {at - w, at, at + w})
                for (size_t k : {row - 1, row, row + 1})
                    sum += image[std::min(k, image.size() - 1)];
            out[at - plane * n] = static_cast<unsigned char>(sum / 9);
        }
    return out;
}

TEST(Colour, RedIsEliminated) {
    compare(
        "red", kStamped, [](auto s, auto d, auto z) { EXPECT_EQ(KelEliminateRed(s, d, z), 0); },
        [](const Bytes& s, auto, auto) {
            return whitened(s, [](Rgb p) { return redness(p) >= 60; });
        });
    Bytes edge = {159, 160, 160, 100, 100, 100, 100, 100, 101}, out(9);
    KelEliminateRed(edge.data(), out.data(), {3, 1});
    EXPECT_EQ(out, (Bytes{159, 255, 160, 100, 255, 100, 100, 255, 101}));
}

constexpr Takes kStampedToGrey{3, 1, false, Content::stamped, {97, 61}};

TEST(Colour, ReservedPrintIsLiftedAndBinarized) {
    for (double rate : {0.0, 1.0, 2.5, -1.5, -40.0, 1e300, -1e300})
        compare(
            "reserved", kStampedToGrey,
            [=](auto s, auto d, auto z) { EXPECT_EQ(KelSegImageReserveColor(s, z, d, rate), 0); },
            [=](const Bytes& s, auto z, auto) {
                Bytes work = eachPixel(s, [&](Rgb p) { return greySpread(p.r, p.g, p.b, rate); });
                KelBinarizeImage(work.data(), 1, work.data(), z, 0, 2, 0, 0, 0);
                return work;
            });
}

TEST(Colour, BinarizedByHueWithoutNeutralPrint) {
    for (std::array<int, 4> params :
         {std::array{0, 20, 90, 40}, {230, 30, 100, 0}, {120, 0, 100, -40}, {0, 0, 80, -250}})
        for (int channels : {3, 1, 0, -2})
            compare(
                "by hue", kStampedToGrey,
                [&](auto s, auto d, auto z) {
                    EXPECT_EQ(KelBinarizeColor(s, z.width, z.height, channels, d, params.data()),
                              0);
                },
                [&](Bytes s, auto z, Bytes out) {
                    const auto [hue, low, high, thres] = params;
                    KelSegImageReserveColor(s.data(), z, out.data(), 1.0);
                    for (size_t i = 0; i < s.size(); ++i)
                        if (out[i % out.size()] == 0) s[i] = 255;
                    out = eachPixel(s, [=, h = hue, l = low, m = high](Rgb p) {
                        return triangleAffinity(p, h, l * 0.01, m * 0.01);
                    });
                    KelBinarizeImage(out.data(), 1, out.data(), z, 0, thres >= 1 ? 1 : 6,
                                     thres >= 1 ? thres : 10, thres >= 1 ? 0 : -thres, 0);
                    return out;
                });
}

TEST(Colour, NumberPrint) {
    for (std::array<int, 3> settings :
         {std::array{0, 0, 0}, {1, 0, 0}, {-3, 60, 5}, {1, -500, -5}, {1, 500, 0}})
        compare(
            "number", kStampedToGrey,
            [&](auto s, auto d, auto z) {
                const auto [smooth, over, offset] = settings;
                EXPECT_EQ(KelSegNumImageHSV(s, z, d, 1, 2, over, smooth, offset), 0);
            },
            [&](const Bytes& s, auto z, Bytes out) {
                const int smooth = settings[0], over = settings[1], offset = settings[2];
                Bytes work = s;
                for (size_t c = 1; smooth != 0 && c < 3; ++c) {
                    const Bytes means = plainMeans(s, z, c, true);
                    std::copy(means.begin(), means.end(), work.begin() + ptrdiff_t(c * area(z)));
                }
                work = whitened(work, [&](Rgb p) {
                    return redness(p) > 30 ||
                           (smooth != 0 && (p.b - ((p.r + p.g) >> 1) < 30 || p.b - p.g < over));
                });
                unsigned char level = 0;
                KelSegementImage_hsv(work.data(), z, out.data(), 0.001, 250, 310, false, offset,
                                     &level, 9, smooth == 0 ? 5 : 7, 0, 3, 3, 10);
                return out;
            });
}

TEST(Colour, BlackInformation) {
    const double limits[][4] = {{10, 10, 10, 10},
                                {20, 255, 255, 300},
                                {300, 300, 300, 12},
                                {8.5, 9.7, 1e-9, 3},
                                {31 / 3.0, 9, 9, 9},
                                {9, 9, 9, 70 / 9.0},
                                {-1, 5, 5, 5},
                                {-0.2, 300, 300, 300},
                                {0, 0, 0, 0},
                                {9, 9 - 1e-12, 9 + 1e-12, 9},
                                {300, 300, 300, 6 - 1e-12},
                                {NAN, 1e300, 300, -1e300}};
    // Noise over all levels, or a few neighbouring ones, which meet the limits exactly; ramps a
    // third of a level apart, which have every mean.
    const auto source = [](unsigned kind, size_t n) {
        Bytes image = randomBytes(3 * n, kind, 0, kind == 0 ? 256 : 40);
        for (size_t i = 0; kind == 2 && i < image.size(); ++i)
            image[i] = static_cast<unsigned char>(
                std::min<size_t>((i % n * 258 + i / n * n / 3) / n, 255));
        return image;
    };
    for (unsigned kind : {0U, 1U, 2U})
        for (const auto& l : limits)
            for (int channels : {1, 3})
                compare(
                    "black", {1, 3, false, Content::noise, {97, 61}},
                    [&](auto, auto d, auto z) {
                        const Bytes image = source(kind, area(z));
                        if (area(z) > 0) std::copy(image.begin(), image.end(), d);
                        EXPECT_EQ(KelSegBlackInfoByColor(d, z, channels, l[0], l[1], l[2], l[3]),
                                  0);
                    },
                    [&](auto, auto z, auto) {
                        Bytes image = source(kind, area(z)), means;
                        for (size_t c = 0; c < 3; ++c)
                            for (unsigned char v : plainMeans(image, z, c, false))
                                means.push_back(v);
                        const Bytes light = eachPixel(means, [&](Rgb p) {
                            const double m = (p.r + p.g + p.b) / 3.0, r = std::abs(p.r - m),
                                         g = std::abs(p.g - m), b = std::abs(p.b - m);
                            const bool isColoured =
                                r > l[0] || g > l[1] || b > l[2] || (r + g + b) / 3.0 > l[3];
                            return isColoured ? static_cast<int>(m / 255 * 50 + 200) : 0;
                        });
                        for (size_t i = 0; channels == 3 && i < image.size(); ++i)
                            if (light[i % area(z)]) image[i] = light[i % area(z)];
                        return image;
                    });
}

}  // namespace
