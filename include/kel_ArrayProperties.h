/// @file kel_ArrayProperties.h
/// Statistics of arrays of 32-bit integers, such as projections and histograms.
///
/// Sums and products are 32-bit and wrap. All functions may run at once; KelOrderArray() alone
/// changes its array. Pointers are not checked.
#ifndef KEL_ARRAYPROPERTIES_H
#define KEL_ARRAYPROPERTIES_H

#include "kel_define.h"

/// The mean, truncated toward zero.
/// @return 0 for a length below 1; a length of 0 also writes a line to the standard error stream
KEL_API int KelCal1DArrayAver(int* array, int arrLen);

/// The mean absolute deviation, truncated to a whole number.
/// @param err      first set to 0.0, and left so for a length below 1; a length of 0 also writes a
///                 line to the standard error stream
/// @param calcAver true: deviation from the truncated mean; false: from `aver`
/// @return 0
KEL_API int KelCal1DArrayErr(int* array, int arrLen, double* err, bool calcAver, int aver);

/// The cosine of the angle between two arrays as vectors; no mean is subtracted. Where the 32-bit
/// sums wrap the value has no meaning, and may be infinite or not a number.
/// @param relation first set to 0.0, and left so when an array's sum of squares is 0 or for a
///                 length below 1; a length of 0 also writes a line to the standard error stream
/// @return 0
KEL_API int KelCal1DArraysRelation1(int* first, int* second, int arrLen, double* relation);

/// Sorts in place.
/// @return 0
KEL_API int KelOrderArray(int* array, int arrLen, bool ascending);

#endif  // KEL_ARRAYPROPERTIES_H
