// Histograms of planes, and levels stretched over the range that most samples have.
#include <algorithm>
#include <cstring>

#include "histogram.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

constexpr int kLevels = 256;
constexpr int kHighest = kLevels - 1;
constexpr int kSmallestRange = 5;

/// First level with at least `rate` of the samples below it; -1 if it is none of 0..254.
int lowEnd(const double* shares, double rate) {
    double sum = 0.0;
    for (int i = 0; i < kHighest; ++i) {
        if (!(sum < rate)) return i;
        sum += shares[i];
    }
    return -1;
}

/// The same from above; -1 if it is none of 255..1.
int highEnd(const double* shares, double rate) {
    double sum = 0.0;
    for (int i = kHighest; i > 0; --i) {
        if (!(sum < rate)) return i;
        sum += shares[i];
    }
    return -1;
}

int adjustLevels(unsigned char* src, unsigned char* dst, kelSize size, int channels, char channel,
                 double lowRate, double highRate) {
    if (channels == 1) return KelColorLeversAdjust1D(src, dst, size, lowRate, highRate);
    if (isEmpty(size)) return 0;
    const auto plane = static_cast<size_t>(planeStep(size));
    const size_t named = channel == 'R' ? 0 : channel == 'G' ? 1 : 2;
    if (channel == 'R' || channel == 'G' || channel == 'B') {
        if (src != dst) std::memmove(dst, src, 3 * plane);
        unsigned char* const one = dst + named * plane;
        return KelColorLeversAdjust1D(one, one, size, lowRate, highRate);
    }
    for (size_t c = 0; c < 3; ++c)
        KelColorLeversAdjust1D(src + c * plane, dst + c * plane, size, lowRate, highRate);
    return 0;
}

}  // namespace

int KelCalHist(unsigned char* plane, kelSize size, int* hist) {
    const Histogram counts = histogramOf(constPlaneOf(plane, size, 0));
    std::transform(counts.begin(), counts.end(), hist,
                   [](uint32_t count) { return static_cast<int>(count); });
    return 0;
}

int KelHistSegProportion(int* hist, int total, double lowRate, double highRate, int* map,
                         int* lowLevel, int* highLevel) {
    if (total < 1) return -1;
    double shares[kLevels];
    for (int i = 0; i < kLevels; ++i)
        shares[i] = hist[i] / static_cast<double>(total);
    const int low = lowEnd(shares, lowRate), high = highEnd(shares, highRate);
    if (low < 0 || high < 0) return -1;
    const int count = high - low + 1;
    if (count < kSmallestRange) return -1;
    const double scale = 255.0 / count;
    for (int i = low; i <= high; ++i)
        map[i] = std::clamp(static_cast<int>((i - low + 1) * scale), 0, kHighest);
    *lowLevel = std::max(low - 1, 0);
    *highLevel = std::min(high + 1, kHighest);
    return 0;
}

int KelColorLeversAdjust1D(unsigned char* src, unsigned char* dst, kelSize size, double lowRate,
                           double highRate) {
    if (isEmpty(size)) return 0;
    const auto count = static_cast<size_t>(planeStep(size));
    int hist[kLevels], map[kLevels] = {}, lowLevel = 0, highLevel = kHighest;
    KelCalHist(src, size, hist);
    if (KelHistSegProportion(hist, wrapMul(size.width, size.height), lowRate, highRate, map,
                             &lowLevel, &highLevel) != 0) {
        if (src != dst) std::memmove(dst, src, count);
        return 0;
    }
    unsigned char table[kLevels];
    for (int v = 0; v < kLevels; ++v)
        table[v] = static_cast<unsigned char>(v <= lowLevel    ? 0
                                              : v >= highLevel ? kHighest
                                                               : map[v]);
    rowKernels().lookUp(src, table, dst, count);
    return 0;
}

int KelAutoColorLeversAdjust(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                             char channel, double lowRate, double highRate) {
    return adjustLevels(src, dst, size, channels, channel, lowRate, highRate);
}

int KelAutoColorLeversAdjust1(unsigned char* src, unsigned char* dst, int width, int height,
                              int channels, char channel, double lowRate, double highRate) {
    return adjustLevels(src, dst, {width, height}, channels, channel, lowRate, highRate);
}
