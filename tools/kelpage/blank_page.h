// How much a page has on it.
#pragma once

#include "page_files.h"

namespace kelpage {

/// The share of a page that is ink, of the part within its margins (a twentieth of each side).
/// Binding holes do not count, and neither does ink that is hardly darker than the paper: on an
/// empty page, a level of its own finds nothing but the grain of the paper.
/// @param ink  white on black
/// @param page the same page in grey or colour
double inkShare(const Page& ink, const Page& page);

}  // namespace kelpage
