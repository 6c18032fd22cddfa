// The pieces of the skew searches that are not exported.
#pragma once

#include <opencv2/core/types_c.h>

/// Splits a number into the factors that the stages of the skew search use: smallest divisors first
/// while what is left is above 5 and not prime, then what is left. At most 31 factors; `number` as
/// it is when it is 5 or less.
int KelMatteNoToPrimeNumMultiply(int number, int* factors, int* factorCount);

/// Scores centre + i * step for i from -half to half and takes the best one, the smallest angle in
/// a tie. `centreScore` is the score of `centre`, or -1 when it is not known.
int KelCalAngleAssignRangeAcc(unsigned char* image, int w, int h, double centre, double step,
                              int half, double* bestAngle, int* bestScore, int centreScore);

/// Fills those of 2 * half + 1 scores that are -1, on at most two threads.
int KelCalProjGradientsAssignAngle(unsigned char* image, int w, int h, int half, double centre,
                                   double step, int* scores);

/// The sum of squared differences of neighbouring bins at an angle; wraps.
int KelCalProjGradient(unsigned char* image, int w, int h, double angle, int* score);

/// Adds the samples of 255 to the bins of an axis at an angle.
int KelProjectAngle(unsigned char* image, int w, int h, double angle, int* bins, int binCount);

/// Keeps what lies more than `radius` samples from either end of a wave and clears the rest.
int KelWaveFilterWin(int* wave, int len, int radius, int passes);

/// Finds the skew of a grey or colour picture by turning it: from -n / 2 to (n - 1) / 2 degrees in
/// half degrees, n being the magnitude of `halfDegrees`. Samples not above `threshold` are ink; the
/// row counts with the greatest sum of squared differences win, the first in a tie. `initialAngle`
/// when no angle has any.
int KelDetectDocAngle(IplImage* image, double* angle, double initialAngle, int halfDegrees,
                      double threshold);

namespace kel::detail {

/// Bins that hold the projection of a page at any angle. The sum of squares wraps at 32 bits, for
/// pages beyond any scanner.
int binsAtAnyAngle(int w, int h);

}  // namespace kel::detail
