// The row kernels of connected areas: foreground and labels as bits, marks as paint. Part of the
// table of row_kernels.h; area_kernels_body.inc holds the loops.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::detail {

struct AreaKernels {
    /// packNonZero for the samples that are 255.
    size_t (*packFull)(const uint8_t* samples, uint64_t* words, size_t count);

    /// A bit is set where a number is not that before it; 0 stands before the first. The bits
    /// beyond `count` are 0.
    void (*packChanges)(const int32_t* numbers, uint64_t* words, size_t count);

    /// `value` where the mark of a sample is `mark`. No overlap.
    void (*paintMarked)(const uint8_t* marks, uint8_t mark, uint8_t value, uint8_t* samples,
                        size_t count);
};

}  // namespace kel::detail
