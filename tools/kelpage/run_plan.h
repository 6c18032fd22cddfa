// Which pages a run takes, and what their results are called.
#pragma once

#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

struct PlannedPage {
    fs::path file;
    int number = 1;     ///< of the page, from 1
    int pageCount = 1;  ///< of the file
    std::string name;   ///< of the results, without extension; no other page has it

    /// "scan.tif", or "scan.tif, page 3".
    std::string title() const;
    /// The same with the folder of the file.
    std::string path() const;
};

/// Every page of every file. A file that cannot be opened stands there with one page.
/// @param suffixes what follows names besides extensions: no name ends up as another's with one
std::vector<PlannedPage> planPages(const std::vector<fs::path>& files,
                                   const std::vector<std::string>& suffixes);

}  // namespace kelpage
