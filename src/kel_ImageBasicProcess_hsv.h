// The members of the HSV family that are not exported.
#pragma once

#include "kel_define.h"

/// KelCvtRgb2HsvPoint() for hue statistics: a neutral pixel, and one with all channels above 225,
/// gets the hue -1.0. Returns 0.
int KelCvtRgb2HsvPoint_CalRange(kelRGB* rgb, kelHSV* hsv);

/// Grey level of a pixel that is bright where its hue is close to `hue` (an affinity): 0 for
/// neutral pixels and for hues 90 degrees away. Highest 255; with a `ratio` outside 0..1 it may be
/// below 0.
int KelCvtRgb2HsvPoint2(unsigned char r, unsigned char g, unsigned char b, double ratio, int hue);

/// Affinity to `hue` without an end, times a triangle over the saturations satMin..satMax, ends
/// included. The triangle falls to 0 at twice its middle, not at its ends. 0..255; 0 for neutral
/// pixels.
int KelCvtRgb2HsvPoint2(kelRGB* rgb, int hue, double satMin, double satMax);

/// The same of a converted pixel.
int KelTransHsv2(kelHSV* hsv, int hue, double satMin, double satMax);

/// The affinity with a saturation triangle for each pixel of a colour image, into one plane.
void KelRgb2Grey_Hsv1(unsigned char* rgbPlanes, kelSize size, unsigned char* grey, int hue,
                      double satMin, double satMax);
