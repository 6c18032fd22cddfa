#include "rect_guard.h"

#include <algorithm>

#include "sizes.h"

namespace kel::detail {
namespace {

bool fits(kelSize size, const CvRect& rect) {
    return int64_t{rect.x} + rect.width <= size.width &&
           int64_t{rect.y} + rect.height <= size.height;
}

}  // namespace

int guardRect(kelSize size, CvRect& rect, int mode, int smallestSide) {
    if (rect.x >= size.width || rect.y >= size.height || rect.width < smallestSide ||
        rect.height < smallestSide)
        return -1;
    if (rect.x >= 0 && rect.y >= 0) {
        if (fits(size, rect)) return 0;
        if (mode == 0) return -1;
    } else {
        if (mode != 2) return -1;
        // The size stays: the far edges move outward by the shift, and only the image stops them.
        rect.x = std::max(rect.x, 0);
        rect.y = std::max(rect.y, 0);
        if (fits(size, rect)) return 0;
    }
    rect.width = std::min(rect.width, size.width - rect.x);
    rect.height = std::min(rect.height, size.height - rect.y);
    return 1;
}

}  // namespace kel::detail
