// Reports: one HTML page with rows of pictures.
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "plain_text.h"

namespace kelpage {
namespace {

const char* const kStyle = R"(
  body { font: 15px/1.45 system-ui, sans-serif; margin: 0; background: #eef0f2; color: #1c2329; }
  header { background: #22303c; color: #fff; padding: 1.2rem 2rem; }
  header h1 { margin: 0 0 .3rem; font-size: 1.4rem; font-weight: 600; }
  header p { margin: 0; opacity: .85; max-width: 60rem; }
  section { margin: 1.5rem 2rem; background: #fff; border: 1px solid #d7dce0; border-radius: 6px;
            padding: 1rem 1.2rem 1.4rem; }
  h2 { font-size: 1.1rem; margin: 0 0 .8rem; }
  h2 small { font-weight: 400; color: #66727c; margin-left: .6rem; }
  .cells { display: grid; grid-template-columns: repeat(auto-fill, minmax(14rem, 1fr)); gap: 1rem; }
  figure { margin: 0; }
  .frame { display: flex; max-height: 24rem; align-items: center; justify-content: center;
           background: #c9d0d6; border: 1px solid #b8c0c7; border-radius: 4px; overflow: hidden; }
  .frame img { max-width: 100%; max-height: 100%; }
  figcaption { padding-top: .4rem; font-size: .87rem; }
  figcaption b { display: block; }
  figcaption span { color: #515d67; }
  figcaption .time { float: right; font-variant-numeric: tabular-nums; color: #1d6b3e; }
)";

bool hasTimes(const std::vector<Row>& rows) {
    return std::any_of(rows.begin(), rows.end(), [](const Row& row) {
        return std::any_of(row.cells.begin(), row.cells.end(),
                           [](const Cell& cell) { return !cell.time.empty(); });
    });
}

std::string html(const std::vector<Row>& rows, const std::string& title, const std::string& lead) {
    std::ostringstream out;
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width\">\n"
        << "<title>KelImageLib: " << title << "</title>\n<style>" << kStyle
        << "</style>\n</head>\n<body>\n<header><h1>" << title << "</h1>\n<p>" << lead;
    if (hasTimes(rows)) out << " Times are the shortest of " << kTimedRuns << " runs.";
    out << " Select a picture to see it in full size.</p></header>\n";
    for (const Row& row : rows) {
        out << "<section>\n<h2>" << escapedForHtml(row.name) << "<small>"
            << escapedForHtml(row.facts) << "</small></h2>\n<div class=\"cells\">\n";
        for (const Cell& cell : row.cells) {
            if (cell.picture.empty()) {
                out << "<figure><figcaption><b>" << escapedForHtml(cell.title) << "</b><span>"
                    << escapedForHtml(cell.detail) << "</span></figcaption></figure>\n";
                continue;
            }
            out << "<figure><a class=\"frame\" style=\"aspect-ratio: " << row.size.width << " / "
                << row.size.height << "\" href=\"" << cell.picture << "\"><img loading=\"lazy\" "
                << "src=\"" << cell.picture << "\" alt=\""
                << escapedForHtml(row.name + ", " + cell.title)
                << "\"></a>\n<figcaption><span class=\"time\">" << cell.time << "</span><b>"
                << escapedForHtml(cell.title) << "</b><span>" << escapedForHtml(cell.detail)
                << "</span></figcaption></figure>\n";
        }
        out << "</div>\n</section>\n";
    }
    out << "</body>\n</html>\n";
    return out.str();
}

}  // namespace

std::string inMilliseconds(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", milliseconds);
    return text;
}

Report::Report(fs::path folder, std::vector<fs::path> inputs)
    : folder_(std::move(folder)), isNew_(!isFolder(folder_)), inputs_(std::move(inputs)) {
    makeFolder(folder_);
}

Report::~Report() {
    dropPictures();
    std::error_code error;
    if (isNew_ && rows_.empty()) fs::remove(folder_, error);
}

Row Report::rowFor(const std::string& name, const Page& page) {
    dropPictures();
    Row row;
    row.name = name;
    row.size = page.size;
    row.facts = std::to_string(page.size.width) + " \u00d7 " + std::to_string(page.size.height) +
                " pixels, " + (page.channels == 3 ? "colour" : "grey");
    return row;
}

std::string Report::addPicture(const Page& page, const fs::path& file, const std::string& name) {
    std::string picture = std::to_string(rows_.size() + 1) + "-" + safeName(file.stem().string()) +
                          "-" + name + ".png";
    try {
        savePage(page, folder_ / picture, inputs_);
        begun_.push_back(picture);
    } catch (const FileError& error) {
        throw FileError("its picture " + picture + " " + error.what());
    }
    return picture;
}

void Report::addRow(Row row) {
    rows_.push_back(std::move(row));
    begun_.clear();
}

void Report::dropPictures() {
    std::error_code error;
    for (const std::string& picture : begun_)
        fs::remove(folder_ / picture, error);
    begun_.clear();
}

fs::path Report::write(const std::string& title, const std::string& lead) const {
    fs::path path = fs::absolute(folder_ / "index.html").lexically_normal();
    const fs::path aside = folder_ / ".index.html.part";
    std::ofstream file(aside, std::ios::binary);
    file << html(rows_, title, lead);
    file.close();
    std::error_code error;
    if (file) fs::rename(aside, path, error);
    if (file && !error) return path;
    fs::remove(aside, error);
    throw FileError("index.html cannot be written");
}

}  // namespace kelpage
