/// @file kel_ImageBasicProcess.h
/// Basic processing of channel images: files through OpenCV, copy and crop, colour conversion,
/// thresholds and the binarization dispatcher; brightness, sensor calibration, products, filters;
/// resizing and rotation.
///
/// All functions run on the caller's thread and may run at once on different images. Pointers are
/// not checked. Rectangles are OpenCV's `CvRect`.
#ifndef KEL_IMAGEBASICPROCESS_H
#define KEL_IMAGEBASICPROCESS_H

#include <opencv2/core/types_c.h>

#include "kel_define.h"

/// @name Files through OpenCV
/// @{

/// Reads an image file with `cv::imread(name, flags)`.
/// @param dst   first set to null; then a new buffer of width*height*channels bytes for
///              Kel_ReleaseImage()
/// @param channels first set to 0. An image that is neither grey nor three-channel (possible with
///              flags -1) gives a buffer without meaning.
/// @param flags OpenCV's `ImreadModes`, passed on unchanged
/// @return 0, or -1 when nothing was read
/// @throws std::logic_error for a null name
KEL_API int KelLoadImageFiles(const char* name, int* width, int* height, unsigned char** dst,
                              int* channels, int flags);

/// Writes a channel image with `cv::imwrite`; the name's extension selects the format.
/// @param channels 3 writes a colour image, any other value a grey one from the first plane
/// @return 0, always; a file that could not be written is not reported
/// @throws std::logic_error for a null name; OpenCV's own errors pass through
KEL_API int KelSaveImage(unsigned char* image, int channels, kelSize size, const char* name);

/// @}
/// @name Copy and crop
/// The target's rows and planes are laid out by the target's own size. A refused call changes no
/// sample. Source and target must not overlap.
/// @{

/// Copies an image into the top left corner of another, plane by plane.
/// @return 0, or -1 when the source is wider or higher than the target or the channel counts differ
KEL_API int KelCopyImage(unsigned char* src, kelSize srcSize, int srcChannels, unsigned char* dst,
                         kelSize dstSize, int dstChannels);

/// Moves one plane between a three-channel image and a one-plane image.
/// @param fromColour non-zero: the named plane of `src` goes to `dst`; 0: `src` goes to the named
///                   plane of `dst`
/// @param channel    'R', 'G' or 'B' (capitals only)
/// @return 0; -1 for another `channel`, or when the colour side hasn't 3 channels; -2 when the
///         source is wider or higher than the target
KEL_API int KelCopyImage1Channel(unsigned char* src, kelSize srcSize, int srcChannels,
                                 unsigned char* dst, kelSize dstSize, int dstChannels,
                                 unsigned char fromColour, char channel);

/// Cuts a rectangle out of the source into the top left corner of the target.
/// @param channels 1 or 3; any other count copies nothing
/// @param rect     repaired and written back: a negative origin moves to 0 with the size kept, and
///                 what overruns the source is trimmed
/// @return 0; -1 when the rectangle as given is wider or higher than the target; -2 when its origin
///         is at or beyond the source's far edges or its size is below 1
KEL_API int KelCopySubImage(unsigned char* src, kelSize srcSize, unsigned char* dst,
                            kelSize dstSize, int channels, CvRect* rect);

/// Pastes the whole source into the target at column x, row y.
/// @return 0, or -1 when the source does not fit there
KEL_API int KelCopyImageClip(unsigned char* src, kelSize srcSize, unsigned char* dst,
                             kelSize dstSize, int channels, int x, int y);

/// Repairs a rectangle against a channel image; the rules and results of
/// Kel_cvSetImageROI_Protect(), but a width or height below 1 is refused.
KEL_API int KelSegImageProtect1(kelSize size, CvRect* rect, int mode);

/// Paints a border of one pixel into every plane. Of an image of 1 or 2 rows only the first row is
/// painted.
KEL_API void SetBorder(unsigned char* image, kelSize size, int channels, unsigned char value);

/// @}
/// @name Colour conversion and fixed thresholds
/// @{

/// Converts between 1 and 3 planes.
///
/// | from | to | result                                                                         |
/// |------|----|--------------------------------------------------------------------------------|
/// | 1    | 1  | copy into the top left corner of the target plane                              |
/// | 3    | 3  | the same for three planes                                                      |
/// | 3    | 1  | luminance (0.299 R + 0.587 G) + 0.114 B in double precision, truncated; packed |
/// |      |    | with the *source* width as row stride, whatever the target's size              |
/// | 1    | 3  | the plane three times, into the top left corners                               |
///
/// For 3 to 1 the target may overlap the source: it is filled sample by sample, in order. For 1 to
/// 3 it may overlap as well: the source is read first. Copies must not overlap, unless both are the
/// same buffer of the same size.
/// @return 0; -1 when the target is narrower or lower than the source; -2 when a plane count is
///         neither 1 nor 3
KEL_API int KelColorConvert(unsigned char* src, kelSize srcSize, int srcChannels,
                            unsigned char* dst, kelSize dstSize, int dstChannels);

