/// @file kel_im.h
/// The bridge to the imaging toolkit: channel images to and from `imImage` records.
///
/// A record keeps its planes with the bottom row first; the bridge turns every image over on the
/// way across, so that buffers are top-down channel images as everywhere else. A BINARY record
/// holds 0 and 1, a binary channel image 0 and 255. Records come from imImageCreate and go back
/// through imImageDestroy; the caller makes them with the size and type of the buffer, which is not
/// tested. The functions print nothing and may run at once on different images.
#ifndef KEL_IM_H
#define KEL_IM_H

#include "im.h"
#include "kel_define.h"

/// Bytes of the channel image of a record: width times height times depth times sample bytes, in
/// signed 32-bit arithmetic that wraps. Samples take 1 byte with data type 0, 2 with type 2, 4 with
/// types 3 and 4.
/// @return -1 for any other data type, or when the product is below 1
KEL_API int KelCalImImageDataSize(imImage* image);

/// Copies a record into a channel image. A sample takes 2 bytes with data type 2, 4 with types 3
/// and 4, and 1 with all others; rows and planes of the record are taken without padding, whatever
/// line_size says. With a BINARY record every sample that is not 0 becomes 255.
/// @param dst width times height times depth samples, planes one behind the other
/// @return 0; 1 for data type 6 (complex), with `dst` untouched
KEL_API int KelGetIMLibImage(imImage* src, void* dst);

/// Copies a channel image into a record: the inverse, with the same sample sizes. With a BINARY
/// record every sample that is not 0 becomes 1.
/// @return 0; 1 for data type 6 (complex), with `dst` untouched
KEL_API int KelPutIMLibImage(imImage* dst, void* src);

/// Copies the w by h region at column `x`, row `y` (from the top) of a record into a channel image
/// of that size. Samples are taken as single bytes whatever the data type. With a BINARY record
/// every byte of plane 0 that is not 0 becomes 255.
/// @param dst w times h times depth bytes
/// @return 0; 1 when the region is empty or not within the record, with `dst` untouched
KEL_API int KelGetSubIMLibImage(imImage* src, unsigned char* dst, int x, int y, int w, int h);

/// Copies a channel image of w by h into the region at column `x`, row `y` (from the top) of a
/// record, in single bytes. With a BINARY record the first w times h samples of the record's plane
/// (not the region: its last rows, as they stand in memory first) are then made 0 and 1; so hand in
/// samples that are 0 and 1 already.
/// @return 0; 1 when the region is empty or not within the record, which stays untouched
KEL_API int KelPutSubIMLibImage(imImage* dst, unsigned char* src, int x, int y, int w, int h);

#endif
