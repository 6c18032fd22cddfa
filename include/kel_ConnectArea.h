/// @file kel_ConnectArea.h
/// Connected areas of a binary image: labels, one record for each area, and the removal of areas by
/// their size and shape.
///
/// Areas are 8-connected. A *label buffer* has one `int` for each pixel, row after row without
/// padding, at index `y*w + x`: 0 is background, 1 to N are the areas in the raster order of their
/// first pixels. The caller allocates it; what it held doesn't matter. Of an `IplImage` the first
/// `width` bytes of each row are taken, whatever its channels. Sizes below 1 make an empty image.
///
/// Pointers are not checked. All functions may run at once on different buffers.
#ifndef KEL_CONNECTAREA_H
#define KEL_CONNECTAREA_H

#include <opencv2/core/types_c.h>

#include "kel_define.h"

/// What is known of one area. All four sides of the box belong to it.
struct kelConnectArea {
    int32_t area;   ///< pixels
    int32_t x0;     ///< left column of the bounding box
    int32_t y0;     ///< top row
    int32_t x1;     ///< right column
    int32_t y1;     ///< bottom row
    int32_t shape;  ///< 1 after KelCAShape() has found a solid near-square, else 0
};

#if defined(__LP64__) || defined(_WIN64)
static_assert(sizeof(kelConnectArea) == 24 && offsetof(kelConnectArea, x0) == 4 &&
                  offsetof(kelConnectArea, y0) == 8 && offsetof(kelConnectArea, x1) == 12 &&
                  offsetof(kelConnectArea, y1) == 16 && offsetof(kelConnectArea, shape) == 20,
              "hosts walk arrays of kelConnectArea");
#endif

/// @name Labels
/// @{

/// Labels the areas of the samples that are exactly 255; all others are background. The time does
/// not depend on the shapes.
/// @param image    w*h bytes
/// @param labelBuf w*h labels
/// @return the number of areas
KEL_API int KC_GenerateCALabelBuf(unsigned char* image, int w, int h, int* labelBuf);

/// The same for the samples that are not 0.
/// @param labelBuf width*height labels, without the padding of the image's rows
KEL_API int KC_GenerateCALabelBuf_IplImage(IplImage* image, int* labelBuf);

/// Saves a colour picture of the labels over the image; the file name's extension tells the format.
/// Label L takes colour L modulo 6 of red, green, blue, yellow, cyan, magenta. A file that can't be
/// written is not reported.
/// @param channels 1 or 3; with any other count the picture has a black background
/// @return 0, always
KEL_API int KC_DrawCALabelBuf(unsigned char* image, int w, int h, int channels, int* labelBuf,
                              char* fileName);

/// @}
/// @name Records
/// @{

/// Clears a record.
/// @return 0
KEL_API int KelInitConnectArea(kelConnectArea* ca);

/// Adds a pixel to a record that was cleared before the first.
/// @return 0
KEL_API int KelSetConnectArea(int x, int y, kelConnectArea* ca);

/// Sets `shape`: 1 for an area whose box is at least 11 pixels wide and high, with sides that
/// differ by 2 at most, and which fills more than 0.67 of the box but not all of it; 0 for any
/// other.
/// @return 0
KEL_API int KelCAShape(kelConnectArea* ca);

/// Prints a record to the standard output, in one line.
KEL_API void KelCAPrintData(kelConnectArea* ca);

/// Clears the records and adds every labelled pixel to the record of its label.
/// @param caNum number of areas + 1; entry 0, the background, stays cleared. Labels are not checked
///              against it: `caArr` must have an entry for each that occurs
/// @return 0
KEL_API int kel_set_caArr_value(int* labelBuf, int w, int h, int caNum, kelConnectArea* caArr);

/// Marks the areas that pass a test, from label 1 on. Entries of others, and entry 0, stay as they
/// are.
///
/// | type | passes when                                                              | written |
/// |------|--------------------------------------------------------------------------|---------|
/// | 1    | (bw <= 60 or bh >= 15), area >= 49, bw >= 7, bh >= 11, 0.2 < fill < 0.7  | value   |
/// | 2    | 10 <= area <= 9999                                                       | value   |
/// | 3    | as 1, with 0.2 < fill                                                    | value   |
/// | 4    | 5 <= area <= 9999                                                        | value   |
/// | 5    | area > value                                                             | 1       |
/// | 6    | value < area <= 299, x1 - x0 <= 28                                       | 1       |
/// | 7    | x1 - x0 > 59, y1 - y0 > 14                                               | 1       |
/// | 8    | value < area < value2; prints a line for each                            | 1       |
///
/// bw and bh are the box's sides in pixels (x1 - x0 + 1), fill the share of the box that is filled.
/// @return the number of areas marked; 0 for any other type
KEL_API int kel_set_caType_value(kelConnectArea* caArr, int caNum, int* typeArr, int type,
                                 int value, int value2);

/// @}
/// @name Copies by class
/// The class of a pixel is `typeArr[label]`. Only pixels where `src` is not 0 are touched. `dst`
/// may be `src`, and must not overlap it otherwise. `caNum` is not read.
/// @{

/// Combines `src` into `dst`: with `mode` not 0 clears the pixels of any class but `typeValue`,
/// with `mode` 0 copies those of class `typeValue`.
/// @param dst addressed with the row stride of `src`
/// @return 0
KEL_API int kel_copy_IplImage_label_eff(IplImage* src, int* labelBuf, int caNum, int* typeArr,
                                        IplImage* dst, int typeValue, int mode);

/// The same for images of w by h bytes, but with `mode` 0 every pixel copied takes the sample of
/// row 0 in its column.
/// @return 0
KEL_API int kel_copy_uc_label_eff(unsigned char* src, int* labelBuf, int caNum, int* typeArr,
                                  unsigned char* dst, int w, int h, int typeValue, int mode);

/// @}
/// @name Spot removal
/// In place. Areas that pass stay and all others are cleared. An image without areas is left as it
/// is.
/// @{

/// Keeps the areas of more than `minArea` pixels; without any, clears the image by `cvSetZero`.
/// Prints the number of areas + 1 and the number kept to the standard output.
/// @return 0
KEL_API int kel_del_smallspot_IplImage(IplImage* image, int minArea);

/// Keeps the areas of more than `minArea` and fewer than `maxArea` pixels. Prints the size of the
/// image, each area kept, and the numbers to the standard output.
/// @return 0; -1 with the image untouched when there are areas and none passes
KEL_API int kel_del_smallspot_IplImage_bill(IplImage* image, int minArea, int maxArea);

/// Keeps the areas with x1 - x0 > 59 and y1 - y0 > 14; without any, clears the image by
/// `cvSetZero`.
/// @return 0
KEL_API int kel_del_smallspot_IplImage1(IplImage* image);

/// Keeps the areas of more than `minArea` and at most 299 pixels with x1 - x0 <= 28; without any,
/// clears the image by `cvSetZero`.
/// @return 0
KEL_API int kel_del_small_big_spot_IplImage(IplImage* image, int minArea);

/// Keeps the areas of samples 255 with more than `minArea` pixels, and clears everything else,
/// samples from 1 to 254 too.
/// @return 0
KEL_API int kel_del_smallspot_uc(unsigned char* image, int w, int h, int minArea);

/// Keeps the areas of samples that are not 0 with at least `area` pixels, by the imaging toolkit;
/// they keep their samples.
/// @return 0
KEL_API int PruneSmallSpot(unsigned char* image, int w, int h, int area);

/// @}

#endif  // KEL_CONNECTAREA_H
