// kelpage seal: the mask of a coloured seal, and the page without it.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "kel_segment.h"
#include "page_files.h"
#include "report.h"
#include "seal_of_page.h"

namespace kelpage {
namespace {

struct Arguments {
    std::string input, output, config, without, report;
    std::string colour = "red";
};

void show(const Arguments& arguments, const Page& page, const Page& ink, const Page& rest,
          const std::string& share, const std::string& time) {
    Report report(arguments.report, {arguments.input, arguments.config});
    const fs::path file = arguments.input;
    Row row = report.rowFor(file.filename().string(), page);
    row.cells = {{report.addPicture(page, file, "page"), "page", "as loaded", ""},
                 {report.addPicture(ink, file, "seal"), "seal", share, time},
                 {report.addPicture(rest, file, "rest"), "page without the seal",
                  "with the rim of its strokes", ""}};
    report.addRow(std::move(row));
    std::printf("%s\n", report.write("Seals", "Each page, its seal, and what is left.").c_str());
}

/// `atFault` is the file that an exception is about.
void segment(const Arguments& arguments, kelHSVSegConfig& config, fs::path& atFault) {
    const Page page = loadPage(arguments.input);
    if (page.channels != 3) throw FileError("is a grey page, without colours");
    Page mask = makePageLike(page, 1);
    const std::string time = timed([&] {
        KelSegementImage_hsv_param(page.samples.get(), page.size, mask.samples.get(), &config);
    });
    const Page ink = blackOnWhite(mask);
    const Page rest = withoutSeal(page, mask);
    const std::vector<fs::path> inputs = {arguments.input, arguments.config};
    atFault = arguments.output;
    savePage(ink, arguments.output, inputs);
    if (!arguments.without.empty()) {
        atFault = arguments.without;
        std::error_code error;
        if (fs::equivalent(arguments.output, arguments.without, error))
            throw FileError("is the file of the seal");
        savePage(rest, arguments.without, inputs);
    }
    const auto bytes = static_cast<ptrdiff_t>(page.planeBytes());
    const auto marked = std::count(mask.samples.get(), mask.samples.get() + bytes, 255);
    char share[64];
    std::snprintf(share, sizeof share, "%.2f %% of the page is seal",
                  100.0 * static_cast<double>(marked) / static_cast<double>(bytes));
    std::printf("%s: %s\n", arguments.input.c_str(), share);
    atFault = arguments.report;
    if (!arguments.report.empty()) show(arguments, page, ink, rest, share, time);
}

int run(const Arguments& arguments) {
    fs::path atFault = arguments.config;
    try {
        kelHSVSegConfig config = sealSettings(arguments.config, arguments.colour);
        atFault = arguments.input;
        segment(arguments, config, atFault);
    } catch (const std::exception& error) {
        reportError(atFault, reasonOf(error));
        return 1;
    }
    return 0;
}

}  // namespace

void addSeal(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("seal", "Find a coloured seal on a page");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->input, "Image file of a colour page")->required();
    command->add_option("-o,--output", arguments->output, "File for the seal, black on white")
        ->required();
    command
        ->add_option("--config", arguments->config,
                     "Configuration file; samples/seal.cfg is one to begin with")
        ->required();
    command->add_option("--colour", arguments->colour, "The block to use: red or blue")
        ->check(CLI::IsMember({"red", "blue"}))
        ->capture_default_str();
    command->add_option("--without", arguments->without, "File for the page without the seal");
    command->add_option("-r,--report", arguments->report,
                        "Folder for a page that shows the page, the seal, and the page without it");
    command->callback([arguments, &status] { status = run(*arguments); });
}

}  // namespace kelpage
