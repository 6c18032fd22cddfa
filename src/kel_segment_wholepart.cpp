// Whole-and-part binarization: a global level decides far from itself, a part binarization near it.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>

#include "histogram.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kHighestLevel = 210;
constexpr int kPaperFrom = 250;

/// The level and the edges of the band round it.
struct Band {
    int level, lower, upper;
};

/// Puts the rule into one comparison for each state of the part.
void judge(const unsigned char* grey, const unsigned char* part, unsigned char* dst, size_t count,
           const Band& band) {
    const auto upTo = [](int64_t highest) -> PartLimits::Side {
        return {static_cast<uint8_t>(std::clamp<int64_t>(highest, 0, 255)),
                static_cast<uint8_t>(highest >= 0 ? 255 : 0)};
    };
    const int64_t level = band.level;
    rowKernels().colour.judgeByPart(grey, part, dst, count,
                                    {upTo(std::max<int64_t>(level - 1, band.upper)),
                                     upTo(std::min<int64_t>(level, band.lower) - 1)});
}

/// The part binarization with the settings of a record, into `part`.
void binarizePart(unsigned char* src, int channels, kelSize size, unsigned char* part,
                  const kelBinrizeWholeAndPartParams& p) {
    KelBinarizeImage(src, channels, part, size, p.isOpp, p.method, p.thres, p.block_size, p.param1);
}

/// The grey plane of a driver: the luminance of a colour page, otherwise the source's first plane.
class GreyOfPage {
  public:
    GreyOfPage(unsigned char* src, int channels, kelSize size) : plane_(src) {
        if (channels != 3) return;
        plane_ = own_.emplace(static_cast<size_t>(planeStep(size))).data();
        KelColorConvert(src, size, 3, plane_, size, 1);
    }
    unsigned char* data() const { return plane_; }

  private:
    unsigned char* plane_;
    std::optional<WorkPlane> own_;
};

/// Counts of the levels below `end`.
class LevelCounts {
  public:
    LevelCounts(unsigned char* grey, kelSize size, int end) : size_(size) {
        const Histogram all = histogramOf(constPlaneOf(grey, size, 0));
        for (int level = 0; level < std::min(end, 256); ++level) {
            counts_[level] = static_cast<int>(all[static_cast<size_t>(level)]);
            total_ = wrapAdd(total_, counts_[level]);
        }
    }

    /// The level by iteration from halfway between the ends, each end trimmed by a tenth.
    bool iterate(unsigned char& level) {
        const int cut = static_cast<int>(total_ * 0.1);
        const auto firstAbove = [&](int from, int step, int none) {
            int64_t sum = 0;
            for (int i = from; i >= 0 && i < 256; i += step) {
                sum += counts_[i];
                if (sum > cut) return i;
            }
            return none;
        };
        const int start = (firstAbove(0, 1, 0) + firstAbove(255, -1, 255)) >> 1;
        return KelGetThreshold(counts_, 0, size_.width, size_.height,
                               static_cast<unsigned char>(start), &level, 255) != 0;
    }

    /// Mean distance of the samples from `level`, over the number of levels in use.
    double dispersion(int level) const {
        int used = 0;
        int64_t weight = 0, distances = 0;
        for (int i = 0; i < 256; ++i) {
            if (counts_[i] <= 0) continue;
            ++used;
            weight += counts_[i];
            distances +=
                wrapMul(std::abs(i - level), counts_[i]);  // a 32-bit product by definition
        }
        if (weight == 0) return 0.0;
        return static_cast<double>(distances) / static_cast<double>(weight * used);
    }

  private:
    kelSize size_;
    int counts_[256] = {};
    int total_ = 0;
};

unsigned char addToByte(unsigned char level, int correction) {
    return static_cast<unsigned char>(wrapAdd(level, correction));
}

/// The level of KelBinarizeImage0() and its like; a byte throughout, which wraps.
unsigned char levelOf(unsigned char* grey, kelSize size, int countedBelow,
                      const kelBinrizeWholeAndPartParams& p) {
    LevelCounts counts(grey, size, countedBelow);
    unsigned char level = 0;
    if (!counts.iterate(level))
        level = static_cast<unsigned char>(KelAutoThresholdValue3(grey, nullptr, size));
    if (p.isToJudge != 0 && counts.dispersion(level) < p.err_aver_thres)
        level = addToByte(level, p.thres_whole_err);
    return addToByte(level, p.thres_err);
}

/// The part plane: the target itself, unless that would change a source of `bytes` bytes.
class PartPlane {
  public:
    PartPlane(unsigned char* dst, kelSize size, const unsigned char* src, size_t bytes)
        : plane_(dst) {
        const auto plane = static_cast<size_t>(planeStep(size));
        if (overlaps(src, bytes, dst, plane)) plane_ = own_.emplace(plane).data();
    }
    unsigned char* data() const { return plane_; }

