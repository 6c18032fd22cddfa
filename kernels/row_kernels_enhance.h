// The row kernels of enhancement: point operations, counts, neighbourhoods and bit rows. Part of
// the table of row_kernels.h; row_kernels_enhance.inc holds the loops.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::detail {

/// A brightness curve: the line `x * slope` up to `knee`, and above it the parabola
/// `x * a * (-2) + square * x * x + constant`.
struct BrightnessCurve {
    double knee;
    double slope;
    double a;
    double square;
    double constant;
};

/// How a sharpening filter takes `strength` times a sum of neighbours from a sample.
struct SharpenRule {
    double strength;
    /// True when the product may be taken in integers: the sum limited to `largestSum`, times
    /// `factor`, plus `offset`, over 2^kShift and rounded down. It is then exact but for the sums
    /// in `doubtful`, whose other entries are no sums at all.
    bool inIntegers;
    int32_t factor;
    int32_t offset;
    int16_t largestSum;
    int16_t doubtful[4];
    bool hasDoubtful;

    static constexpr int kShift = 22;
};

/// The pixels of one row and of its neighbours. Each pointer aims at the sample left of the first
/// position; the samples right of the last position are read too.
struct RowTriple {
    const uint8_t* above;
    const uint8_t* centre;
    const uint8_t* below;
};

/// Packed rows of bits, the first pixel in the lowest bit of the first word. A word of zeros stands
/// before the first word and behind the last.
struct BitRowTriple {
    const uint64_t* above;
    const uint64_t* centre;
    const uint64_t* below;
};

/// `count` is in samples (pixels) unless said otherwise; any value from 0 on.
struct EnhanceKernels {
    // Point operations. `out` may overlap the inputs in any way: the result is that of a loop over
    // single samples.

    /// Sample plus `delta` (-255 to 255), clamped.
    void (*addClamped)(const uint8_t* in, uint8_t* out, size_t count, int delta);
    /// a * b / 255, rounded down.
    void (*product)(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count);
    /// 255 where `mask` is 255, `in` elsewhere.
    void (*whiten)(const uint8_t* in, const uint8_t* mask, uint8_t* out, size_t count);

    /// The same for three planes, green and blue only where both are at most `highest`. An output
    /// is the like input or apart from all inputs.
    void (*whitenDark)(const uint8_t* const in[3], const uint8_t* mask, uint8_t* const out[3],
                       size_t count, uint8_t highest);

    /// The curve's value for each of the 256 levels, truncated and clamped.
    void (*curveTable)(const BrightnessCurve& curve, uint8_t* table);
    /// The curve on the luminance of colour pixels; planes R, G, B. Overlap as whitenDark.
    void (*curveColour)(const BrightnessCurve& curve, const uint8_t* const in[3],
                        uint8_t* const out[3], size_t count);

    uint64_t (*sum)(const uint8_t* samples, size_t count);
    uint8_t (*largest)(const uint8_t* samples, size_t count);
    size_t (*countEqual)(const uint8_t* samples, size_t count, uint8_t value);
    /// Positions where `a` and `b` are both 255, or where one of them is.
    size_t (*countWhite)(const uint8_t* a, const uint8_t* b, size_t count, bool both);

    // Neighbourhoods. No overlap.

    /// Centre minus strength times a sum of neighbours, in double, truncated and clamped. The sum
    /// is NW + N + NE - 7 W + E + 2 SW + SE with `eight`, and N + NE - 3 W + E + SW without.
    void (*sharpen)(const RowTriple& rows, uint8_t* out, size_t count, bool eight,
                    const SharpenRule& rule);
    /// The weighted sum of four samples over 2^shift, rounded down: above left, above, left, self.
    /// Row pointers as in RowTriple. The weights add up to 2^shift, at most 256.
    void (*blendCorner)(const uint8_t* above, const uint8_t* centre, uint8_t* out, size_t count,
                        const uint8_t weights[4], int shift);
    /// 255 where the centre is not 0 and one of its four neighbours is, 0 elsewhere.
    void (*edges)(const RowTriple& rows, uint8_t* out, size_t count);
    /// The larger of three samples, one from each row; the pointers aim at the first position.
    void (*largestOfThree)(const RowTriple& rows, uint8_t* out, size_t count);
    /// The least sample at each position of several rows, at least one; `out` may be one of them.
    void (*leastOfRows)(const uint8_t* const* rows, size_t rowCount, uint8_t* out, size_t count);
    /// The largest one.
    void (*largestOfRows)(const uint8_t* const* rows, size_t rowCount, uint8_t* out, size_t count);
    /// Sets `out` to 255 where one of three neighbours in `in` is 255. `in` aims at the sample left
    /// of the first position.
    void (*spreadWhite)(const uint8_t* in, uint8_t* out, size_t count);

    // Bit rows. `words` counts words.

    /// A bit is set where a sample is `value`; the bits beyond `count` are 0.
    void (*packEqual)(const uint8_t* samples, uint64_t* bits, size_t count, uint8_t value);
    /// The sample where its bit is set, 0 elsewhere. `out` may be `in`.
    void (*keepMarked)(const uint8_t* in, const uint64_t* bits, uint8_t* out, size_t count);
    /// Marks the bits of `removable` that one sub-pass of thinning takes away: two to six
    /// neighbours, which are connected, and not all three of either of two sides. Returns the
    /// marks joined.
    uint64_t (*thin)(const BitRowTriple& rows, const uint64_t* removable, uint64_t* marks,
                     size_t words, bool firstSubPass);
};

}  // namespace kel::detail
