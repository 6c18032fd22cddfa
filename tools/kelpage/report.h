// Reports: one HTML page with rows of pictures, in a folder of its own.
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

/// One picture of a report with the words below it.
struct Cell {
    std::string picture;  ///< file name in the report's folder; empty for none
    std::string title;
    std::string detail;
    std::string time;
};

/// The pictures of one file.
struct Row {
    std::string name;
    std::string facts;
    kelSize size{};
    std::vector<Cell> cells;
};

constexpr int kTimedRuns = 3;

std::string inMilliseconds(double milliseconds);

/// Runs `work` a few times and gives the shortest time as text.
template <class Work>
std::string timed(Work work) {
    double best = 1e300;
    for (int run = 0; run < kTimedRuns; ++run) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> spent =
            std::chrono::steady_clock::now() - start;
        best = std::min(best, spent.count());
    }
    return inMilliseconds(best);
}

class Report {
  public:
    /// Makes the folder.
    /// @param inputs files that pictures must not overwrite
    /// @throws FileError
    Report(fs::path folder, std::vector<fs::path> inputs);
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;
    /// Removes the folder again if nothing has come into it.
    ~Report();

    /// Begins a row for a page. The pictures of one that was begun and not added are removed.
    /// @param name of the page, such as "scan.tif, page 3"
    Row rowFor(const std::string& name, const Page& page);

    /// Saves a picture of the row that was begun, for a page of `file`.
    /// @return its name in the folder
    /// @throws FileError
    std::string addPicture(const Page& page, const fs::path& file, const std::string& name);

    void addRow(Row row);
    size_t rowCount() const { return rows_.size(); }

    /// Writes the HTML page.
    /// @param lead what the report shows, as HTML; a line on times follows where there are some
    /// @return its path
    /// @throws FileError
    fs::path write(const std::string& title, const std::string& lead) const;

  private:
    void dropPictures();

    fs::path folder_;
    bool isNew_;
    std::vector<fs::path> inputs_;
    std::vector<Row> rows_;
    std::vector<std::string> begun_;  ///< pictures of the row that is not added yet
};

}  // namespace kelpage
