// Segmentation of coloured seals.
//
// A grey map is bright where a pixel's hue is close to a chosen one. Maps at the ends and at the
// middle of the seal's hue range are binarized one by one, by a binarizer that can also tell that
// there is nothing, and their masks are united.
#include <algorithm>
#include <cstring>
#include <utility>

#include "kel_ImageBasicProcess.h"
#include "kel_ImageBasicProcess_iterate.h"
#include "kel_segment.h"
#include "kel_segment_internal.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "truncate.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

struct HueRange {
    int first, last;
    bool through0;

    int middle() const {
        if (!through0) return truncated(wrapAdd(first, last) * 0.5 + 0.5);
        const int sum = wrapAdd(wrapAdd(first, last), 360);
        const int middle = truncated(sum * 0.5 + 0.5);
        return middle <= 359 ? middle : middle - 360;
    }
    /// The difference counts with its sign: a range through 0 has no pass in its middle.
    int passes() const {
        if (first == last) return 1;
        return wrapSub(last, first) > 1 ? 3 : 2;
    }
    int hue(int pass) const { return pass == 0 ? first : pass == 1 ? last : middle(); }
};

/// A colour page, the mask in the making, and how its grey maps are made.
struct SealPage {
    unsigned char* src;
    kelSize size;
    unsigned char* dst;
    double ratio;
    HueRange range;

    size_t bytes() const { return static_cast<size_t>(planeStep(size)); }
    void map(int pass, WorkPlane& grey) const {
        KelRgb2Grey_Hsv(src, size, grey.data(), ratio, range.hue(pass));
    }
};

void unite(unsigned char* mask, const unsigned char* other, size_t count) {
    for (size_t i = 0; i < count; ++i)
        mask[i] = static_cast<unsigned char>(mask[i] | other[i]);
}

/// Binarizes the map of the middle pass, or of the first if there is none, at its own level.
void fallBack(const SealPage& page, WorkPlane& lastMap, int binThres) {
    if (page.range.passes() == 2) page.map(0, lastMap);
    const int low = binThres > 245 ? 255 : std::max(binThres, -10) + 10;
    const auto high = static_cast<int>(std::clamp<int64_t>(int64_t{245} - binThres, 0, 255));
    KelBinarizeImage(lastMap.data(), 1, page.dst, page.size, 0, KEL_BIN_METHOD_AUTO_CLAMPED, 0, low,
                     high);
}

/// Runs all passes, each binarized by `binarize(grey, mask)`, and unites the masks of those for
/// which it gave 0 in the page's target. `best` keeps the map of the latest of these; when there is
/// none the page is finished by the fallback, and the result is false.
template <class Binarize>
bool runPasses(const SealPage& page, WorkPlane& best, int binThres, const Binarize& binarize) {
    WorkPlane map(page.bytes());
    WorkPlane more(page.range.passes() > 1 ? page.bytes() : 0);
    bool found = false;
    for (int pass = 0; pass < page.range.passes(); ++pass) {
        page.map(pass, map);
        unsigned char* const mask = found ? more.data() : page.dst;
        if (binarize(map.data(), mask) != 0) continue;
        if (found) unite(page.dst, mask, page.bytes());
        found = true;
        std::swap(best, map);
    }
    if (!found) fallBack(page, map, binThres);
    return found;
}

/// Adds what is above its local threshold among the map's samples from `level` on.
void addLocally(const SealPage& page, WorkPlane& map, int level, int blockWidth, int blockHeight) {
    for (size_t i = 0; i < map.size(); ++i)
        map[i] = map[i] < level ? uint8_t{0} : map[i];
    WorkPlane part(page.bytes());
    KelBinarizeImage(map.data(), 1, part.data(), page.size, 1, KEL_BIN_METHOD_ADAPTIVE_SMOOTH,
                     blockWidth, blockHeight, 0);
    unite(page.dst, part.data(), page.bytes());
}

