// Marks in colour on pages.
#pragma once

#include "page_files.h"

namespace kelpage {

/// A page as a colour page.
Page inColour(const Page& page);

/// Fills a rectangle of a colour page; what lies outside is left out.
void fill(Page& page, int x, int y, int width, int height, kelRGB colour);

constexpr kelRGB kRed{220, 30, 40}, kBlue{30, 90, 220};

}  // namespace kelpage
