// The row kernels of connected areas: foreground and labels as bits, marks as paint. Part of the
// table of row_kernels.h; area_kernels_body.inc holds the loops.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::detail {

struct AreaKernels {
    /// packNonZero for the samples that are 255.
    size_t (*packFull)(const uint8_t* samples, uint64_t* words, size_t count);

    /// A row that is packed already, as a pack kernel: copies its words and counts the runs.
    size_t (*packPacked)(const uint8_t* row, uint64_t* words, size_t count);

    /// The union of five rows of bits, spread by two to either side. `rows` and `out` are of
    /// `words` words; `scratch` is of two more. `out` may be one of the rows.
    void (*spreadBits)(const uint64_t* const rows[5], uint64_t* scratch, uint64_t* out,
                       size_t words);

    /// A bit is set where a number is not that before it; 0 stands before the first. The bits
    /// beyond `count` are 0.
    void (*packChanges)(const int32_t* numbers, uint64_t* words, size_t count);
};

}  // namespace kel::detail
