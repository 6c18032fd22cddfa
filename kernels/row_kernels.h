// Row kernels: the loops that run over whole pages, built once per instruction set level.
//
// row_kernels_body.inc holds the loops; one small file per level compiles them into a namespace and
// a table of its own; row_kernels.cpp alone chooses among the tables. Every level gives the same
// bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "analysis_kernels.h"
#include "area_kernels.h"
#include "colour_kernels.h"
#include "row_kernels_enhance.h"

namespace kel::detail {

enum class CpuLevel { plain, avx2, best = avx2 };

/// Which sample of a row each output takes. The columns do not decrease.
struct ColumnMap {
    const int32_t* columns;
    const int32_t* starts;   ///< outputs 16 b to 16 b + 15 take theirs from `starts[b]` on
    const uint8_t* offsets;  ///< columns, counted from the start of their block
    int windows;             ///< a block spans at most 16 times this; 0: too far for blocks
};

/// The kernels of one level. `count` is in samples (pixels); any value from 0 on.
struct RowKernels {
    const char* level;

    /// Splits B, G, R pixels into planes. No overlap. `stream` is for images that no cache holds:
    /// where the addresses allow it, the planes are written past the caches.
    void (*deinterleaveBgr)(const uint8_t* bgr, uint8_t* r, uint8_t* g, uint8_t* b, size_t count,
                            bool stream);

    /// Merges planes into B, G, R pixels. No overlap. `stream` as above.
    void (*interleaveBgr)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* bgr,
                          size_t count, bool stream);

