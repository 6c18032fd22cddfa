// Projections of a plane onto its axes: means and counts of 255 by row and by column.
#include <algorithm>

#include "kel_PatternAnalysis.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

int sampleCount(kelSize size, char direction) {
    return std::max(direction == 'H' ? size.height : size.width, 0);
}

bool isDirection(char direction) {
    return direction == 'H' || direction == 'V';
}

}  // namespace

int KelImageProjcet(unsigned char* image, kelSize size, int* out, char direction) {
    if (!isDirection(direction)) return -1;
    if (isEmpty(size)) {
        std::fill_n(out, sampleCount(size, direction), 0);
        return 0;
    }
    const ConstPlaneView plane = constPlaneOf(image, size, 0);
    const RowKernels& kernels = rowKernels();
    const auto width = static_cast<size_t>(size.width);
    if (direction == 'H') {
        for (int y = 0; y < size.height; ++y)
            out[y] = static_cast<int>(
                static_cast<double>(kernels.enhance.sum(plane.row(y), width)) / size.width);
        return 0;
    }
    WorkBuffer<uint64_t> sums(width);
    std::fill_n(sums.data(), width, 0);
    kernels.analysis.sumColumns(plane.data, width, static_cast<size_t>(size.height), sums.data());
    for (size_t x = 0; x < width; ++x)
        out[x] = static_cast<int>(static_cast<double>(sums[x]) / size.height);
    return 0;
}

int KelImageProject1(unsigned char* image, kelSize size, int* out, char direction) {
    if (!isDirection(direction)) return -1;
    std::fill_n(out, sampleCount(size, direction), 0);
    if (isEmpty(size)) return 0;
    const ConstPlaneView plane = constPlaneOf(image, size, 0);
    const RowKernels& kernels = rowKernels();
    const auto width = static_cast<size_t>(size.width);
    if (direction == 'H') {
        for (int y = 0; y < size.height; ++y)
            out[y] = static_cast<int>(kernels.enhance.countEqual(plane.row(y), width, 255));
    } else {
        kernels.analysis.countColumnsEqual(plane.data, width, static_cast<size_t>(size.height), 255,
                                           out);
    }
    return 0;
}
