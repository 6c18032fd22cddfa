// Repair of a rectangle against the size of an image; the rule behind the public region guards.
#pragma once

#include <opencv2/core/types_c.h>

#include "kel_define.h"

namespace kel::detail {

/// @param smallestSide a rectangle with a side below this is refused
/// @return 0 fits, 1 trimmed, -1 refused with `rect` unchanged
int guardRect(kelSize size, CvRect& rect, int mode, int smallestSide);

}  // namespace kel::detail