    /// (0.299 r + 0.587 g) + 0.114 b in double precision, truncated. `out` may overlap the inputs
    /// in any way; the result is that of a loop over single samples.
    void (*luminance)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                      size_t count);

    /// OpenCV's 8-bit BGR2GRAY: 15-bit integer weights, rounded. No overlap.
    void (*greyOfBgr)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                      size_t count);

    /// `whenAbove` where a sample exceeds `level`, its complement elsewhere. Overlap as luminance.
    void (*threshold)(const uint8_t* in, uint8_t* out, size_t count, uint8_t level,
                      uint8_t whenAbove);

    /// sample * 256 + mean of the 3 by 3 window, truncated, for `count` positions. The three row
    /// pointers aim at the sample left of the first position. No overlap.
    void (*sampleMeanCells)(const uint8_t* above, const uint8_t* centre, const uint8_t* below,
                            uint16_t* cells, size_t count);

    /// Widens packed bits, the highest of each byte first, to samples of 0 and 1; `flip` 1 turns
    /// every sample over. No overlap.
    void (*expandBits)(const uint8_t* bits, uint8_t* samples, size_t count, uint8_t flip);

    /// The inverse: a bit is set where a sample is not 0 (is 0, with `flip` 1); the bits beyond
    /// `count` in the last byte are 0. No overlap.
    void (*packBits)(const uint8_t* samples, uint8_t* bits, size_t count, uint8_t flip);

    /// Copies `rows` rows without padding in the reverse order: the first becomes the last. No
    /// overlap. `stream` as above.
    void (*turnRows)(const uint8_t* in, uint8_t* out, size_t rowBytes, size_t rows, bool stream);

    /// The same with `mark` for every byte that is not 0. A single row may be done in place.
    void (*turnRowsMarked)(const uint8_t* in, uint8_t* out, size_t rowBytes, size_t rows,
                           uint8_t mark, bool stream);

    /// A bit is set where a sample is not 0, the first sample in the lowest bit of the first word;
    /// the bits beyond `count` in the last word are 0. Returns the number of runs of set bits.
    size_t (*packNonZero)(const uint8_t* samples, uint64_t* words, size_t count);

    /// Adds `weight` times each sample to its sum, modulo 2^32.
    void (*addWeighted)(const uint8_t* samples, uint32_t weight, uint32_t* sums, size_t count);

    /// Means of 2 by 2 samples: `count` of them from two rows. `rounding` is added to the sum: 2
    /// for halves up, 0 to truncate. No overlap.
    void (*halve)(const uint8_t* above, const uint8_t* below, uint8_t* means, size_t count,
                  int rounding);

    /// out[i] = row[map.columns[i]]. Reads up to 16 * windows samples from each block's start on.
    void (*pickColumns)(const uint8_t* row, const ColumnMap& map, uint8_t* out, size_t count);

    /// The same for left[i], and right[i] = row[map.columns[i] + 1]; the windows hold both.
    void (*pickPairs)(const uint8_t* row, const ColumnMap& map, uint8_t* left, uint8_t* right,
                      size_t count);

    /// Truncated means of row[i], row[i + 1], below[i] and below[i + fourth]. No overlap.
    void (*quadMeans)(const uint8_t* row, const uint8_t* below, ptrdiff_t fourth, uint8_t* out,
                      size_t count);

    /// The least of the same four. No overlap.
    void (*quadLeasts)(const uint8_t* row, const uint8_t* below, ptrdiff_t fourth, uint8_t* out,
                       size_t count);

    /// The least of each 2 by 2 samples of two rows, `count` of them. No overlap.
    void (*halveLeasts)(const uint8_t* above, const uint8_t* below, uint8_t* out, size_t count);

    /// leftOut[i] = left[i] * (1 - fx[i]) and rightOut[i] = right[i] * fx[i]. No overlap.
    void (*weighPairs)(const uint8_t* left, const uint8_t* right, const double* fx, double* leftOut,
                       double* rightOut, size_t count);

    /// The second half of a bilinear sum, of four such rows, left and right, left and right below:
    /// each times 1 - fy or fy, added in this order and truncated.
    void (*blendWeighted)(const double* const rows[4], double fy, uint8_t* out, size_t count);

    /// The whole of it, of four rows of samples.
    void (*blendSamples)(const uint8_t* const rows[4], const double* fx, double fy, uint8_t* out,
                         size_t count);

    /// Bilinear sums in fixed point: out[i] = left[i] * weights[2 i] + right[i] * weights[2 i + 1],
    /// shifted by 4. Weights are 0 to 2048, and two of them add up to 2049 at most. No overlap.
    void (*weighPairsFixed)(const uint8_t* left, const uint8_t* right, const int16_t* weights,
                            int16_t* out, size_t count);

    /// Their second half, of two such rows: each times its weight and shifted by 16, the sum
    /// shifted by 2 and rounded. No overlap.
    void (*blendFixed)(const int16_t* above, const int16_t* below, const int16_t* weights,
                       uint8_t* out, size_t count);

    /// out[i] = in[count - 1 - i]. No overlap.
    void (*reverseBytes)(const uint8_t* in, uint8_t* out, size_t count);

    /// out[x * outStride + y] = in[y * inStride + x]; strides may be negative. No overlap.
    void (*transpose)(const uint8_t* in, ptrdiff_t inStride, uint8_t* out, ptrdiff_t outStride,
                      ptrdiff_t columns, ptrdiff_t rows);

    /// `table[sample]` for each sample, from 256 entries. `out` may be `in`.
    void (*lookUp)(const uint8_t* in, const uint8_t* table, uint8_t* out, size_t count);

    /// Adds the number of samples of each level to `counts`, which has 256 entries.
    void (*countSamples)(const uint8_t* samples, uint32_t* counts, size_t count);

    /// 255 where a sample exceeds its level, 0 elsewhere. The level is `whenMasked` where the mask
    /// is not 0, `otherwise` elsewhere. `out` may be `in` or `mask`.
    void (*thresholdByMask)(const uint8_t* in, const uint8_t* mask, uint8_t* out, size_t count,
                            uint8_t otherwise, uint8_t whenMasked);

    /// 255 where a sample is below `cut`, or at most `level` with its `local` byte 255; 0
    /// elsewhere. `local` holds 0 and 255. A bit of `marks` is set where the result is 255, a bit
    /// of `candidates` where only `local` is; order and last word as in packNonZero. `out` may be
    /// `in` or `local`.
    void (*markCertain)(const uint8_t* in, const uint8_t* local, uint8_t* out, uint64_t* marks,
                        uint64_t* candidates, size_t count, uint8_t cut, uint8_t level);

    /// The luminance plus `ratio` times the greatest distance of a sample from the mean of the
    /// three, in double precision, truncated and cut to 0..255. No overlap.
    void (*greySpread)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                       size_t count, double ratio);

    /// The same with `ratio` times r - min(g, b), for pixels with r - max(g, b) at least 21 and
    /// max(g, b) at most 157, and the luminance for others. No overlap.
    void (*greyRedLift)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                        size_t count, double ratio);

    /// Writes 0 to `out` where a sample exceeds `level`. No overlap.
    void (*clearAbove)(const uint8_t* in, uint8_t* out, size_t count, uint8_t level);

    EnhanceKernels enhance;
    AreaKernels area;
    ColourKernels colour;
    AnalysisKernels analysis;
};

/// The kernels of the best level that the processor has and that is not above `atMost` or the
/// limit.
const RowKernels& rowKernels(CpuLevel atMost = CpuLevel::best);

/// Sets the limit for the whole process: a hook for tests and benchmarks.
void limitCpuLevel(CpuLevel atMost);

}  // namespace kel::detail