/// Binarizes a plane: a sample greater than `thres` becomes 255 and any other 0, or the reverse
/// when `isOpp` is not 0.
/// @param dst   width*height bytes; may be `src`
/// @param thres compared as it is: below 0 every sample is greater, from 255 on none
KEL_API void KelBinarizeThreshold(unsigned char* src, unsigned char* dst, kelSize size, int thres,
                                  unsigned char isOpp);

/// KelBinarizeThreshold() on three planes, each with a threshold of its own.
/// @param dst      three planes; may be `src`
/// @param reserved not read
KEL_API void KelBinarizeThreshold3(unsigned char* src, unsigned char* dst, kelSize size,
                                   int reserved, int thres0, int thres1, int thres2,
                                   unsigned char isOpp);

/// @}
/// @name Binarization dispatcher
/// @{

/// Method numbers of KelBinarizeImage(). Numbers outside 1 to 6 act as `KEL_BIN_METHOD_AUTO`.
enum {
    KEL_BIN_METHOD_DEFAULT = 0,          ///< as KEL_BIN_METHOD_AUTO
    KEL_BIN_METHOD_FIXED = 1,            ///< `thres` is the threshold
    KEL_BIN_METHOD_AUTO = 2,             ///< the page's own estimate plus `thres`
    KEL_BIN_METHOD_ADAPTIVE = 3,         ///< local Gaussian mean, `block_size` wide, minus `param1`
    KEL_BIN_METHOD_ADAPTIVE_ALT = 4,     ///< the same image as method 3
    KEL_BIN_METHOD_ADAPTIVE_SMOOTH = 5,  ///< the same image as method 3
    KEL_BIN_METHOD_AUTO_CLAMPED = 6      ///< as 2, not below `block_size`, not above `param1`
};

/// Turns a channel image into a binary image.
///
/// Methods 0, 1, 2 and 6 compare the grey plane (KelColorConvert()) with one threshold, polarity as
/// in KelBinarizeThreshold(). Methods 3, 4 and 5 compare each sample with the Gaussian-weighted
/// mean around it (OpenCV's adaptive threshold); their polarity is the opposite one: with `isOpp` 0
/// a sample above its local threshold becomes 0. On an image with a side of 3 pixels or less,
/// methods 0, 2 and 6 use the fixed threshold 128.
/// @param channels   1 or 3
/// @param dst        width*height bytes; may be `src` when `channels` is 1
/// @param isOpp      0, or 1 for the reverse polarity
/// @param method     one of the numbers above
/// @param thres      methods 1, 2, 6: see the numbers above
/// @param block_size methods 3 to 5: odd window side, at least 3. Method 6: lower clamp, unless 0
/// @param param1     methods 3 to 5: subtracted from the mean. Method 6: upper clamp, unless 0; it
///                   wins over the lower one
/// @return 0, or -1 when `channels` is neither 1 nor 3 (`dst` is then untouched)
/// @throws cv::Exception from methods 3 to 5, for what OpenCV refuses: a block size that is even or
///         below 3, an `isOpp` above 1, an image without pixels
KEL_API int KelBinarizeImage(unsigned char* src, int channels, unsigned char* dst, kelSize size,
                             unsigned char isOpp, int method, int thres, int block_size,
                             int param1);

/// Estimates a global threshold: a two-dimensional Otsu search over the joint histogram of each
/// interior sample and the mean of its 3 by 3 neighbourhood.
///
/// After J. Liu, W. Li and Y. Tian, "Automatic thresholding of gray-level pictures using
/// two-dimension Otsu method", 1991. The row term and the search range differ from the paper.
/// @param src   one grey plane
/// @param guide null, or a plane of the same size that takes the place of the neighbourhood means
/// @return the threshold, 0 to 255; 190 when nothing splits or there is no interior
KEL_API int KelAutoThresholdValue3(unsigned char* src, unsigned char* guide, kelSize size);

/// @}
/// @name Brightness and gamma
/// Images without pixels are left alone.
/// @{

/// The mean of a plane; 0.0 for one without pixels.
KEL_API double KelBrightAver(unsigned char* plane, kelSize size);

