// OpenCV's bilinear interpolation of 8-bit samples, made on planes.
#pragma once

#include "kel_define.h"

namespace kel::detail {

/// Whether a size is twice another both ways: OpenCV then takes means of 2 by 2 samples for its
/// bilinear interpolation and its areas alike.
bool isTwice(kelSize size, kelSize half);

/// Those means, rounded, on a channel image. No overlap.
void halvePlanes(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                 int channels);

/// The samples that cvResize() with `CV_INTER_LINEAR` gives for other sizes, on a channel image
/// that is at least two pixels wide. No overlap.
void resizePlanesLinear(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                        int channels);

}  // namespace kel::detail
