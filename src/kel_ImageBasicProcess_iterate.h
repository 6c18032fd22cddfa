// What the binarizers by iteration offer inside the library.
#pragma once

#include "kel_define.h"

namespace kel::detail {

/// KelBinarize_qifa_WholeAndPart() where the samples that `ignored` marks with 255 (null: none) may
/// become 0 or 255 as it comes: the local threshold isn't computed for them alone.
int binarizeWholeAndPart(unsigned char* src, kelSize size, unsigned char* dst, unsigned char& thres,
                         int offset, int minThres, double lowRatio, double highRatio,
                         const unsigned char* ignored);

}  // namespace kel::detail
