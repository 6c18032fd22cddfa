// The dark round holes of binders at the left and the right of pages.
#pragma once

#include <array>

#include "page_files.h"

namespace kelpage {

/// What to look for, in pixels, and what to paint it with.
struct Holes {
    int radius = 0;
    int strip = 0;  ///< columns at each side
    std::array<int, 3> paint = {255, 255, 255};
};

/// Dots per inch by the file, or as for an upright A4 page.
double dpiOf(const Page& page);

/// Holes of 3 mm radius within 20 mm of the sides.
Holes usualHoles(const Page& page);

/// Whether the library looks at all: it leaves smaller pages alone.
bool isLargeEnough(kelSize page, const Holes& holes);

/// Paints the holes over, in place.
/// @return how many
size_t fillHoles(Page& page, const Holes& holes);

/// 255 where two pages of one size differ in any plane.
Page changesBetween(const Page& before, const Page& after);

}  // namespace kelpage
