// Conversion of pixels to HSV, and the grey maps that are bright where a pixel's hue is close to a
// chosen one. The members of the family differ in many small ways, on purpose.
#include "kel_ImageBasicProcess_hsv.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "truncate.h"

using namespace kel::detail;

namespace {

/// Brings the highest closeness, 180, just above 255.
constexpr double kScale = 1.4167;

struct Extremes {
    int most;
    int chroma;  ///< largest channel minus smallest
};

Extremes extremesOf(int r, int g, int b) {
    const int most = std::max({r, g, b});
    return {most, most - std::min({r, g, b})};
}

bool isNeutral(const kelRGB& p) {
    return p.r == p.g && p.g == p.b;
}

/// Hue of a pixel that is not neutral. Red wins a tie, then green.
double hueOf(const kelRGB& p, const Extremes& e) {
    double hue = 0;
    if (e.most == p.r)
        hue = (p.g - p.b) * 60.0 / e.chroma;
    else if (e.most == p.g)
        hue = (p.b - p.r) * 60.0 / e.chroma + 120;
    else
        hue = (p.r - p.g) * 60.0 / e.chroma + 240;
    return hue < 0 ? hue + 360 : hue;
}

kelHSV hsvOf(const kelRGB& p, double neutralHue) {
    const Extremes e = extremesOf(p.r, p.g, p.b);
    if (e.chroma == 0) return {neutralHue, 0.0, static_cast<double>(e.most)};
    return {hueOf(p, e), static_cast<double>(e.chroma) / e.most, static_cast<double>(e.most)};
}

/// Degrees from a to b, up the circle if that is not negative already.
int degreesBetween(double from, double to) {
    const int d = truncated(to - from);
    return d < 0 ? d + 360 : d;
}

uint8_t exactAffinity(const HueAffinity& rule, uint8_t r, uint8_t g, uint8_t b) {
    return static_cast<uint8_t>(KelCvtRgb2HsvPoint2(r, g, b, rule.ratio, rule.hue));
}

}  // namespace

int KelCvtRgb2HsvPoint(kelRGB* rgb, kelHSV* hsv) {
    *hsv = hsvOf(*rgb, 0.0);
    return 0;
}

int KelCvtRgb2HsvPoint_CalRange(kelRGB* rgb, kelHSV* hsv) {
    *hsv = hsvOf(*rgb, -1.0);
    if (rgb->r > 225 && rgb->g > 225 && rgb->b > 225) hsv->h = -1.0;
    return 0;
}

int KelCvtRgb2HsvPoint1(kelRGB* rgb, double ratio, int hue) {
    if (isNeutral(*rgb)) return 0;
    kelHSV hsv = hsvOf(*rgb, 0.0);
    hsv.v /= 255;
    return KelTransHsv(&hsv, ratio, hue);
}

int KelTransHsv(kelHSV* hsv, double ratio, int hue) {
    const int d = degreesBetween(hue, hsv->h);
    const int closeness = d <= 180 ? 180 - d : d - 180;
    const double weight = (ratio * hsv->v + (1 - ratio) * hsv->s) * kScale;  // v as it stands
    return truncatedToByte(closeness * weight + 0.5);
}

int KelCvtRgb2HsvPoint2(unsigned char r, unsigned char g, unsigned char b, double ratio, int hue) {
    const auto [most, chroma] = extremesOf(r, g, b);
    if (chroma == 0) return 0;
    const double perChroma = 1.0 / chroma;
    double h = 0;
    if (most == r)
        h = (g - b) * 60 * perChroma;
    else if (most == g)
        h = (b - r) * 60 * perChroma + 120;
    else
        h = (r - g) * 60 * perChroma + 240;
    const int degrees = truncated(h - hue + 720);
    const int closeness = std::abs(degrees % 360 - 180);
    if (closeness < 90) return 0;
    const double weight = (ratio * most / 255 + chroma * (1 - ratio) / most) * kScale;
    return std::min(truncated(weight * closeness + 0.5), 255);
}

int KelCvtRgb2HsvPoint2(kelRGB* rgb, int hue, double satMin, double satMax) {
    if (isNeutral(*rgb)) return 0;
    kelHSV hsv = hsvOf(*rgb, 0.0);
    return KelTransHsv2(&hsv, hue, satMin, satMax);
}

int KelTransHsv2(kelHSV* hsv, int hue, double satMin, double satMax) {
    if (!(satMin <= hsv->s && hsv->s <= satMax)) return 0;
    const int closeness = 180 - std::min(degreesBetween(hue, hsv->h), degreesBetween(hsv->h, hue));
    const double middle = (satMin + satMax) * 0.5;
    const double weight = 1 - std::abs(hsv->s - middle) / middle;  // not the half width
    return truncatedToByte(closeness * weight);
}

void KelRgb2Grey_Hsv(unsigned char* rgbPlanes, kelSize size, unsigned char* grey, double ratio,
                     int hue) {
    if (isEmpty(size)) return;
    const ptrdiff_t step = planeStep(size);
    rowKernels().colour.hueAffinity(rgbPlanes, rgbPlanes + step, rgbPlanes + 2 * step, grey,
                                    static_cast<size_t>(step), {ratio, hue, exactAffinity});
}

void KelRgb2Grey_Hsv1(unsigned char* rgbPlanes, kelSize size, unsigned char* grey, int hue,
                      double satMin, double satMax) {
    if (isEmpty(size)) return;
    const ptrdiff_t step = planeStep(size);
    const auto count = static_cast<size_t>(step);
    // Most pixels of a page miss the window's lower end. The others are marked, with some to spare.
    const double least = std::floor(satMin * 256) - 1;
    rowKernels().colour.saturatedMask(
        rgbPlanes, rgbPlanes + step, rgbPlanes + 2 * step, grey, count,
        least <= 257 ? static_cast<uint16_t>(std::max(least, 1.0)) : uint16_t{257});
    for (size_t i = 0; i < count; ++i) {
        uint64_t eight = 1;
        if (i % 8 == 0 && count - i >= sizeof eight) std::memcpy(&eight, grey + i, sizeof eight);
        if (eight == 0) i += 7;
        if (eight == 0 || grey[i] == 0) continue;
        kelRGB p{rgbPlanes[i], rgbPlanes[count + i], rgbPlanes[2 * count + i]};
        grey[i] = static_cast<unsigned char>(KelCvtRgb2HsvPoint2(&p, hue, satMin, satMax));
    }
}

int KelBlackHsv(unsigned char* /*rgbPlanes*/, kelSize /*size*/) {
    return 0;
}
