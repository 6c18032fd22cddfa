/// @file kel_PatternAnalysis.h
/// Projections of images onto their axes, the waves of such projections, and the rules of forms.
///
/// A direction is a character: 'H' is one sample per row, 'V' one per column. All functions may run
/// at once on different arrays. Pointers are not checked.
#ifndef KEL_PATTERNANALYSIS_H
#define KEL_PATTERNANALYSIS_H

#include <opencv2/core/types_c.h>

#include "kel_define.h"

/// One wave: a run of samples above a threshold.
class KEL_API kelWaveCharacter {
  public:
    /// Zeroes all fields.
    kelWaveCharacter();
    /// Copies all fields, `next` too.
    kelWaveCharacter(const kelWaveCharacter&) = default;
    /// Copies all fields, `next` too.
    kelWaveCharacter& operator=(const kelWaveCharacter&) = default;
    /// Releases nothing: `next` belongs to whoever holds the list.
    ~kelWaveCharacter();  // NOLINT(performance-trivially-destructible): an exported member

    /// Sets `start` and `startSet`.
    void SetStart1(int position);
    /// Sets `end`, `endSet`, and `length` to position - start + 1.
    void SetEnd(int position);
    /// The same, and adds `value` to `sum`.
    void SetEnd1(int position, int value);
    /// Does nothing.
    void printfData();

    int32_t start;           ///< first sample of the run
    uint8_t startSet;        ///< 1 when `start` is valid
    int32_t end;             ///< last sample of the run
    int32_t length;          ///< end - start + 1
    uint8_t endSet;          ///< 1 when `end` is valid
    int32_t peakValue;       ///< greatest sample
    int32_t peakPos;         ///< its index, the first one in a tie
    int32_t sum;             ///< total of the samples; wraps
    kelWaveCharacter* next;  ///< next wave, or null
};

#if defined(__LP64__) || defined(_WIN64)
static_assert(sizeof(kelWaveCharacter) == 40 && offsetof(kelWaveCharacter, end) == 8 &&
                  offsetof(kelWaveCharacter, peakValue) == 20 &&
                  offsetof(kelWaveCharacter, next) == 32,
              "hosts walk lists of waves");
#endif

/// A list of waves that owns its nodes. Each node is an array of one element.
class KEL_API kelWaveCharacterSeq {
  public:
    /// An empty list.
    kelWaveCharacterSeq();
    kelWaveCharacterSeq(const kelWaveCharacterSeq&) = delete;
    kelWaveCharacterSeq& operator=(const kelWaveCharacterSeq&) = delete;
    /// With `count` at least 1, gives every node back with array `delete`.
    ~kelWaveCharacterSeq();

    /// Adds 1 to `count`; makes no node.
    void NewOne();

    kelWaveCharacter* head;  ///< first wave, or null
    int32_t count;           ///< number of waves
};

/// A rectangle of a channel image; its first four fields are laid out like OpenCV's `CvRect`.
class KEL_API kelSegInfo {
  public:
    /// A rectangle of no size at the origin, of an image of one plane.
    kelSegInfo();
    /// Takes all fields in order.
    kelSegInfo(int left, int top, int columns, int rows, int planes, double number);
    /// Copies all fields.
    kelSegInfo(const kelSegInfo&) = default;
    /// Copies all fields.
    kelSegInfo& operator=(const kelSegInfo&) = default;
    ~kelSegInfo();  // NOLINT(performance-trivially-destructible): an exported member

    /// Sets all fields in order.
    void setValue(int left, int top, int columns, int rows, int planes, double number);
    /// Takes over all fields.
    void copy(kelSegInfo& from);
    /// Does nothing.
    void printData();

    int32_t x;         ///< left column
    int32_t y;         ///< top row
    int32_t width;     ///< columns
    int32_t height;    ///< rows
    int32_t channels;  ///< planes of the rectangle's image
    double value;      ///< a number kept with the rectangle; the library does not read it
};

static_assert(offsetof(kelSegInfo, x) == offsetof(CvRect, x) &&
                  offsetof(kelSegInfo, y) == offsetof(CvRect, y) &&
                  offsetof(kelSegInfo, width) == offsetof(CvRect, width) &&
                  offsetof(kelSegInfo, height) == offsetof(CvRect, height) &&
                  sizeof(CvRect) == 16 && offsetof(kelSegInfo, channels) == 16,
              "starts like a CvRect");

/// The mean of each row ('H') or column ('V') of a plane, truncated.
/// @param out one entry per row or column. Rows or columns without samples have mean 0
/// @return 0, or -1 for another direction
KEL_API int KelImageProjcet(unsigned char* image, kelSize size, int* out, char direction);

