// Form lines: what the mask shows, when lines are reported, the colour along segments, and drawn
// lines.
#include <opencv2/imgproc/imgproc_c.h>
#include <opencv2/imgproc.hpp>

#include <climits>
#include <cmath>

#include "cv_handles.h"
#include "files_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "kel_PatternAnalysis_internal.h"
#include "loaded_image.h"

using test::Bytes;

namespace {

using Ints = std::vector<int>;
using Names = std::vector<std::string>;
constexpr kelSize kSize{240, 161};  // the one line of a page lies at (161 - 1) / 2
constexpr int kMiddle = 80;

/// A binary page with rules: level, slanted by one to three rows, steep and upright.
kel::detail::IplImageHandle formPage() {
    auto page = kel::detail::makeIplImage(kSize.width, kSize.height, 1);
    cvSetZero(page.get());
    const auto rule = [&](int x0, int y0, int x1, int y1) {
        cvLine(page.get(), cvPoint(x0, y0), cvPoint(x1, y1), cvScalarAll(255), 1, 8, 0);
    };
    rule(10, kMiddle, 200, kMiddle);
    rule(5, kMiddle + 2, 220, kMiddle + 4);
    rule(8, kMiddle - 3, 130, kMiddle - 4);
    rule(20, 20, 210, 20);
    rule(30, 150, 60, 90);
    rule(225, 5, 225, 150);
    return page;
}

std::vector<cv::Vec4i> segmentsOf(const IplImage* page) {
    std::vector<cv::Vec4i> segments;
    cv::HoughLinesP(cv::cvarrToMat(page), segments, 1.0, CV_PI / 180, 40, 30, 4);
    return segments;
}

/// Calls one of the detectors with the Hough settings above; the lists hold the rows and the
/// columns found.
template <class Detect, class... More>
std::pair<Ints, Ints> detect(Detect call, IplImage* page, int wave, int peak, int width, int debug,
                             More... more) {
    Ints rows(200, -7), columns(260, -7);
    int rowCount = -7, columnCount = -7;
    EXPECT_EQ(call(page, rows.data(), &rowCount, columns.data(), &columnCount, 40, 30, 4, width,
                   peak, wave, width, peak, wave, debug, more...),
              0);
    const auto reported = [](Ints lines, int count) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), -7), int(lines.size()) - count);
        lines.resize(size_t(std::max(count, 0)));
        return lines;
    };
    return {reported(rows, rowCount), reported(columns, columnCount)};
}

TEST(FormLines, OnlyNegativeThresholdsReportAndOnlyDebugWrites) {
    const test::WorkingFolder folder;
    const auto page = formPage();
    using Lines = std::pair<Ints, Ints>;
    IplImage* const image = page.get();
    for (int wave : {0, 10, 254, INT_MAX})
        EXPECT_EQ(detect(KelDetectLines, image, wave, -1, 1000, 0), Lines());
    const Ints middle{(kSize.width - 1) / 2};
    EXPECT_EQ(detect(KelDetectLines, image, -1, -1, kSize.width, 0), (Lines{{kMiddle}, middle}));
    EXPECT_EQ(detect(KelDetectLinesWithParam, image, -1, -1, kSize.height, 0, 3),
              (Lines{{kMiddle}, {}}));
    EXPECT_EQ(detect(KelDetectLines, image, -1, 0, 1000, 0), Lines());
    EXPECT_EQ(folder.files(), Names{});

    for (int width : {6, 3}) {  // 6 is that of KelDetectLines
        if (width == 6)
            detect(KelDetectLines, image, 10, 80, 15, 1);
        else
            detect(KelDetectLinesWithParam, image, 10, 80, 15, 1, width);
        EXPECT_EQ(folder.files(), Names{"Mask.bmp"});
        cv::Mat blue(kSize.height, kSize.width, CV_8UC1, cv::Scalar(0));
        for (const cv::Vec4i& s : segmentsOf(image))
            cv::line(blue, {s[0], s[1]}, {s[2], s[3]}, cv::Scalar(255), width);
        Bytes expected(2 * test::area(kSize), 0);
        expected.insert(expected.end(), blue.datastart, blue.dataend);
        EXPECT_EQ(test::LoadedImage("Mask.bmp").samples, expected);
    }
}

