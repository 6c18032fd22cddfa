#include "page_work.h"

#include <algorithm>
#include <iostream>
#include <optional>

#include "progress.h"
#include "report.h"

namespace kelpage {
namespace {

void tell(const PlannedPage& which, const Outcome& outcome) {
    if (outcome.facts.empty()) return;
    Progress::wipe();
    std::cout << which.title() << ": ";
    if (!outcome.factsBefore.empty()) std::cout << outcome.factsBefore << " -> ";
    std::cout << outcome.facts;
    if (!outcome.time.empty()) std::cout << " in " << outcome.time;
    std::cout << std::endl;
}

void show(const PlannedPage& which, const Outcome& outcome, Report& report) {
    Row row = report.rowFor(which.title(), outcome.before);
    row.cells.push_back({report.addPicture(outcome.before, which.file, "before"), "before",
                         outcome.factsBefore, ""});
    row.cells.push_back({report.addPicture(outcome.after, which.file, "after"), "after",
                         outcome.facts, outcome.time});
    report.addRow(std::move(row));
}

}  // namespace

void addFileOptions(CLI::App& command, Batch& batch) {
    command.add_option("IN", batch.inputs, "Image files, or folders of them")->required();
    command
        .add_option("-o,--output", batch.output,
                    "Result file for one page, otherwise a folder for PNG files")
        ->required();
}

void addReportOption(CLI::App& command, PageArguments& arguments) {
    command.add_option("-r,--report", arguments.report,
                       "Folder for an HTML page with each page before and after");
}

int takeEach(const PageArguments& arguments, const std::string& heading, const PageWork& work) {
    const Inputs inputs = collectFiles(arguments.batch.inputs);
    std::optional<Report> report;
    try {
        if (!arguments.report.empty()) report.emplace(arguments.report, inputs.files);
        const int status =
            runBatch(arguments.batch, inputs, [&](Page page, const PlannedPage& which) {
                Outcome outcome = work(std::move(page));
                tell(which, outcome);
                if (report) show(which, outcome, *report);
                return std::move(outcome.after);
            });
        if (report && report->rowCount() > 0)
            std::cout << report->write(heading, "Each page before and after.").string() << "\n";
        return status;
    } catch (const FileError& error) {
        reportError(arguments.report, error.what());
        return 1;
    }
}

bool isSame(const Page& a, const Page& b) {
    return std::equal(a.samples.get(),
                      a.samples.get() + a.planeBytes() * static_cast<size_t>(a.channels),
                      b.samples.get());
}

Page copyOf(const Page& page) {
    Page copy = makePageLike(page, page.channels);
    std::copy_n(page.samples.get(), page.planeBytes() * static_cast<size_t>(page.channels),
                copy.samples.get());
    return copy;
}

}  // namespace kelpage
