// Otsu's global threshold.
#include <cstdint>

#include "im_process.h"
#include "image.h"
#include "kernels/otsu_level.h"
#include "kernels/row_kernels.h"

int imProcessOtsuThreshold(const imImage* src, imImage* dst) {
    if (src == nullptr || dst == nullptr || src->color_space != IM_GRAY ||
        src->data_type != IM_BYTE || dst->color_space != IM_BINARY || src->width != dst->width ||
        src->height != dst->height)
        return 0;
    const size_t count = im::planeSamples(*src);
    const auto* const in = static_cast<const uint8_t*>(src->data[0]);
    auto* const out = static_cast<uint8_t*>(dst->data[0]);
    uint32_t histogram[256] = {};
    kel::detail::rowKernels().countSamples(in, histogram, count);
    const int level = kel::detail::otsuLevel(histogram, count);
    const auto highestBelow = static_cast<uint8_t>(level);  // bytes against bytes: half the time
    for (size_t i = 0; i < count; ++i)
        out[i] = in[i] > highestBelow ? 1 : 0;
    return level;
}
