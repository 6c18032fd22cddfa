// Coloured and neutral print told apart: each operation against its plain rule.
#include "colour_twin.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"

using test::area;
using test::Bytes;
using test::Guarded;
using test::Rgb;

namespace {

std::vector<kelSize> sizes() {
    std::vector<kelSize> all = test::awkwardSizes();
    all.insert(all.end(), {{2, 9}, {40, 3}, {97, 61}});
    return all;
}

int redness(Rgb p) {
    return static_cast<int>(p.r - (p.g + p.b) * 0.5);
}

Bytes whitened(const Bytes& image, const std::function<bool(Rgb)>& isWhite) {
    Bytes out = image;
    const Bytes white = test::eachPixel(image, isWhite);
    for (size_t i = 0; i < out.size(); ++i)
        if (white[i % white.size()]) out[i] = 255;
    return out;
}

/// The 3 by 3 means of a plane in its flat order; behind the last plane its last sample repeats.
Bytes plainMeans(const Bytes& image, kelSize size, size_t plane, bool keepBorder) {
    const size_t n = area(size), w = static_cast<size_t>(size.width);
    Bytes out(image.begin() + ptrdiff_t(plane * n), image.begin() + ptrdiff_t((plane + 1) * n));
    if (!keepBorder) out.assign(n, 0);
    for (int y = 1; n > 0 && y < size.height - 1; ++y)
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
    for (kelSize size : sizes()) {
        Bytes image = test::stampedPage(size).samples;
        Guarded out(image.size());
        EXPECT_EQ(KelEliminateRed(image.data(), out.data(), size), 0);
        const Bytes expected = whitened(image, [](Rgb p) { return redness(p) >= 60; });
        EXPECT_EQ(out.bytes(), expected);
        KelEliminateRed(image.data(), image.data(), size);
        EXPECT_EQ(image, expected);
    }
    Bytes edge = {159, 160, 160, 100, 100, 100, 100, 100, 101}, out(9);
    KelEliminateRed(edge.data(), out.data(), {3, 1});
    EXPECT_EQ(out, (Bytes{159, 255, 160, 100, 255, 100, 100, 255, 101}));
}

TEST(Colour, ReservedPrintIsLiftedAndBinarized) {
    for (kelSize size : sizes())
        for (double rate : {0.0, 1.0, 2.5, -1.5, -40.0, 1e300, -1e300}) {
            Bytes image = test::stampedPage(size).samples;
            Bytes work = test::eachPixel(
                image, [&](Rgb p) { return test::greySpread(p.r, p.g, p.b, rate); });
            Guarded out(area(size));
            if (area(size) > 0) KelBinarizeImage(work.data(), 1, work.data(), size, 0, 2, 0, 0, 0);
            EXPECT_EQ(KelSegImageReserveColor(image.data(), size, out.data(), rate), 0);
            EXPECT_EQ(out.bytes(), work) << rate;
        }
}

TEST(Colour, BinarizedByHueWithoutNeutralPrint) {
    for (kelSize size : sizes())
        for (std::array<int, 4> params :
             {std::array{0, 20, 90, 40}, {230, 30, 100, 0}, {120, 0, 100, -40}, {0, 0, 80, -250}})
            for (int channels : {3, 1, 0, -2}) {
                const int thres = params[3];
                Bytes image = test::stampedPage(size).samples, kept(area(size));
                KelSegImageReserveColor(image.data(), size, kept.data(), 1.0);
                size_t i = 0;
                Bytes expected = test::eachPixel(image, [&](Rgb p) {
                    if (kept[i++] == 0) p = {255, 255, 255};
                    return test::triangleAffinity(p, params[0], params[1] * 0.01, params[2] * 0.01);
                });
                if (!expected.empty())
                    KelBinarizeImage(expected.data(), 1, expected.data(), size, 0,
                                     thres >= 1 ? 1 : 6, thres >= 1 ? thres : 10,
                                     thres >= 1 ? 0 : -thres, 0);
                Guarded out(area(size));
                EXPECT_EQ(KelBinarizeColor(image.data(), size.width, size.height, channels,
                                           out.data(), params.data()),
                          0);
                EXPECT_EQ(out.bytes(), expected);
            }
}

TEST(Colour, NumberPrint) {
    for (kelSize size : sizes())
        for (auto [smooth, over, offset] :
             {std::array{0, 0, 0}, {1, 0, 0}, {-3, 60, 5}, {1, -500, -5}, {1, 500, 0}}) {
            Bytes image = test::stampedPage(size).samples, work = image;
            if (smooth != 0 && area(size) > 0)
                for (size_t c : {1U, 2U}) {
                    const Bytes means = plainMeans(image, size, c, true);
                    std::copy(means.begin(), means.end(), work.begin() + ptrdiff_t(c * area(size)));
                }
            work = whitened(work, [&, o = over, s = smooth](Rgb p) {
                return redness(p) > 30 ||
                       (s != 0 && (p.b - ((p.r + p.g) >> 1) < 30 || p.b - p.g < o));
            });
            Bytes expected(area(size));
            unsigned char level = 0;
            KelSegementImage_hsv(work.data(), size, expected.data(), 0.001, 250, 310, false, offset,
                                 &level, 9, smooth == 0 ? 5 : 7, 0, 3, 3, 10);
            Guarded out(area(size)), source(image);
            EXPECT_EQ(
                KelSegNumImageHSV(source.data(), size, out.data(), 1, 2, over, smooth, offset), 0);
            EXPECT_EQ(source.bytes(), image);
            if (area(size) > 0) {
                EXPECT_EQ(out.bytes(), expected) << ::testing::PrintToString(size) << smooth;
            }
        }
}

TEST(Colour, BlackInformation) {
    const std::array<double, 4> limits[] = {{10, 10, 10, 10},
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
                                            {std::nan(""), 1e300, 300, -1e300}};
    for (kelSize size : sizes())
        for (unsigned kind : {0U, 1U, 2U})
            for (const auto& l : limits) {
                // Noise over all levels, or a few neighbouring ones, which meet the limits exactly;
                // ramps a third of a level apart, which have every mean.
                const size_t n = area(size);
                Bytes image = test::randomBytes(3 * n, kind, 0, kind == 0 ? 256 : 40);
                for (size_t i = 0; kind == 2 && i < image.size(); ++i)
                    image[i] = static_cast<unsigned char>(
                        std::min<size_t>((i % n * 258 + i / n * n / 3) / n, 255));
                Bytes expected = image, means;
                for (size_t c = 0; c < 3; ++c)
                    for (unsigned char v : plainMeans(image, size, c, false))
                        means.push_back(v);
                const Bytes light = test::eachPixel(means, [&](Rgb p) {
                    const double m = (p.r + p.g + p.b) / 3.0;
                    const double r = std::abs(p.r - m), g = std::abs(p.g - m),
                                 b = std::abs(p.b - m);
                    if (!(r > l[0] || g > l[1] || b > l[2] || (r + g + b) / 3.0 > l[3])) return 0;
                    return static_cast<int>(m / 255 * 50 + 200);
                });
                for (size_t i = 0; i < image.size(); ++i)
                    if (light[i % n]) expected[i] = light[i % n];
                Guarded page(image);
                for (int channels : {1, 3}) {
                    EXPECT_EQ(
                        KelSegBlackInfoByColor(page.data(), size, channels, l[0], l[1], l[2], l[3]),
                        0);
                    EXPECT_EQ(page.bytes(), channels == 1 ? image : expected)
                        << l[0] << " " << l[3];
                }
            }
}

}  // namespace
