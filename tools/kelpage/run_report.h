// The report of a run: one HTML page that needs nothing but its folder.
#pragma once

#include <vector>

#include "output_folder.h"
#include "run_page.h"

namespace kelpage {

struct RunSummary {
    std::vector<PlannedPage> plan;
    std::vector<RunPageResult> results;  ///< of the first pages of the plan
    double seconds = 0.0;
    int threads = 1;
    bool hasSeals = false;

    size_t count(Fate fate) const;
    size_t resumedCount() const;
    /// Of the pages that this run did itself; 0 for none.
    double pagesPerSecond() const;
    /// "6 pages in 1.2 s (5.0 pages/s): 5 done, 1 failed".
    std::string text() const;
};

/// Writes "index.html". The pictures are there already.
/// @param output the folder that the files of the pages are in
/// @return its path
/// @throws FileError
fs::path writeRunReport(const OutputFolder& folder, const fs::path& output,
                        const RunSummary& summary);

}  // namespace kelpage
