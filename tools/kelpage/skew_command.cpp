// kelpage skew: how far pages are turned, and how sure that is.
#include <cstdio>
#include <exception>
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "page_file.h"
#include "run_plan.h"
#include "skew_of_page.h"

namespace kelpage {
namespace {

struct Arguments {
    std::vector<std::string> inputs;
    std::string plots;  ///< folder; empty: none
    SkewSearch search;
};

int run(const Arguments& arguments) {
    const Inputs inputs = collectFiles(arguments.inputs);
    size_t failures = inputs.failures;
    try {
        if (!arguments.plots.empty()) makeFolder(arguments.plots);
    } catch (const FileError& error) {
        reportError(arguments.plots, error.what());
        return 1;
    }
    for (const PlannedPage& which : planPages(inputs.files, {})) {
        try {
            const Page page = PageFile(which.file).load(which.number);
            const Skew skew = skewOf(inkOf(page), arguments.search);
            std::printf("%s: %s\n", which.title().c_str(), skew.text().c_str());
            std::fflush(stdout);
            if (!arguments.plots.empty() && !skew.scores.empty())
                savePage(plotOf(skew, arguments.search),
                         fs::path(arguments.plots) / (which.name + ".png"), inputs.files);
        } catch (const std::exception& error) {
            reportError(which.path(), reasonOf(error));
            ++failures;
        }
    }
    return failures > 0 ? 1 : 0;
}

}  // namespace

void addSkew(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "skew", "Tell by how many degrees pages are turned clockwise, and how sure that is");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->inputs, "Image files, or folders of them")->required();
    addSkewOptions(*command, arguments->search);
    command->add_option("-p,--plots", arguments->plots,
                        "Folder for pictures of the scores against the angles");
    command->callback([arguments, &status] {
        requireSearch(arguments->search);
        status = run(*arguments);
    });
}

}  // namespace kelpage
