// Coloured seals: the settings to find them by, and pages without them.
#pragma once

#include <string>

#include "kel_segment.h"
#include "page_files.h"

namespace kelpage {

/// Reads the settings of one colour.
/// @param colour "red" or "blue"
/// @throws FileError
kelHSVSegConfig sealSettings(const fs::path& file, const std::string& colour);

/// White where the seal is, and where the rim of its strokes fades into the paper.
/// @param page three planes
/// @param mask 255 where the seal is
Page withoutSeal(const Page& page, const Page& mask);

}  // namespace kelpage
