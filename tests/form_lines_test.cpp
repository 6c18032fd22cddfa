// Form lines: what the mask shows, when lines are reported, the colour along segments, and drawn
// lines.
#include <opencv2/imgproc/imgproc_c.h>
#include <opencv2/imgproc.hpp>

#include <climits>
#include <cmath>

#include "cv_handles.h"
#include "files_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"
#include "kel_PatternAnalysis.h"
#include "kel_PatternAnalysis_internal.h"

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

struct Found {
    Ints rows = Ints(200, -7), columns = Ints(260, -7);
    int rowCount = -7, columnCount = -7;
};

/// Calls one of the detectors with the Hough settings above.
template <class Detect, class... More>
Found detect(Detect call, IplImage* page, int wave, int peak, int width, int debug, More... more) {
    Found f;
    EXPECT_EQ(call(page, f.rows.data(), &f.rowCount, f.columns.data(), &f.columnCount, 40, 30, 4,
                   width, peak, wave, width, peak, wave, debug, more...),
              0);
    return f;
}

TEST(FormLines, OnlyNegativeThresholdsReportAndOnlyDebugWrites) {
    const test::WorkingFolder folder;
    const auto page = formPage();
    for (int wave : {0, 10, 254, INT_MAX}) {
        const Found f = detect(KelDetectLines, page.get(), wave, -1, 1000, 0);
        EXPECT_EQ(f.rowCount + f.columnCount, 0);
        EXPECT_EQ(f.rows[0] + f.columns[0], -14);
    }
    const Found all = detect(KelDetectLines, page.get(), -1, -1, kSize.width, 0);
    EXPECT_EQ(all.rowCount, 1);
    EXPECT_EQ(all.columnCount, 1);
    EXPECT_EQ(all.rows[0], kMiddle);
    EXPECT_EQ(all.columns[0], (kSize.width - 1) / 2);
    const Found narrow = detect(KelDetectLinesWithParam, page.get(), -1, -1, kSize.height, 0, 3);
    EXPECT_EQ(narrow.rowCount, 1);
    EXPECT_EQ(narrow.columnCount, 0);
    EXPECT_EQ(detect(KelDetectLines, page.get(), -1, 0, 1000, 0).rowCount, 0);
    EXPECT_EQ(folder.files(), Names{});

    for (int width : {6, 3}) {  // 6 is that of KelDetectLines
        if (width == 6)
            detect(KelDetectLines, page.get(), 10, 80, 15, 1);
        else
            detect(KelDetectLinesWithParam, page.get(), 10, 80, 15, 1, width);
        EXPECT_EQ(folder.files(), Names{"Mask.bmp"});
        cv::Mat expected(kSize.height, kSize.width, CV_8UC1, cv::Scalar(0));
        for (const cv::Vec4i& s : segmentsOf(page.get()))
            cv::line(expected, {s[0], s[1]}, {s[2], s[3]}, cv::Scalar(255), width);
        Bytes blue(expected.begin<unsigned char>(), expected.end<unsigned char>());
        int w = 0, h = 0, channels = 0;
        unsigned char* mask = nullptr;
        ASSERT_EQ(KelLoadImageFiles("Mask.bmp", &w, &h, &mask, &channels, -1), 0);
        ASSERT_EQ(channels, 3);
        const size_t plane = test::area(kSize);
        EXPECT_EQ(Bytes(mask, mask + 2 * plane), Bytes(2 * plane, 0));
        EXPECT_EQ(Bytes(mask + 2 * plane, mask + 3 * plane), blue);
        Kel_ReleaseImage(mask);
    }
}

