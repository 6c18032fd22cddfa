// Rotations: exact turns against their rules, the small ones against the OpenCV steps that define
// them.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>
#include <opencv2/core.hpp>

#include <cmath>

#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"
#include "support.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

TEST(Rotate, ExactTurnsOfEverySize) {
    auto sizes = test::awkwardSizes();
    sizes.insert(sizes.end(), {{79, 150}, {64, 128}, {4099, 3}, {3, 4099}, {200, 100}});
    for (kelSize size : sizes)
        for (int channels : {1, 3}) {
            test::Image image(size, channels, 3);
            const int w = size.width, h = size.height;
            unsigned char* const src = image.samples.data();
            test::Image half(size, channels, 0);
            for (int c = 0; c < channels; ++c)
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        half.at(c, h - 1 - y, w - 1 - x) = image.at(c, y, x);
            Guarded a(half.samples.size()), b(half.samples.size()), both(image.samples);
            EXPECT_EQ(KelRotate180(src, a.data(), size, channels), 0);
            EXPECT_EQ(kel_RotateImage180(src, b.data(), size, channels), 0);
            EXPECT_EQ(KelRotate180(both.data(), both.data(), size, channels), 0);
            for (const Guarded& out : {a, b, both})
                ASSERT_EQ(out.bytes(), half.samples) << ::testing::PrintToString(size);
            const std::vector<kelSize> targets = {{h, w}, {h + 2, w - 1}, {h - 1, w + 3}};
            for (size_t k = 0; k < (channels == 1 ? 6 : 2); ++k) {
                const kelSize to = targets[k / 2];
                Guarded out(area(to) * size_t(channels));
                (k % 2 == 0 ? kel_RotateImage90 : kel_RotateImage270)(
                    src, w, h, channels, out.data(), to.width, to.height);
                test::Image rule(to, channels, 0);
                std::fill(rule.samples.begin(), rule.samples.end(),
                          static_cast<unsigned char>(0xAB));
                for (int c = 0; c < channels; ++c)
                    for (int y = 0; y < std::min(to.height, w); ++y)
                        for (int x = 0; x < std::min(to.width, h); ++x)
                            rule.at(c, y, x) =
                                k % 2 == 0 ? image.at(c, h - 1 - x, y) : image.at(c, x, w - 1 - y);
                ASSERT_EQ(out.bytes(), rule.samples) << ::testing::PrintToString(size) << k;
            }
            Bytes overlapping = image.samples;
            overlapping.push_back(0);
            KelRotate180(overlapping.data(), overlapping.data() + 1, size, channels);
            EXPECT_TRUE(
                std::equal(half.samples.begin(), half.samples.end(), overlapping.begin() + 1));
        }
}

TEST(Rotate, PlaneCounts) {
    test::Image image({5, 4}, 3, 9);
    unsigned char* const src = image.samples.data();
    const std::pair<decltype(&KelRotate180), int> calls[] = {
        {kel_RotateImage180, 7}, {KelRotate180, 2}, {KelRotate180, -1}};
    for (const auto& [call, channels] : calls) {
        Guarded out(60);
        EXPECT_EQ(call(src, out.data(), {5, 4}, channels), 0);
        const int planes = channels == 7 ? 3 : std::max(channels, 0);
        for (int i = 0; i < 60; ++i)
            EXPECT_EQ(out.bytes()[size_t(i)],
                      i / 20 < planes ? src[i / 20 * 20 + 19 - i % 20] : 0xAB);
    }
}

/// The definition, step by step.
void turnByRule(IplImage* src, IplImage* dst, double angle) {
    const double r = angle * 3.141592653589793 / 180.0;
    const auto c = static_cast<float>(std::cos(r)), s = static_cast<float>(std::sin(r));
    float m[] = {c, s, float(src->width) * 0.5F, -s, c, float(src->height) * 0.5F};
    CvMat matrix = cvMat(2, 3, CV_32FC1, m);
    cvGetQuadrangleSubPix(src, dst, &matrix);
}

