// The skew searches against plain forms, on every level and by one and two threads.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <numeric>

#include "kel_CalAngle.h"
#include "kel_CalAngle_internal.h"
#include "kernels/row_kernels.h"
#include "parallel.h"
#include "support.h"

using test::Bytes;

namespace {

using Ints = std::vector<int>;

int binsFor(kelSize size) {
    return int(std::hypot(size.width, size.height)) + 10;
}

void projectPlainly(const Bytes& page, kelSize size, double angle, Ints& bins) {
    const int count = int(bins.size()), w = size.width, h = size.height;
    const double radians = 3.1415926 * (angle / 180.0);
    const int s = static_cast<int>(std::sin(-radians) * 32768.0);
    const int c = static_cast<int>(std::cos(radians) * 32768.0);
    for (int y = 0; y < h; ++y) {
        int p = (y - h / 2) * c + (count << 14) - (w / 2) * s;
        for (int x = 0; x < w; ++x, p += s) {
            const int bin = angle == 0.0 ? (count - h) / 2 + y : p >> 15;
            if (page[size_t(y) * size_t(w) + size_t(x)] == 255 && bin >= 0 && bin < count)
                ++bins[size_t(bin)];
        }
    }
}

int scorePlainly(const Bytes& page, kelSize size, double angle) {
    Ints bins(size_t(binsFor(size)), 0);
    projectPlainly(page, size, angle, bins);
    bins.front() = bins.back() = 0;
    uint32_t score = 0;
    for (size_t i = 0; i + 1 < bins.size(); ++i) {
        const auto step = uint32_t(bins[i + 1]) - uint32_t(bins[i]);
        score += step * step;
    }
    return int(score);
}

double searchPlainly(const Bytes& page, kelSize size, double step, const std::string& factors) {
    double centre = 0.0;
    for (char factor : factors) {
        const int half = factor - '0';
        step /= half;
        double bestAngle = 0.0;
        int best = 0;
        for (int i = 0; i <= 2 * half; ++i) {
            const double angle = (i - half) * step + centre;
            const int score = scorePlainly(page, size, angle);
            if (i > 0 && score <= best) continue;
            best = score;
            bestAngle = angle;
        }
        centre = bestAngle;
    }
    return centre;
}

/// Text lines at an angle, some paper that is nearly ink, and specks; the right and the lower part
/// are blank.
Bytes skewedPage(kelSize size, double degrees, bool blank = false) {
    Bytes page = test::randomBytes(test::area(size), 9);
    const double slope = std::tan(degrees * 3.14159265 / 180.0);
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            unsigned char& sample = page[size_t(y) * size_t(size.width) + size_t(x)];
            const int line = static_cast<int>(std::floor(y - x * slope)) & 15;
            const bool ink = line < 5 && sample > 60 && x * 5 < size.width * 4 && y < 420;
            sample = !blank && (ink || sample > 253) ? 255 : sample % 3 == 0 ? 254 : 0;
        }
    return page;
}

struct Skew : ::testing::TestWithParam<int> {
    void SetUp() override {
        using kel::detail::CpuLevel;
        kel::detail::forceTeamSize(1 + GetParam() % 2);
        kel::detail::limitCpuLevel(GetParam() < 2 ? CpuLevel::plain : CpuLevel::best);
    }
    void TearDown() override {
        kel::detail::forceTeamSize(0);
        kel::detail::limitCpuLevel(kel::detail::CpuLevel::best);
    }
};

INSTANTIATE_TEST_SUITE_P(ThreadsAndLevels, Skew, ::testing::Range(0, 4));

TEST_P(Skew, ProjectionsEqualThePlainForm) {
    auto sizes = test::awkwardSizes();
    sizes.insert(sizes.end(), {{256, 128}, {257, 129}, {700, 40}, {30, 500}, {613, 547}});
    for (kelSize size : sizes)
        for (Bytes page : {skewedPage(size, 2), Bytes(test::area(size), 255)})
            for (double angle : {0.0, 1e-9, 0.0017, 0.002, 0.1, -0.3, 2.3, -5.0, 10.0, -10.0, 31.0,
                                 -45.0, 59.0, -61.0, 90.0, 179.5, 400.0})
                for (int spare : {0, -9, -200}) {  // also with bins that don't hold the page
                    Ints expected(size_t(std::max(binsFor(size) + spare, 2)), 7), bins = expected;
                    projectPlainly(page, size, angle, expected);
                    EXPECT_EQ(KelProjectAngle(page.data(), size.width, size.height, angle,
                                              bins.data(), int(bins.size())),
                              0);
                    ASSERT_EQ(bins, expected)
                        << ::testing::PrintToString(size) << " at " << angle << " " << spare;
                }
}