/// The number of samples of 255 in each row ('H') or column ('V') of a plane.
/// @param out one entry per row or column, cleared first
/// @return 0, or -1 for another direction
KEL_API int KelImageProject1(unsigned char* image, kelSize size, int* out, char direction);

/// Finds the runs of samples strictly above a threshold, as a list that begins in `first`.
///
/// Peaks are sought from 0 on: a wave without a sample above 0 keeps peakValue 0 and peakPos 0.
/// @param first freshly constructed; its old fields are not cleared. The records linked behind it
///              are new and belong to the caller, who gives each back with plain `delete`
/// @param count number of waves; with 0, `first` is as it was
/// @return 0
KEL_API int KelDetectWaveCharacter1(int* wave, int len, kelWaveCharacter* first, int* count,
                                    int threshold);

/// Centred moving average over 2 * radius + 1 samples, in place; quotients truncate toward zero.
/// The first and last `radius` samples become 0. A wave with no sample between them, or `passes`
/// below 1, clears the whole wave; more passes than one change nothing further.
/// @return 0
KEL_API int KelConvolveWave(int* wave, int len, int radius, int passes);

/// Draws an array as a bar chart of 0 and 255, and saves it with Kel_SaveImage_DT(). Bars grow from
/// the left ('H', one row per sample) or from the top ('V', one column per sample).
/// @param normalise true: 256 pixels stand for the greatest sample, and no bar is longer than 255;
///                  false: one pixel per unit. Samples below 1 have no bar
/// @return 0, also when the file could not be written; -1, and no file, for another direction, a
///         length below 1, an array without a sample above 0, or a chart beyond 32-bit sizes
KEL_API int KelArrayShow(int* array, int len, char* fileName, bool normalise, char direction);

/// The same as KelArrayShow().
KEL_API int KelArrayShow1(int* array, int len, char* fileName, bool normalise, char direction);

/// Looks for the horizontal and vertical rules of a form: segments from OpenCV's probabilistic
/// Hough transform (steps of one pixel and one degree) are drawn 6 pixels wide into a mask, and the
/// waves of the page's projections through that mask which are high and narrow enough are lines.
///
/// The mask's plane that the page is seen through is another one than that which is drawn into, and
/// stays empty: with wave thresholds of 0 or more no line is found. With a negative threshold and a
/// negative peak limit, the whole projection is one wave with a line in its middle.
/// @param image       binary, one 8-bit channel; samples other than 0 are foreground
/// @param hLines      rows found; room for as many as the image has is enough
/// @param vLines      columns found, likewise
/// @param houghThreshold, minLength, maxGap of segments, for OpenCV
/// @param hMaxWidth   widest wave of a horizontal line
/// @param hMinPeak    its peak exceeds this; the projections go from 0 to 255 (all covered)
/// @param hWaveThreshold see KelDetectWaveCharacter1()
/// @param vMaxWidth, vMinPeak, vWaveThreshold the same for vertical lines
/// @param debug       above 0: the segments are written to "Mask.bmp", and projections that aren't
///                    empty to "ProjImage_h.bmp" and "ProjImage_v.bmp", in the working directory
/// @return 0
/// @throws cv::Exception for what OpenCV refuses
KEL_API int KelDetectLines(IplImage* image, int* hLines, int* hCount, int* vLines, int* vCount,
                           int houghThreshold, int minLength, int maxGap, int hMaxWidth,
                           int hMinPeak, int hWaveThreshold, int vMaxWidth, int vMinPeak,
                           int vWaveThreshold, int debug);

/// The same with segments `maskLineWidth` pixels wide.
KEL_API int KelDetectLinesWithParam(IplImage* image, int* hLines, int* hCount, int* vLines,
                                    int* vCount, int houghThreshold, int minLength, int maxGap,
                                    int hMaxWidth, int hMinPeak, int hWaveThreshold, int vMaxWidth,
                                    int vMinPeak, int vWaveThreshold, int debug, int maskLineWidth);

/// Draws rows ('H') or columns ('V') in a colour over a copy of an image, and saves it with
/// KelSaveImage(). Of three planes each gets its byte of `colour`, otherwise the first plane gets
/// the first byte. Lines outside the image are left out, save that row `height` is accepted: it is
/// the row behind each plane.
/// @return 0; -1 for another direction
/// @throws std::logic_error for a null name; OpenCV's own errors pass through
KEL_API int KelShowLines(unsigned char* image, kelSize size, int channels, int* lines,
                         int lineCount, char direction, unsigned char* colour, char* fileName);

/// Prints a line of dots to the standard output.
/// @return 0
KEL_API int testPrint();

#endif  // KEL_PATTERNANALYSIS_H