/// Adds `delta` to each sample of a plane, clamped to 0..255.
/// @param dst may be `src`
KEL_API void KelChangeBright(unsigned char* src, unsigned char* dst, kelSize size, int delta);

/// Changes the brightness of a colour image, by shifts or by a curve.
///
/// | `mode`       | operation                                                                     |
/// |--------------|-------------------------------------------------------------------------------|
/// | 999 or less  | shifts each plane towards a target mean, truncated and clamped, in one pass:  |
/// |              | `mode` is the target of red, then green and blue                              |
/// | 1001         | the curve on one plane                                                        |
/// | 1003         | the curve on the luminance of three planes                                    |
/// | other        | nothing                                                                       |
///
/// The curve runs straight from (0, 0) to (knee, target) and as a parabola on to (255, 255). A
/// curve without 1 <= knee <= 254, target <= 255 and knee < target leaves `dst` untouched.
/// @param greenOrKnee  target mean of green, or the curve's knee
/// @param blueOrTarget target mean of blue, or the level that the knee maps to
/// @param dst          three planes (mode 1001: one); may be `src`
KEL_API void KelChangeBrightRGB(unsigned char* src, unsigned char* dst, kelSize size, int mode,
                                int greenOrKnee, int blueOrTarget);

/// Maps each sample of a plane to pow(sample / m, 1 / gamma) * m, truncated and clamped, where m is
/// the plane's largest sample. A plane of zeros is copied.
/// @param dst may be `src`
KEL_API void KelGammaCorrect(unsigned char* src, unsigned char* dst, kelSize size, double gamma);

/// Maps each sample of a plane to pow(sample / 255, gamma) * 255, truncated and clamped. Not the
/// inverse of KelGammaCorrect(), whose scale is the plane's own.
/// @param dst may be `src`
KEL_API void KelAntiGammaCorrect(unsigned char* src, unsigned char* dst, kelSize size,
                                 double gamma);

/// The library's weighted grey value of one point: (3098 r + 4186 g + 2496 b) / 10000, truncated.
/// It is not the luminance; white gives 249.
KEL_API int KelRgb2Grey(int r, int g, int b);

/// @}
/// @name Sensor calibration
/// @{

/// Calibrates a colour scan of a contact image sensor: resamples the interior of each plane with a
/// kernel of its own, red a quarter of a row and half a column before its place, green half a row,
/// blue three quarters of a row and half a column. The outermost rows and columns are copied.
/// @param dst three planes; may be `src`
/// @return 0, always
KEL_API int KelCISColorCalibrate(unsigned char* src, unsigned char* dst, int width, int height);

/// Stretches a scan vertically, the rows above `splitRow` by one factor and the others by another,
/// with KelResizeImage()'s bilinear method, and stacks the results. A factor of 0 or less leaves a
/// zone out.
/// @param dst      set to a new buffer of channels * width * rows bytes; give it back with
///                 Kel_ReleaseImage()
/// @param dstSize  set to the new size
/// @param channels 1 or 3; another count gives an image of zeros
/// @param splitRow below 0 acts as 0
/// @return 0; -1 with nothing written or allocated unless the bottom zone has ten rows or more and
///         an `int` holds the new height
KEL_API int KelCalibrationA4(unsigned char* src, kelSize size, unsigned char** dst,
                             kelSize* dstSize, int channels, int splitRow, double topScale,
                             double bottomScale);

/// @}
/// @name Products of images and removal of a colour
/// One plane pairs up with each of three; equal channel counts pair up plane by plane. Pixels are
/// combined in place: `dst` may be the image that has as many planes.
/// @{

/// The product with 255 as unity: a * b / 255, truncated.
/// @return 0; -1 when `dstChannels` is less than the larger channel count; -2 for counts that
///         differ and are not 1 and 3
KEL_API int KelHadamardImage1(unsigned char* a, int aChannels, unsigned char* b, int bChannels,
                              unsigned char* dst, int dstChannels, kelSize size);

/// Whitens by a mask: 255 where `b` is 255, `a` elsewhere.
/// @return 0; -1 when `dstChannels` is not the larger channel count; -2 as KelHadamardImage1()
KEL_API int KelHadamardImage2(unsigned char* a, int aChannels, unsigned char* b, int bChannels,
                              unsigned char* dst, int dstChannels, kelSize size);

/// Whitens the dark pixels of a three-plane image where a one-plane mask is 255: red becomes 255,
/// and green and blue too unless one of them is above 219.
/// @return 0, always
KEL_API int KelHadamardImage3(unsigned char* a, unsigned char* mask, unsigned char* dst,
                              kelSize size);

