// The row kernels of colour pages: hue affinity, tests of redness and neutrality, neighbourhood
// means. Part of the table of row_kernels.h; colour_kernels_body.inc holds the loops.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kel::detail {

/// The hue that a grey map favours, and how much a pixel's value counts against its saturation.
struct HueAffinity {
    double ratio;
    int hue;
    /// The defining rule for one pixel that is not neutral.
    uint8_t (*exact)(const HueAffinity& rule, uint8_t r, uint8_t g, uint8_t b);
};

/// Which neutral pixels are marked: those without chroma that are bright or dark.
struct NeutralLimits {
    uint8_t chromaMost;   ///< largest difference of two channels
    uint8_t brightAbove;  ///< all channels above
    uint8_t darkBelow;    ///< all channels below
    bool any;             ///< of any brightness
};

/// A pixel is coloured when one of its deviations from the channels' mean, or their mean, is above
/// its limit. In thirds, the mean in ninths.
struct ChromaLimits {
    int16_t channel[3];
    int16_t mean;
};

/// The highest grey level that becomes 255, where the part plane is 255 and elsewhere; with `any`
/// 0 none does.
struct PartLimits {
    struct Side {
        uint8_t highest;
        uint8_t any;  ///< 0 or 255
    };
    Side marked, unmarked;
};

/// `count` is in pixels; any value from 0 on. Planes in the order R, G, B. No overlap, but for
/// planes that are said to change in place.
struct ColourKernels {
    /// The grey level of `rule` for each pixel; 0 for neutral ones.
    void (*hueAffinity)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* out,
                        size_t count, const HueAffinity& rule);

    /// 255 where the channels differ by at least `least` 256ths of the largest, 0 elsewhere.
    /// `least` is at most 257.
    void (*saturatedMask)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* mask,
                          size_t count, uint16_t least);

    /// 255 for the pixels of `limits`, 0 elsewhere.
    void (*neutralMask)(const uint8_t* r, const uint8_t* g, const uint8_t* b, uint8_t* mask,
                        size_t count, const NeutralLimits& limits);

    /// White where 2 r - g - b is at least `redness`, a copy elsewhere. In place allowed.
    void (*whitenRed)(const uint8_t* const in[3], uint8_t* const out[3], size_t count,
                      int16_t redness);

    /// Changes to white, in place, what is not clearly blue: where 2 r - g - b is at least
    /// `redness`, or b - (r + g) / 2 below `overMean`, or b - g below `overGreen`.
    void (*whitenUnlessBlue)(uint8_t* const planes[3], size_t count, int16_t redness,
                             int16_t overMean, int16_t overGreen);

    /// Mean of the 3 by 3 window, truncated. The row pointers aim at the sample left of the first
    /// position; the sample right of the last position is read too.
    void (*windowMeans)(const uint8_t* above, const uint8_t* centre, const uint8_t* below,
                        uint8_t* means, size_t count);

    /// Changes, in place, each pixel whose counterpart in `means` is coloured to the light level
    /// 200 + sum * 10 / 153, for the sum of the three means.
    void (*lightenColoured)(uint8_t* const planes[3], const uint8_t* const means[3], size_t count,
                            const ChromaLimits& limits);

    /// 255 or 0 by `limits` for a grey level; `out` may be `part`.
    void (*judgeByPart)(const uint8_t* grey, const uint8_t* part, uint8_t* out, size_t count,
                        const PartLimits& limits);
};

}  // namespace kel::detail
