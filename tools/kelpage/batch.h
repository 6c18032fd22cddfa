// One result page for each input page.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "run_plan.h"

namespace kelpage {

/// Files in and out: one file goes to one file; several, or a folder, go into a folder as PNG
/// files. Where one file has several pages, a TIFF file takes them all, and other names are
/// numbered.
struct Batch {
    std::vector<std::string> inputs;
    std::string output;
};

/// Makes a page of each input page and saves it. What fails is reported; the others are still done.
/// @param inputs the batch's collected files
/// @param make   gets the page, and which one it is
/// @return exit status
int runBatch(const Batch& batch, const Inputs& inputs,
             const std::function<Page(Page page, const PlannedPage& which)>& make);

/// "out.png" for the only page of a file, else "out-3.png".
fs::path numberedName(const fs::path& output, int number, bool isOnly);

}  // namespace kelpage
