// Point operations, sensor calibration, products and sharpening against the plain rules: on awkward
// sizes, with every level of the row kernels, guard bytes round the target, in place where that is
// allowed.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "cis_calibration.h"
#include "enhance_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"

using namespace test;

namespace {

constexpr int kEnds[] = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};

/// Shifts `count` samples to a mean of `target`, into others that may be some of them.
void shiftToMean(Bytes& samples, size_t from, size_t to, size_t count, int target) {
    const auto begin = samples.begin() + ptrdiff_t(from);
    const Bytes before(begin, begin + ptrdiff_t(count));
    const double mean = std::accumulate(before.begin(), before.end(), 0.0) / double(count);
    for (size_t i = 0; i < count; ++i)
        samples[to + i] = sampleOf(before[i] + std::trunc(target - mean));
}

double curveAt(double x, int knee, int target) {
    if (x <= knee) return x * (double(target) / knee);
    const double a = (target / 255.0 - 1) / ((knee / 255.0 - 1) * (knee / 255.0 - 1));
    return x * a * (-2) + (a / 255) * x * x + (a + 1) * 255;
}

Bytes curveOnColour(const Bytes& src, int knee, int target) {
    const size_t n = src.size() / 3;
    Bytes out(src.size());
    for (size_t i = 0; i < n; ++i) {
        const double R = src[i], G = src[n + i], B = src[2 * n + i];
        const double Y2 = curveAt(R * 0.299 + G * 0.587 + B * 0.114, knee, target);
        const double V = R * 0.5 - G * 0.419 - B * 0.081 + 128.0 - 128.0;
        const double U = R * (-0.169) - G * 0.331 + B * 0.5 + 128.0 - 128.0;
        out[i] = sampleOf(Y2 + V * 1.13983);
        out[n + i] = sampleOf(Y2 - U * 0.39465 - V * 0.5806);
        out[2 * n + i] = sampleOf(Y2 + U * 2.03211);
    }
    return out;
}

Bytes gammaCorrected(const Bytes& src, double gamma) {
    const double m = src.empty() ? 0 : *std::max_element(src.begin(), src.end());
    return mapped(src, [=](int v) { return m > 0 ? std::pow(v / m, 1.0 / gamma) * m : v; });
}

Bytes calibrated(const Bytes& src, kelSize s, bool hdp) {
    const Plain p(src, s);
    return eachSample(s, 3, [&](int c, int y, int x) {
        const auto P = [&](int dy, int dx) { return p.at(c, y + dy, x + dx); };
        if (!p.inside(y, x)) return P(0, 0);
        if (c == 0)
            return hdp ? (P(0, -1) + P(0, 0)) / 2
                       : (3 * P(0, -1) + 3 * P(0, 0) + P(-1, -1) + P(-1, 0)) / 8;
        if (c == 1) return hdp ? P(0, 0) : (P(0, 0) + P(-1, 0)) / 2;
        return hdp ? (P(0, -1) + P(0, 0) + P(-1, -1) + P(-1, 0)) / 4
                   : (P(0, -1) + P(0, 0) + 3 * P(-1, -1) + 3 * P(-1, 0)) / 8;
    });
}

Bytes laplace(const Bytes& src, kelSize s, int planes, bool eight, double strength) {
    const Plain p(src, s);
    return eachSample(s, planes, [&](int c, int y, int x) -> double {
        const auto P = [&](int dy, int dx) { return p.at(c, y + dy, x + dx); };
        if (!p.inside(y, x)) return 255;
        const int sum = eight ? P(-1, -1) + P(-1, 0) + P(-1, 1) - 7 * P(0, -1) + P(0, 1) +
                                    2 * P(1, -1) + P(1, 1)
                              : P(-1, 0) + P(-1, 1) - 3 * P(0, -1) + P(0, 1) + P(1, -1);
        return P(0, 0) - sum * strength;
    });
}

