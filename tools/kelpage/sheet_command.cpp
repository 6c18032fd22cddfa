// kelpage sheet: every page by every method, side by side, as one HTML page with its pictures.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "methods.h"
#include "page_files.h"
#include "progress.h"
#include "report.h"

namespace kelpage {
namespace {

constexpr int kTimedRuns = 3;

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

/// Takes one page through grey and every method, and shows each result.
void addPage(Report& report, const fs::path& file, Progress& progress) {
    progress.show(file.filename().string());
    const Page source = loadPage(file);
    report.startRow(file, source.size, describe(source));
    report.addPicture(source, "source", "as loaded");

    Page grey = makePage(source.size, 1);
    const std::string greyTime = timed([&] {
        KelColorConvert(source.samples.get(), source.size, source.channels, grey.samples.get(),
                        source.size, 1);
    });
    report.addPicture(grey, "grey", source.channels == 3 ? "exact luminance" : "plane copy",
                      greyTime);

    for (const Method& method : methods()) {
        progress.show(file.filename().string() + ": " + method.name);
        const Settings settings = usualSettings(method.number);
        Page result;
        const std::string time = timed([&] { result = binarize(source, settings); });
        report.addPicture(result, "method " + std::to_string(method.number) + ": " + method.name,
                          "level " + levelText(source, settings), time);
    }
}

int run(const std::vector<std::string>& names, const fs::path& folder) {
    const Inputs inputs = collectFiles(names);
    if (inputs.files.empty()) return 1;
    Report report(folder, inputs.files);
    size_t failures = inputs.failures;
    try {
        report.makeFolder();
        Progress progress(inputs.files.size());
        for (const fs::path& file : inputs.files) {
            try {
                addPage(report, file, progress);
            } catch (const std::exception& error) {
                report.dropRow();
                progress.clear();
                reportError(file, reasonOf(error));
                ++failures;
            }
            progress.step();
        }
        progress.clear();
        if (report.rows() == 0) return 1;
        report.write("pages by every method", "Pages by every binarization method",
                     "Each page as loaded, reduced to grey, and binarized by every method number "
                     "with its usual settings, ink black on white. Times are the shortest of " +
                         std::to_string(kTimedRuns) + " runs.");
    } catch (const FileError& error) {
        reportError(folder, error.what());
        return 1;
    }
    std::cout << report.rows() << (report.rows() == 1 ? " page, " : " pages, ") << methods().size()
              << " methods: " << report.file().string() << "\n";
    return failures > 0 ? 1 : 0;
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
