// What lies between a page of a TIFF file and an image.
#pragma once

#include "format.h"
#include "tiff_handle.h"

namespace im {

/// What is between a page of the file and the image.
struct TiffLayout {
    PageInfo info;
    int scheme = COMPRESSION_NONE;
    bool converted = false;  ///< libtiff makes 8-bit RGBA of it, which the next fields then tell
    int bits = 1;            ///< of a sample
    int stride = 1;          ///< samples from one pixel of a row to the next
    bool inverted = false;   ///< the lowest sample is white, or no ink

    bool bottomFirst = false;
    bool mirrored = false;
    bool planesApart = false;
};

/// Reads the layout of the page whose directory libtiff has. Checks as Reader::pageInfo asks for,
/// of a file of `fileBytes`.
TiffLayout readTiffLayout(TiffHandle& tiff, uint64_t fileBytes);

struct TiffPalette {
    imPaletteColor colors[256];
    int count;
};

/// The palette of the same page, for samples of `bits`.
TiffPalette readTiffPalette(const TiffHandle& tiff, int bits);

/// Compressions of bilevel pages alone.
bool isFax(int scheme);

}  // namespace im