  private:
    unsigned char* plane_;
    std::optional<WorkPlane> own_;
};

/// Judges with a part binarization of the grey plane itself.
void judgeGrey(unsigned char* grey, kelSize size, unsigned char* dst,
               const kelBinrizeWholeAndPartParams& p, const Band& band) {
    const auto bytes = static_cast<size_t>(planeStep(size));
    const PartPlane part(dst, size, grey, bytes);
    binarizePart(grey, 1, size, part.data(), p);
    judge(grey, part.data(), dst, bytes, band);
}

}  // namespace

int KelBinarizeImageWhole1(unsigned char* src, kelSize size, int channels, unsigned char* dst,
                           kelBinrizeWholeAndPartParams* params, unsigned char eliminateRed) {
    if (isEmpty(size)) return 0;
    const kelBinrizeWholeAndPartParams& p = *params;
    const auto bytes = static_cast<size_t>(planeStep(size));
    std::optional<WorkPlane> whitened;
    unsigned char* work = src;
    if (channels == 3 && eliminateRed != 0) {
        work = whitened.emplace(3 * bytes).data();
        const uint8_t* const from[3] = {src, src + bytes, src + 2 * bytes};
        uint8_t* const to[3] = {work, work + bytes, work + 2 * bytes};
        const int64_t least = std::clamp<int64_t>(2 * int64_t{p.err_red_thres} + 1, -600, 600);
        rowKernels().colour.whitenRed(from, to, bytes, static_cast<int16_t>(least));
    }
    const PartPlane part(dst, size, src, bytes * (channels == 3 ? 3 : 1));
    if (channels != 1 && channels != 3) std::memset(part.data(), 0, bytes);  // nothing is written
    binarizePart(work, channels, size, part.data(), p);
    const GreyOfPage grey(work, channels, size);
    const int sum = wrapAdd(KelAutoThresholdValue3(grey.data(), nullptr, size), p.thres_err);
    const int level = sum < kHighestLevel ? static_cast<unsigned char>(sum) : kHighestLevel;
    judge(grey.data(), part.data(), dst, bytes,
          {level, wrapSub(level, p.down), wrapAdd(level, p.up)});
    return 0;
}

int KelBinarizeImage0(unsigned char* src, kelSize size, int channels, unsigned char* dst,
                      kelBinrizeWholeAndPartParams* params, int lowLimit, int highLimit) {
    if (isEmpty(size)) return 0;
    const GreyOfPage grey(src, channels, size);
    const unsigned char t = levelOf(grey.data(), size, kPaperFrom, *params);
    const auto cut = [&](int level) -> int {
        return static_cast<unsigned char>(std::max(std::min(level, highLimit), lowLimit));
    };
    judgeGrey(grey.data(), size, dst, *params,
              {cut(t), cut(wrapSub(t, params->down)), cut(wrapAdd(t, params->up))});
    return 0;
}

int KelBinarizeImage0_BLACK(unsigned char* src, kelSize size, int channels, unsigned char* dst,
                            kelBinrizeWholeAndPartParams* params) {
    if (isEmpty(size)) return 0;
    // An exclusion of red pixels belongs here, but the luminance of the whole page comes after it
    // and leaves no trace of it.
    const GreyOfPage grey(src, channels, size);
    const unsigned char t = levelOf(grey.data(), size, params->grey_thres, *params);
    judgeGrey(grey.data(), size, dst, *params,
              {t, wrapSub(t, params->down), wrapAdd(t, params->up)});
    return 0;
}

int KelBinarizeImageHSVPart(unsigned char* src, kelSize size, unsigned char* dst,
                            kelHSVSegConfig* config, kelBinrizeWholeAndPartParams* params) {
    if (isEmpty(size)) return 0;
    const kelHSVSegConfig& c = *config;
    WorkPlane mask(static_cast<size_t>(planeStep(size)));
    WorkPlane grey(mask.size());
    unsigned char level = 0;
    const bool flagOver = (c.flagOver & 0xff) != 0;
    KelSegementImage_hsv(src, size, mask.data(), c.percentage, c.standMin, c.standMax, flagOver,
                         c.thresError, &level, c.blockSize, c.param01, c.thresError01, 3, 3, 10);
    KelColorConvert(src, size, 3, grey.data(), size, 1);
    for (size_t i = 0; i < grey.size(); ++i)
        grey[i] = mask[i] == 255 ? grey[i] : uint8_t{255};
    return KelBinarizeImage0(grey.data(), size, 1, dst, params, 0, 255);
}
