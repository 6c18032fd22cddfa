// The skew of a page, and how sure it is.
#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

struct SkewSearch {
    double range = 10.0, accuracy = 0.1;  ///< degrees
};

struct Skew {
    double angle = 0.0;     ///< degrees, clockwise above 0; 0 when it is not sure
    double sureness = 0.0;  ///< score of the angle found over the median one; 0 for a blank page
    bool isSure = false;
    std::vector<double> scores;  ///< of the angles from -range to range, evenly spaced

    /// "2.30 degrees, sure: 5.1 times the median score".
    std::string text() const;
};

/// --range and --accuracy.
void addSkewOptions(CLI::App& command, SkewSearch& search);

/// @throws CLI::ValidationError for options that do not fit each other
void requireSearch(const SkewSearch& search);

/// @param ink white on black, one plane
Skew skewOf(const Page& ink, const SkewSearch& search);

/// The scores as black bars on white; a grey line marks the angle found.
Page plotOf(const Skew& skew, const SkewSearch& search);

}  // namespace kelpage
