// Pages turned by small angles, in their own colours.
#pragma once

#include "page_files.h"

namespace kelpage {

/// One plane of 0 and 255 alone.
bool isBlackAndWhite(const Page& page);

/// The level of a plane's paper: the most frequent one of those not below the mean.
unsigned char paperLevel(unsigned char* plane, kelSize size);

/// The page turned round its centre, the same size. Corners that come from outside take the paper's
/// colour; black and white stays so.
/// @param angle in degrees, as KelRotateImageLittleAngle() takes it
Page turned(const Page& page, double angle);

}  // namespace kelpage
