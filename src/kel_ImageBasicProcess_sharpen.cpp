// Two sharpening filters with kernels of the library's own.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "unchanged_source.h"

using namespace kel::detail;

namespace {

/// No sum of the filters goes beyond this.
constexpr int kLargestSum = 7 * 255;

/// From here on the integers would run over.
constexpr double kStrongest = 250;

/// A sample minus a product that is less than this above an integer may come out as an integer.
const double kClosest = std::ldexp(1.0, -45);

/// The offset with which (sum * factor + offset) >> kShift gives `ceil(sum * strength)` for each
/// sum that is not doubtful; nothing when there is none.
///
/// A sample minus a product is truncated, and so is the sample minus the product rounded up, save
/// where the product lies so closely above an integer that the difference may round to one: those
/// sums are doubtful, for the result depends on the sample.
std::optional<int32_t> offsetFor(SharpenRule& rule) {
    constexpr int64_t one = int64_t{1} << SharpenRule::kShift;
    int64_t least = 0, most = one - 1;
    size_t doubtful = 0;
    for (int sum = -rule.largestSum; sum <= rule.largestSum; ++sum) {
        const double product = sum * rule.strength;
        const double above = product - std::floor(product);
        if (above > 0.0 && above < kClosest) {
            if (doubtful == std::size(rule.doubtful)) return std::nullopt;
            rule.doubtful[doubtful++] = static_cast<int16_t>(sum);
            continue;
        }
        const int64_t missing =
            static_cast<int64_t>(std::ceil(product)) * one - int64_t{sum} * rule.factor;
        least = std::max(least, missing);
        most = std::min(most, missing + one - 1);
    }
    rule.hasDoubtful = doubtful > 0;
    return least <= most ? std::optional(static_cast<int32_t>(least)) : std::nullopt;
}

SharpenRule ruleFor(double strength) {
    constexpr auto none = std::numeric_limits<int16_t>::max();
    SharpenRule rule{strength, false, 0, 0, kLargestSum, {none, none, none, none}, false};
    const double size = std::fabs(strength);
    if (!(size <= kStrongest)) return rule;
    // Beyond a product of 256 every sample is at one end.
    if (size * kLargestSum > 256) rule.largestSum = static_cast<int16_t>(std::ceil(256 / size));
    const double scaled = std::floor(std::ldexp(strength, SharpenRule::kShift));
    for (const int up : {0, 1}) {
        rule.factor = static_cast<int32_t>(scaled) + up;
        const std::optional<int32_t> offset = offsetFor(rule);
        if (!offset) continue;
        rule.offset = *offset;
        rule.inIntegers = true;
        break;
    }
    return rule;
}

/// Filters the interior; the outermost rows and columns become 255.
void sharpenPlane(ConstPlaneView src, PlaneView dst, bool eight, const SharpenRule& rule) {
    constexpr unsigned char border = 255;
    const auto sharpen = rowKernels().enhance.sharpen;
    const auto width = static_cast<size_t>(src.width);
    std::memset(dst.row(0), border, width);
    for (int y = 1; y < src.height - 1; ++y) {
        unsigned char* to = dst.row(y);
        to[0] = to[width - 1] = border;
        if (width > 2)
            sharpen({src.row(y - 1), src.row(y), src.row(y + 1)}, to + 1, width - 2, eight, rule);
    }
    std::memset(dst.row(src.height - 1), border, width);
}

int sharpenImage(const unsigned char* src, unsigned char* dst, kelSize size, int channels,
                 bool eight, double strength) {
    if (isEmpty(size) || channels < 1) return 0;
    const SharpenRule rule = ruleFor(strength);
    const UnchangedSource source(
        src, dst, static_cast<size_t>(planeStep(size)) * static_cast<size_t>(channels));
    for (int c = 0; c < channels; ++c)
        sharpenPlane(constPlaneOf(source.data(), size, c), planeOf(dst, size, c), eight, rule);
    return 0;
}

}  // namespace

int KelLaplace8(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                double strength) {
    return sharpenImage(src, dst, size, channels, true, strength);
}

int KelLaplace4(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                double strength) {
    return sharpenImage(src, dst, size, channels, false, strength);
}
