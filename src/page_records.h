// Toolkit records made from channel images, for saving and encoding.
#pragma once

#include "im_handles.h"

namespace kel::detail {

/// A record of bytes, IM_GRAY or IM_RGB; null when it can't be held.
ImImageHandle recordOf(unsigned char* data, int width, int height, int colorSpace);

/// By the toolkit's conversion, to bytes of another colour space; null when it can't be held.
ImImageHandle convertedRecord(const imImage& record, int colorSpace);

/// What convertedRecord() makes of recordOf() as IM_BINARY.
ImImageHandle binaryRecordOf(unsigned char* data, int width, int height, int colorSpace);

}  // namespace kel::detail