/// Where the mask is set, red becomes white, and so do green and blue unless one of them is light.
Bytes whitenedDark(const Bytes& a, const Bytes& mask) {
    Bytes out = a;
    const size_t n = mask.size();
    for (size_t i = 0; i < a.size(); ++i) {
        const bool isLight = a[n + i % n] > 219 || a[2 * n + i % n] > 219;
        if (mask[i % n] == 255 && (i < n || !isLight)) out[i] = 255;
    }
    return out;
}

TEST(Enhance, Brightness) {
    for (const int delta : {-256, -255, -100, -1, 0, 1, 77, 255, 256, kEnds[0], kEnds[1]})
        compare(
            "shift", kPlane, [=](auto s, auto d, auto z) { KelChangeBright(s, d, z, delta); },
            [=](const Bytes& s, auto, auto) {
                return mapped(s, [=](int v) { return v + double(delta); });
            });
    const int modes[][3] = {
        {100, 128, 131}, {999, -5, 0}, {kEnds[0], kEnds[1], 200}, {0, 255, 127}};
    for (const auto& m : modes)
        compare(
            "means", kColour,
            [&](auto s, auto d, auto z) { KelChangeBrightRGB(s, d, z, m[0], m[1], m[2]); },
            [&](Bytes s, auto z, auto) {
                for (size_t c = 0; c < 3; ++c)
                    shiftToMean(s, c * area(z), c * area(z), area(z), m[c]);
                return s;
            });
    const std::pair<int, int> curves[] = {{1, 2}, {60, 120},  {128, 129}, {100, 255}, {254, 255},
                                          {0, 9}, {255, 256}, {9, 9},     {9, 256},   {90, 80}};
    for (const int mode : {1000, 1001, 1002, 1003, 1004, kEnds[1]})
        for (const auto& curve : curves) {
            const int knee = curve.first, target = curve.second;
            const bool acts = mode % 2 == 1 && mode <= 1003 && knee > 0 && knee < 255 &&
                              target < 256 && knee < target;
            compare(
                "curve", mode == 1001 ? Takes{1, 1, acts} : Takes{3, 3, acts},
                [=](auto s, auto d, auto z) { KelChangeBrightRGB(s, d, z, mode, knee, target); },
                [=](const Bytes& s, auto, const Bytes& d) {
                    if (!acts) return d;
                    if (mode == 1003) return curveOnColour(s, knee, target);
                    return mapped(s, [=](int v) { return curveAt(v, knee, target); });
                });
        }
    for (const double gamma : {0.45, 1.0, 2.2, 0.0, -1.0, 1e300}) {
        compare(
            "gamma", kPlane, [=](auto s, auto d, auto z) { KelGammaCorrect(s, d, z, gamma); },
            [=](const Bytes& s, auto, auto) { return gammaCorrected(s, gamma); });
        compare(
            "other gamma", kPlane,
            [=](auto s, auto d, auto z) { KelAntiGammaCorrect(s, d, z, gamma); },
            [=](const Bytes& s, auto, auto) {
                return mapped(s, [=](int v) { return std::pow(v / 255.0, gamma) * 255.0; });
            });
    }
    Bytes dark(300), out(300, 7);
    KelGammaCorrect(dark.data(), out.data(), {20, 15}, 2.0);
    EXPECT_EQ(out, dark);
    Bytes noise = randomBytes(1000, 3), moved = noise;
    EXPECT_EQ(KelBrightAver(noise.data(), {10, 100}),
              std::accumulate(noise.begin(), noise.end(), 0.0) / 1000);
    // Over samples that are still to be read: one by one, or plane by plane as each stands.
    for (const size_t shift : {1, 5, 40}) {
        for (size_t i = 0; i < 300; ++i)
            noise[i + shift] = sampleOf(noise[i] + 3);
        KelChangeBright(moved.data(), moved.data() + shift, {6, 50}, 3);
        for (size_t from = 0; from < 900; from += 300)
            shiftToMean(noise, from, from + shift, 300, 90);
        KelChangeBrightRGB(moved.data(), moved.data() + shift, {6, 50}, 90, 90, 90);
        EXPECT_EQ(moved, noise) << shift;
    }
    EXPECT_EQ(KelBrightAver(dark.data(), {0, 3}), 0.0);
    const int greys[][4] = {
        {255, 0, 0, 78}, {0, 255, 0, 106}, {0, 0, 255, 63}, {-4, 0, 0, -1}, {255, 255, 255, 249}};
    for (const auto& [r, g, b, grey] : greys)
        EXPECT_EQ(KelRgb2Grey(r, g, b), grey);
}

