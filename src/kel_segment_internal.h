// What kel_segment keeps to itself.
#pragma once

#include "kel_define.h"

/// Marks pixels without colour that are bright (paper) or dark (print) with 255, others with 0.
/// @param greyAver,greyErrMax colourless: mean and largest difference of two channels are below
/// @param colorMax,colorMin   dark: all channels below the first; bright: all above the second
void Kel_GenerateBlackWhiteMask(unsigned char* src, kelSize size, unsigned char* mask, int greyAver,
                                int greyErrMax, int colorMax, int colorMin);
