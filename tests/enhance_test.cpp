// Enhancement against the plain rules: every operation on awkward sizes, with every level of the
// row kernels, guard bytes round its target, in place where that is allowed.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numeric>

#include "cis_calibration.h"
#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"
#include "kernels/row_kernels.h"
#include "support.h"

using test::area;
using test::Bytes;
using test::Guarded;
using Sample = unsigned char;

namespace {

int clamped(double v) {
    return v < 0 ? 0 : v > 255 ? 255 : v >= 0 ? static_cast<int>(v) : 0;
}

Sample sampleOf(double v) {
    return static_cast<Sample>(clamped(v));
}

/// One plane or more with coordinates, outside which there is `outside`.
struct Plain {
    Plain(const Bytes& samples, kelSize size) : all(samples), s(size) {}
    int at(int c, int y, int x, int outside = 0) const {
        if (x < 0 || y < 0 || x >= s.width || y >= s.height) return outside;
        return all[size_t(c) * area(s) + size_t(y) * size_t(s.width) + size_t(x)];
    }
    bool inside(int y, int x) const {
        return y > 0 && x > 0 && y < s.height - 1 && x < s.width - 1;
    }
    const Bytes& all;
    kelSize s;
};

/// Calls rule(plane, y, x) for each sample of `planes` planes.
template <class Rule>
Bytes eachSample(kelSize s, int planes, Rule rule) {
    Bytes out;
    for (int c = 0; c < planes; ++c)
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                out.push_back(sampleOf(rule(c, y, x)));
    return out;
}

template <class Rule>
Bytes mapped(Bytes samples, Rule rule) {
    for (auto& v : samples)
        v = sampleOf(rule(v));
    return samples;
}

Bytes shiftedToMeans(Bytes src, kelSize s, const int (&targets)[3]) {
    for (size_t c = 0, n = area(s); c < 3 && n > 0; ++c) {
        const auto begin = src.begin() + ptrdiff_t(c * n), end = begin + ptrdiff_t(n);
        double sum = 0;
        std::for_each(begin, end, [&](Sample v) { sum += v; });
        const double shift = std::trunc(targets[c] - sum / double(n));
        std::for_each(begin, end, [&](Sample& v) { v = sampleOf(v + shift); });
    }
    return src;
}

double curve(double x, int knee, int target) {
    if (x <= knee) return x * (double(target) / knee);
    const double a = (target / 255.0 - 1) / ((knee / 255.0 - 1) * (knee / 255.0 - 1));
    return x * a * (-2) + (a / 255) * x * x + (a + 1) * 255;
}

Bytes curveOnColour(const Bytes& src, int knee, int target) {
    const size_t n = src.size() / 3;
    Bytes out(src.size());
    for (size_t i = 0; i < n; ++i) {
        const double R = src[i], G = src[n + i], B = src[2 * n + i];
        const double Y2 = curve(R * 0.299 + G * 0.587 + B * 0.114, knee, target);
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
    return mapped(src, [=](Sample v) { return m > 0 ? std::pow(v / m, 1.0 / gamma) * m : v; });
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

bool isKeptByThird(const Bytes& a, const Bytes& mask, size_t i, size_t plane) {
    const size_t n = mask.size();
    return mask[i] < 255 || (plane > 0 && (a[n + i] > 219 || a[2 * n + i] > 219));
}

Bytes whitenedDark(const Bytes& a, const Bytes& mask) {
    Bytes out = a;
    for (size_t i = 0; i < a.size(); ++i)
        if (!isKeptByThird(a, mask, i % mask.size(), i / mask.size())) out[i] = 255;
    return out;
}

/// The way of the definition, on a padded copy, marking with 125.
Bytes thinned(const Bytes& src, kelSize s) {
    const int w = s.width + 2;
    Bytes p(size_t(w) * size_t(s.height + 2));
    const auto at = [&](int y, int x) -> Sample& { return p[size_t(y + 1) * size_t(w) + x + 1]; };
    const auto each = [&](auto visit) {
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                visit(at(y, x), y, x);
    };
    each([&](Sample& v, int y, int x) { v = src[size_t(y) * size_t(s.width) + size_t(x)]; });
    for (bool removed = true; removed;) {
        removed = false;
        for (const bool first : {true, false}) {
            each([&](Sample& v, int y, int x) {
                const bool N = at(y - 1, x), NE = at(y - 1, x + 1), E = at(y, x + 1),
                           SE = at(y + 1, x + 1), S = at(y + 1, x), SW = at(y + 1, x - 1),
                           W = at(y, x - 1), NW = at(y - 1, x - 1);
                const bool ring[] = {N, NE, E, SE, S, SW, W, NW, N};
                int present = 0, steps = 0;
                for (int k = 0; k < 8; ++k) {
                    present += ring[k];
                    steps += !ring[k] && ring[k + 1];
                }
                const bool sides =
                    first ? (N && E && S) || (E && S && W) : (N && E && W) || (N && S && W);
                if (v != 255 || present < 2 || present > 6 || steps != 1 || sides) return;
                v = 125;
                removed = true;
            });
            each([](Sample& v, int, int) { v = v == 125 ? 0 : v; });
        }
    }
    return eachSample(s, 1, [&](int, int y, int x) { return at(y, x); });
}

Bytes filled(const Bytes& src, kelSize s, Bytes dst) {
    const Plain p(src, s);
    return eachSample(s, 1, [&](int, int y, int x) {
        for (int k = 0; k < 9; ++k)
            if (p.at(0, y + k / 3 - 1, x + k % 3 - 1) == 255) return 255;
        return int(dst[size_t(y) * size_t(s.width) + size_t(x)]);
    });
}

struct LegacyImage {
    explicit LegacyImage(kelSize s)
        : image(cvCreateImage(cvSize(s.width, s.height), IPL_DEPTH_8U, 1)) {}
    LegacyImage(kelSize s, Bytes samples) : LegacyImage(s) {
        KelPutIplImage(image, samples.data());
    }
    LegacyImage(const LegacyImage&) = delete;
    ~LegacyImage() { cvReleaseImage(&image); }
    IplImage* image;
};

Bytes contours(const Bytes& src, kelSize s) {
    LegacyImage work(s, src);
    Bytes out(src.size());
    CvMemStorage* storage = cvCreateMemStorage(0);
    CvSeq* contour = nullptr;
    cvFindContours(work.image, storage, &contour, 128, CV_RETR_LIST, CV_CHAIN_APPROX_NONE,
                   cvPoint(0, 0));
    for (; contour; contour = contour->h_next)
        for (int i = 0; i < contour->total; ++i) {
            const auto* p = reinterpret_cast<CvPoint*>(cvGetSeqElem(contour, i));
            out[size_t(p->y) * size_t(s.width) + size_t(p->x)] = 255;
        }
    cvReleaseMemStorage(&storage);
    return out;
}

Bytes morphed(const Bytes& src, kelSize s, int operation, int rx, int ry, int times) {
    if (operation < 1 || operation > 4) return src;
    LegacyImage in(s, src), out(s);
    IplConvKernel* k =
        cvCreateStructuringElementEx(2 * rx + 1, 2 * ry + 1, rx, ry, CV_SHAPE_RECT, nullptr);
    if (operation < 3)
        cvMorphologyEx(in.image, out.image, nullptr, k, operation == 1 ? CV_MOP_CLOSE : CV_MOP_OPEN,
                       times);
    else
        (operation == 3 ? cvDilate : cvErode)(in.image, out.image, k, times);
    cvReleaseStructuringElement(&k);
    Bytes result(src.size());
    KelGetIplImage(out.image, result.data());
    return result;
}

enum class Content { noise, binary, flagged };

/// Samples to work on: noise; thick blobs of 255; or blobs mixed with other values.
Bytes content(Content kind, kelSize s, int planes) {
    Bytes all = test::randomBytes(area(s) * size_t(planes), unsigned(s.width * 131 + s.height));
    if (kind == Content::noise) return all;
    for (size_t i = 0; i < all.size(); ++i) {
        const size_t x = i % size_t(s.width), y = i / size_t(s.width);
        const bool ink = (x % 23 < 13 && y % 17 < 11) || x % 37 == y % 29;
        const Sample others[] = {0, 125, 200, 255, 219, 220, 254, 255};
        const bool odd = kind == Content::flagged && all[i] > 150;
        all[i] = odd ? others[all[i] % 8] : (ink != (all[i] < 4)) ? 255 : 0;
    }
    return all;
}

struct Operation {
    const char* name;
    int in, out;  ///< planes
    bool inPlace;
    Content kind;
    std::function<void(Sample* src, Sample* dst, kelSize)> ours;
    std::function<Bytes(const Bytes& src, kelSize, const Bytes& dst)> plain;
};

void check(const Operation& op, kelSize size) {
    Bytes src = content(op.kind, size, op.in);
    const Bytes before = src, target = test::randomBytes(area(size) * size_t(op.out), 9);
    const Bytes expected = area(size) > 0 ? op.plain(src, size, target) : target;
    Guarded dst(target), both(src);
    op.ours(src.data(), dst.data(), size);
    ASSERT_EQ(dst.bytes(), expected) << op.name << " " << ::testing::PrintToString(size);
    ASSERT_EQ(src, before) << op.name;
    if (!op.inPlace) return;
    op.ours(both.data(), both.data(), size);
    ASSERT_EQ(both.bytes(), expected) << op.name << " in place";
}

void checkAll(const std::vector<Operation>& operations) {
    using kel::detail::CpuLevel;
    for (const CpuLevel level : {CpuLevel::plain, CpuLevel::best}) {
        kel::detail::limitCpuLevel(level);
        for (const Operation& op : operations)
            for (kelSize size : test::awkwardSizes())
                ASSERT_NO_FATAL_FAILURE(check(op, size));
    }
}

TEST(Enhance, Brightness) {
    std::vector<Operation> ops;
    const int ends[] = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
    for (const int delta : {-256, -255, -100, -1, 0, 1, 77, 255, 256, ends[0], ends[1]})
        ops.push_back({"shift", 1, 1, true, Content::noise,
                       [=](auto* s, auto* d, kelSize z) { KelChangeBright(s, d, z, delta); },
                       [=](const Bytes& s, kelSize, const Bytes&) {
                           return mapped(s, [=](Sample v) { return v + double(delta); });
                       }});
    const int modes[][3] = {{100, 128, 131}, {999, -5, 0}, {ends[0], ends[1], 200}, {0, 255, 127}};
    for (const auto& m : modes)
        ops.push_back(
            {"means", 3, 3, true, Content::noise,
             [&m](auto* s, auto* d, kelSize z) { KelChangeBrightRGB(s, d, z, m[0], m[1], m[2]); },
             [&m](const Bytes& s, kelSize z, const Bytes&) { return shiftedToMeans(s, z, m); }});
    const int curves[][2] = {{1, 2}, {60, 120},  {128, 129}, {100, 255}, {254, 255}, {33, 190},
                             {0, 9}, {255, 256}, {9, 9},     {9, 256},   {-1, 4},    {90, 80}};
    for (const int mode : {1000, 1001, 1002, 1003, 1004, ends[1]})
        for (const auto& [knee, target] : curves) {
            const int planes = mode == 1001 ? 1 : 3;
            const bool acts = (mode == 1001 || mode == 1003) && knee > 0 && knee < 255 &&
                              target < 256 && knee < target;
            ops.push_back({"curve", planes, planes, acts, Content::noise,
                           [=, k = knee, t = target](auto* s, auto* d, kelSize z) {
                               KelChangeBrightRGB(s, d, z, mode, k, t);
                           },
                           [=, k = knee, t = target](const Bytes& s, kelSize, const Bytes& dst) {
                               if (!acts) return dst;
                               if (mode == 1003) return curveOnColour(s, k, t);
                               return mapped(s, [=](Sample v) { return curve(v, k, t); });
                           }});
        }
    for (const double gamma : {0.45, 1.0, 2.2, 0.0, -1.0, 1e300}) {
        ops.push_back(
            {"gamma", 1, 1, true, Content::noise,
             [=](auto* s, auto* d, kelSize z) { KelGammaCorrect(s, d, z, gamma); },
             [=](const Bytes& s, kelSize, const Bytes&) { return gammaCorrected(s, gamma); }});
        ops.push_back({"inverse gamma", 1, 1, true, Content::noise,
                       [=](auto* s, auto* d, kelSize z) { KelAntiGammaCorrect(s, d, z, gamma); },
                       [=](const Bytes& s, kelSize, const Bytes&) {
                           return mapped(
                               s, [=](Sample v) { return std::pow(v / 255.0, gamma) * 255.0; });
                       }});
    }
    checkAll(ops);
    Bytes dark(300), out(300, 7);
    KelGammaCorrect(dark.data(), out.data(), {20, 15}, 2.0);
    EXPECT_EQ(out, dark);
    for (int k = 0; k < 300; ++k)
        dark[size_t(k)] = static_cast<Sample>(k * 13);
    EXPECT_EQ(KelBrightAver(dark.data(), {0, 3}), 0.0);
    EXPECT_EQ(KelBrightAver(dark.data(), {3, 100}),
              std::accumulate(dark.begin(), dark.end(), 0.0) / 300);
    EXPECT_EQ(KelRgb2Grey(255, 0, 0), 78);
    EXPECT_EQ(KelRgb2Grey(0, 255, 0), 106);
    EXPECT_EQ(KelRgb2Grey(0, 0, 255), 63);
    EXPECT_EQ(KelRgb2Grey(255, 255, 255), 249);
    EXPECT_EQ(KelRgb2Grey(-4, 0, 0), -1);
}

TEST(Enhance, CalibrationAndSharpening) {
    std::vector<Operation> ops;
    for (const bool hdp : {false, true})
        ops.push_back(
            {hdp ? "HDP" : "CIS", 3, 3, true, Content::noise,
             [=](auto* s, auto* d, kelSize z) {
                 (hdp ? KelCISColorCalibrateHDPColor : KelCISColorCalibrate)(s, d, z.width,
                                                                             z.height);
             },
             [=](const Bytes& s, kelSize z, const Bytes&) { return calibrated(s, z, hdp); }});
    for (const double strength : {0.0, 0.1, 0.3, 1.0 / 3, 1.0, -0.7, 1e300, std::nan("")})
        for (const int planes : {1, 2, 3})
            for (const bool eight : {false, true})
                ops.push_back({eight ? "Laplace8" : "Laplace4", planes, planes, true,
                               Content::noise,
                               [=](auto* s, auto* d, kelSize z) {
                                   (eight ? KelLaplace8 : KelLaplace4)(s, d, z, planes, strength);
                               },
                               [=](const Bytes& s, kelSize z, const Bytes&) {
                                   return laplace(s, z, planes, eight, strength);
                               }});
    checkAll(ops);
}

/// `src` holds the planes of the first image and behind them those of the second.
TEST(Enhance, ProductsAndRemovals) {
    std::vector<Operation> ops;
    for (const int first : {1, 3, 2})
        for (const int second : {1, 3, 2})
            for (const int target : {1, 2, 3, 4})
                for (const bool product : {true, false}) {
                    const int larger = std::max(first, second);
                    const int result = (product ? target < larger : target != larger) ? -1
                                       : first != second && first + second != 4       ? -2
                                                                                      : 0;
                    const auto ours = [=](auto* s, auto* d, kelSize z) {
                        auto* mask = s + size_t(first) * area(z);
                        EXPECT_EQ((product ? KelHadamardImage1 : KelHadamardImage2)(
                                      s, first, mask, second, d, target, z),
                                  result);
                    };
                    const auto plain = [=](const Bytes& s, kelSize z, Bytes d) {
                        const size_t n = area(z);
                        for (size_t i = 0; i < n * size_t(larger) && result == 0; ++i) {
                            const int a = s[first == 1 ? i % n : i];
                            const int b = s[size_t(first) * n + (second == 1 ? i % n : i)];
                            d[i] = sampleOf(product ? a * b / 255.0 : b == 255 ? 255 : a);
                        }
                        return d;
                    };
                    ops.push_back({product ? "product" : "whitened", first + second, target, false,
                                   Content::flagged, ours, plain});
                }
    ops.push_back({"whitened dark", 4, 3, false, Content::flagged,
                   [](auto* s, auto* d, kelSize z) {
                       EXPECT_EQ(KelHadamardImage3(s, s + 3 * area(z), d, z), 0);
                   },
                   [](const Bytes& s, kelSize z, const Bytes&) {
                       const auto mask = s.begin() + ptrdiff_t(3 * area(z));
                       return whitenedDark(Bytes(s.begin(), mask), Bytes(mask, s.end()));
                   }});
    for (const char channel : {'R', 'G', 'B', 'r', '\0'})
        for (const bool third : {false, true})
            for (const int method : {1, 2, 6}) {
                const size_t plane = channel == 'G' ? 1 : channel == 'B' ? 2 : 0;
                const bool known = channel == "RGB"[plane];
                ops.push_back({"removal", 3, 3, known, Content::flagged,
                               [=](auto* s, auto* d, kelSize z) {
                                   EXPECT_EQ((third ? KelEliminateChannel2 : KelEliminateChannel1)(
                                                 s, d, z, channel, method, 20, 160, 180),
                                             known   ? 0
                                             : third ? -1
                                                     : -2);
                               },
                               [=](const Bytes& s, kelSize z, const Bytes& d) {
                                   if (!known) return d;
                                   Bytes mask(s.begin() + ptrdiff_t(plane * area(z)), s.end());
                                   mask.resize(area(z));
                                   KelBinarizeImage(mask.data(), 1, mask.data(), z, 0, method, 20,
                                                    160, 180);
                                   if (third) return whitenedDark(s, mask);
                                   Bytes out = s;
                                   for (size_t i = 0; i < out.size(); ++i)
                                       if (mask[i % mask.size()] == 255) out[i] = 255;
                                   return out;
                               }});
            }
    checkAll(ops);
    Bytes a(65536), b(65536), out(65536);
    for (size_t i = 0; i < 65536; ++i) {
        a[i] = static_cast<Sample>(i);
        b[i] = static_cast<Sample>(i >> 8);
    }
    KelHadamardImage1(a.data(), 1, b.data(), 1, out.data(), 1, {256, 256});
    for (size_t i = 0; i < 65536; ++i)
        ASSERT_EQ(out[i], static_cast<int>(a[i] * b[i] / 255.0)) << i;
}

TEST(Enhance, BinaryNeighbourhoods) {
    std::vector<Operation> ops;
    for (const Content kind : {Content::binary, Content::flagged, Content::noise}) {
        ops.push_back({"framework", 1, 1, true, kind,
                       [](auto* s, auto* d, kelSize z) {
                           EXPECT_EQ(KelExtractFrameworkMAT(s, z.width, z.height, d), 0);
                       },
                       [](const Bytes& s, kelSize z, const Bytes&) { return thinned(s, z); }});
        ops.push_back({"fill", 1, 1, false, kind,
                       [](auto* s, auto* d, kelSize z) {
                           EXPECT_EQ(KelFillFramework(s, z.width, z.height, d), 0);
                       },
                       filled});
        ops.push_back({"edges", 1, 1, false, kind,
                       [](auto* s, auto* d, kelSize z) {
                           EXPECT_EQ(kel_Cal_EdgeImage(s, z.width, z.height, d), 0);
                       },
                       [](const Bytes& s, kelSize z, const Bytes&) { return contours(s, z); }});
        const int radii[][3] = {{1, 1, 1}, {0, 0, 2}, {3, 0, 1}, {0, 2, 3}, {2, 1, 2}, {1, 1, 0}};
        for (int operation = 0; operation < 6; ++operation)
            for (const auto& [rx, ry, times] : radii)
                ops.push_back(
                    {"morphology", 1, 1, true, kind,
                     [=, x = rx, y = ry, n = times](auto* s, auto* d, kelSize z) {
                         EXPECT_EQ(KelMorphology(s, d, &z, operation, x, y, n), 0);
                     },
                     [=, x = rx, y = ry, n = times](const Bytes& s, kelSize z, const Bytes&) {
                         return morphed(s, z, operation, x, y, n);
                     }});
    }
    checkAll(ops);
    kelSize size{9, 9};
    Bytes plane(100, 255), out(100);
    EXPECT_ANY_THROW(KelMorphology(plane.data(), out.data(), &size, 3, -1, 1, 1));
    KelMorphology(plane.data(), plane.data() + 7, &size, 4, 1, 1, 1);  // overlapping in part
    EXPECT_EQ(plane, Bytes(100, 255));
}

// All binary images of 4 by 4 in a frame, each both alone and joined to its neighbours: what is
// read off four neighbours is what the contour followers visit.
TEST(Enhance, EdgesAreTheContoursOfEveryPattern) {
    const kelSize tiles{32 * 5 + 1, 32 * 5 + 1};
    for (const int step : {5, 4})
        for (int block = 0; block < 64; ++block) {
            Bytes image(area(tiles)), ours(area(tiles));
            for (int t = 0; t < 1024; ++t)
                for (int bit = 0; bit < 16; ++bit) {
                    const int x = 1 + t % 32 * step + bit % 4, y = 1 + t / 32 * step + bit / 4;
                    image[size_t(y * tiles.width + x)] = (block * 1024 + t) >> bit & 1;
                }
            kel_Cal_EdgeImage(image.data(), tiles.width, tiles.height, ours.data());
            ASSERT_EQ(ours, contours(image, tiles)) << block;
        }
}

TEST(Enhance, Counts) {
    for (kelSize size : {kelSize{0, 4}, kelSize{7, 5}, kelSize{31, 33}, kelSize{300, 301}}) {
        Bytes a = content(Content::flagged, size, 1), b = content(Content::binary, size, 1);
        std::reverse(b.begin(), b.end());
        int whites = 0, twos = 0, either = 0, both = 0, count = 7;
        for (size_t i = 0; i < a.size(); ++i) {
            whites += a[i] == 255;
            twos += a[i] == 200;
            either += a[i] == 255 || b[i] == 255;
            both += a[i] == 255 && b[i] == 255;
        }
        EXPECT_EQ(KelCalArea(a.data(), size), whites);
        for (const auto& [value, expected] :
             {std::pair{200, twos}, {256, 0}, {-1, 0}, {255, whites}}) {
            EXPECT_EQ(kel_BinImg_EffPointNo(a.data(), size.width, size.height, value, &count), 0);
            EXPECT_EQ(count, expected) << value;
        }
        EXPECT_EQ(kel_cal_total_num(a.data(), b.data(), int(a.size()), 0), either);
        for (const int type : {1, 2, -1})
            EXPECT_EQ(kel_cal_total_num(a.data(), b.data(), int(a.size()), type), both);
    }
    EXPECT_EQ(kel_cal_total_num(nullptr, nullptr, -5, 0), 0);
}

}  // namespace