TEST(Enhance, CalibrationAndSharpening) {
    for (const bool hdp : {false, true})
        compare(
            "CIS", kColour,
            [=](auto s, auto d, auto z) {
                (hdp ? KelCISColorCalibrateHDPColor : KelCISColorCalibrate)(s, d, z.width,
                                                                            z.height);
            },
            [=](const Bytes& s, auto z, auto) { return calibrated(s, z, hdp); });
    for (const double strength :
         {0.0, 0.3, 0.7, -2.05, 0.07, 1.0 / 3, 250.0, -251.0, 1e-20, 1e300, std::nan("")})
        for (const int planes : {1, 2, 3})
            for (const bool eight : {false, true})
                compare(
                    eight ? "Laplace8" : "Laplace4",
                    {planes, planes, true, Content::noise, {600, planes == 2 ? 0 : 400}},
                    [=](auto s, auto d, auto z) {
                        (eight ? KelLaplace8 : KelLaplace4)(s, d, z, planes, strength);
                    },
                    [=](const Bytes& s, auto z, auto) {
                        return laplace(s, z, planes, eight, strength);
                    });
}

/// The source holds the planes of the first image and behind them those of the second.
TEST(Enhance, ProductsAndRemovals) {
    for (const int first : {1, 3, 2})
        for (const int second : {1, 3, 2})
            for (const int target : {1, 2, 3, 4})
                for (const bool product : {true, false}) {
                    const int larger = std::max(first, second);
                    const bool fits = product ? target >= larger : target == larger;
                    const bool paired = first == second || first + second == 4;
                    const Content kind = target < 2 ? Content::noise : Content::flagged;
                    compare(
                        "product",
                        {first + second, target, false, kind, {target < 2 ? 700 : 0, 700}},
                        [=](auto s, auto d, auto z) {
                            EXPECT_EQ(
                                (product ? KelHadamardImage1 : KelHadamardImage2)(
                                    s, first, s + size_t(first) * area(z), second, d, target, z),
                                fits ? (paired ? 0 : -2) : -1);
                        },
                        [=](const Bytes& s, auto z, Bytes d) {
                            const size_t n = area(z), b0 = size_t(first) * n;
                            for (size_t i = 0; fits && paired && i < n * size_t(larger); ++i) {
                                const int a = s[first == 1 ? i % n : i];
                                const int b = s[b0 + (second == 1 ? i % n : i)];
                                d[i] = sampleOf(product ? a * b / 255.0 : b == 255 ? 255 : a);
                            }
                            return d;
                        });
                }
    compare(
        "whitened dark", {4, 3, false, Content::flagged},
        [](auto s, auto d, auto z) { KelHadamardImage3(s, s + 3 * area(z), d, z); },
        [](const Bytes& s, auto z, auto) {
            const auto mask = s.begin() + ptrdiff_t(3 * area(z));
            return whitenedDark(Bytes(s.begin(), mask), Bytes(mask, s.end()));
        });
    const kelSize size{40, 3};
    Bytes shared = content(Content::flagged, {40, 13}, 1), one = shared;  // pixel by pixel
    KelHadamardImage3(shared.data(), shared.data() + 383, shared.data() + 17, size);
    for (size_t i = 0; i < 120; ++i) {
        const Bytes out = whitenedDark({one[i], one[i + 120], one[i + 240]}, {one[i + 383]});
        for (const size_t c : {0, 1, 2})
            one[i + 17 + 120 * c] = out[c];
    }
    EXPECT_EQ(shared, one);
    for (const char channel : {'R', 'G', 'B', 'r', '\0'})
        for (const bool third : {false, true})
            for (const int method : {1, 2, 6}) {
                const size_t plane = channel == 'G' ? 1 : channel == 'B' ? 2 : 0;
                const bool known = channel == "RGB"[plane];
                compare(
                    "removal", {3, 3, known, Content::flagged},
                    [=](auto s, auto d, auto z) {
                        const auto call = third ? KelEliminateChannel2 : KelEliminateChannel1;
                        EXPECT_EQ(call(s, d, z, channel, method, 20, 160, 180),
                                  known ? 0 : (third ? -1 : -2));
                    },
                    [=](const Bytes& s, auto z, const Bytes& d) {
                        if (!known) return d;
                        Bytes mask(s.begin() + ptrdiff_t(plane * area(z)), s.end()), out = s;
                        mask.resize(area(z));
                        KelBinarizeImage(mask.data(), 1, mask.data(), z, 0, method, 20, 160, 180);
                        if (third) return whitenedDark(s, mask);
                        for (size_t i = 0; i < out.size(); ++i)
                            if (mask[i % mask.size()] == 255) out[i] = 255;
                        return out;
                    });
            }
}
/// Both zones cut out, resized and stacked with the calls of the definition.
Bytes stackedZones(Bytes src, kelSize size, int channels, const int (&rows)[2],
                   const int (&scaled)[2]) {
    Bytes zones[2], out;
    for (int z = 0; z < 2; ++z) {
        const kelSize from{size.width, rows[z]}, to{size.width, scaled[z]};
        Bytes part(area(from) * size_t(channels));
        zones[z].resize(area(to) * size_t(channels));
        CvRect rect = cvRect(0, z == 0 ? 0 : rows[0], size.width, rows[z]);
        KelCopySubImage(src.data(), size, part.data(), from, channels, &rect);
        if (!zones[z].empty()) KelResizeImage(part.data(), from, zones[z].data(), to, channels, 2);
    }
    for (int c = 0; c < channels; ++c)
        for (const Bytes& zone : zones) {
            const auto plane = ptrdiff_t(zone.size()) / channels;
            out.insert(out.end(), zone.begin() + c * plane, zone.begin() + (c + 1) * plane);
        }
    return out;
}