/// Binarizes one plane of a colour image and whitens the image by it as KelHadamardImage2() does.
/// @param dst     three planes; may be `src`
/// @param channel 'R', 'G' or 'B' (capitals only)
/// @param method,thres,block_size,param1 as for KelBinarizeImage(), with `isOpp` 0
/// @return 0; -2 for another `channel`
/// @throws cv::Exception as KelBinarizeImage()
KEL_API int KelEliminateChannel1(unsigned char* src, unsigned char* dst, kelSize size, char channel,
                                 int method, int thres, int block_size, int param1);

/// The same by KelHadamardImage3().
/// @return 0; -1 for another `channel`
/// @throws cv::Exception as KelBinarizeImage()
KEL_API int KelEliminateChannel2(unsigned char* src, unsigned char* dst, kelSize size, char channel,
                                 int method, int thres, int block_size, int param1);

/// @}
/// @name Filters, morphology and framework
/// Images without pixels are left alone. `dst` must not overlap `src` unless it is said that it
/// may.
/// @{

/// Sharpens each plane: centre - strength * S in double precision, truncated and clamped, where
/// S = NW + N + NE - 7 W + E + 2 SW + SE. The outermost rows and columns become 255.
/// @param dst as many planes; may be `src`
/// @return 0, always
KEL_API int KelLaplace8(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                        double strength);

/// The same with S = N + NE - 3 W + E + SW, whose weights do not add up to 0: uniform parts darken.
/// @return 0, always
KEL_API int KelLaplace4(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                        double strength);

/// Morphology of one plane with a rectangle of 2 * radiusX + 1 by 2 * radiusY + 1, as OpenCV
/// does it with the border replicated.
/// @param operation 1 closing, 2 opening, 3 dilation, 4 erosion; any other copies `src`
/// @param dst       may be `src`
/// @return 0, always
/// @throws cv::Exception for a negative radius
KEL_API int KelMorphology(unsigned char* src, unsigned char* dst, kelSize* size, int operation,
                          int radiusX, int radiusY, int iterations);

/// The number of samples equal to 255.
KEL_API int KelCalArea(unsigned char* plane, kelSize size);

/// Thins a binary image to a framework one pixel wide.
///
/// After T. Y. Zhang and C. Y. Suen, "A fast parallel algorithm for thinning digital patterns",
/// 1984. Only samples of 255 are removed, but any other than 0 counts as present for its
/// neighbours, and keeps its value; samples of 125 become 0 with the first removals.
/// @param dst may be `src`
/// @return 0, always
KEL_API int KelExtractFrameworkMAT(unsigned char* src, int width, int height, unsigned char* dst);

/// Sets the 3 by 3 block round each sample of 255 to 255 in `dst`, which is not cleared before.
/// @return 0, always
KEL_API int KelFillFramework(unsigned char* src, int width, int height, unsigned char* dst);

/// Marks the contours of a binary image, outer ones and those of holes: 255 for the pixels that are
/// not 0 and have a background pixel above, below, left or right, 0 for all others. The outermost
/// rows and columns count as background.
/// @return 0, always
KEL_API int kel_Cal_EdgeImage(unsigned char* src, int width, int height, unsigned char* dst);

/// Counts the samples equal to `value`; a value outside 0..255 finds none.
/// @return 0, always
KEL_API int kel_BinImg_EffPointNo(unsigned char* image, int width, int height, int value,
                                  int* count);

/// Counts the positions where `a` or `b` is 255 (`type` 0) or both are (any other `type`).
KEL_API int kel_cal_total_num(unsigned char* a, unsigned char* b, int pixels, int type);

/// @}
/// @name Resizing
/// @{

/// Method numbers of KelResizeImage(). Numbers outside 1 to 8, and 2, act as `KEL_RESIZE_LINEAR`.
enum {
    KEL_RESIZE_LINEAR = 0,        ///< OpenCV's bilinear interpolation
    KEL_RESIZE_NEAREST = 1,       ///< OpenCV's nearest neighbour
    KEL_RESIZE_AREA = 3,          ///< OpenCV's means of areas
    KEL_RESIZE_CUBIC = 4,         ///< OpenCV's bicubic interpolation
    KEL_RESIZE_FAST_LINEAR = 5,   ///< bilinear in double precision, truncated
    KEL_RESIZE_FAST_AVERAGE = 6,  ///< mean of four neighbours, truncated
    KEL_RESIZE_FAST_MIN = 7,      ///< least of four neighbours: keeps thin dark strokes
    KEL_RESIZE_FAST_NEAREST = 8   ///< the sample at the truncated position
};

