// Projections beside OpenCV's reduction, the skew search beside Leptonica's and its own plain form.
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_CalAngle.h"
#include "kel_PatternAnalysis.h"
#include "leptonica_pages.h"
#include "parallel.h"

namespace bench {
namespace {

using kel::detail::planeMat;

/// The page's ink, turned by some degrees.
Bytes binaryOf(const PageSet& page, double degrees) {
    const double radians = degrees * CV_PI / 180.0, c = std::cos(radians), s = std::sin(radians);
    const auto [w, h] = page.size;
    Bytes binary(page.area());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const double dx = x - w / 2.0, dy = y - h / 2.0;
            const int fromX = static_cast<int>(std::lround(c * dx + s * dy + w / 2.0));
            const int fromY = static_cast<int>(std::lround(c * dy - s * dx + h / 2.0));
            const bool inside = fromX >= 0 && fromX < w && fromY >= 0 && fromY < h;
            const auto at = [w = w](int column, int row) {
                return static_cast<size_t>(row) * static_cast<size_t>(w) +
                       static_cast<size_t>(column);
            };
            binary[at(x, y)] = inside && page.grey[at(fromX, fromY)] < 150 ? 255 : 0;
        }
    return binary;
}

void addProjectionRows(const PageSet& page, const std::shared_ptr<Bytes>& binary) {
    const kelSize size = page.size;
    for (const char direction : {'H', 'V'}) {
        const bool rows = direction == 'H';
        auto ours = std::make_shared<std::vector<int>>(
            static_cast<size_t>(rows ? size.height : size.width));
        auto theirs = std::make_shared<cv::Mat>();
        const auto call = [=] {
            cv::reduce(planeMat(binary->data(), size), *theirs, rows ? 1 : 0, cv::REDUCE_SUM,
                       CV_32S);
        };
        const int length = rows ? size.width : size.height;
        const auto equal = [=](int (*ourCall)(unsigned char*, kelSize, int*, char), int divisor) {
            ourCall(binary->data(), size, ours->data(), direction);
            call();
            for (size_t i = 0; i < ours->size(); ++i)
                if ((*ours)[i] != theirs->ptr<int>()[i] / divisor) return false;
            return true;
        };
        addRow({std::string("KelImageProjcet ") + direction, page.name + " binary",
                [=] { KelImageProjcet(binary->data(), size, ours->data(), direction); },
                "OpenCV reduce", call, 1.0, [=] { return equal(KelImageProjcet, length); }});
        addRow({std::string("KelImageProject1 ") + direction, page.name + " binary",
                [=] { KelImageProject1(binary->data(), size, ours->data(), direction); },
                "OpenCV reduce", call, 1.0, [=] { return equal(KelImageProject1, 255); }});
    }
}

constexpr double kRange = 10.0, kAccuracy = 0.1;

/// The search as it is defined, pixel by pixel.
double plainSearch(const Bytes& page, kelSize size) {
    const auto [w, h] = size;
    const int count = static_cast<int>(std::sqrt(double(w * w + h * h))) + 10;
    std::vector<int> bins(static_cast<size_t>(count));
    double step = kRange, centre = 0.0;
    for (int half : {5, 5, 2, 2}) {
        step /= half;
        int best = 0;
        double bestAngle = 0.0;
        for (int i = -half; i <= half; ++i) {
            const double angle = i * step + centre, radians = 3.1415926 * (angle / 180.0);
            const int s = static_cast<int>(std::sin(-radians) * 32768.0);
            const int c = static_cast<int>(std::cos(radians) * 32768.0);
            std::fill(bins.begin(), bins.end(), 0);
            const unsigned char* sample = page.data();
            for (int y = 0; y < h; ++y) {
                int p = (y - h / 2) * c + (count << 14) - (w / 2) * s;
                for (int x = 0; x < w; ++x, p += s)
                    if (*sample++ == 255)
                        ++bins[static_cast<size_t>(angle == 0.0 ? (count - h) / 2 + y : p >> 15)];
            }
            uint32_t sum = 0;
            for (size_t k = 0; k + 1 < bins.size(); ++k) {
                const auto difference = static_cast<uint32_t>(bins[k + 1] - bins[k]);
                sum += difference * difference;
            }
            const auto score = static_cast<int32_t>(sum);
            if (i > -half && score <= best) continue;
            best = score;
            bestAngle = angle;
        }
        centre = bestAngle;
    }
    return centre;
}

void addSkewRows(const PageSet& page, const char* name, const std::shared_ptr<Bytes>& binary) {
    const kelSize size = page.size;
    auto angle = std::make_shared<double>();
    const auto search = [=] {
        KelDetectDocumentAngle(binary->data(), size.width, size.height, kRange, kAccuracy,
                               angle.get());
    };
    const auto plain = [=] { return plainSearch(*binary, size); };
    const auto equal = [=] {
        search();
        return *angle == plain();
    };
    const PixHandle pix = owned(pixThresholdToBinary(pixOf(*binary, size).get(), 128));
    const auto leptonica = [=](int sweepReduction, int searchReduction) {
        return [=] {
            float theirs = 0, confidence = 0;
            pixFindSkewSweepAndSearch(pix.get(), &theirs, &confidence, sweepReduction,
                                      searchReduction, static_cast<float>(kRange), 1.0F,
                                      static_cast<float>(kAccuracy));
        };
    };
    addRow({"KelDetectDocumentAngle", page.name + name, search, "Leptonica, by 2 and 1",
            leptonica(2, 1), 1.0, equal});
    addRow({"KelDetectDocumentAngle", page.name + name, search, "Leptonica, by 4 and 2",
            leptonica(4, 2), 1.5, equal});  // it looks at reduced pages
    addRow({"KelDetectDocumentAngle", page.name + name, search, "its plain form",
            [=] { *angle = plain(); }, 0.12, equal});
    addTeamRow("KelDetectDocumentAngle, " + page.name + name, search);
}

/// What the search by angles does to each pixel of ink, without its scores.
void visitInkPlainly(const Bytes& page, kelSize size, int steps, std::vector<int>& bins) {
    const auto [w, h] = size;
    const int centreX = w / 2, centreY = h / 2;
    const auto half = static_cast<int>(bins.size() / 2);
    for (int i = 1; i <= steps; ++i) {
        const double theta = i * kRange / steps * CV_PI / 180.0;
        const double sine = std::sin(theta), cosine = std::cos(theta);
        const unsigned char* sample = page.data();
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                if (*sample++ == 255) {
                    const double across = (x - centreX) * sine, down = (y - centreY) * cosine;
                    ++bins[static_cast<size_t>(across + down + half)];
                    ++bins[static_cast<size_t>(-across + down + half)];
                }
    }
}

void addAngleRows(const PageSet& page, const std::shared_ptr<Bytes>& binary) {
    const kelSize size = page.size;
    auto angle = std::make_shared<double>();
    auto bins = std::make_shared<std::vector<int>>(2 * static_cast<size_t>(size.height));
    const auto search = [=](int steps) {
        return [=] { KelDetectAngle(binary->data(), size, 1, angle.get(), kRange, steps); };
    };
    const auto near = [=] { return std::abs(std::abs(*angle) - 2.3) <= 0.3; };
    addRow({"KelDetectAngle, 20 steps", page.name + " skewed", search(20), "its pixels, plainly",
            [=] { visitInkPlainly(*binary, size, 20, *bins); }, 1.0, near});
    addRow({"KelDetectAngle, 20 steps", page.name + " skewed", search(20), "10 steps", search(10),
            2.2, [=] { return true; }});
}

/// On a quarter of the page: what both share takes long.
void addLineRow(const PageSet& page, Bytes binary) {
    auto rows = std::make_shared<std::vector<int>>(page.size.height);
    auto columns = std::make_shared<std::vector<int>>(page.size.width);
    auto segments = std::make_shared<std::vector<cv::Vec4i>>();
    const cv::Mat mat = planeMat(binary.data(), {page.size.width, page.size.height / 4}).clone();
    for (int y = 50; y < mat.rows; y += 100)
        cv::line(mat, {100, y}, {mat.cols - 100, y}, cv::Scalar(255), 3);
    auto counts = std::make_shared<cv::Vec2i>(-1, -1);
    addRow({"KelDetectLines", page.name + " binary, quarter",
            [=] {
                IplImage image = cvIplImage(mat);
                KelDetectLines(&image, rows->data(), &(*counts)[0], columns->data(), &(*counts)[1],
                               100, 60, 5, 15, 80, 10, 15, 60, 16, 0);
            },
            "OpenCV HoughLinesP",
            [=] { cv::HoughLinesP(mat, *segments, 1.0, CV_PI / 180, 100, 60, 5); }, 1.1,
            [=] { return *counts == cv::Vec2i(0, 0) && !segments->empty(); }});
}

}  // namespace

void addAnalysisRows() {
    kel::detail::forceTeamSize(1);
    for (const PageSet& page : pages()) {
        const auto binary = std::make_shared<Bytes>(binaryOf(page, 2.3));
        addProjectionRows(page, binary);
        addSkewRows(page, " skewed", binary);
        addAngleRows(page, binary);
        addLineRow(page, *binary);
    }
    const PageSet& page = pages().back();
    addSkewRows(page, " straight", std::make_shared<Bytes>(binaryOf(page, 0.0)));
}

}  // namespace bench
