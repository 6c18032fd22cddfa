// Plane conversion: copies, luminance and grey expansion, all through KelColorConvert().
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

bool isPlaneCount(int channels) {
    return channels == 1 || channels == 3;
}

void copyPlanes(const unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                int planes) {
    for (int c = 0; c < planes; ++c)
        copyPlane(constPlaneOf(src, srcSize, c), planeOf(dst, dstSize, c));
}

void luminance(const unsigned char* src, kelSize size, unsigned char* dst) {
    const ptrdiff_t step = planeStep(size);
    rowKernels().luminance(src, src + step, src + 2 * step, dst, static_cast<size_t>(step));
}

void expandGrey(const unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize) {
    const auto srcBytes = static_cast<size_t>(planeStep(srcSize));
    const auto dstBytes = 3 * static_cast<size_t>(planeStep(dstSize));
    if (overlaps(src, srcBytes, dst, dstBytes)) {
        WorkPlane copy(srcBytes);
        std::memcpy(copy.data(), src, srcBytes);
        return expandGrey(copy.data(), srcSize, dst, dstSize);
    }
    for (int c = 0; c < 3; ++c)
        copyPlane(constPlaneOf(src, srcSize, 0), planeOf(dst, dstSize, c));
}

}  // namespace

int KelColorConvert(unsigned char* src, kelSize srcSize, int srcChannels, unsigned char* dst,
                    kelSize dstSize, int dstChannels) {
    if (dstSize.width < srcSize.width || dstSize.height < srcSize.height) return -1;
    if (!isPlaneCount(srcChannels) || !isPlaneCount(dstChannels)) return -2;
    if (isEmpty(srcSize)) return 0;
    if (srcChannels == dstChannels)
        copyPlanes(src, srcSize, dst, dstSize, srcChannels);
    else if (dstChannels == 1)
        luminance(src, srcSize, dst);
    else
        expandGrey(src, srcSize, dst, dstSize);
    return 0;
}
