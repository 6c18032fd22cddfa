// What the loaders share with the image store, beyond its public calls.
#pragma once

#include "kel_ImageStorage.h"

/// Works on the two adjacent 8-byte resolution texts of a record, the horizontal one first.
/// @param mode 1: turns both from dots per centimetre into dots per inch with two decimals, in
///             place (a text of 8 or more characters loses its tail), and returns 0.0. Any other
///             value: returns the number of the first text and changes nothing.
double TransResolution(char* resolutions, int mode);

/// What Kel_CopyImageArr2One() tells of a record, without its samples. @return 0
int tellRecord(const tagImage& first, int wantInfo, int* width, int* height, int* channels,
               char* format, char* compression, int* cprRate, double* xResolution,
               double* yResolution);
