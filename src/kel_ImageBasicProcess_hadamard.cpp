// Products of images, pixel by pixel, with one image as a mask of the other; and the removal of
// print of one colour that rests on them.
#include <algorithm>
#include <optional>

#include "channel_names.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

/// Green and blue of a masked pixel are kept where one of them is above this level.
constexpr uint8_t kDarkUpTo = 219;

using PairRule = void (*)(const uint8_t* a, const uint8_t* b, uint8_t* dst, size_t count);

/// Runs the rule over planes that pair up: all of both, or all of one with the single plane of the
/// other.
int pairPlanes(PairRule rule, const unsigned char* a, int aChannels, const unsigned char* b,
               int bChannels, unsigned char* dst, kelSize size) {
    const bool isPair = (aChannels == 1 && bChannels == 3) || (aChannels == 3 && bChannels == 1);
    if (aChannels != bChannels && !isPair) return -2;
    if (isEmpty(size) || aChannels < 1) return 0;
    const ptrdiff_t step = planeStep(size);
    const auto plane = static_cast<size_t>(step);
    if (!isPair) {
        rule(a, b, dst, plane * static_cast<size_t>(aChannels));
        return 0;
    }
    for (int c = 0; c < 3; ++c)
        rule(a + (aChannels == 3 ? c * step : 0), b + (bChannels == 3 ? c * step : 0),
             dst + c * step, plane);
    return 0;
}

/// The named plane of `src`, binarized; nothing for another name.
std::optional<WorkPlane> binarizedChannel(const unsigned char* src, kelSize size, char channel,
                                          int method, int thres, int block_size, int param1) {
    const std::optional<int> index = planeOfChannel(channel);
    if (!index) return std::nullopt;
    const size_t count = isEmpty(size) ? 0 : static_cast<size_t>(planeStep(size));
    WorkPlane plane(count);
    if (count == 0) return plane;
    std::memcpy(plane.data(), src + *index * planeStep(size), count);
    KelBinarizeImage(plane.data(), 1, plane.data(), size, 0, method, thres, block_size, param1);
    return plane;
}

}  // namespace

int KelHadamardImage1(unsigned char* a, int aChannels, unsigned char* b, int bChannels,
                      unsigned char* dst, int dstChannels, kelSize size) {
    if (dstChannels < std::max(aChannels, bChannels)) return -1;
    return pairPlanes(rowKernels().enhance.product, a, aChannels, b, bChannels, dst, size);
}

int KelHadamardImage2(unsigned char* a, int aChannels, unsigned char* b, int bChannels,
                      unsigned char* dst, int dstChannels, kelSize size) {
    // Here the target has to fit exactly.
    if (dstChannels != std::max(aChannels, bChannels)) return -1;
    return pairPlanes(rowKernels().enhance.whiten, a, aChannels, b, bChannels, dst, size);
}

int KelHadamardImage3(unsigned char* a, unsigned char* mask, unsigned char* dst, kelSize size) {
    if (isEmpty(size)) return 0;
    const ptrdiff_t step = planeStep(size);
    const auto plane = static_cast<size_t>(step);
    // Pixels go one by one where one that is written may be part of another that is yet to be read.
    const bool isApart = a == dst || !overlaps(a, 3 * plane, dst, 3 * plane);
    const bool isMaskApart = !overlaps(mask, plane, dst, 3 * plane) || (mask - dst) % step == 0;
    const size_t run = isApart && isMaskApart ? plane : 1;
    for (size_t i = 0; i < plane; i += run) {
        const unsigned char* const in[3] = {a + i, a + step + i, a + 2 * step + i};
        unsigned char* const out[3] = {dst + i, dst + step + i, dst + 2 * step + i};
        rowKernels().enhance.whitenDark(in, mask + i, out, run, kDarkUpTo);
    }
    return 0;
}

int KelEliminateChannel1(unsigned char* src, unsigned char* dst, kelSize size, char channel,
                         int method, int thres, int block_size, int param1) {
    std::optional<WorkPlane> mask =
        binarizedChannel(src, size, channel, method, thres, block_size, param1);
    if (!mask) return -2;
    KelHadamardImage2(src, 3, mask->data(), 1, dst, 3, size);
    return 0;
}

int KelEliminateChannel2(unsigned char* src, unsigned char* dst, kelSize size, char channel,
                         int method, int thres, int block_size, int param1) {
    std::optional<WorkPlane> mask =
        binarizedChannel(src, size, channel, method, thres, block_size, param1);
    if (!mask) return -1;
    KelHadamardImage3(src, mask->data(), dst, size);
    return 0;
}
