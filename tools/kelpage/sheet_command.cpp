// kelpage sheet: every page by every method, side by side, as one HTML page with its pictures.
#include <exception>
#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "methods.h"
#include "page_file.h"
#include "progress.h"
#include "report.h"
#include "run_plan.h"

namespace kelpage {
namespace {

/// Takes one page through grey and every method, and saves each result.
Row rowOf(const PlannedPage& which, Report& report, Progress& progress) {
    const fs::path& file = which.file;
    progress.show(which.title());
    const Page source = PageFile(file).load(which.number);
    Row row = report.rowFor(which.title(), source);
    row.cells.push_back({report.addPicture(source, file, "source"), "source", "as loaded", ""});

    Page grey = makePage(source.size, 1);
    const std::string greyTime = timed([&] {
        KelColorConvert(source.samples.get(), source.size, source.channels, grey.samples.get(),
                        source.size, 1);
    });
    row.cells.push_back({report.addPicture(grey, file, "grey"), "grey",
                         source.channels == 3 ? "exact luminance" : "plane copy", greyTime});

    for (const Method& method : methods()) {
        progress.show(which.title() + ": " + method.name);
        try {
            Page result;
            const std::string time = timed([&] { result = binarize(source, method.usual); });
            row.cells.push_back({report.addPicture(result, file, method.name), method.title(),
                                 levelText(source, method.usual), time});
        } catch (const NoLevel& none) {
            row.cells.push_back({"", method.title(), none.what(), ""});
        }
    }
    return row;
}

int run(const std::vector<std::string>& names, const fs::path& folder) {
    const Inputs inputs = collectFiles(names);
    const std::vector<fs::path>& files = inputs.files;
    if (files.empty()) return 1;
    std::optional<Report> report;
    try {
        report.emplace(folder, files);
    } catch (const FileError& error) {
        reportError(folder, error.what());
        return 1;
    }

    bool failed = inputs.failures > 0;
    const std::vector<PlannedPage> pages = planPages(files, {});
    Progress progress(pages.size());
    for (const PlannedPage& which : pages) {
        try {
            report->addRow(rowOf(which, *report, progress));
        } catch (const std::exception& error) {
            progress.clear();
            reportError(which.path(), reasonOf(error));
            failed = true;
        }
        progress.step();
    }
    progress.clear();
    if (report->rowCount() == 0) return 1;
    try {
        const fs::path sheet = report->write(
            "Pages by every binarization method",
            "Each page as loaded, reduced to grey, and binarized by every method number with its "
            "usual settings, ink black on white.");
        std::cout << report->rowCount() << (report->rowCount() == 1 ? " page, " : " pages, ")
                  << methods().size() << " methods: " << sheet.string() << "\n";
    } catch (const FileError& error) {
        reportError(folder, error.what());
        return 1;
    }
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
