// Estimation of a hue range from sample pixels: the peak of their hue histogram, widened to where
// the histogram falls below a third of it.
#include <algorithm>
#include <array>

#include "kel_ImageBasicProcess.h"
#include "kel_ImageBasicProcess_hsv.h"

namespace {

constexpr int kCells = 361;
constexpr int kMargin = 10;
constexpr int kMostWidth = 90;

using HueCurve = std::array<double, kCells>;

/// The first cells below the edge level to both sides of the peak; -1 and kCells if there is none.
struct Edges {
    int left;
    int right;
};

Edges edgesOf(const HueCurve& curve, int peak) {
    const double edge = curve[static_cast<size_t>(peak)] * 0.33;
    const auto isBelow = [&](int i) { return edge > curve[static_cast<size_t>(i)]; };
    Edges edges{peak, peak};
    while (edges.left >= 0 && !isBelow(edges.left))
        --edges.left;
    while (edges.right < kCells && !isBelow(edges.right))
        ++edges.right;
    return edges;
}

/// Half a turn of the axis, which has 361 cells and not 360: hues above 180 land one cell lower.
int turned(int i) {
    return (i + 180) % kCells;
}

int rangeInside(const HueCurve& curve, int peak, int* hueLow, int* hueHigh, unsigned char* wraps) {
    const Edges edges = edgesOf(curve, peak);
    *wraps = 0;
    if (edges.right == kCells || edges.left == -1) return -1;
    *hueLow = std::max(edges.left - kMargin, 0);
    *hueHigh = std::min(edges.right + kMargin, 360);
    return *hueHigh - *hueLow > kMostWidth ? -1 : 0;
}

/// For a peak that may straddle 0 degrees.
int rangeRoundZero(const HueCurve& curve, int peak, int* hueLow, int* hueHigh,
                   unsigned char* wraps) {
    HueCurve half;
    for (int i = 0; i < kCells; ++i)
        half[static_cast<size_t>(turned(i))] = curve[static_cast<size_t>(i)];
    const Edges edges = edgesOf(half, turned(peak));
    if (edges.right == kCells || edges.left == -1) return -1;
    if (edges.right - edges.left > kMostWidth - 2 * kMargin) return -1;
    if (edges.left <= 180 && edges.right > 180) {
        *wraps = 1;
        *hueHigh = edges.left + 180 - kMargin;  // the range runs from here up through 0
        *hueLow = turned(edges.right) + kMargin;
        return 0;
    }
    *wraps = 0;
    *hueLow = std::max(turned(edges.left) - kMargin, 0);
    *hueHigh = std::min(turned(edges.right) + kMargin, 360);
    return 0;
}

}  // namespace

int KelCalHsvRange(unsigned char* samples, int count, double valueLimit, double chromaLimit,
                   double blackRate, int* hueLow, int* hueHigh, unsigned char* wraps,
                   unsigned char* isBlack, double* meanSat, double* meanValue) {
    std::array<int, kCells> bins{};
    int dark = 0;
    double saturations = 0, values = 0;
    const ptrdiff_t step = count;
    for (ptrdiff_t i = 0; i < step; ++i) {
        kelRGB rgb{samples[i], samples[step + i], samples[2 * step + i]};
        kelHSV hsv;
        KelCvtRgb2HsvPoint_CalRange(&rgb, &hsv);
        if (hsv.h >= 0) ++bins[static_cast<size_t>(hsv.h)];
        if (hsv.v < valueLimit && hsv.v * hsv.s < chromaLimit) ++dark;
        saturations += hsv.s;
        values += hsv.v;
    }
    const double all = count;
    *meanSat = saturations / all;
    *meanValue = values / all;
    *isBlack = dark / all > blackRate ? 1 : 0;
    if (*isBlack != 0) return 0;
    HueCurve curve;
    for (size_t i = 0; i < curve.size(); ++i)
        curve[i] = bins[i] / all;
    const auto peak =
        static_cast<int>(std::max_element(curve.begin(), curve.end()) - curve.begin());
    return peak >= 91 && peak <= 269 ? rangeInside(curve, peak, hueLow, hueHigh, wraps)
                                     : rangeRoundZero(curve, peak, hueLow, hueHigh, wraps);
}