TEST_P(Skew, SearchesEqualThePlainForm) {
    for (kelSize size : {kelSize{613, 547}, kelSize{1, 1}, kelSize{40, 300}})
        for (bool blank : {false, true}) {
            Bytes page = skewedPage(size, 2.3, blank);
            const struct {
                double range, accuracy;
                std::string factors;
            } cases[] = {{10, 0.1, "5522"},  {1.25, 0.125, "52"}, {7, 1, "7"},
                         {10.9, 1, "52"},    {3, 3, ""},          {5.9, 3, ""},
                         {1e300, 1e-10, ""}, {HUGE_VAL, 1, ""}};
            for (const auto& [range, accuracy, factors] : cases) {
                double angle = 99;
                EXPECT_EQ(KelDetectDocumentAngle(page.data(), size.width, size.height, range,
                                                 accuracy, &angle),
                          0);
                EXPECT_EQ(angle, searchPlainly(page, size, range, factors))
                    << ::testing::PrintToString(size) << range << " blank " << blank;
            }
        }
}

TEST_P(Skew, StagesKeepWhatIsKnown) {
    const kelSize size{200, 150};
    Bytes page = skewedPage(size, -1);
    Ints scores = {-1, 77, -1, 5, -1}, expected = {0, 77, 0, 5, 0};
    for (size_t i : {0, 2, 4})
        expected[i] = scorePlainly(page, size, (int(i) - 2) * 0.5 + 1.0);
    EXPECT_EQ(KelCalProjGradientsAssignAngle(page.data(), 200, 150, 2, 1.0, 0.5, scores.data()), 0);
    EXPECT_EQ(scores, expected);
    double angle = 9;
    int best = 0;
    KelCalAngleAssignRangeAcc(page.data(), 200, 150, 0.0, 1.0, 2, &angle, &best, INT32_MAX);
    // The score given for the centre counts, and is not worked out.
    EXPECT_EQ(std::pair(angle, best), std::pair(0.0, INT32_MAX));
    KelCalProjGradient(page.data(), 200, 150, -1.0, &best);
    EXPECT_EQ(best, scorePlainly(page, size, -1.0));
}

double scoreOfSmooth(const Ints& wave) {
    Ints smooth(wave.size(), 0);
    for (size_t i = 1; i + 1 < wave.size(); ++i)
        smooth[i] = (wave[i - 1] + wave[i] + wave[i + 1]) / 3;
    double sum = 0;
    for (size_t i = 0; i + 1 < smooth.size(); ++i)
        sum += (smooth[i + 1] - smooth[i]) * (smooth[i + 1] - smooth[i]);
    return sum;
}

double searchAnglesPlainly(const Bytes& page, kelSize size, int foreground, double range,
                           int steps) {
    const int w = size.width, h = size.height, count = binsFor(size);
    const auto score = [&](double theta) {
        Ints bins(static_cast<size_t>(count));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (page[size_t(y) * size_t(w) + size_t(x)] == foreground)
                    ++bins[size_t(int((x - w / 2) * std::sin(theta) +
                                      (y - h / 2) * std::cos(theta) + count / 2))];
        return scoreOfSmooth(bins);
    };
    double best = score(0), bestAngle = 0, theta = 0;
    for (int i = 0; i < steps; ++i) {
        theta += 3.141592653589 * (range / 180.0) / steps;
        const double up = score(theta), down = score(-theta);
        if (std::max(up, down) <= best) continue;
        best = std::max(up, down);
        bestAngle = up > down ? theta : -theta;
    }
    return bestAngle / 3.141592653589 * 180.0;
}