/// Scales a channel image.
///
/// Methods 5 to 8 map target pixel (x, y) to source column (int)(x * (srcW / dstW)) and row (int)(y
/// * (srcH / dstH)) in double precision, without an offset of half a pixel, on up to four threads.
/// With three planes, methods 6 to 8 leave the last row and column of the target as they were. In
/// the last source row and column all four take the sample itself. Bilinear interpolation, and
/// areas of 2 by 2 pixels, take up to four threads of ours as well, but no more than OpenCV is
/// allowed. Results do not depend on threads.
/// @param src      srcSize.width*srcSize.height bytes a plane; must not overlap `dst` in methods 5
///                 to 8
/// @param channels 1 or 3. Methods 6 to 8 change nothing for another count, or a null pointer or a
///                 size below 1; method 5 takes any count but 1 for three planes
/// @return 0; -1 when the source and -2 when the result could not be converted for OpenCV, such as
///         a null pointer
/// @throws cv::Exception from OpenCV's methods, for sizes below 1
KEL_API int KelResizeImage(unsigned char* src, kelSize srcSize, unsigned char* dst, kelSize dstSize,
                           int channels, int method);

/// @}
/// @name Rotation
/// Angles are in degrees. All planes have the image's size; rows have no padding. Without an image,
/// a null pointer or a size below 1, the exact turns do nothing.
/// @{

/// Turns a point about the image's centre, anticlockwise for positive angles: it gives where a
/// point goes under KelRotateImageLittleAngle() by -`angle`, or comes from under `angle`. The
/// distance from the centre and the results are truncated. Points right of the centre come out
/// mirrored through it; the centre itself stays.
KEL_API void KelRotateCorTran(double angle, int w, int h, int x, int y, int* outX, int* outY);

/// Turns an image about its centre, clockwise for positive angles, by bilinear sampling
/// (`cvGetQuadrangleSubPix`); what lies outside repeats the border.
/// @param dst may be `src`
/// @return 0, or -1 when widths, heights or channel counts differ (`dst` is then untouched)
KEL_API int KelGetQuadrangleSubPix(IplImage* src, IplImage* dst, double angle);

/// KelGetQuadrangleSubPix() on a channel image of 1 or 3 planes; at exactly 0 degrees a copy.
/// @param dst width*height*channels bytes; may be `src`
/// @return 0
/// @throws cv::Exception for what OpenCV refuses, such as an image without pixels
KEL_API int KelRotateImageLittleAngle(unsigned char* src, unsigned char* dst, kelSize size,
                                      int channels, double angle);

/// Turns an image by 180 degrees.
/// @param dst      may be `src`
/// @param channels 1 or 3
/// @return 0
KEL_API int KelRotate180(unsigned char* src, unsigned char* dst, kelSize size, int channels);

/// KelRotate180() for a `dst` that does not overlap `src`.
/// @param channels 1; any other value stands for three planes
/// @return 0
KEL_API int kel_RotateImage180(unsigned char* src, unsigned char* dst, kelSize size, int channels);

/// Turns an image clockwise by 90 degrees.
/// @param channels 1; any other value stands for three planes, which lie srcW*srcH bytes apart on
///                 both sides
/// @param dst      must not overlap `src`
/// @param dstW     srcH, and dstH srcW; of other sizes only the pixels that have a source are
///                 written
/// @return 0
KEL_API int kel_RotateImage90(unsigned char* src, int srcW, int srcH, int channels,
                              unsigned char* dst, int dstW, int dstH);

/// Turns an image anticlockwise by 90 degrees; otherwise as kel_RotateImage90().
KEL_API int kel_RotateImage270(unsigned char* src, int srcW, int srcH, int channels,
                               unsigned char* dst, int dstW, int dstH);

/// @}
/// @name Levels by iteration, whole-and-part thresholds
/// A histogram is an array of 256 counts. Binary results are 255 where the sample is above the
/// level, 0 elsewhere; `dst` has width*height bytes and may be `src`.
/// @{

/// Iterates a level until it is halfway between the mean of the samples above it and the mean of
/// those below it (after T. W. Ridler and S. Calvard, "Picture thresholding using an iterative
/// selection method", 1978; the level itself belongs to neither class).
/// @param initial  the first level
/// @param out      receives the level; untouched when a class is empty
/// @param maxLevel highest level that counts, and the greatest number of rounds
/// @return 1 at a fixed point; 0 when a class is empty or the rounds are used up. With `maxLevel`
///         below 1 `out` receives `initial`, and the result is 0
KEL_API int KelGetThreshold(int* hist, int lowest, int width, int height, unsigned char initial,
                            unsigned char* out, int maxLevel);

