// Steps that the load pipeline and the older loaders have in common.
#pragma once

#include "im_handles.h"

namespace kel::detail {

/// The head of a file, zeros where it is shorter; nothing when the file doesn't open.
struct FileHead {
    unsigned char bytes[56] = {};
    bool isKnown = false;
};
FileHead headOfFile(const char* fileName);
FileHead headOfBlock(const unsigned char* buffer, int bufferLen);

/// Scales a page down to the limit, keeping its aspect ratio; null when nothing is left of it.
ImImageHandle limited(ImImageHandle page, int limitWidth, int limitHeight);

/// CMYK samples wider than a byte are refused with a line on the standard error stream.
bool isRefusedCmyk(const imImage& page);

/// By the toolkit's conversion.
ImImageHandle asRgb(const imImage& page);

}  // namespace kel::detail
