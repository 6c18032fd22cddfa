/// @file im_process.h
/// Processing of toolkit images: resizing, Otsu's threshold, regions.
///
/// Every call may run on several threads at once on different images.
#ifndef IM_PROCESS_H
#define IM_PROCESS_H

#include "im.h"

/// Scales `src` to the size of `dst`, which has the same colour space and data type.
///
/// @param order 0 nearest sample; 1 bilinear; 2 area averages where an axis shrinks, bilinear where
///              it grows. IM_MAP and IM_BINARY always take the nearest. Sample centres map linearly
///              from edge to edge, the edge samples extend outward; integers are rounded, halves
///              up. Area averages weigh every covered sample by its exact share.
/// @return IM_ERR_NONE; IM_ERR_DATA when the kinds differ, the type is complex, one is null or the
///         order unknown; IM_ERR_MEM
IM_API int imProcessResize(const imImage* src, imImage* dst, int order);

/// Otsu's global threshold (N. Otsu, "A threshold selection method from gray-level histograms",
/// IEEE Transactions on Systems, Man, and Cybernetics 9, 1979): the lowest level that maximises the
/// variance between the classes "at most the level" and "above". Writes 1 where a sample is above
/// the level, 0 elsewhere. A flat image gives its own sample and all 0.
/// @param src IM_GRAY and IM_BYTE
/// @param dst IM_BINARY of the same size
/// @return the level, 0 to 255; 0 with `dst` untouched when the images are not such
IM_API int imProcessOtsuThreshold(const imImage* src, imImage* dst);

/// Numbers the connected regions of samples that are not 0, from 1 on in raster order (of the rows
/// as they lie in the record) of each region's first pixel; 0 is background.
/// @param src          IM_BINARY or IM_GRAY, IM_BYTE
/// @param dst          IM_GRAY of the same size, IM_USHORT or IM_INT. An IM_USHORT image numbers
///                     the first 65,535 regions; the pixels of any further one are written 0
/// @param connect      4 or 8
/// @param touch_border 0 leaves out the regions that touch the border of the image
/// @return the highest number written; 0 with `dst` untouched when the arguments are not such or
///         memory is short
IM_API int imAnalyzeFindRegions(const imImage* src, imImage* dst, int connect, int touch_border);

/// Writes 0 over whole connected regions of samples that are not 0, by their number of pixels.
/// Regions at the border count like any other. `dst` may be `src`.
/// @param src        IM_BINARY or IM_GRAY, IM_BYTE; `dst` of the same kind and size
/// @param connect    4 or 8
/// @param start_size,end_size  bounds, both inclusive; an `end_size` of 0 or less is no upper bound
/// @param inside     0 removes regions outside the bounds; otherwise those within
/// @return IM_ERR_NONE; with `dst` untouched IM_ERR_DATA, when the arguments are not such, or
///         IM_ERR_MEM
IM_API int imProcessRemoveByArea(const imImage* src, imImage* dst, int connect, int start_size,
                                 int end_size, int inside);

#endif