/// Red, green, blue and grey along the segments near row kMiddle; the count of samples.
std::vector<double> sumsPlainly(const std::vector<cv::Vec4i>& segments, const Bytes& colour) {
    std::vector<double> sums(5);
    const auto add = [&](int x, int y) {
        if (y < 0 || y >= kSize.height) return;
        const size_t at = size_t(y * kSize.width + x), n = test::area(kSize);
        const double r = colour[at], g = colour[at + n], b = colour[at + 2 * n];
        const double added[] = {r, g, b, 0.299 * r + 0.587 * g + 0.114 * b, 1};
        for (size_t i = 0; i < 5; ++i)
            sums[i] += added[i];
    };
    for (cv::Vec4i s : segments) {
        if (s[0] >= s[2]) s = {s[2], s[3], s[0], s[1]};
        const int dx = s[2] - s[0], ady = std::abs(s[3] - s[1]);
        const bool level = dx == 0 ? ady == 0 : ady < 4 && ady / double(dx) < 0.05;
        const int middle = int((s[1] + s[3]) * 0.5);
        if (!level || std::abs(middle - kMiddle) > 3) continue;
        const double slope = ady > 0 ? dx / double(ady) : 0.0;
        for (int x = s[0]; x < s[2] + (ady > 0); ++x)
            add(x, ady == 0 ? s[1] : int(x * slope + (s[3] - s[2] * slope)));
    }
    return sums;
}

TEST(FormLines, ColourAlongSegments) {
    const auto page = formPage();
    const auto segments = segmentsOf(page.get());
    Bytes colour = test::page(kSize, 3).samples;
    const auto sums = sumsPlainly(segments, colour);
    ASSERT_GT(sums[4], 150);
    const auto isSlanted = [](const cv::Vec4i& s) { return std::abs(s[1] - s[3]) % 4 != 0; };
    ASSERT_TRUE(std::any_of(segments.begin(), segments.end(), isSlanted));
    for (bool reports : {true, false}) {
        Ints found(4, -1), expected(4, -1);
        detect(KelDetectLinesAndColor, page.get(), reports ? -1 : 0, -1, 1000, 0, colour.data(),
               &found[0], &found[1], &found[2], &found[3]);
        for (size_t i = 0; i < 4 && reports; ++i)
            expected[i] = int(sums[i] / sums[4]);
        EXPECT_EQ(found, expected);
    }
}

TEST(FormLines, ShownLines) {
    const kelSize size{7, 5};
    unsigned char colour[] = {200, 100, 50};
    for (int channels : {1, 3})
        for (char direction : {'H', 'V', 'X'}) {
            std::string name = test::scratchPath("lines.bmp");
            std::filesystem::remove(name);
            Bytes image = test::page(size, channels).samples, expected = image;
            const Bytes before = image;
            Ints lines = {2, 0, -1, size.height, size.width, 6, INT_MIN, INT_MAX};
            const int result = KelShowLines(image.data(), size, channels, lines.data(),
                                            int(lines.size()), direction, colour, name.data());
            EXPECT_EQ(result, direction == 'X' ? -1 : 0);
            EXPECT_EQ(image, before);
            EXPECT_EQ(std::filesystem::exists(name), direction != 'X');
            if (direction == 'X') continue;
            // The row below a plane is the first of the next one, and drawn after it.
            for (size_t i = 0; i < expected.size(); ++i) {
                const size_t x = i % 7, y = i / 7 % 5, c = i / 35;
                if (direction == 'H' && (y == 0 || y == 2))
                    expected[i] = colour[y == 0 && c > 0 ? c - 1 : c];
                if (direction == 'V' && (x == 0 || x == 2 || x >= 5)) expected[i] = colour[c];
            }
            EXPECT_EQ(test::LoadedImage(name).samples, expected) << channels << direction;
        }
    int line = 0;
    std::string none = test::scratchPath("none.bmp");
    EXPECT_THROW(KelShowLines(nullptr, {INT_MIN, INT_MIN}, 3, &line, 1, 'H', colour, none.data()),
                 cv::Exception);
}

}  // namespace