/// One round of KelGetThreshold() on the level in `thres`. `lowest`, `width` and `height` are not
/// read, here and there.
/// @return the absolute change of the level; -1 when the level is 0 or nothing lies below it; -2
///         when it has reached `maxLevel` or nothing lies above it (`thres` is then untouched)
KEL_API int KelCalThreshold(int* hist, int lowest, int width, int height, unsigned char* thres,
                            int maxLevel);

/// Binarizes a plane at the level of KelGetThreshold(), which starts halfway between the ends of
/// the histogram.
/// @param thres    receives the level used; the start or last level on failure
/// @param offset   added to a level above `minThres`; the sum is clamped to 0..255
/// @param minThres a level not above it is replaced by twice this number, as a byte
/// @return 0, or -1 for an empty image or when no level was found (`dst` is then untouched)
KEL_API int KelBinarize_qifa(unsigned char* src, kelSize size, unsigned char* dst,
                             unsigned char* thres, int offset, int minThres);

/// KelBinarize_qifa() with KelBinarizeThreshold_WholeAndPart() as its comparison.
KEL_API int KelBinarize_qifa_WholeAndPart(unsigned char* src, kelSize size, unsigned char* dst,
                                          unsigned char& thres, int offset, int minThres,
                                          double lowRatio, double highRatio);

/// Compares each sample with one of two multiples of a level: `thres * lowRatio` where the sample
/// is not above the Gaussian mean of the 19 by 19 pixels round it, `thres * highRatio` elsewhere,
/// each truncated and clamped to 0..255. An image with a side below 3 is compared with `thres`.
/// @return 0, always
KEL_API int KelBinarizeThreshold_WholeAndPart(unsigned char* src, unsigned char* dst, kelSize size,
                                              unsigned char thres, double lowRatio,
                                              double highRatio);

/// Marks the pixels of a frame round the page that are darker than `thres` with 255, then lengthens
/// each row's marks at the left and the right edge by one pixel. Nothing is ever cleared.
///
/// The frame is rows 0 to marginY-1, rows height-marginY-1 to height-2, the first `marginX` columns
/// and the last `marginX`+1 ones; the whole page when a margin takes half of it or more. In a row
/// without marks at its right edge the last pixel is marked, except in row 0.
/// @param channels 1; any other value reads three planes, whose grey is (3098 R + 4186 G + 2496 B)
///                 / 10000
/// @param dst      one plane; must not overlap `src`
/// @return 0, always; nothing is done when a margin is below 1
KEL_API int KelBinarizePartArea(unsigned char* src, unsigned char* dst, int width, int height,
                                int channels, int marginX, int marginY, int thres);

/// @}
/// @name Otsu's level, alone and with a local mean
/// The level is that of imProcessOtsuThreshold(). Of three planes, plane 0 alone is read.
/// @{

/// Binarizes at Otsu's level plus `thresOffset`, polarity as in KelBinarizeThreshold().
/// @param dst one plane; may be `src`
/// @return 0, always; `dst` is untouched when `channels` is neither 1 nor 3
KEL_API int KelBinarizeImageOstuTraditional(unsigned char* src, int channels, unsigned char* dst,
                                            kelSize size, unsigned char isOpp, int thresOffset);

/// Otsu's level alone.
/// @return the level; 0 for an empty image and when `channels` is neither 1 nor 3
KEL_API int KelBinarizeImageOstuTraditionalGetThres(unsigned char* src, kelSize size, int channels);

/// KelAutoThresholdwithOstuAndMeanC1() with the ratio 0.9.
KEL_API int KelAutoThresholdwithOstuAndMeanC(unsigned char* src, unsigned char* dst, kelSize size,
                                             int block_size, int param1);

/// Marks dark pixels with 255, all others with 0, from Otsu's level and a local mean.
///
/// A pixel is marked when it lies below `ratio` times Otsu's level (truncated), or when it is
/// neither above the level nor above the mean of the window round it less `param1`. Pixels that
/// only the local mean finds dark are marked as well where a chain of such pixels, each a neighbour
/// (of eight) of the next and none at the border of the image, leads to a marked one.
/// @param src        one grey plane
/// @param dst        one plane; may be `src`
/// @param block_size odd window side, at least 3
/// @return 0, always
/// @throws cv::Exception for a block size that OpenCV refuses
KEL_API int KelAutoThresholdwithOstuAndMeanC1(unsigned char* src, unsigned char* dst, kelSize size,
                                              int block_size, int param1, double ratio);

