/// @file kel_im.h
/// The bridge to the imaging toolkit: channel images to and from `imImage` records; and the file
/// calls that deal in such records.
///
/// A record keeps its planes with the bottom row first; the bridge turns every image over on the
/// way across, so that buffers are top-down channel images as everywhere else. A BINARY record
/// holds 0 and 1, a binary channel image 0 and 255. Records come from imImageCreate and go back
/// through imImageDestroy; the caller makes them with the size and type of the buffer, which is not
/// tested. Calls may run at once on different images; those
/// of the bridge print nothing.
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

/// Fills a cleared record from a decoded page: sizes, type, format and compression (as much of the
/// texts as the fields hold), `pageInfo` from the number of pages and `pageIndex` + 1, and the
/// samples in a new buffer, which KelReleaseKelImage() gives back.
/// @param pageIndex 0-based
/// @return 0; 1, with all but the samples filled, when a size is below 1, the planes are neither 1
///         nor 3, or KelCalImImageDataSize() gives none
KEL_API int KelAllocAndSetKelImage(tagImage* dst, imImage* src, const char* format,
                                   const char* compression, int imageCount, int pageIndex);

/// Saves a record to a file of the named format. `cprType` 1 sets run-length compression, 2 (with
/// "TIFF") CCITT group 4; any other value sets none. Errors go to the debug output as well.
/// @return the toolkit's error code (imErrorCode), 0 on success
KEL_API int im_SaveImage(imImage* image, const char* fileName, const char* format, int cprType);

/// Writes the text of a toolkit error code to the debug output, in one line.
KEL_API void PrintError(int error);

/// Loads the first page of a file. Top-down BMPs come upright, CMYK pages as RGB.
/// @param info null, or a cleared buffer of 1024 bytes for an XML report of the file; a report is
///             then printed to the standard output, too. Its last byte has no terminator of its own
/// @return a record for imImageDestroy(); null on any error, told on the standard error stream and
///         the debug output
KEL_API imImage* im_LoadImage(const char* fileName, char* info);

/// The same from a block of memory that holds a whole file; the block is copied.
/// @param image a record for imImageDestroy(); null for a CMYK page of samples wider than a byte
/// @return 0; 1 when the block can't be opened, 2 when it can't be decoded
KEL_API int ReadImageFile2Buffer(unsigned char* buffer, int bufferLen, imImage** image, char* info);

/// Repairs a page that the toolkit has loaded from `fileName`: a top-down BMP is turned upright, a
/// CMYK page becomes RGB (null, and the old record destroyed, when its samples are wider than a
/// byte). A null `*image` is let through, a file that doesn't open skips the first repair.
KEL_API void FixImImageBug(const char* fileName, imImage** image);

/// Converts CMYK planes of inverted inks, in bytes, to RGB: each ink times black over 255,
/// truncated.
/// @param dst of the same size
/// @return 0; 1, with a line on the standard error stream, when `src` is not CMYK or `dst` not RGB
KEL_API int KelConverAdobeCMYK2RGB(imImage* src, imImage* dst);

/// Encodes a record as a JPEG file in memory. `*dst` receives a new block for Kel_ReleaseImage(),
/// one zero byte longer than the `*length` bytes of the file. A failure shows in `*dst` and
/// `*length` alone, which then stay as they were.
/// @param quality 1 to 100
/// @return 0, always
KEL_API int ConvertimImage2JpegStream(imImage* image, int quality, unsigned char** dst,
                                      int* length);

/// The same with a resolution in dots per inch, written when both are above 0.
/// @param reserved not read
KEL_API int ConvertimImage2JpegStream_Params(imImage* image, int quality, unsigned char** dst,
                                             int* length, float xDpi, float yDpi, void* reserved);

/// Encodes a device-independent bitmap (a 40-byte header with its rows right behind it, no palette)
/// as a JPEG file in memory. Outputs as ConvertimImage2JpegStream().
/// @return 0; 1 when `bitmap` is null
KEL_API int ConvertDIB2JpegStream(unsigned char* bitmap, int quality, unsigned char** dst,
                                  int* length);

#endif
