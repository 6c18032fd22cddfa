// Pages with what was made of them, side by side, as one HTML page with its pictures.
#pragma once

#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

class Report {
  public:
    /// @param inputs files that no picture may overwrite
    Report(fs::path folder, std::vector<fs::path> inputs)
        : folder_(std::move(folder)), inputs_(std::move(inputs)) {}

    /// @throws FileError
    void makeFolder() const;

    /// Starts the row of a file.
    void startRow(const fs::path& file, kelSize size, const std::string& facts);
    /// Takes the last row back.
    void dropRow();
    size_t rows() const { return rows_.size(); }

    /// Saves a picture into the report's folder and adds it to the last row.
    /// @throws FileError
    void addPicture(const Page& page, const std::string& title, const std::string& detail,
                    const std::string& time = "");

    /// @throws FileError
    void write(const std::string& title, const std::string& heading,
               const std::string& introduction) const;
    /// The HTML page.
    fs::path file() const;

  private:
    /// One picture with the words below it.
    struct Cell {
        std::string picture;  ///< file name in the folder
        std::string title;
        std::string detail;
        std::string time;
    };

    struct Row {
        fs::path file;
        std::string facts;
        kelSize size;
        std::vector<Cell> cells;
    };

    std::string html(const std::string& title, const std::string& heading,
                     const std::string& introduction) const;

    fs::path folder_;
    std::vector<fs::path> inputs_;
    std::vector<Row> rows_;
    size_t started_ = 0;  ///< rows, with those taken back
};

/// "2480 x 3508 pixels, colour".
std::string describe(const Page& page);

}  // namespace kelpage
