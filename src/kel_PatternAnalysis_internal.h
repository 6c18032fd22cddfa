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