/// @}
/// @name Histograms and levels
/// `hist` and `map` are arrays of 256 numbers; rates are shares of the samples, 0 to 1.
/// @{

/// Counts the samples of each level.
/// @return 0, always
KEL_API int KelCalHist(unsigned char* plane, kelSize size, int* hist);

/// Finds the range of levels that is left when a share of the darkest and of the brightest samples
/// is cut off, and stretches it over 0 to 255.
/// @param total     number of samples in `hist`
/// @param map       receives the stretched levels at those of the range; others are not touched
/// @param lowLevel  the level just below the range, at least 0
/// @param highLevel the level just above it, at most 255
/// @return 0; -1, with nothing written, when an end is not found, the range has less than five
///         levels or `total` is below 1
KEL_API int KelHistSegProportion(int* hist, int total, double lowRate, double highRate, int* map,
                                 int* lowLevel, int* highLevel);

/// Stretches a plane's own range of levels (KelHistSegProportion()): what is at or beyond its ends
/// becomes 0 and 255. A plane without such a range is copied.
/// @param dst may be `src`
/// @return 0, always
KEL_API int KelColorLeversAdjust1D(unsigned char* src, unsigned char* dst, kelSize size,
                                   double lowRate, double highRate);

/// KelColorLeversAdjust1D() on a channel image.
/// @param dst      may be `src`
/// @param channels 1: `channel` is not read. Any other value: three planes
/// @param channel  'R', 'G' or 'B' adjusts that plane and copies the others; any other character
///                 adjusts each plane by itself
/// @return 0, always
KEL_API int KelAutoColorLeversAdjust(unsigned char* src, unsigned char* dst, kelSize size,
                                     int channels, char channel, double lowRate, double highRate);

/// The same with the size as two numbers.
KEL_API int KelAutoColorLeversAdjust1(unsigned char* src, unsigned char* dst, int width, int height,
                                      int channels, char channel, double lowRate, double highRate);

/// Equalises a plane's histogram, shows both planes in the windows "source" and "result" and waits
/// for a key. `dst` is complete before the windows show; it may be `src`. Without a display nothing
/// is shown, and a line on standard error says so. Not for several threads at once.
KEL_API void KelHistAver(unsigned char* src, unsigned char* dst, kelSize size);

/// @}

/// @name Scanner edges and binding holes
/// Regions are 8-connected; those beyond the first 65,535, counted from the bottom row up, are not
/// seen. Images are channel images of 1 or 3 planes; an empty one is left alone.
/// @{

/// Writes the low byte of `value` over every region of samples that are not 0 which touches the
/// border of a plane.
/// @return 0, always
KEL_API int Kel_RemoveEdgeNoise(unsigned char* image, int w, int h, int value);

/// Paints the dark edges that a scanner leaves round a page. Dark is a luminance of at most 50;
/// what remains of it after an opening by 5 by 5 pixels, touches the border, and a pixel more
/// within 50 pixels of the border, is painted. Each plane takes its mean, at most 225, plus 30.
/// @param dst        as `src`, which it may be
/// @param keepCentre true: only pixels in a frame are painted, those left of `marginX`, right of
///                   width - `marginX`, above `marginY` or below height - `marginY`
/// @return 0, always
KEL_API int KelSubBlackEdge(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                            bool keepCentre, int marginX, int marginY);

/// The same without the opening.
KEL_API int KelSubBlackEdge1(unsigned char* src, unsigned char* dst, kelSize size, int channels,
                             bool keepCentre, int marginX, int marginY);

/// Paints, in place, the regions that touch the border among the marks of KelBinarizePartArea() at
/// level 50.
/// @param channels 1; with any other count three planes are read and painted
/// @param fillValue written to every plane
/// @return 0, always; a margin below 1 leaves the image alone
KEL_API int KelSubBlackEdge2(unsigned char* image, int w, int h, int channels,
                             unsigned char fillValue, int marginX, int marginY);

/// Paints dark round holes near the left and the right side of a page, in place: regions of a
/// luminance of at most 90 with about the area of a circle (more than 0.5 of it and less than 1.2)
/// and a shape that passes KelCAShape(). Nothing is done with fewer than 5 regions in both strips.
/// @param channels   1, or 3 to paint in colour
/// @param mode       3: plane 0 is binary, and what is not 0 is dark
/// @param stripWidth columns at each side that are looked at; at most (w - 100) / 2
/// @param radius     of the holes in pixels
/// @param margin     (margin + radius) * 2 + 10 must not exceed w
/// @param h          at least 300; else, or with sizes beyond those above, nothing is done
/// @param reserved1,reserved2 not read
/// @param red,green,blue paint, low bytes; a grey page takes `red`
/// @return 0, always
KEL_API int KelDetectAndFixBindingHole(unsigned char* image, int w, int h, int channels, int mode,
                                       int stripWidth, int radius, int margin, int reserved1,
                                       int reserved2, int red, int green, int blue);

