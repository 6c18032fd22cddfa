// What commands that make pages of pages share: their arguments, the way from file to file, and the
// report that shows each page before and after.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

struct PageArguments {
    std::vector<std::string> inputs;
    std::string output;
    std::string report;  ///< folder; empty: none
};

/// IN and -o.
void addFileOptions(CLI::App& command, PageArguments& arguments);
/// --report.
void addReportOption(CLI::App& command, PageArguments& arguments);

/// What was made of a page.
struct Outcome {
    Page before;  ///< as the work began with it; not needed without a report
    Page after;
    std::string factsBefore, facts;  ///< in a few words; printed where not empty
};

using PageWork = std::function<Outcome(Page page)>;

/// Takes every page through the work into its file: one file to one file; several, or a folder,
/// into a folder of PNG files. A file that fails costs one line; the others are still done.
/// @param heading of the report
/// @return the exit status
int takeEach(const PageArguments& arguments, const std::string& heading, const PageWork& work);

/// The same page once more.
Page copyOf(const Page& page);

}  // namespace kelpage
