// Palettes of image files: what kind of image one stands for.
#pragma once

#include <cstdint>

#include "im.h"

namespace im {

struct PaletteKind {
    int colorSpace;   ///< IM_BINARY, IM_GRAY or IM_MAP
    uint8_t flipBit;  ///< with IM_BINARY: 1 where index 0 is white
};

/// `count` greys (at least 2) in equal steps from black to white.
void setGreys(imPaletteColor* colors, int count);

/// Two entries, one black and one white, are IM_BINARY; 256 entries that are the greys in order are
/// IM_GRAY; all else is IM_MAP. For formats that say binary and grey by a palette alone.
PaletteKind kindOfPalette(const imPaletteColor* colors, int count);

/// Stores `count` entries (at most 256) into an IM_MAP image; black beyond.
void setPalette(imImage& image, const imPaletteColor* colors, int count);

/// Entries that an IM_MAP image needs: those that count, and more where its indexes go beyond.
int colorsInUse(const imImage& image);

/// The palette that stands for an image in such formats; writes 256 entries, returns how many
/// count.
int paletteFor(const imImage& image, imPaletteColor* colors);

}  // namespace im
