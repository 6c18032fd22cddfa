// Commands that make one page of each page: their options, and the report that shows each page
// before and after.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

#include "batch.h"
#include "page_files.h"

namespace kelpage {

struct PageArguments {
    Batch batch;
    std::string report;  ///< folder; empty: none
};

/// IN and -o.
void addFileOptions(CLI::App& command, Batch& batch);
/// --report.
void addReportOption(CLI::App& command, PageArguments& arguments);

/// What was made of a page.
struct Outcome {
    Page before;  ///< as the work began with it
    Page after;
    std::string factsBefore, facts;  ///< in a few words; printed where not empty
    std::string time{};              ///< what it took, if that is of interest
};

using PageWork = std::function<Outcome(Page page)>;

/// Takes every page through the work into its file, as runBatch() does, and reports it where asked.
/// @param heading of the report
/// @return the exit status
int takeEach(const PageArguments& arguments, const std::string& heading, const PageWork& work);

/// The same page once more.
Page copyOf(const Page& page);

/// Whether two pages of one size and kind have the same samples.
bool isSame(const Page& a, const Page& b);

}  // namespace kelpage