/// Numbers the regions of samples that are not 0 from 1 on, in raster order from the bottom row up;
/// 0 is background.
/// @param labels w*h numbers
/// @return the highest number
KEL_API int kel_GetLabel(unsigned char* plane, int w, int h, unsigned short* labels);

/// @}

/// @name Hue, saturation, value
/// Units of kelHSV: hue in degrees, 0 up to 360; saturation 0 to 1; value 0 to 255. Hue *affinity*
/// maps a pixel to a grey level that is highest where its hue is `hue` (degrees) and 0 for neutral
/// pixels; `ratio` (0 to 1) is how much a pixel's value counts against its saturation.
/// @{

/// Converts a pixel. A neutral one gets hue and saturation 0. Returns 0.
KEL_API int KelCvtRgb2HsvPoint(kelRGB* rgb, kelHSV* hsv);

/// Affinity that falls linearly to the opposite hue.
/// @return 0 to 255
KEL_API int KelCvtRgb2HsvPoint1(kelRGB* rgb, double ratio, int hue);

/// KelCvtRgb2HsvPoint1() of a converted pixel, but for its value, which counts as it stands: with a
/// value of 0 to 255 most results are 255 unless `ratio` is small.
/// @return 0 to 255
KEL_API int KelTransHsv(kelHSV* hsv, double ratio, int hue);

/// Affinity of each pixel of a colour image, 0 for hues more than 90 degrees away.
/// @param grey width*height bytes, apart from the image
KEL_API void KelRgb2Grey_Hsv(unsigned char* rgbPlanes, kelSize size, unsigned char* grey,
                             double ratio, int hue);

/// Estimates the hue range of a sample of pixels, from the peak of their hue histogram.
/// @param samples     three planes of `count` bytes each
/// @param count       above 0
/// @param valueLimit  a sample is dark below this value ...
/// @param chromaLimit ... and below this product of value and saturation
/// @param blackRate   share of dark samples above which the sample counts as black
/// @param hueLow,hueHigh ends of the range; with `wraps` 1 it runs from `hueHigh` up through 0 to
///                    `hueLow`
/// @param isBlack     1 for a black sample; then neither the range nor `wraps` is written
/// @param meanSat,meanValue means over all samples, always written
/// @return 0; -1 when the peak is wider than 90 degrees or has no end, with `wraps` and the ends
///         written or not
KEL_API int KelCalHsvRange(unsigned char* samples, int count, double valueLimit, double chromaLimit,
                           double blackRate, int* hueLow, int* hueHigh, unsigned char* wraps,
                           unsigned char* isBlack, double* meanSat, double* meanValue);

/// Does nothing and returns 0. A black pixel is one whose largest channel is below 120 and exceeds
/// the smallest by less than 30.
KEL_API int KelBlackHsv(unsigned char* rgbPlanes, kelSize size);

/// @}

/// @name Amount fields
/// The projections are drawn into "proj_v.bmp" and "proj_h.bmp" in the working directory on every
/// call, unless they are all 0; calls at once overwrite each other's.
/// @{

/// Looks for a short strong wave just above the middle of a plane: of its row means, 2 to 5 rows
/// above 0 that start within 5 rows above the middle, with a peak of 201 at least.
/// @return 1 when there is one, 0 otherwise
KEL_API int KelRecognitionOppFlag(unsigned char* image, kelSize size);

/// Finds where the cells of a bill's amount field begin and end, and the rows of its figures.
///
/// Marks are the waves above 10 of the column means of the binary image (dark is 255), with a peak
/// above `minPeak`. Positions lie at and between marks, then move by up to two columns to where
/// there is least ink.
/// @param channels  1 or 3; with any other the image counts as blank
/// @param positions columns, from left to right; room for two more than there are marks
/// @param count     5 for three marks, otherwise the number of marks plus 2
/// @param top       first row of the last wave of 30 to 36 rows; 0 without one
/// @param bottom    its last row; without one the height, which is one past the last row
/// @param reserved  not read
/// @return 0, or -1 with fewer than three marks: nothing but "proj_v.bmp" is then written
KEL_API int KelDetectAmountPos(unsigned char* image, int channels, kelSize size, int* positions,
                               int* count, int* top, int* bottom, int reserved, int minPeak);

/// @}

#endif  // KEL_IMAGEBASICPROCESS_H
