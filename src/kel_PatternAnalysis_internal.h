// The pieces of the form analysis that are not exported.
#pragma once

#include <opencv2/core/types_c.h>

#include "kel_define.h"

/// KelDetectLines(), which then measures the mean colour of the segments along the rows found.
/// `colourImage` is a colour image of the same size. The four results are written only when there
/// was a sample.
int KelDetectLinesAndColor(IplImage* image, int* hLines, int* hCount, int* vLines, int* vCount,
                           int houghThreshold, int minLength, int maxGap, int hMaxWidth,
                           int hMinPeak, int hWaveThreshold, int vMaxWidth, int vMinPeak,
                           int vWaveThreshold, int debug, unsigned char* colourImage, int* red,
                           int* green, int* blue, int* grey);

/// Estimates the hue range of a form's rules: the page is brought to 200 dots per inch, binarized
/// and searched for lines; strips of three rows of the page along the horizontal ones go through
/// KelCalHsvRange(), whose arguments these are.
/// @param dpi  a page below 30 dots per inch, or without three planes, counts as black
/// @param name not read
/// @return 0, also for a page that counts as black; -3 when no strip could be taken; -4 without a
///         horizontal line
int KelCalFormColor(unsigned char* image, kelSize size, int channels, int dpi, double valueLimit,
                    double chromaLimit, double blackRate, unsigned char* isBlack, int* hueLow,
                    int* hueHigh, unsigned char* wraps, double* meanSat, double* meanValue,
                    const char* name);

/// Merges two hue ranges as KelCalHsvRange() gives them. Of two unlike ones the cases are not
/// mirror images of each other.
void overOper(int low1, int high1, char wrap1, int low2, int high2, char wrap2, int* outLow,
              int* outHigh, unsigned char* outWrap);

namespace kel::detail {

/// Brings lines to page coordinates and drops those within 19 or 20 of the ends of `extent`.
/// @param lines ascending; the kept ones move to the front
/// @return the number kept; below 1 for none
int keepInnerLines(int* lines, int count, double factor, int extent);

/// What KelCalHsvRange() is asked.
struct HueRequest {
    double valueLimit, chromaLimit, blackRate;
    int* hueLow;
    int* hueHigh;
    unsigned char* wraps;
    unsigned char* isBlack;
    double* meanSat;
    double* meanValue;
};

/// Lines in page coordinates.
struct FormLines {
    const int* rows;
    int rowCount;
    const int* columns;
    int columnCount;
};

/// The last part of KelCalFormColor(), from at least one row on. `smallWidth` is the width of the
/// page at 200 dots per inch.
int formColourAlong(unsigned char* image, kelSize size, int smallWidth, const FormLines& lines,
                    const HueRequest& request);

}  // namespace kel::detail
