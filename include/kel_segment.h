/// @file kel_segment.h
/// Binarization and segmentation drivers that go through several steps of a page.
///
/// All functions run on the caller's thread and may run at once on different images. Pointers are
/// not checked.
#ifndef KEL_SEGMENT_H
#define KEL_SEGMENT_H

#include "kel_define.h"

/// @name Grey-adjust binarization
/// @{

/// How kel_BinaryImageByGreyAdjust() makes one plane of three.
enum {
    KEL_GREY_ADJUST_LUMA = 0,        ///< the luminance
    KEL_GREY_ADJUST_SPREAD = 1,      ///< plus `adjustRatio` times the distance from grey
    KEL_GREY_ADJUST_RED = 2,         ///< plus `adjustRatio` times the distance from red
    KEL_GREY_ADJUST_RED_DUAL = 3,    ///< the same, and the red plane is cut by its own level
    KEL_GREY_ADJUST_BLANK_CHECK = 4  ///< the luminance; a page with too little ink becomes blank
};

/// Binarizes a page after pushing its coloured pixels toward white: 255 where a pixel is above its
/// local Gaussian threshold and not above the page's own level, 0 elsewhere.
///
/// The luminance of three planes takes on a push (above), is stretched to its own range of levels
/// (KelAutoColorLeversAdjust1() with 1 % cut off at both ends), compared with its local mean
/// (KelBinarizeImage(), method 3) and cut at KelAutoThresholdValue3() plus `thresOffset`.
/// @param channels    1; any other value reads three planes
/// @param dst         width*height bytes; may overlap `src`
/// @param block_size  odd window side of the local step, at least 3
/// @param param1      subtracted from the local mean
/// @param adjustMode  one of the numbers above; of one plane only KEL_GREY_ADJUST_RED_DUAL is
///                    refused, and any other number is the plane itself
/// @param adjustRatio the weight of the push; for KEL_GREY_ADJUST_BLANK_CHECK the number of pixels
///                    below the page's level (180 at most) that keep it from becoming blank
/// @return 0; -1 for a mode that is none of the above, or KEL_GREY_ADJUST_RED_DUAL on one plane
///         (`dst` is then untouched)
/// @throws cv::Exception for a block size that OpenCV refuses
KEL_API int kel_BinaryImageByGreyAdjust(unsigned char* src, int width, int height, int channels,
                                        unsigned char* dst, int thresOffset, int block_size,
                                        int param1, int adjustMode, float adjustRatio);

/// @}

#endif  // KEL_SEGMENT_H
