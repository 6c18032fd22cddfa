// How far KelDetectDocumentAngle and Leptonica's skew finder are from the true skew of pages, as a
// table. Both look at the same binary page within the same range; Leptonica at the page itself and
// its half, and as its own default does, at a half and a quarter.
//
// Usage: skew_accuracy PAGE=DEGREES... The skew is above 0 for a page turned clockwise. A page of
// 0 degrees is looked at in turned copies as well.
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "KelImageLib.h"
#include "leptonica_pages.h"

namespace {

using bench::Bytes;

constexpr double kRange = 12.0;
constexpr double kTurns[] = {-9.0, -6.15, -3.3, -1.72, -0.45, 0.25, 0.8, 2.3, 4.07, 7.6};

struct GreyPage {
    kelSize size{};
    Bytes samples;
};

bool load(const std::string& name, GreyPage& page) {
    unsigned char* loaded = nullptr;
    int channels = -100;  // no size limit
    if (Kel_LoadImageFile2Buffer(name.c_str(), &loaded, &page.size.width, &page.size.height,
                                 &channels) != 0)
        return false;
    page.samples.resize(static_cast<size_t>(page.size.width) *
                        static_cast<size_t>(page.size.height));
    KelColorConvert(loaded, page.size, channels, page.samples.data(), page.size, 1);
    Kel_ReleaseImage(loaded);
    return true;
}

/// The page turned clockwise, on white.
GreyPage turned(const GreyPage& page, double degrees) {
    GreyPage result = page;
    const auto [w, h] = page.size;
    const cv::Mat matrix = cv::getRotationMatrix2D(
        {static_cast<float>(w) / 2, static_cast<float>(h) / 2}, -degrees, 1.0);
    const cv::Mat to(h, w, CV_8UC1, result.samples.data()), from = to.clone();
    cv::warpAffine(from, to, matrix, from.size(), cv::INTER_CUBIC, cv::BORDER_CONSTANT,
                   cv::Scalar(255));
    return result;
}

/// Sums of the errors of one finder.
struct Errors {
    double sum = 0.0, most = 0.0;
    int count = 0;

    void add(double error) {
        sum += std::abs(error);
        most = std::max(most, std::abs(error));
        ++count;
    }
    void add(const Errors& more) {
        sum += more.sum;
        most = std::max(most, more.most);
        count += more.count;
    }
};

/// One finder at one accuracy.
struct Finder {
    const char* name;
    double accuracy;
    int sweepReduction, searchReduction;  ///< of Leptonica; 0 for ours

    double skewOf(Bytes& ink, kelSize size, Pix* pix) const {
        double angle = 0.0;
        if (sweepReduction == 0) {
            KelDetectDocumentAngle(ink.data(), size.width, size.height, kRange, accuracy, &angle);
            return angle;
        }
        float toTurn = 0, confidence = 0;
        pixFindSkewSweepAndSearch(pix, &toTurn, &confidence, sweepReduction, searchReduction,
                                  static_cast<float>(kRange), 1.0F, static_cast<float>(accuracy));
        return -toTurn;
    }
};

constexpr Finder kFinders[] = {{"ours, 0.1", 0.1, 0, 0},
                               {"Leptonica by 2 and 1, 0.1", 0.1, 2, 1},
                               {"Leptonica by 4 and 2, 0.1", 0.1, 4, 2},
                               {"ours, 0.01", 0.01, 0, 0},
                               {"Leptonica by 2 and 1, 0.01", 0.01, 2, 1},
                               {"Leptonica by 4 and 2, 0.01", 0.01, 4, 2}};
using ErrorsOfAll = std::vector<Errors>;

void measure(const GreyPage& page, double skew, ErrorsOfAll& errors) {
    Bytes grey = page.samples, ink(grey.size());
    KelBinarizeImage(grey.data(), 1, ink.data(), page.size, 1, KEL_BIN_METHOD_AUTO, 0, 0, 0);
    const bench::PixHandle pix =
        bench::owned(pixThresholdToBinary(bench::pixOf(ink, page.size).get(), 128));
    for (size_t i = 0; i < errors.size(); ++i)
        errors[i].add(kFinders[i].skewOf(ink, page.size, pix.get()) - skew);
}

void print(const std::string& name, const ErrorsOfAll& errors) {
    std::printf("| %s | %d |", name.c_str(), errors[0].count);
    for (const Errors& e : errors)
        std::printf(" %.3f (%.2f) |", e.sum / e.count, e.most);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    std::printf("| page | skews |");
    for (const Finder& f : kFinders)
        std::printf(" %s |", f.name);
    std::printf("\n|---|---|");
    for (size_t i = 0; i < std::size(kFinders); ++i)
        std::printf("---|");
    std::printf("\n");

    ErrorsOfAll all(std::size(kFinders));
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const size_t equals = argument.rfind('=');
        GreyPage page;
        if (equals == std::string::npos || !load(argument.substr(0, equals), page)) {
            std::fprintf(stderr, "%s: not a page and its skew, PAGE=DEGREES\n", argv[i]);
            return 1;
        }
        const double skew = std::strtod(argument.c_str() + equals + 1, nullptr);
        ErrorsOfAll errors(std::size(kFinders));
        measure(page, skew, errors);
        if (skew == 0.0)
            for (const double turn : kTurns)
                measure(turned(page, turn), turn, errors);
        for (size_t k = 0; k < errors.size(); ++k)
            all[k].add(errors[k]);
        const size_t slash = argument.rfind('/', equals) + 1;
        print(argument.substr(slash, equals - slash), errors);
    }
    if (argc > 1) print("all", all);
    return 0;
}
