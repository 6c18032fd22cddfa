// The least and the largest samples of rectangles, which erosion and dilation are made of.
#pragma once

#include "plane_view.h"

namespace kel::detail {

enum class Extreme { least, largest };

/// Gives each sample the extreme of the 2 * radiusX + 1 by 2 * radiusY + 1 samples round it that
/// lie in the plane. Rows of both planes have no padding.
/// @param radiusX,radiusY from 0 on, of any size
/// @param dst             a plane of the same size; may be `src`, no other overlap
void extremesOfRectangles(ConstPlaneView src, PlaneView dst, int radiusX, int radiusY,
                          Extreme which);

}  // namespace kel::detail