/// Marks in `excluded` what isn't above `level` in the focus plane, too.
void excludeUnfocused(unsigned char* excluded, const unsigned char* focus, size_t count,
                      int level) {
    if (level < 0) return;
    const auto above = static_cast<unsigned char>(std::min(level, 255));
    for (size_t i = 0; i < count; ++i)
        excluded[i] = static_cast<unsigned char>(excluded[i] | (focus[i] > above ? 0 : 255));
}

}  // namespace

void KelSegementImage_hsv(unsigned char* src, kelSize size, unsigned char* dst, double ratio,
                          int hueMin, int hueMax, bool flagOver, int thresError,
                          unsigned char* thres, int blockWidth, int blockHeight, int thresAdd,
                          int /*reserved1*/, int /*reserved2*/, int binThres) {
    if (isEmpty(size)) return;
    const SealPage page{src, size, dst, ratio, {hueMin, hueMax, flagOver}};
    WorkPlane best(page.bytes());
    const auto binarize = [&](unsigned char* grey, unsigned char* mask) {
        return KelBinarize_qifa(grey, size, mask, thres, thresError, binThres);
    };
    if (!runPasses(page, best, binThres, binarize)) return;
    if (blockHeight >= size.height && blockWidth >= size.width) return;
    // A level that was found holds thresError already; it counts twice here, as it always has.
    const int level = wrapAdd(wrapAdd(*thres, thresError), thresAdd);
    addLocally(page, best, level, blockWidth, blockHeight);
}

void KelSegementImage_hsv_param(unsigned char* src, kelSize size, unsigned char* dst,
                                kelHSVSegConfig* config) {
    if (isEmpty(size)) return;
    const kelHSVSegConfig& c = *config;
    const HueRange range{c.standMin, c.standMax, c.flagOver != 0};
    const SealPage page{src, size, dst, c.percentage, range};
    const int lowShare = c.thresError01 / 1000, highShare = c.thresError01 % 1000;
    const double lowRatio = lowShare * 0.01, highRatio = highShare * 0.01;
    // What goes from the mask is known beforehand, and spares the passes their local thresholds.
    WorkPlane excluded(page.bytes());
    Kel_GenerateBlackWhiteMask(src, size, excluded.data(), c.greyAverThres, c.greyErrMaxThres,
                               c.colorMaxThres, c.colorMinThres);
    const int middle = range.middle();
    const bool isBlue = middle >= 181 && middle <= 299;
    const unsigned char* const focus = constPlaneOf(src, size, isBlue ? 2 : 0).data;
    excludeUnfocused(excluded.data(), focus, page.bytes(), c.focusColorThres);

    unsigned char level = 0;
    WorkPlane best(page.bytes());
    const auto binarize = [&](unsigned char* grey, unsigned char* mask) {
        return binarizeWholeAndPart(grey, size, mask, level, c.thresError, c.binaryThresAffMin,
                                    lowRatio, highRatio, excluded.data());
    };
    if (!runPasses(page, best, c.binaryThresAffMin, binarize)) return;
    for (size_t i = 0; i < page.bytes(); ++i)
        dst[i] = static_cast<unsigned char>(dst[i] & ~excluded[i]);
}

void Kel_GenerateBlackWhiteMask(unsigned char* src, kelSize size, unsigned char* mask, int greyAver,
                                int greyErrMax, int colorMax, int colorMin) {
    if (isEmpty(size)) return;
    const ptrdiff_t step = planeStep(size);
    const auto bytes = static_cast<size_t>(step);
    // The three differences of a pixel add up to twice the largest, so the limit on their mean is
    // one on the largest: 2 d / 3 < greyAver.
    const int64_t byMean = (3 * int64_t{greyAver} + 1) / 2;
    const int64_t chromaMost = std::min(byMean, int64_t{greyErrMax}) - 1;
    if (chromaMost < 0) {
        std::memset(mask, 0, bytes);
        return;
    }
    const auto clamped = [](int64_t level) {
        return static_cast<uint8_t>(std::clamp<int64_t>(level, 0, 255));
    };
    rowKernels().colour.neutralMask(src, src + step, src + 2 * step, mask, bytes,
                                    {clamped(chromaMost), clamped(colorMin), clamped(colorMax),
                                     colorMin < 0 || colorMax > 255});
}
