// The connected areas of a page's ink.
#pragma once

#include <string>
#include <vector>

#include "kel_ConnectArea.h"
#include "page_files.h"

namespace kelpage {

struct Areas {
    std::vector<int> labels;              ///< as KC_GenerateCALabelBuf gives them
    std::vector<kelConnectArea> records;  ///< by label, from 1 on

    size_t count() const { return records.size() - 1; }
};

/// White ink on black paper: what the library's operations on areas work on. Pages of 0 and 255 are
/// turned over; others are binarized at their own level first.
Page inkOf(const Page& page);

/// Black ink on white paper, from white on black.
Page blackOnWhite(const Page& ink);

/// @param ink white on black, one plane
Areas areasOf(const Page& ink);

/// "3850 areas, 2500 of them up to 9 pixels".
std::string countText(const Areas& areas, int small);

}  // namespace kelpage
