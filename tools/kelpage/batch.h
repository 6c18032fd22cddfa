// One result page for each input page.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

/// Files in and out: one file goes to one file; several, or a folder, go into a folder as PNG
/// files.
struct Batch {
    std::vector<std::string> inputs;
    std::string output;
};

/// Makes a page of each input page and saves it. What fails is reported; the others are still done.
/// @param inputs the batch's collected files
/// @param make   gets the page and its file
/// @return exit status
int runBatch(const Batch& batch, const Inputs& inputs,
             const std::function<Page(Page page, const fs::path& file)>& make);

}  // namespace kelpage
