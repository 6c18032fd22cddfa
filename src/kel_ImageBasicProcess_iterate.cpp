// Global levels found by iteration from a histogram, and the binarizations that stand on them.
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "histogram.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageBasicProcess_iterate.h"
#include "kernels/row_kernels.h"
#include "local_threshold.h"
#include "plane_view.h"
#include "sizes.h"
#include "threshold_plane.h"

using namespace kel::detail;

namespace {

constexpr int kHighest = 255;
constexpr int kLocalBlock = 19;

int clampToByte(int64_t level) {
    return static_cast<int>(std::clamp<int64_t>(level, 0, kHighest));
}

/// Count and moment of one class of levels.
struct ClassSum {
    int64_t count = 0;
    int64_t moment = 0;

    void add(int count32, int weight) {
        count += count32;
        moment += wrapMul(weight, count32);  // the product is 32-bit by definition
    }
    double mean() const { return static_cast<double>(moment) / static_cast<double>(count); }
};

enum class Step { done, noLower, noUpper };

/// One step of the iteration from `level`. The weights of the lower class run one above the level,
/// and its mean loses that one again, but not below 0: the definition. The level itself is in
/// neither class.
Step stepLevel(const int* hist, int level, int maxLevel, int& next) {
    ClassSum lower, upper;
    for (int i = 0; i < level; ++i)
        lower.add(hist[i], i + 1);
    if (level == 0 || lower.count == 0) return Step::noLower;
    for (int i = level + 1; i <= std::min(maxLevel, kHighest); ++i)
        upper.add(hist[i], i);
    if (level + 1 > maxLevel || upper.count == 0) return Step::noUpper;
    const double value = (upper.mean() + std::max(0.0, lower.mean() - 1.0)) * 0.5 + 0.5;
    // Counts below 0 can drive it anywhere.
    next = static_cast<int>(std::clamp<double>(value, std::numeric_limits<int>::min(),
                                               std::numeric_limits<int>::max()));
    return Step::done;
}

/// The level halfway between the ends of the histogram, each end trimmed by 0.5 % of the samples.
unsigned char startLevel(const Histogram& histogram, int total) {
    const int cut = static_cast<int>(total * 0.005);
    int low = 0;
    int64_t sum = 0;
    for (int i = 0; i <= kHighest; ++i) {
        sum += histogram[static_cast<size_t>(i)];
        if (sum > cut) {
            low = std::max(i - 1, 0);
            break;
        }
    }
    int high = kHighest;
    sum = 0;
    for (int k = 0; k <= kHighest; ++k) {
        sum += histogram[static_cast<size_t>(kHighest - k)];
        if (sum > cut) {
            high = std::min(256 - k, kHighest);
            break;
        }
    }
    return static_cast<unsigned char>((low + high) >> 1);
}

/// Finds the level of both `qifa` binarizations; false when there is none.
bool findLevel(const unsigned char* src, kelSize size, unsigned char& thres, int offset,
               int minThres) {
    const int total = wrapMul(size.width, size.height);
    if (isEmpty(size) || total < 1) return false;
    const Histogram histogram = histogramOf({src, total, 1, total});
    int hist[256];
    std::copy(histogram.begin(), histogram.end(), hist);
    const unsigned char start = startLevel(histogram, total);
    thres = start;
    if (KelGetThreshold(hist, 0, size.width, size.height, start, &thres, kHighest) == 0)
        return false;
    // A level that is too low is replaced by twice the floor, as a byte, not by the floor itself.
    thres = static_cast<unsigned char>(thres > minThres ? clampToByte(int64_t{thres} + offset)
                                                        : wrapMul(minThres, 2));
    return true;
}

unsigned char scaledLevel(unsigned char level, double ratio) {
    const double scaled = level * ratio;
    if (!(scaled >= 0)) return 0;
    return static_cast<unsigned char>(scaled > 255.0 ? kHighest : static_cast<int>(scaled));
}

/// Compares with the one level where a sample isn't above its local threshold, with the other
/// elsewhere. The local threshold costs most, and matters only to samples between the levels: rows
/// without any go without it, as do samples that are ignored.
class TwoLevels {
  public:
    TwoLevels(unsigned char* src, kelSize size, unsigned char low, unsigned char high,
              const unsigned char* ignored)
        : src_(constPlaneOf(src, size, 0)),
          ignored_(ignored),
          local_(src, size, cv::THRESH_BINARY, kLocalBlock, 0.0),
          low_(low),
          high_(high) {}

    int bandRows() const { return local_.bandRows(); }

