// Comparison of a run of samples with one threshold, the last step of most binarizations.
#pragma once

#include <cstddef>

namespace kel::detail {

/// 255 where a sample exceeds `thres` and 0 elsewhere, or the reverse with `isOpp` not 0. `dst` may
/// be `src`.
void thresholdSamples(const unsigned char* src, unsigned char* dst, size_t count, int thres,
                      unsigned char isOpp);

}  // namespace kel::detail
