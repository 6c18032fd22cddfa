// The brightness curve behind two modes of KelChangeBrightRGB().
#pragma once

/// Maps an image by a curve through (0, 0), (`knee`, `target`) and (255, 255): a line up to the
/// knee, above it a parabola with its vertex at 255.
/// @param channels 1: one plane, each sample by the curve; any other value: three planes R, G, B,
///                 the curve on the luminance, in double precision
/// @param dst      as many planes; may be `src`
/// @return 0; 1 with nothing written unless 1 <= knee <= 254, 0 <= target <= 255 and knee < target
int promoteHist(unsigned char* src, int width, int height, int channels, int knee, int target,
                unsigned char* dst);
