// Reduction of a colour image to 256 colours.
#pragma once

#include "im.h"

namespace im {

/// Fills the palette and the indexes of `map` (IM_MAP) from `rgb` (IM_RGB, IM_BYTE) of the same
/// size. An image of at most 256 colours keeps each of them, in the order of raster meeting.
/// Otherwise by median cut (P. Heckbert, "Color image quantization for frame buffer display",
/// SIGGRAPH 1982) of the colours with 5 bits each.
void quantize(const imImage& rgb, imImage& map);

}  // namespace im
