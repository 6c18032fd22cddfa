#include "drawing.h"

#include <algorithm>
#include <cstring>

#include "kel_ImageBasicProcess.h"

namespace kelpage {

Page inColour(const Page& page) {
    Page colour = makePageLike(page, 3);
    KelColorConvert(page.samples.get(), page.size, page.channels, colour.samples.get(), page.size,
                    3);
    return colour;
}

void fill(Page& page, int x, int y, int width, int height, kelRGB colour) {
    const int left = std::max(x, 0), right = std::min(x + width, page.size.width);
    const int top = std::max(y, 0), bottom = std::min(y + height, page.size.height);
    if (left >= right) return;
    const unsigned char levels[3] = {colour.r, colour.g, colour.b};
    for (size_t c = 0; c < 3; ++c)
        for (int row = top; row < bottom; ++row)
            std::memset(page.samples.get() + c * page.planeBytes() +
                            static_cast<size_t>(row) * static_cast<size_t>(page.size.width) +
                            static_cast<size_t>(left),
                        levels[c], static_cast<size_t>(right - left));
}

}  // namespace kelpage
