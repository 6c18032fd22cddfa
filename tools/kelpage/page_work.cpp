#include "page_work.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <optional>

#include "progress.h"
#include "report.h"

namespace kelpage {
namespace {

/// One file goes to one file; several, or a folder, go into a folder.
bool isOneToOne(const PageArguments& arguments) {
    return arguments.inputs.size() == 1 && !isFolder(arguments.inputs[0]) &&
           !isFolder(arguments.output) && fs::path(arguments.output).has_extension();
}

std::vector<fs::path> resultsFor(const PageArguments& arguments,
                                 const std::vector<fs::path>& files) {
    if (isOneToOne(arguments)) return {fs::path(arguments.output)};
    try {
        makeFolder(arguments.output);
    } catch (const FileError& error) {
        reportError(arguments.output, error.what());
        return {};
    }
    return resultNames(files, arguments.output);
}

/// Pages on their way, with the report that they may leave.
class Road {
  public:
    Road(const PageArguments& arguments, const std::vector<fs::path>& files)
        : files_(files), progress_(files.size()) {
        if (arguments.report.empty()) return;
        report_.emplace(arguments.report, files);
        report_->makeFolder();
    }

    /// @return false when it failed, which has been told
    bool take(const fs::path& file, const fs::path& result, const PageWork& work) {
        progress_.show(file.filename().string());
        fs::path atFault = file;
        bool good = false;
        try {
            const Outcome outcome = work(loadPage(file));
            atFault = result;
            savePage(outcome.after, result, files_);
            progress_.clear();
            tell(file, outcome);
            atFault = report_ ? report_->file().parent_path() : result;
            if (report_) show(file, outcome);
            good = true;
        } catch (const std::exception& error) {
            progress_.clear();
            reportError(atFault, reasonOf(error));
        }
        progress_.step();
        return good;
    }

    void finish(const std::string& heading) {
        progress_.clear();
        if (!report_) return;
        report_->write(heading, heading, "Each page before and after.");
        std::cout << report_->file().string() << "\n";
    }

  private:
    static void tell(const fs::path& file, const Outcome& outcome) {
        if (outcome.facts.empty()) return;
        std::cout << file.filename().string() << ": ";
        if (!outcome.factsBefore.empty()) std::cout << outcome.factsBefore << " -> ";
        std::cout << outcome.facts << "\n";
    }

    void show(const fs::path& file, const Outcome& outcome) {
        report_->startRow(file, outcome.before.size, describe(outcome.before));
        report_->addPicture(outcome.before, "before", outcome.factsBefore);
        report_->addPicture(outcome.after, "after", outcome.facts);
    }

    const std::vector<fs::path>& files_;
    Progress progress_;
    std::optional<Report> report_;
};

}  // namespace

void addFileOptions(CLI::App& command, PageArguments& arguments) {
    command.add_option("IN", arguments.inputs, "Image files, or folders of them")->required();
    command
        .add_option("-o,--output", arguments.output,
                    "Result file for one page, otherwise a folder for PNG files")
        ->required();
}

void addReportOption(CLI::App& command, PageArguments& arguments) {
    command.add_option("-r,--report", arguments.report,
                       "Folder for an HTML page with each page before and after");
}

int takeEach(const PageArguments& arguments, const std::string& heading, const PageWork& work) {
    const Inputs inputs = collectFiles(arguments.inputs);
    const std::vector<fs::path>& files = inputs.files;
    if (files.empty()) return 1;
    const std::vector<fs::path> results = resultsFor(arguments, files);
    if (results.empty()) return 1;
    size_t failures = inputs.failures;
    try {
        Road road(arguments, files);
        for (size_t i = 0; i < files.size(); ++i)
            failures += road.take(files[i], results[i], work) ? 0 : 1;
        road.finish(heading);
    } catch (const FileError& error) {
        reportError(arguments.report, error.what());
        return 1;
    }
    if (failures > 0 && files.size() > 1)
        std::cerr << "kelpage: " << failures << " of " << files.size() + inputs.failures
                  << " inputs failed\n";
    return failures > 0 ? 1 : 0;
}

Page copyOf(const Page& page) {
    Page copy = makePage(page.size, page.channels);
    copy.xDpi = page.xDpi;
    copy.yDpi = page.yDpi;
    std::copy_n(page.samples.get(), page.planeBytes() * static_cast<size_t>(page.channels),
                copy.samples.get());
    return copy;
}

}  // namespace kelpage
