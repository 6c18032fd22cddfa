/// @file kel_segment.h
/// Binarization and segmentation drivers that go through several steps of a page: seals, coloured
/// and neutral print, whole-and-part and grey-adjust binarization.
///
/// All functions run on the caller's thread and may run at once on different images. Pointers are
/// not checked. Unless said otherwise, colour images have three planes, a target is one plane of
/// width*height bytes apart from the source, and an image without pixels is left alone.
#ifndef KEL_SEGMENT_H
#define KEL_SEGMENT_H

#include "kel_define.h"

/// @name Seals by hue
/// A hue range is given by its ends in degrees, and by a flag for ranges that run over 360 degrees,
/// from the first end up through 0 to the second.
/// @{

/// Settings for one seal colour, in the order of the keys of a configuration file.
struct kelHSVSegConfig {
    double percentage;          ///< PERCENTAGE: share of value against saturation in the grey map
    int32_t standMin;           ///< STAND_MIN: start of the seal's hue range
    int32_t standMax;           ///< STAND_MAX: end of the hue range
    int32_t flagOver;           ///< FLAGOVER: not 0 when the range runs over 360 degrees
    int32_t thresError;         ///< THRESERROR: added to the level that is found
    int32_t blockSize;          ///< BLOCK_SIZE: `blockWidth` of KelSegementImage_hsv()
    int32_t param01;            ///< PARAM_01: `blockHeight` of KelSegementImage_hsv()
    int32_t thresError01;       ///< THRESERROR_01: its `thresAdd`; in KelSegementImage_hsv_param()
                                ///< two percentages of the level, low * 1000 + high
    int32_t greyAverThres;      ///< GREY_AVER_THRES: mean channel difference of colourless pixels
    int32_t greyErrMaxThres;    ///< GREY_ERRMAX_THRES: largest channel difference of the same
    int32_t colorMaxThres;      ///< COLORMAX_THRES: colourless with all channels below: black
    int32_t colorMinThres;      ///< COLORMIN_THRES: colourless with all channels above: white
    int32_t binaryThresAffMin;  ///< BINARY_THRES_AFF_MIN: lowest level, see KelBinarize_qifa()
    int32_t focusColorThres;    ///< FOCUS_COLOR_THRES: a seal's pixel exceeds it in its own plane
};

static_assert(sizeof(kelHSVSegConfig) == 64, "layout");

/// Reads the settings of one seal colour from a configuration file, which has a block
/// SEGMENT_RED_PARAMETERS and a block SEGMENT_BLUE_PARAMETERS with all fourteen keys each.
/// PERCENTAGE may have a fraction; the other keys are whole numbers. A malformed number counts as
/// its leading digits, or 0.
/// @param config    filled only when the result is 0
/// @param colorType 0 red, 1 blue
/// @return 0; 1 when the file cannot be opened; 2 for another `colorType`; 3 when the block lacks a
///         key. 1 and 3 are said in a line on the standard error stream
KEL_API int KelReadHSVSegmentConfig(const char* path, kelHSVSegConfig* config, int colorType);

/// Makes a mask of what has a hue in the range: hue affinity maps (KelRgb2Grey_Hsv()) at the ends
/// of the range, and at its middle if the second end exceeds the first by 2 or more, each binarized
/// by KelBinarize_qifa(), and united with what is above its local threshold in the map of the last
/// of them that found a level. When none did, one map is binarized at its estimated level.
/// @param ratio       share of value against saturation in the grey maps
/// @param thresError,binThres `offset` and `minThres` of KelBinarize_qifa()
/// @param thres       receives the level of the last binarization
/// @param blockWidth,blockHeight the local step runs when one is smaller than the image;
///                    `blockHeight` is then its window, odd and at least 3
/// @param thresAdd    the local step leaves out what is below thres + thresError + thresAdd
/// @param reserved1,reserved2 not read
/// @throws cv::Exception for a window that OpenCV refuses
KEL_API void KelSegementImage_hsv(unsigned char* src, kelSize size, unsigned char* dst,
                                  double ratio, int hueMin, int hueMax, bool flagOver,
                                  int thresError, unsigned char* thres, int blockWidth,
                                  int blockHeight, int thresAdd, int reserved1, int reserved2,
                                  int binThres);

/// Makes a mask of a seal. As KelSegementImage_hsv(), but each map is binarized by
/// KelBinarize_qifa_WholeAndPart() and nothing is added; from the united mask go colourless black
/// and white pixels, and those not above `focusColorThres` in the blue plane (for a middle hue of
/// 181 to 299) or the red plane. All of this only where a level was found for one of the maps.
KEL_API void KelSegementImage_hsv_param(unsigned char* src, kelSize size, unsigned char* dst,
                                        kelHSVSegConfig* config);

/// @}
/// @name Coloured and neutral print
/// @{

/// Binarizes by luminance plus `indexRate` times the largest deviation of a channel from the
/// channels' mean, at the estimated level (method 2 of KelBinarizeImage()): coloured strokes go to
/// the paper's side, 255, and neutral dark ones stay 0.
/// @return 0, always
KEL_API int KelSegImageReserveColor(unsigned char* src, kelSize size, unsigned char* dst,
                                    double indexRate);