TEST(Rotate, LittleAnglesAreOpenCv) {
    for (kelSize size : {kelSize{61, 45}, kelSize{1, 1}, kelSize{130, 3}})
        for (int channels : {1, 3})
            for (double angle : {0.0, -0.0, 1e-9, 2.3, -7.0, 180.0, 400.5}) {
                Bytes src = test::page(size, channels).samples, expected = src;
                cv::Mat pixels(size.height, size.width, CV_8UC(channels)), turned = pixels.clone();
                IplImage in = cvIplImage(pixels), out = cvIplImage(turned);
                KelPutIplImage(&in, src.data());
                turnByRule(&in, &out, angle);
                if (angle != 0.0) KelGetIplImage(&out, expected.data());
                Guarded apart(src.size()), same(src);
                EXPECT_EQ(
                    KelRotateImageLittleAngle(src.data(), apart.data(), size, channels, angle), 0);
                KelRotateImageLittleAngle(same.data(), same.data(), size, channels, angle);
                EXPECT_EQ(apart.bytes(), expected) << angle;
                EXPECT_EQ(same.bytes(), expected) << angle;
                if (angle == 0.0) continue;
                EXPECT_EQ(KelGetQuadrangleSubPix(&in, &in, angle), 0);
                EXPECT_EQ(cv::norm(pixels, turned, cv::NORM_INF), 0) << angle;
            }
}

TEST(Rotate, ImagesThatDoNotMatchAreRefused) {
    const cv::Mat pixels(6, 8, CV_8UC3, cv::Scalar::all(9));
    IplImage src = cvIplImage(pixels);
    for (auto [w, h, type] : {std::tuple{9, 6, CV_8UC3}, {8, 5, CV_8UC3}, {8, 6, CV_8UC1}}) {
        cv::Mat target(h, w, type, cv::Scalar::all(77));
        IplImage dst = cvIplImage(target);
        EXPECT_EQ(KelGetQuadrangleSubPix(&src, &dst, 3.0), -1);
        EXPECT_EQ(cv::countNonZero(target.reshape(1) != 77), 0);
    }
    Bytes any(100);
    EXPECT_ANY_THROW(KelRotateImageLittleAngle(any.data(), any.data(), {0, 5}, 1, 2.0));
    EXPECT_EQ(KelRotateImageLittleAngle(nullptr, nullptr, {-3, 5}, 3, 0.0), 0);
    EXPECT_EQ(KelGetQuadrangleSubPix(nullptr, nullptr, 1.0), -1);
    for (bool hasSource : {false, true}) {
        unsigned char *const from = hasSource ? any.data() : nullptr, *const to = hasSource
                                                                                      ? nullptr
                                                                                      : any.data();
        EXPECT_EQ(KelRotateImageLittleAngle(from, to, {5, 4}, 3, 1.0), 0);
        EXPECT_EQ(KelRotate180(from, to, {5, 4}, 3), 0);
        EXPECT_EQ(kel_RotateImage180(from, to, {5, 4}, 3), 0);
        EXPECT_EQ(kel_RotateImage90(from, 5, 4, 3, to, 4, 5), 0);
        EXPECT_EQ(kel_RotateImage270(from, 5, 4, 3, to, 4, 5), 0);
    }
    EXPECT_EQ(any, Bytes(100));
}

TEST(Rotate, WhereAPointGoes) {
    using Point = std::pair<int, int>;
    const auto moved = [](double angle, int w, int h, int x, int y) {
        Point out(-99, -99);
        KelRotateCorTran(angle, w, h, x, y, &out.first, &out.second);
        return out;
    };
    for (double angle : {0.0, 12.5, -3.0, 90.0, 270.0})
        for (auto [x, y] : {Point{10, 20}, {90, 20}, {50, 7}, {50, 79}, {-40, 300}, {49, 40}}) {
            const double radius = int(std::sqrt((x - 50) * (x - 50) + (y - 40) * (y - 40)));
            const double b = std::atan((40.0 - y) / (50.0 - x)) - angle / 180.0 * 3.1415926;
            EXPECT_EQ(moved(angle, 100, 80, x, y),
                      Point(int(50 - std::cos(b) * radius), int(40 - radius * std::sin(b))))
                << x << " " << y;
        }
    EXPECT_EQ(moved(0, 100, 80, 80, 40), Point(20, 40));
    EXPECT_EQ(moved(90, 100, 80, 20, 40).second, 69);  // 69.99...: pi is short
    EXPECT_EQ(moved(33, 100, 80, 50, 40), Point(50, 40));
    KelRotateCorTran(0, 9, 9, 1, 1, nullptr, nullptr);
    EXPECT_EQ(moved(45, 0, 0, -2147483647, -2147483647), Point(-2147483647, -40));
}

}  // namespace
