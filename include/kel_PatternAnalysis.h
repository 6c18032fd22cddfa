/// @file kel_PatternAnalysis.h
/// Projections of images onto their axes, and the waves of such projections.
///
/// A direction is a character: 'H' is one sample per row, 'V' one per column. All functions may run
/// at once on different arrays. Pointers are not checked.
#ifndef KEL_PATTERNANALYSIS_H
#define KEL_PATTERNANALYSIS_H

#include "kel_define.h"

/// One wave: a run of samples above a threshold.
class KEL_API kelWaveCharacter {
  public:
    /// Zeroes all fields.
    kelWaveCharacter();
    kelWaveCharacter(const kelWaveCharacter&) = default;
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

    kelWaveCharacter* head;
    int32_t count;
};

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

/// Prints a line of dots to the standard output.
/// @return 0
KEL_API int testPrint();

#endif  // KEL_PATTERNANALYSIS_H
