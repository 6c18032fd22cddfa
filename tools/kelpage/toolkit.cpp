#include "toolkit.h"

#include <im_process.h>

#include <algorithm>
#include <new>

#include "kel_im.h"

namespace kelpage {
namespace {

constexpr int kSmoothResize = 2;  // order of the loaders' own scaling

ToolkitImage makeToolkit(kelSize size, int channels) {
    ToolkitImage image(
        imImageCreate(size.width, size.height, channels == 3 ? IM_RGB : IM_GRAY, IM_BYTE));
    if (image == nullptr) throw std::bad_alloc();
    return image;
}

}  // namespace

ToolkitImage toToolkit(const Page& page) {
    ToolkitImage image = makeToolkit(page.size, page.channels);
    KelPutIMLibImage(image.get(), page.samples.get());
    return image;
}

Page shrunk(Page page, kelSize limit) {
    const double ratio = std::min(static_cast<double>(limit.width) / page.size.width,
                                  static_cast<double>(limit.height) / page.size.height);
    if (ratio >= 1.0) return page;
    const kelSize size{std::max(1, static_cast<int>(page.size.width * ratio)),
                       std::max(1, static_cast<int>(page.size.height * ratio))};
    const ToolkitImage from = toToolkit(page), to = makeToolkit(size, page.channels);
    if (imProcessResize(from.get(), to.get(), kSmoothResize) != IM_ERR_NONE) throw std::bad_alloc();
    Page small = makePage(size, page.channels);
    small.xDpi = page.xDpi;
    small.yDpi = page.yDpi;
    KelGetIMLibImage(to.get(), small.samples.get());
    return small;
}

}  // namespace kelpage