TEST(Enhance, CalibrationOfA4) {
    const struct {
        int split;
        double top, bottom;
    } cases[] = {{40, 1.0, 1.0}, {90, 1.013, 0.97}, {0, 3.0, 1.5},   {33, 0.0, 2.0},
                 {33, 2.0, 0.0}, {1, 0.9, 1.0},     {50, -1.0, 0.5}, {-7, 1.0, 1.0}};
    for (const int channels : {1, 3})
        for (const auto& c : cases) {
            const kelSize size{67, 100};
            Bytes src = content(Content::noise, size, channels);
            unsigned char* out = nullptr;
            kelSize outSize{};
            ASSERT_EQ(KelCalibrationA4(src.data(), size, &out, &outSize, channels, c.split, c.top,
                                       c.bottom),
                      0);
            const int top = std::max(c.split, 0), bottom = 100 - top;
            const int scaled[] = {std::max(int(top * c.top), 0), int(bottom * c.bottom)};
            ASSERT_EQ(outSize.height, scaled[0] + scaled[1]) << c.split;
            EXPECT_EQ(Bytes(out, out + area(outSize) * size_t(channels)),
                      stackedZones(src, size, channels, {top, bottom}, scaled))
                << c.split << " " << c.top;
            Kel_ReleaseImage(out);
        }
    Bytes src(300);
    unsigned char* out = src.data();
    kelSize outSize{5, 6};
    const double refused[][4] = {{3, 100, 91, 1},
                                 {3, 100, 90, 1e9},
                                 {3, 9, 0, 1},
                                 {-3, 100, 10, 1},
                                 {3, -2147483648.0, 0, 1}};
    for (const auto& [w, h, split, scale] : refused)
        EXPECT_EQ(
            KelCalibrationA4(src.data(), {int(w), int(h)}, &out, &outSize, 1, int(split), scale, 1),
            -1);
    EXPECT_TRUE(out == src.data() && outSize.width == 5 && outSize.height == 6);
}

}  // namespace
