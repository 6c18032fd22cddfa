// Skew by projection gradient: a coarse to fine search over projections of the page's ink.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ink_table.h"
#include "kel_ArrayProperties.h"
#include "kel_CalAngle.h"
#include "kel_CalAngle_internal.h"
#include "parallel.h"
#include "sizes.h"
#include "truncate.h"

using namespace kel::detail;

namespace {

constexpr int kThreads = 2;
constexpr int kUnknown = -1;
constexpr size_t kMostFactors = 32;

InkTable inkOf(unsigned char* image, int w, int h) {
    return InkTable(image, w, h, kThreads);
}

void projectAngle(const InkTable& ink, double angle, int* bins, int binCount) {
    const int w = ink.width(), h = ink.height();
    if (angle == 0.0) {
        const int64_t first = (int64_t{binCount} - h) / 2;
        for (int y = 0; y < h; ++y)
            if (first + y >= 0 && first + y < binCount)
                bins[first + y] = wrapAdd(bins[first + y], static_cast<int>(ink.rowTotal(y)));
        return;
    }
    const double radians = 3.1415926 * (angle / 180.0);
    const int s = truncated(std::sin(-radians) * 32768.0);
    const int c = truncated(std::cos(radians) * 32768.0);
    const auto middle = static_cast<uint32_t>(binCount) << 14;
    const auto start = middle - static_cast<uint32_t>(wrapMul(h / 2, c)) -
                       static_cast<uint32_t>(wrapMul(w / 2, s));
    ink.project(start, c, s, bins, binCount);
}

int projectionGradient(const InkTable& ink, double angle) {
    const int count = binsAtAnyAngle(ink.width(), ink.height());
    std::vector<int> bins(static_cast<size_t>(count));
    projectAngle(ink, angle, bins.data(), count);
    // Clears the two end bins and smooths nothing: scores rest on the bins as they are.
    KelWaveFilterWin(bins.data(), count, 1, 2);
    uint32_t score = 0;
    for (size_t i = 0; i + 1 < bins.size(); ++i) {
        const auto step = static_cast<uint32_t>(wrapSub(bins[i + 1], bins[i]));
        score += step * step;
    }
    return static_cast<int32_t>(score);
}

void fillScores(const InkTable& ink, int half, double centre, double step, int* scores) {
    const auto score = [&](int i) {
        int& entry = scores[static_cast<ptrdiff_t>(i) + half];
        if (entry == kUnknown) entry = projectionGradient(ink, i * step + centre);
    };
    runSections(kThreads, 2, [&](int section) {
        if (section == 0) {
            for (int i = -half; i <= -1; ++i)
                score(i);
        } else {
            for (int i = 0; i <= half; ++i)
                score(i);
        }
    });
}

void searchStage(const InkTable& ink, double centre, double step, int half, double* bestAngle,
                 int* bestScore, int centreScore) {
    const auto middle = static_cast<size_t>(half);
    std::vector<int> scores(2 * middle + 1, kUnknown);
    if (centreScore != kUnknown) scores[middle] = centreScore;
    fillScores(ink, half, centre, step, scores.data());
    const auto best = std::max_element(scores.begin(), scores.end());  // the first of equals
    *bestScore = *best;
    *bestAngle = static_cast<int>(best - scores.begin() - half) * step + centre;
}

}  // namespace

int kel::detail::binsAtAnyAngle(int w, int h) {
    const int32_t squares = wrapAdd(wrapMul(w, w), wrapMul(h, h));
    return static_cast<int>(std::sqrt(static_cast<double>(std::max(squares, 0)))) + 10;
}

int KelDetectDocumentAngle(unsigned char* image, int w, int h, double range, double accuracy,
                           double* angle) {
    if (accuracy <= 0.0 || range <= 0.0 || accuracy > range) return -1;
    *angle = 0.0;
    const double steps = range / accuracy;
    if (!(steps >= 2.0 && steps <= INT32_MAX)) return 0;  // no stage, or no table could hold one
    int factors[kMostFactors];
    int count = 0;
    KelMatteNoToPrimeNumMultiply(static_cast<int>(steps), factors, &count);
    KelOrderArray(factors, count, false);

    const InkTable ink = inkOf(image, w, h);
    double step = range, centre = 0.0;
    int known = kUnknown;
    for (int i = 0; i < count && factors[i] > 1; ++i) {
        step /= factors[i];
        int best = 0;
        searchStage(ink, centre, step, factors[i], angle, &best, known);
        centre = *angle;
        known = best;
    }
    return 0;
}

int KelMatteNoToPrimeNumMultiply(int number, int* factors, int* factorCount) {
    int count = 0;
    while (number > 5) {
        int divisor = 2;
        while (int64_t{divisor} * divisor <= number && number % divisor != 0)
            ++divisor;
        if (int64_t{divisor} * divisor > number) break;
        factors[count++] = divisor;
        number /= divisor;
    }
    factors[count++] = number;
    *factorCount = count;
    return 0;
}

int KelCalAngleAssignRangeAcc(unsigned char* image, int w, int h, double centre, double step,
                              int half, double* bestAngle, int* bestScore, int centreScore) {
    searchStage(inkOf(image, w, h), centre, step, half, bestAngle, bestScore, centreScore);
    return 0;
}

int KelCalProjGradientsAssignAngle(unsigned char* image, int w, int h, int half, double centre,
                                   double step, int* scores) {
    fillScores(inkOf(image, w, h), half, centre, step, scores);
    return 0;
}

int KelCalProjGradient(unsigned char* image, int w, int h, double angle, int* score) {
    *score = projectionGradient(inkOf(image, w, h), angle);
    return 0;
}

int KelProjectAngle(unsigned char* image, int w, int h, double angle, int* bins, int binCount) {
    projectAngle(inkOf(image, w, h), angle, bins, binCount);
    return 0;
}

int KelWaveFilterWin(int* wave, int len, int radius, int passes) {
    if (len < 1 || radius < 1) return 0;
    const int64_t last = int64_t{len} - radius - 1;
    const int width = static_cast<int>(2 * std::min<int64_t>(radius, len) + 1);
    const int unwrapped = INT32_MAX / width;
    for (int pass = 0; pass < passes; ++pass)
        for (int i = 0; i < len; ++i) {
            if (i < radius || i > last) {
                wave[i] = 0;
            } else if (wave[i] > unwrapped || wave[i] < -unwrapped) {
                wave[i] = wrapMul(wave[i], width) / width;  // loses what the product does not hold
            }
        }
    return 0;
}
