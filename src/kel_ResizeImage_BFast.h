// The resize kernels behind methods 5 to 8 of KelResizeImage(): channel images of one or three
// planes, on up to four threads. Source and target must not overlap.
//
// Target pixel (x, y) looks at source pixel (int)(x * srcW / dstW), (int)(y * srcH / dstH), the
// quotients taken first, and at its neighbours to the right and below; in the last source column
// and row, where these are missing, it takes the pixel itself. The forms for one plane and for
// three differ on purpose: with one plane, KelResizeImageAver_Fast() and KelResizeImageMin_Fast()
// take their fourth sample from the left below, and with three, these and KelResizeImageNear_Fast()
// leave the last row and column of the target as they were.
#pragma once

#include "kel_define.h"

/// Checks its arguments and runs a kernel: `kind` 0 KelResizeImageAver_Fast(), 1
/// KelResizeImageMin_Fast(), any other KelResizeImageNear_Fast().
/// @return 0; 1 for a null pointer, a size below 1, or a plane count that is neither 1 nor 3
int KelResizeImageLinear_Fast(unsigned char* src, int srcW, int srcH, int channels,
                              unsigned char* dst, int dstW, int dstH, int kind);

/// Bilinear, in double precision, truncated; writes the whole target. Any `channels` but 1 stands
/// for three planes. Does nothing where there is no image.
/// @return 0
int KelResizeImageNNLinear_Fast(unsigned char* src, int srcW, int srcH, int channels,
                                unsigned char* dst, int dstW, int dstH);

/// Mean of four, truncated. The arguments are good ones; any `channels` but 1 stands for three
/// planes.
/// @return 0
int KelResizeImageAver_Fast(unsigned char* src, int srcW, int srcH, int channels,
                            unsigned char* dst, int dstW, int dstH);

/// Least of four; otherwise as KelResizeImageAver_Fast().
int KelResizeImageMin_Fast(unsigned char* src, int srcW, int srcH, int channels, unsigned char* dst,
                           int dstW, int dstH);

/// The pixel itself; otherwise as KelResizeImageAver_Fast().
int KelResizeImageNear_Fast(unsigned char* src, int srcW, int srcH, int channels,
                            unsigned char* dst, int dstW, int dstH);

namespace kel::detail {

/// Gives target pixel (x, y) the source pixel (columns[x], rows[y]), on the caller's thread. The
/// columns do not decrease.
void resizeByTables(unsigned char* src, kelSize srcSize, int channels, unsigned char* dst,
                    kelSize dstSize, const int* columns, const int* rows);

}  // namespace kel::detail
