// Copying, cropping and pasting channel images, and the rectangle guard and border that go with
// them.
#include <algorithm>
#include <cstring>
#include <optional>

#include "channel_names.h"
#include "kel_ImageBasicProcess.h"
#include "plane_view.h"
#include "rect_guard.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

bool isLarger(kelSize a, kelSize b) {
    return a.width > b.width || a.height > b.height;
}

}  // namespace

int KelCopyImage(unsigned char* src, kelSize srcSize, int srcChannels, unsigned char* dst,
                 kelSize dstSize, int dstChannels) {
    if (isLarger(srcSize, dstSize) || srcChannels != dstChannels) return -1;
    if (isEmpty(srcSize)) return 0;
    for (int c = 0; c < srcChannels; ++c)
        copyPlane(constPlaneOf(src, srcSize, c), planeOf(dst, dstSize, c));
    return 0;
}

int KelCopyImage1Channel(unsigned char* src, kelSize srcSize, int srcChannels, unsigned char* dst,
                         kelSize dstSize, int dstChannels, unsigned char fromColour, char channel) {
    const std::optional<int> plane = planeOfChannel(channel);
    if (!plane) return -1;
    if ((fromColour ? srcChannels : dstChannels) != 3) return -1;
    if (isLarger(srcSize, dstSize)) return -2;
    if (isEmpty(srcSize)) return 0;
    copyPlane(constPlaneOf(src, srcSize, fromColour ? *plane : 0),
              planeOf(dst, dstSize, fromColour ? 0 : *plane));
    return 0;
}

int KelCopySubImage(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                    int channels, CvRect* rect) {
    if (rect->width > dstSize.width || rect->height > dstSize.height) return -1;
    if (rect->x >= srcSize.width || rect->y >= srcSize.height || rect->width < 1 ||
        rect->height < 1)
        return -2;
    rect->x = std::max(rect->x, 0);
    rect->y = std::max(rect->y, 0);
    rect->width = std::min(rect->width, srcSize.width - rect->x);
    rect->height = std::min(rect->height, srcSize.height - rect->y);
    if (channels != 1 && channels != 3) return 0;
    if (isEmpty({rect->width, rect->height})) return 0;
    for (int c = 0; c < channels; ++c)
        copyPlane(constPlaneOf(src, srcSize, c).part(rect->x, rect->y, rect->width, rect->height),
                  planeOf(dst, dstSize, c));
    return 0;
}

int KelCopyImageClip(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                     int channels, int x, int y) {
    if (int64_t{x} + srcSize.width > dstSize.width || int64_t{y} + srcSize.height > dstSize.height)
        return -1;
    if (channels < 1 || isEmpty(srcSize)) return 0;
    // Callers guarantee the origin; one that breaks its word must not make us leave the target.
    if (x < 0 || y < 0) return -1;
    for (int c = 0; c < channels; ++c)
        copyPlane(constPlaneOf(src, srcSize, c),
                  planeOf(dst, dstSize, c).part(x, y, srcSize.width, srcSize.height));
    return 0;
}

int KelSegImageProtect1(kelSize size, CvRect* rect, int mode) {
    return guardRect(size, *rect, mode, 1);
}

void SetBorder(unsigned char* image, kelSize size, int channels, unsigned char value) {
    if (isEmpty(size)) return;
    const auto rowBytes = static_cast<size_t>(size.width);
    for (int c = 0; c < channels; ++c) {
        const PlaneView plane = planeOf(image, size, c);
        std::memset(plane.row(0), value, rowBytes);
        if (size.height < 3) continue;
        std::memset(plane.row(size.height - 1), value, rowBytes);
        for (int y = 1; y < size.height - 1; ++y) {
            plane.row(y)[0] = value;
            plane.row(y)[size.width - 1] = value;
        }
    }
}
