// The counts of a plane's levels.
#include "histogram.h"

#include "kernels/row_kernels.h"

namespace kel::detail {

Histogram histogramOf(ConstPlaneView plane) {
    Histogram counts{};
    if (plane.width < 1 || plane.height < 1) return counts;
    const RowKernels& kernels = rowKernels();
    auto width = static_cast<size_t>(plane.width);
    int rows = plane.height;
    if (plane.strideBytes == plane.width) {  // one run, whatever the rows
        width *= static_cast<size_t>(rows);
        rows = 1;
    }
    for (int y = 0; y < rows; ++y)
        kernels.countSamples(plane.row(y), counts.data(), width);
    return counts;
}

}  // namespace kel::detail