    void compute(int first, int end, unsigned char* out) {
        int from = first, to = end;
        while (from < to && isClear(from))
            ++from;
        while (to > from && isClear(to - 1))
            --to;
        const auto width = static_cast<size_t>(src_.width);
        const auto rows = [width](int count) { return static_cast<size_t>(count) * width; };
        unsigned char* const between = out + rows(from - first);
        unsigned char* const behind = out + rows(to - first);
        thresholdSamples(src_.row(first), out, rows(from - first), low_, 0);
        thresholdSamples(src_.row(to), behind, rows(end - to), low_, 0);
        if (from == to) return;
        local_.compute(from, to, between);
        rowKernels().thresholdByMask(src_.row(from), between, between, rows(to - from), low_,
                                     high_);
    }

  private:
    /// True when no sample of the row that counts lies between the levels.
    bool isClear(int y) const {
        const unsigned char* const row = src_.row(y);
        const unsigned char* const ignored =
            ignored_ != nullptr ? ignored_ + y * src_.strideBytes : nullptr;
        const auto start = static_cast<unsigned char>(std::min(low_, high_) + 1);
        const auto count = static_cast<unsigned char>(std::abs(high_ - low_));
        unsigned char any = 0;
        const auto isBetween = [=](int x) -> unsigned char {
            return static_cast<unsigned char>(row[x] - start) < count ? 255 : 0;
        };
        if (ignored == nullptr) {
            for (int x = 0; x < src_.width; ++x)
                any |= isBetween(x);
        } else {
            for (int x = 0; x < src_.width; ++x)
                any |= static_cast<unsigned char>(isBetween(x) & ~ignored[x]);
        }
        return any == 0;
    }

    ConstPlaneView src_;
    const unsigned char* ignored_;
    LocalThreshold local_;
    unsigned char low_, high_;
};

void compareTwoLevels(unsigned char* src, unsigned char* dst, kelSize size, unsigned char thres,
                      double lowRatio, double highRatio, const unsigned char* ignored) {
    if (isEmpty(size)) return;
    const auto bytes = static_cast<size_t>(planeStep(size));
    if (size.width < 3 || size.height < 3) {
        thresholdSamples(src, dst, bytes, thres, 0);
        return;
    }
    TwoLevels levels(src, size, scaledLevel(thres, lowRatio), scaledLevel(thres, highRatio),
                     ignored);
    fillByBands(size, levels.bandRows(), dst, overlaps(src, bytes, dst, bytes),
                [&](int first, int end, auto* out) { levels.compute(first, end, out); });
}

}  // namespace

int KelGetThreshold(int* hist, int /*lowest*/, int /*width*/, int /*height*/, unsigned char initial,
                    unsigned char* out, int maxLevel) {
    unsigned char level = initial;
    for (int round = 0; round < maxLevel; ++round) {
        int next = 0;
        if (stepLevel(hist, level, maxLevel, next) != Step::done) return 0;
        if (next == level) {
            *out = level;
            return 1;
        }
        level = static_cast<unsigned char>(next);
    }
    *out = level;
    return 0;
}

int KelCalThreshold(int* hist, int /*lowest*/, int /*width*/, int /*height*/, unsigned char* thres,
                    int maxLevel) {
    const int level = *thres;
    int next = 0;
    switch (stepLevel(hist, level, maxLevel, next)) {
        case Step::noLower:
            return -1;
        case Step::noUpper:
            return -2;
        case Step::done:
            break;
    }
    *thres = static_cast<unsigned char>(next);
    return std::abs(wrapAdd(next, -level));
}

int KelBinarize_qifa(unsigned char* src, kelSize size, unsigned char* dst, unsigned char* thres,
                     int offset, int minThres) {
    if (!findLevel(src, size, *thres, offset, minThres)) return -1;
    KelBinarizeThreshold(src, dst, size, *thres, 0);
    return 0;
}

int KelBinarize_qifa_WholeAndPart(unsigned char* src, kelSize size, unsigned char* dst,
                                  unsigned char& thres, int offset, int minThres, double lowRatio,
                                  double highRatio) {
    return binarizeWholeAndPart(src, size, dst, thres, offset, minThres, lowRatio, highRatio,
                                nullptr);
}

int kel::detail::binarizeWholeAndPart(unsigned char* src, kelSize size, unsigned char* dst,
                                      unsigned char& thres, int offset, int minThres,
                                      double lowRatio, double highRatio,
                                      const unsigned char* ignored) {
    if (!findLevel(src, size, thres, offset, minThres)) return -1;
    compareTwoLevels(src, dst, size, thres, lowRatio, highRatio, ignored);
    return 0;
}

int KelBinarizeThreshold_WholeAndPart(unsigned char* src, unsigned char* dst, kelSize size,
                                      unsigned char thres, double lowRatio, double highRatio) {
    compareTwoLevels(src, dst, size, thres, lowRatio, highRatio, nullptr);
    return 0;
}
