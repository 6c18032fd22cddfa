// Numbering connected regions, and erasing them by their size.
#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "im_process.h"
#include "image.h"
#include "kernels/row_kernels.h"
#include "kernels/run_labels.h"

namespace im {
namespace {

using kel::detail::BytePlane;
using kel::detail::Region;
using kel::detail::Run;
using kel::detail::RunLabels;

bool isOneBytePlane(const imImage* image) {
    return image != nullptr && image->data_type == IM_BYTE &&
           (image->color_space == IM_BINARY || image->color_space == IM_GRAY);
}

bool haveSameSize(const imImage& a, const imImage& b) {
    return a.width == b.width && a.height == b.height;
}

RunLabels labelImage(const imImage& image, int connect) {
    const BytePlane plane{static_cast<const uint8_t*>(image.data[0]), image.width, image.width,
                          image.height};
    return kel::detail::labelRuns(plane, kel::detail::rowKernels().packNonZero, connect);
}

/// The number to write for each region; 0 leaves it out.
struct RegionNumbers {
    std::vector<uint32_t> of;
    uint32_t highest = 0;
};

RegionNumbers numberRegions(const RunLabels& labels, bool atBorderToo, const imImage& image,
                            uint32_t most) {
    RegionNumbers numbers;
    numbers.of.reserve(labels.regionCount);
    for (const Region& region : labels.regions()) {
        const bool counts = (atBorderToo || !region.touchesBorder(image.width, image.height)) &&
                            numbers.highest < most;
        numbers.of.push_back(counts ? ++numbers.highest : 0);
    }
    return numbers;
}

template <class Number>
int writeNumbers(const RunLabels& labels, bool atBorderToo, imImage& dst) {
    const RegionNumbers numbers = numberRegions(
        labels, atBorderToo, dst, static_cast<uint32_t>(std::numeric_limits<Number>::max()));
    labels.writeNumbers(static_cast<Number*>(dst.data[0]), dst.width, dst.width,
                        [&](uint32_t region) { return numbers.of[region]; });
    return static_cast<int>(numbers.highest);
}

struct SizeBounds {
    int start;
    int end;  ///< 0 or less: none
    bool contain(uint32_t pixels) const {
        return static_cast<int64_t>(pixels) >= start &&
               (end <= 0 || static_cast<int64_t>(pixels) <= end);
    }
};

void eraseRegions(const RunLabels& labels, SizeBounds bounds, bool inside, imImage& dst) {
    auto* const out = static_cast<uint8_t*>(dst.data[0]);
    const std::vector<Region> regions = labels.regions();
    labels.forEachRun([&](int y, Run run, uint32_t region) {
        if (bounds.contain(regions[region].pixels) != inside) return;
        uint8_t* const row = out + static_cast<ptrdiff_t>(y) * dst.width;
        std::fill(row + run.begin, row + run.end, uint8_t{0});
    });
}

}  // namespace
}  // namespace im

int imAnalyzeFindRegions(const imImage* src, imImage* dst, int connect, int touch_border) try {
    if (!im::isOneBytePlane(src) || dst == nullptr || dst->color_space != IM_GRAY ||
        (dst->data_type != IM_USHORT && dst->data_type != IM_INT) ||
        !im::haveSameSize(*src, *dst) || (connect != 4 && connect != 8))
        return 0;
    const im::RunLabels labels = im::labelImage(*src, connect);
    return dst->data_type == IM_USHORT ? im::writeNumbers<uint16_t>(labels, touch_border != 0, *dst)
                                       : im::writeNumbers<int32_t>(labels, touch_border != 0, *dst);
} catch (const std::bad_alloc&) {
    return 0;
}

int imProcessRemoveByArea(const imImage* src, imImage* dst, int connect, int start_size,
                          int end_size, int inside) try {
    if (!im::isOneBytePlane(src) || !im::isOneBytePlane(dst) ||
        src->color_space != dst->color_space || !im::haveSameSize(*src, *dst) ||
        (connect != 4 && connect != 8))
        return IM_ERR_DATA;
    const im::RunLabels labels = im::labelImage(*src, connect);
    if (dst != src) std::memcpy(dst->data[0], src->data[0], im::planeSamples(*src));
    im::eraseRegions(labels, {start_size, end_size}, inside != 0, *dst);
    return IM_ERR_NONE;
} catch (const std::bad_alloc&) {
    return IM_ERR_MEM;
}