/// Red, green, blue and grey along the segments near row kMiddle; the count of samples.
std::vector<double> sumsPlainly(const std::vector<cv::Vec4i>& segments, const Bytes& colour) {
    std::vector<double> sums(5);
    const auto add = [&](int x, int y) {
        if (y < 0 || y >= kSize.height) return;
        const size_t at = size_t(y) * size_t(kSize.width) + size_t(x), n = test::area(kSize);
        const double r = colour[at], g = colour[at + n], b = colour[at + 2 * n];
        for (auto [i, v] : {std::pair{0U, r}, {1U, g}, {2U, b}})
            sums[i] += v;
        sums[3] += 0.299 * r + 0.587 * g + 0.114 * b;
        ++sums[4];
    };
    for (cv::Vec4i s : segments) {
        if (s[0] >= s[2]) s = {s[2], s[3], s[0], s[1]};
        const int dx = s[2] - s[0], ady = std::abs(s[3] - s[1]);
        const bool level = dx == 0 ? ady == 0 : ady < 4 && ady / double(dx) < 0.05;
        const int middle = int((s[1] + s[3]) * 0.5);
        if (!level || std::abs(middle - kMiddle) > 3) continue;
        for (int x = s[0]; x < s[2] + (ady > 0); ++x) {
            const double slope = ady > 0 ? dx / double(ady) : 0.0;
            add(x, ady == 0 ? s[1] : int(x * slope + (s[3] - s[2] * slope)));
        }
    }
    return sums;
}

TEST(FormLines, ColourAlongSegments) {
    const auto page = formPage();
    const auto segments = segmentsOf(page.get());
    Bytes colour = test::page(kSize, 3).samples;
    const auto sums = sumsPlainly(segments, colour);
    ASSERT_GT(sums[4], 150);
    ASSERT_GT(std::count_if(segments.begin(), segments.end(),
                            [](const cv::Vec4i& s) { return std::abs(s[1] - s[3]) % 4 != 0; }),
              0);
    for (bool reports : {true, false}) {
        int red = -1, green = -1, blue = -1, grey = -1;
        detect(KelDetectLinesAndColor, page.get(), reports ? -1 : 0, -1, 1000, 0, colour.data(),
               &red, &green, &blue, &grey);
        EXPECT_EQ(red, reports ? int(sums[0] / sums[4]) : -1);
        EXPECT_EQ(green, reports ? int(sums[1] / sums[4]) : -1);
        EXPECT_EQ(blue, reports ? int(sums[2] / sums[4]) : -1);
        EXPECT_EQ(grey, reports ? int(sums[3] / sums[4]) : -1);
    }
}

TEST(FormLines, ShownLines) {
    const kelSize size{7, 5};
    unsigned char colour[] = {200, 100, 50};
    for (int channels : {1, 3})
        for (char direction : {'H', 'V', 'X'}) {
            std::string name = test::scratchPath("lines.bmp");
            std::filesystem::remove(name);
            Bytes image = test::page(size, channels).samples;
            const Bytes before = image;
            Ints lines = {2, 0, -1, size.height, size.width, 6, INT_MIN, INT_MAX};
            const int result = KelShowLines(image.data(), size, channels, lines.data(),
                                            int(lines.size()), direction, colour, name.data());
            EXPECT_EQ(result, direction == 'X' ? -1 : 0);
            EXPECT_EQ(image, before);
            EXPECT_EQ(std::filesystem::exists(name), direction != 'X');
            if (direction == 'X') continue;
            Bytes expected = before;
            expected.resize(expected.size() + size_t(size.width));
            for (size_t line : {2U, 0U, 5U, direction == 'H' ? 5U : 6U})
                for (size_t c = 0; c < size_t(channels); ++c)
                    for (size_t i = 0; i < (direction == 'H' ? 7U : 5U); ++i)
                        expected[c * 35 + (direction == 'H' ? line * 7 + i : i * 7 + line)] =
                            colour[c];
            expected.resize(before.size());
            int w = 0, h = 0, loadedChannels = 0;
            unsigned char* shown = nullptr;
            KelLoadImageFiles(name.c_str(), &w, &h, &shown, &loadedChannels, channels == 3 ? 1 : 0);
            EXPECT_EQ(Bytes(shown, shown + before.size()), expected) << channels << direction;
            Kel_ReleaseImage(shown);
        }
    int line = 0;
    std::string none = test::scratchPath("none.bmp");
    EXPECT_THROW(KelShowLines(nullptr, {INT_MIN, INT_MIN}, 3, &line, 1, 'H', colour, none.data()),
                 cv::Exception);
}

}  // namespace