/// Binarizes by closeness to a hue, leaving out neutral dark print and saturations outside a
/// window.
/// @param src      three planes
/// @param channels not read
/// @param params   hue in degrees; lowest and highest saturation in per cent; threshold: from 1 on
///                 fixed, else the estimated level plus 10, but at least its negative
/// @return 0, always
KEL_API int KelBinarizeColor(unsigned char* src, int width, int height, int channels,
                             unsigned char* dst, int* params);

/// Copies an image with strongly red pixels turned white: those whose red exceeds the mean of green
/// and blue by 60 or more.
/// @param dst three planes; may be `src`
/// @return 0, always
KEL_API int KelEliminateRed(unsigned char* src, unsigned char* dst, kelSize size);

/// Makes a mask of number print in blue to violet: turns red pixels white and runs
/// KelSegementImage_hsv() on the hues 250 to 310.
/// @param reserved1,reserved2 not read
/// @param blueOverGreen with `smooth`: least excess of blue over green
/// @param smooth        not 0: green and blue are averaged over 3 by 3 pixels first, and whatever
///                      isn't clearly blue turns white
/// @param thresError    added to the level that is found
/// @return 0, always
KEL_API int KelSegNumImageHSV(unsigned char* src, kelSize size, unsigned char* dst, int reserved1,
                              int reserved2, int blueOverGreen, int smooth, int thresError);

/// Lightens, in place, each pixel that is coloured in its 3 by 3 mean to a grey of 200 to 250, so
/// that black print stands out. A pixel is coloured when a channel deviates from the channels' mean
/// by more than its limit, or all do by more than `limitMean` on average. The first row and column
/// and the last row count as black.
/// @param channels 1: nothing is done; any other value: three planes
/// @return 0, always
KEL_API int KelSegBlackInfoByColor(unsigned char* image, kelSize size, int channels, double limitR,
                                   double limitG, double limitB, double limitMean);

/// @}
/// @name Whole-and-part binarization
/// A pixel far from the page's level follows the level; within a band round it, a part binarization
/// decides (KelBinarizeImage() with the record's settings): below the level 255, but 0 inside the
/// band where the part isn't 255; from the level on 0, but 255 inside the band where the part is.
/// @{

/// Settings of whole-and-part binarization.
struct kelBinrizeWholeAndPartParams {
    int32_t err_red_thres;    ///< red pixels: 2 R - G - B exceeds twice this
    int32_t grey_thres;       ///< KelBinarizeImage0_BLACK(): samples from here on don't count
    int32_t up;               ///< width of the band above the level
    int32_t down;             ///< width of the band below the level
    int32_t thres_err;        ///< added to the level
    unsigned char isToJudge;  ///< flag: run the dispersion test
    double err_aver_thres;    ///< dispersion limit
    int32_t thres_whole_err;  ///< added to the level when the dispersion is below the limit
    unsigned char isOpp;      ///< the part binarization: its polarity, see KelBinarizeImage()
    int32_t method;           ///< its method
    int32_t block_size;       ///< its window side
    int32_t param1;           ///< what its method takes off
    int32_t thres;            ///< its level
};

static_assert(sizeof(kelBinrizeWholeAndPartParams) == 56, "layout");

/// Level: KelAutoThresholdValue3() of the grey page plus `thres_err`, at most 210.
/// @param channels     1 or 3
/// @param eliminateRed not 0: red pixels of a colour page count as white
/// @return 0, always
/// @throws cv::Exception from local methods, here and below, as KelBinarizeImage()
KEL_API int KelBinarizeImageWhole1(unsigned char* src, kelSize size, int channels,
                                   unsigned char* dst, kelBinrizeWholeAndPartParams* params,
                                   unsigned char eliminateRed);

/// Level: by iteration (KelGetThreshold()) over the samples below 250, corrected by the dispersion
/// test and `thres_err`; level and band are cut to lowLimit..highLimit.
/// @param channels 3, or any other value for one plane
/// @return 0, always
KEL_API int KelBinarizeImage0(unsigned char* src, kelSize size, int channels, unsigned char* dst,
                              kelBinrizeWholeAndPartParams* params, int lowLimit, int highLimit);

/// KelBinarizeImage0() without limits, over the samples below `grey_thres`.
/// @return 0, always
KEL_API int KelBinarizeImage0_BLACK(unsigned char* src, kelSize size, int channels,
                                    unsigned char* dst, kelBinrizeWholeAndPartParams* params);

/// KelBinarizeImage0() of a colour page on which all is white but the mask that
/// KelSegementImage_hsv() makes with `config`. Only the low byte of its `flagOver` counts.
/// @return 0, always
KEL_API int KelBinarizeImageHSVPart(unsigned char* src, kelSize size, unsigned char* dst,
                                    kelHSVSegConfig* config, kelBinrizeWholeAndPartParams* params);

/// Prints a record to the standard output.
KEL_API void KelPrintKelBinrizeWholeAndPartParams(kelBinrizeWholeAndPartParams* params);

/// Prints the fields in which two records differ to the standard output.
/// @return 0 when they are equal, -1 otherwise
KEL_API int KelCompareKelBinrizeWholeAndPartParams(kelBinrizeWholeAndPartParams* first,
                                                   kelBinrizeWholeAndPartParams* second);

/// Copies every field.
KEL_API void KelCopyKelBinrizeWholeAndPartParams(kelBinrizeWholeAndPartParams* target,
                                                 kelBinrizeWholeAndPartParams* source);

/// @}

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
/// @param dst         may overlap `src`
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
