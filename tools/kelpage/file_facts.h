// What an image file holds, without its samples.
#pragma once

#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

struct PageFacts {
    kelSize size{};
    std::string kind;               ///< "binary", "grey", "palette", "colour" or "CMYK"
    int sampleType = 0;             ///< imDataType
    std::string compression;        ///< its name
    double xDpi = 0.0, yDpi = 0.0;  ///< 0 where the file has none

    bool isBinary() const { return kind == "binary"; }
};

struct FileFacts {
    std::string format;
    std::vector<PageFacts> pages;
};

/// Reads the headers of all pages.
/// @throws FileError
FileFacts readFacts(const fs::path& file);

/// Reads the header of one page, counted from 1.
/// @throws FileError
PageFacts readFacts(const fs::path& file, int number);

/// "2480 x 3508 pixels, binary", with the sample type where it is not the usual byte.
std::string describe(const PageFacts& page);

}  // namespace kelpage
