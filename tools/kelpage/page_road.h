// The road of a page: from a scan to a clean page in black and white and in colour.
#pragma once

#include <optional>

#include "kel_segment.h"
#include "methods.h"
#include "page_file.h"
#include "run_result.h"
#include "skew_of_page.h"

namespace kelpage {

enum class EdgeWork { none, paint, clear };

struct RoadOptions {
    kelSize limit{4096, 4096};  ///< larger pages are scaled down; 0 by 0: none
    Settings method;
    bool isDeskewed = true;
    SkewSearch search;
    EdgeWork edges = EdgeWork::paint;  ///< clear: from the page in black and white as well
    std::optional<int> least;          ///< pixels of ink that are no spot; or by the resolution
    bool holes = false;
    std::optional<kelHSVSegConfig> seal;
    double blankInk = 0.0002;  ///< a page with a smaller share of ink is blank
};

/// What the road makes of a page.
struct RoadPage {
    Page before;  ///< as loaded; empty where `colour` still is that
    Page colour;  ///< turned upright, without dark edges and holes; grey pages have one plane
    Page binary;  ///< the same in black on white, without spots, and without the seal
    Page seal;    ///< black on white; empty where none was looked for

    const Page& asLoaded() const { return before.samples ? before : colour; }
};

/// Takes a page along. `result` and its clock tell what was done.
/// @param number the page, from 1
/// @throws what the steps throw
RoadPage takeAlong(const fs::path& file, int number, const RoadOptions& options, StepClock& clock,
                   PageResult& result);

}  // namespace kelpage
