// Numbering connected regions, and erasing them by their size.
#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "im_process.h"
#include "image.h"
#include "kernels/row_kernels.h"
#include "run_labels.h"

namespace im {
namespace {

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
    return labelRuns(plane, kel::detail::rowKernels().packNonZero, connect);
}

/// The number to write for each region; 0 leaves it out.
struct RegionNumbers {
    std::vector<uint32_t> of;
    uint32_t highest = 0;
};

RegionNumbers numberRegions(const RunLabels& labels, bool atBorderToo, uint32_t most) {
    RegionNumbers numbers;
    numbers.of.reserve(labels.regions.size());
    for (const Region& region : labels.regions) {
        const bool counts = (atBorderToo || !region.touchesBorder) && numbers.highest < most;
        numbers.of.push_back(counts ? ++numbers.highest : 0);
    }
    return numbers;
}

template <class Number>
int writeNumbers(const RunLabels& labels, bool atBorderToo, imImage& dst) {
    const RegionNumbers numbers = numberRegions(
        labels, atBorderToo, static_cast<uint32_t>(std::numeric_limits<Number>::max()));
    auto* out = static_cast<Number*>(dst.data[0]);
    for (int y = 0; y < dst.height; ++y, out += dst.width) {
        std::fill_n(out, dst.width, Number{0});
        const auto row = static_cast<size_t>(y);
        for (uint32_t i = labels.rowStart[row]; i < labels.rowStart[row + 1]; ++i)
            std::fill(out + labels.runs[i].begin, out + labels.runs[i].end,
                      static_cast<Number>(numbers.of[labels.regionOf[i]]));
    }
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
    auto* out = static_cast<uint8_t*>(dst.data[0]);
    for (int y = 0; y < dst.height; ++y, out += dst.width) {
        const auto row = static_cast<size_t>(y);
        for (uint32_t i = labels.rowStart[row]; i < labels.rowStart[row + 1]; ++i)
            if (bounds.contain(labels.regions[labels.regionOf[i]].pixels) == inside)
                std::fill(out + labels.runs[i].begin, out + labels.runs[i].end, uint8_t{0});
    }
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
