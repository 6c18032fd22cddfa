/// @file kel_cv.h
/// Bridge between channel images and OpenCV's `IplImage`.
///
/// An `IplImage` pixel is interleaved B, G, R; a channel image has the planes R, G, B. Rows of an
/// `IplImage` start `widthStep` bytes apart, rows of a channel image `width` bytes. 8-bit samples
/// are assumed: `depth` is not looked at. All functions may run at once on different images.
#ifndef KEL_CV_H
#define KEL_CV_H

#include <opencv2/core/types_c.h>

#include "kel_define.h"

/// Copies a whole image of 1 or 3 channels into a channel image.
/// @param src any other channel count leaves `dst` untouched
/// @param dst width*height*nChannels bytes
/// @return 0, always
KEL_API int KelGetIplImage(IplImage* src, unsigned char* dst);

/// Copies a channel image into a whole image of 1 or 3 channels; the mirror of KelGetIplImage().
/// @return 0, always
KEL_API int KelPutIplImage(IplImage* dst, unsigned char* src);

/// Copies the region (x, y, w, h) of an image into a channel image of w by h.
/// @param dst w*h*nChannels bytes
/// @return 0, or 1 when the region does not fit into the image or the image has neither 1 nor 3
///         channels. A region that fits with w or h below 1 copies nothing and gives 0.
KEL_API int KelGetSubIplImage(IplImage* src, unsigned char* dst, int x, int y, int w, int h);

/// Copies a channel image of w by h into the region (x, y, w, h) of an image.
/// @return as KelGetSubIplImage()
KEL_API int KelPutSubIplImage(IplImage* dst, unsigned char* src, int x, int y, int w, int h);

/// Reads an image file as three channels, whatever the file holds.
/// @param dst set to a new buffer of width*height*3 bytes; give it back with Kel_ReleaseImage()
/// @return 0, or 1 when nothing was read (the outputs are then untouched)
/// @throws std::logic_error for a null name
KEL_API int KelLoadUserImage(const char* name, unsigned char** dst, int* width, int* height,
                             int* channels);

/// Repairs a rectangle against the size of an image. Neither the image nor its region changes.
///
/// | mode  | a rectangle over the right or lower edge | a negative origin                     |
/// |-------|------------------------------------------|---------------------------------------|
/// | 0     | refused                                  | refused                               |
/// | 1     | trimmed                                  | refused                               |
/// | 2     | trimmed                                  | moved to 0, the size first left as is |
///
/// An origin at or beyond the far edges and a negative size are always refused; a size of 0 is not.
/// @return 0 when the rectangle fits (with mode 2 perhaps after a move), 1 when it was trimmed, -1
///         when it is refused and unchanged
KEL_API int Kel_cvSetImageROI_Protect(IplImage* image, CvRect* rect, int mode);

/// Kel_cvSetImageROI_Protect() on four separate integers.
KEL_API int Kel_cvSetImageROI_Protect1(IplImage* image, int* x, int* y, int* w, int* h, int mode);

#endif  // KEL_CV_H
