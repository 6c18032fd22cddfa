#include "holes_of_page.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "areas_of_page.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"

namespace kelpage {
namespace {

constexpr double kHoleRadiusInch = 3.0 / 25.4;
constexpr double kStripInch = 0.8;
constexpr double kPageWidthInch = 8.27;
constexpr int kMargin = 10;

}  // namespace

double dpiOf(const Page& page) {
    return page.xDpi > 50 ? page.xDpi : page.size.width / kPageWidthInch;
}

Holes usualHoles(const Page& page) {
    Holes holes;
    holes.radius = static_cast<int>(std::lround(dpiOf(page) * kHoleRadiusInch));
    holes.strip = std::min(static_cast<int>(dpiOf(page) * kStripInch), (page.size.width - 100) / 2);
    return holes;
}

bool isLargeEnough(kelSize page, const Holes& holes) {
    return page.height >= 300 && holes.strip > 0 && 2 * holes.strip + 100 <= page.width &&
           2 * (kMargin + holes.radius) + 10 <= page.width;
}

size_t fillHoles(Page& page, const Holes& holes) {
    const Page before = copyOf(page);
    KelDetectAndFixBindingHole(page.samples.get(), page.size.width, page.size.height, page.channels,
                               0, holes.strip, holes.radius, kMargin, 0, 0, holes.paint[0],
                               holes.paint[1], holes.paint[2]);
    return areasOf(changesBetween(before, page)).count();
}

Page changesBetween(const Page& before, const Page& after) {
    Page changes = makePage(before.size, 1);
    const size_t bytes = before.planeBytes();
    std::memset(changes.samples.get(), 0, bytes);
    for (size_t c = 0; c < static_cast<size_t>(before.channels); ++c) {
        const unsigned char* const a = before.samples.get() + c * bytes;
        const unsigned char* const b = after.samples.get() + c * bytes;
        for (size_t i = 0; i < bytes; ++i)
            changes.samples[i] =
                static_cast<unsigned char>(changes.samples[i] | (a[i] != b[i] ? 255 : 0));
    }
    return changes;
}

}  // namespace kelpage
