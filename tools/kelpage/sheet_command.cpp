// kelpage sheet: every page by every method, side by side, as one HTML page with its pictures.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "methods.h"
#include "page_files.h"
#include "progress.h"

namespace kelpage {
namespace {

constexpr int kTimedRuns = 3;

/// One picture of the sheet with the words below it.
struct Cell {
    std::string picture;  ///< file name in the sheet's folder
    std::string title;
    std::string detail;
    std::string time;
};

struct Row {
    std::string name;
    std::string facts;
    kelSize size;
    std::vector<Cell> cells;
};

std::string escaped(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

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
    char text[32];
    std::snprintf(text, sizeof text, "%.2f ms", best);
    return text;
}

/// A file name that a browser takes as it is.
std::string safeName(const std::string& name) {
    std::string out;
    for (char c : name) {
        const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
                           (c >= 'A' && c <= 'Z') || c == '-' || c == '_' || c == '.';
        out += plain ? c : '_';
    }
    return out;
}

class SheetMaker {
  public:
    SheetMaker(fs::path folder, const std::vector<fs::path>& inputs, Progress& progress)
        : folder_(std::move(folder)), inputs_(inputs), progress_(progress) {}

    /// Takes one page through grey and every method, and saves each result.
    Row addPage(const fs::path& file, size_t number) {
        progress_.show(file.filename().string());
        const Page source = loadPage(file);
        const std::string prefix =
            std::to_string(number) + "-" + safeName(file.stem().string()) + "-";
        Row row;
        row.name = file.filename().string();
        row.size = source.size;
        row.facts = std::to_string(source.size.width) + " \u00d7 " +
                    std::to_string(source.size.height) + " pixels, " +
                    (source.channels == 3 ? "colour" : "grey");
        row.cells.push_back({save(source, prefix + "source"), "source", "as loaded", ""});

        Page grey = makePage(source.size, 1);
        const std::string greyTime = timed([&] {
            KelColorConvert(source.samples.get(), source.size, source.channels, grey.samples.get(),
                            source.size, 1);
        });
        row.cells.push_back({save(grey, prefix + "grey"), "grey",
                             source.channels == 3 ? "exact luminance" : "plane copy", greyTime});

        for (const Method& method : methods()) {
            progress_.show(file.filename().string() + ": " + method.name);
            const Settings settings = usualSettings(method.number);
            Page result;
            const std::string time = timed([&] { result = binarize(source, settings); });
            row.cells.push_back({save(result, prefix + "method" + std::to_string(method.number)),
                                 "method " + std::to_string(method.number) + ": " + method.name,
                                 "level " + levelText(source, settings), time});
        }
        return row;
    }

  private:
    std::string save(const Page& page, const std::string& name) {
        std::string file = name + ".png";
        try {
            savePage(page, folder_ / file, inputs_);
        } catch (const FileError& error) {
            throw FileError("its picture " + file + " " + error.what());
        }
        return file;
    }

    fs::path folder_;
    const std::vector<fs::path>& inputs_;
    Progress& progress_;
};

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

std::string html(const std::vector<Row>& rows) {
    std::ostringstream out;
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        << "<meta name=\"viewport\" content=\"width=device-width\">\n"
        << "<title>KelImageLib: pages by every method</title>\n<style>" << kStyle
        << "</style>\n</head>\n<body>\n<header><h1>Pages by every binarization method</h1>\n"
        << "<p>Each page as loaded, reduced to grey, and binarized by every method number with its "
           "usual settings, ink black on white. Times are the shortest of "
        << kTimedRuns << " runs. Select a picture to see it in full size.</p></header>\n";
    for (const Row& row : rows) {
        out << "<section>\n<h2>" << escaped(row.name) << "<small>" << escaped(row.facts)
            << "</small></h2>\n<div class=\"cells\">\n";
        for (const Cell& cell : row.cells) {
            out << "<figure><a class=\"frame\" style=\"aspect-ratio: " << row.size.width << " / "
                << row.size.height << "\" href=\"" << cell.picture << "\"><img loading=\"lazy\" "
                << "src=\"" << cell.picture << "\" alt=\"" << escaped(row.name + ", " + cell.title)
                << "\"></a>\n<figcaption><span class=\"time\">" << cell.time << "</span><b>"
                << escaped(cell.title) << "</b><span>" << escaped(cell.detail)
                << "</span></figcaption></figure>\n";
        }
        out << "</div>\n</section>\n";
    }
    out << "</body>\n</html>\n";
    return out.str();
}

int run(const std::vector<std::string>& names, const fs::path& folder) {
    const Inputs inputs = collectFiles(names);
    const std::vector<fs::path>& files = inputs.files;
    if (files.empty()) return 1;
    try {
        makeFolder(folder);
    } catch (const FileError& error) {
        reportError(folder, error.what());
        return 1;
    }

    std::vector<Row> rows;
    bool failed = inputs.failures > 0;
    Progress progress(files.size());
    SheetMaker maker(folder, files, progress);
    for (size_t i = 0; i < files.size(); ++i) {
        try {
            rows.push_back(maker.addPage(files[i], i + 1));
        } catch (const std::exception& error) {
            progress.clear();
            reportError(files[i], reasonOf(error));
            failed = true;
        }
        progress.step();
    }
    progress.clear();
    if (rows.empty()) return 1;

    const fs::path sheet = fs::absolute(folder / "index.html").lexically_normal();
    std::ofstream file(sheet, std::ios::binary);
    file << html(rows);
    file.close();
    if (!file) {
        reportError(sheet, "cannot be written");
        return 1;
    }
    std::cout << rows.size() << (rows.size() == 1 ? " page, " : " pages, ") << methods().size()
              << " methods: " << sheet.string() << "\n";
    return failed ? 1 : 0;
}

}  // namespace

void addSheet(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "sheet", "Show pages binarized by every method, side by side, as an HTML contact sheet");
    const auto inputs = std::make_shared<std::vector<std::string>>();
    const auto folder = std::make_shared<std::string>();
    command->add_option("IN", *inputs, "Image files, or folders of them")->required();
    command->add_option("-o,--output", *folder, "Folder for the sheet and its pictures")
        ->required();
    command->callback([inputs, folder, &status] { status = run(*inputs, *folder); });
}

}  // namespace kelpage