TEST(SkewByAngles, EqualsThePlainForm) {
    auto sizes = test::awkwardSizes();
    sizes.insert(sizes.end(), {{128, 90}, {613, 547}});
    for (kelSize size : sizes)
        for (double skew : {0.0, 2.0, -3.0}) {
            Bytes page = skewedPage(size, skew);
            // A mirrored page scores the same at opposite angles.
            if (size.width == 128)
                for (size_t i = 0; i < page.size(); ++i)
                    page[i] = i % 128 < 64 ? page[i] : page[i / 128 * 128 + 127 - i % 128];
            for (int polarity : {1, 9, 0, -1})
                for (int steps : {-1, 0, 1, 12}) {
                    double angle = 99;
                    EXPECT_EQ(KelDetectAngle(page.data(), size, polarity, &angle, 6.0, steps), 0);
                    ASSERT_EQ(angle,
                              searchAnglesPlainly(page, size, polarity > 0 ? 255 : 0, 6.0, steps))
                        << ::testing::PrintToString(size) << skew << " " << polarity << steps;
                }
        }
    Bytes blank(100, 7);
    double angle = 99;
    EXPECT_EQ(KelDetectAngle(blank.data(), {10, 10}, 1, &angle, HUGE_VAL, 3), 0);
    EXPECT_EQ(angle, 0);
}

TEST(SkewByTurning, FindsHalfDegreesAndKeepsTheFirst) {
    for (int channels : {1, 3}) {
        cv::Mat page(200, 300, CV_8UC(channels), cv::Scalar::all(240));
        const auto search = [&](double initial, int halfDegrees) {
            double angle = 99;
            IplImage image = cvIplImage(page);
            EXPECT_EQ(KelDetectDocAngle(&image, &angle, initial, halfDegrees, 128.0), 0);
            return angle;
        };
        EXPECT_EQ(search(1.25, 3), 1.25);  // nothing scores
        for (int y = 20; y < 180; y += 20)
            cv::line(page, {0, y}, {299, y - 8}, cv::Scalar::all(10), 3);
        EXPECT_EQ(search(9.0, 0), 9.0);
        EXPECT_EQ(search(9.0, 6), 1.5);
        EXPECT_EQ(search(9.0, -6), 1.5);
        EXPECT_EQ(search(9.0, 3), 1.0);  // of -1.5 to 1.5 the last is left out
        cv::flip(page, page, 0);
        EXPECT_EQ(search(9.0, 3), -1.5);
    }
}

TEST(SkewPieces, FactorsFiltersAndRefusals) {
    for (const Ints& expected :
         {Ints{2, 2, 5, 5}, {7}, {5}, {4}, {0}, {-8}, {7, 7}, {2147483647}}) {
        int factors[32], count = 0;
        const int number =
            std::accumulate(expected.begin(), expected.end(), 1, std::multiplies<>());
        EXPECT_EQ(KelMatteNoToPrimeNumMultiply(number, factors, &count), 0);
        EXPECT_EQ(Ints(factors, factors + count), expected);
    }
    const std::tuple<Ints, int, int, Ints> filters[] = {
        {{1, -2, 3, 9, 5}, 1, 2, {0, -2, 3, 9, 0}},
        {{1, 2, 3, 4, 5}, 2, 1, {0, 0, 3, 0, 0}},
        {{1, 2, 3, 4}, 2, 1, {0, 0, 0, 0}},
        {{1, 2}, 0, 3, {1, 2}},
        {{1, 2}, INT32_MAX, 3, {0, 0}},
        {{0, 1000000000, 0}, 1, 1, {0, -1294967296 / 3, 0}}};
    for (auto [wave, radius, passes, expected] : filters) {
        EXPECT_EQ(KelWaveFilterWin(wave.data(), int(wave.size()), radius, passes), 0);
        EXPECT_EQ(wave, expected);
    }
    double angle = 99;
    const double refused[][2] = {{10, 0}, {10, -1}, {0, 1}, {-3, -4}, {1, 1.5}};
    for (const auto& [range, accuracy] : refused)
        EXPECT_EQ(KelDetectDocumentAngle(nullptr, 9, 9, range, accuracy, &angle), -1);
    EXPECT_EQ(angle, 99);
}

}  // namespace
