#include "skew_of_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "kel_CalAngle.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"

namespace kelpage {
namespace {

/// Noise stays below; text and rules have 10 and more, faded handwriting 3.
constexpr double kSure = 2.0;
constexpr int kScoredAngles = 161;
constexpr int kStripWidth = 16;
constexpr int kPlotHeight = 120;
constexpr int kBarWidth = 3;

/// Row projections of narrow vertical strips. Moved against each other by a slope and added, they
/// are the projection of the turned page, closely enough to compare angles.
class Strips {
  public:
    explicit Strips(const Page& ink) : size_(ink.size) {
        for (int x = 0; x < size_.width; x += kStripWidth) {
            const int width = std::min(kStripWidth, size_.width - x);
            Page strip = makePage({width, size_.height}, 1);
            CvRect rect = cvRect(x, 0, width, size_.height);
            KelCopySubImage(ink.samples.get(), ink.size, strip.samples.get(), strip.size, 1, &rect);
            std::vector<int> rows(static_cast<size_t>(size_.height));
            KelImageProject1(strip.samples.get(), strip.size, rows.data(), 'H');
            strips_.push_back(std::move(rows));
        }
    }

    /// The sum of squared differences of neighbouring bins.
    double score(double degrees) const {
        const double slope = std::tan(degrees * 3.14159265358979 / 180.0);
        // The middle of the last strip may lie beyond the page.
        const int reach = static_cast<int>(std::abs(slope) * (size_.width / 2.0 + kStripWidth)) + 2;
        std::vector<int> bins(static_cast<size_t>(size_.height + 2 * reach));
        for (size_t i = 0; i < strips_.size(); ++i) {
            const double x = (static_cast<double>(i) + 0.5) * kStripWidth - size_.width / 2.0;
            const auto from = static_cast<size_t>(reach - std::lround(slope * x));
            for (size_t y = 0; y < strips_[i].size(); ++y)
                bins[from + y] += strips_[i][y];
        }
        double sum = 0.0;
        for (size_t i = 0; i + 1 < bins.size(); ++i) {
            const double step = bins[i + 1] - bins[i];
            sum += step * step;
        }
        return sum;
    }

  private:
    kelSize size_;
    std::vector<std::vector<int>> strips_;
};

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

std::string Skew::text() const {
    char words[96];
    if (sureness == 0.0)
        std::snprintf(words, sizeof words, "0.00 degrees: a blank page");
    else
        std::snprintf(words, sizeof words, "%.2f degrees, %s: %.1f times the median score", angle,
                      isSure ? "sure" : "unsure", sureness);
    return words;
}

void addSkewOptions(CLI::App& command, SkewSearch& search) {
    command.add_option("--range", search.range, "Degrees to look at on either side")
        ->check(realRange(0.1, 45.0))
        ->capture_default_str();
    command.add_option("--accuracy", search.accuracy, "Degrees of the last step")
        ->check(realRange(0.01, 10.0))
        ->capture_default_str();
}

void requireSearch(const SkewSearch& search) {
    if (search.accuracy > search.range)
        throw CLI::ValidationError("--accuracy", "must not exceed --range");
}

Skew skewOf(const Page& ink, const SkewSearch& search) {
    Skew skew;
    if (KelCalArea(ink.samples.get(), ink.size) == 0) return skew;
    double found = 0.0;
    if (KelDetectDocumentAngle(ink.samples.get(), ink.size.width, ink.size.height, search.range,
                               search.accuracy, &found) != 0)
        return skew;
    const Strips strips(ink);
    for (int i = 0; i < kScoredAngles; ++i)
        skew.scores.push_back(strips.score((2.0 * i / (kScoredAngles - 1) - 1.0) * search.range));
    skew.sureness = strips.score(found) / medianOf(skew.scores);
    skew.isSure = skew.sureness >= kSure;
    if (skew.isSure && std::abs(found) > 1e-6) skew.angle = found;  // sums of steps may miss 0
    return skew;
}

Page plotOf(const Skew& skew, const SkewSearch& search) {
    Page plot = makePage({kScoredAngles * kBarWidth, kPlotHeight}, 1);
    std::memset(plot.samples.get(), 255, plot.planeBytes());
    const auto width = static_cast<size_t>(plot.size.width);
    const double place = (skew.angle / search.range + 1.0) / 2.0 * (kScoredAngles - 1) + 0.5;
    const auto mark = std::clamp<long>(std::lround(place * kBarWidth), 0, plot.size.width - 1);
    for (size_t y = 0; y < kPlotHeight; ++y)
        plot.samples[y * width + static_cast<size_t>(mark)] = 160;
    const double most = *std::max_element(skew.scores.begin(), skew.scores.end());
    for (size_t i = 0; i < skew.scores.size(); ++i) {
        const auto bar = static_cast<size_t>(skew.scores[i] / most * (kPlotHeight - 1));
        for (size_t y = kPlotHeight - bar; y < kPlotHeight; ++y)
            std::memset(plot.samples.get() + y * width + i * kBarWidth, 0, kBarWidth - 1);
    }
    return plot;
}

}  // namespace kelpage
