/// @file kel_CalAngle.h
/// The skew of binary pages. Angles are in degrees; 0 is no skew.
///
/// All functions may run at once; images are only read. Pointers are not checked.
#ifndef KEL_CALANGLE_H
#define KEL_CALANGLE_H

#include "kel_define.h"

/// Finds the skew of a page: the angle whose axis gives the projection of the ink with the greatest
/// sum of squared differences between neighbouring bins.
///
/// The search goes from coarse to fine. The number of steps, range / accuracy truncated, is split
/// into small factors; each stage divides the step by a factor and tries that many steps on either
/// side of the best angle so far. Among equal scores the smallest angle wins, so that the result
/// for a page without ink is some angle below -range. Scores are 32-bit and wrap. The result
/// doesn't depend on the number of threads, which is 2 at most.
/// @param image    one plane; samples of 255 are ink, all others paper
/// @param range    first stage: from -range to +range; later ones may go beyond
/// @param accuracy the last step is range divided by the product of the factors; with range less
///                 than twice the accuracy no stage runs and the angle is 0
/// @param angle    untouched when the call is refused
/// @return 0, or -1 when `range` or `accuracy` isn't above 0 or `accuracy` exceeds `range`
KEL_API int KelDetectDocumentAngle(unsigned char* image, int w, int h, double range,
                                   double accuracy, double* angle);

/// Finds the skew of a page by trying range * i / steps degrees, i from -steps to steps: the angle
/// whose projection, smoothed over three bins, has the greatest sum of squared differences between
/// neighbouring bins. In a tie the smaller magnitude wins, and of two opposite angles the negative
/// one; a page without ink gives 0. The time grows with ink and steps.
/// @param polarity above 0: samples of 255 are ink; otherwise those of 0
/// @return 0
KEL_API int KelDetectAngle(unsigned char* image, kelSize size, int polarity, double* angle,
                           double range, int steps);

#endif  // KEL_CALANGLE_H
