// kelpage seal: the mask of a coloured seal, and the page without it.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "page_files.h"
#include "report.h"

namespace kelpage {
namespace {

struct Arguments {
    std::string input, output, config, without, report;
    std::string colour = "red";
};

kelHSVSegConfig settingsOf(const Arguments& arguments) {
    kelHSVSegConfig config{};
    switch (KelReadHSVSegmentConfig(arguments.config.c_str(), &config,
                                    arguments.colour == "blue" ? 1 : 0)) {
        case 0:
            return config;
        case 1:
            throw FileError("no such configuration file");
        default:
            throw FileError("not all keys for a " + arguments.colour + " seal");
    }
}

/// Marks within two rows and columns of others.
std::vector<unsigned char> widened(const Page& mask) {
    const int width = mask.size.width, height = mask.size.height;
    std::vector<unsigned char> wide(mask.planeBytes());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (mask.samples[static_cast<size_t>(y) * static_cast<size_t>(width) +
                             static_cast<size_t>(x)] == 0)
                continue;
            for (int row = std::max(y - 2, 0); row <= std::min(y + 2, height - 1); ++row)
                std::fill(wide.begin() + ptrdiff_t{row} * width + std::max(x - 2, 0),
                          wide.begin() + ptrdiff_t{row} * width + std::min(x + 3, width),
                          static_cast<unsigned char>(255));
        }
    return wide;
}

/// White where the seal is, and where the rim of its strokes fades into the paper.
Page withoutSeal(const Page& page, const Page& mask) {
    constexpr int kFaintChroma = 8, kFaintLevel = 120;
    Page out = makePage(page.size, page.channels);
    const size_t bytes = page.planeBytes();
    std::copy_n(page.samples.get(), 3 * bytes, out.samples.get());
    const std::vector<unsigned char> near = widened(mask);
    for (size_t i = 0; i < bytes; ++i) {
        const auto [least, most] =
            std::minmax({out.samples[i], out.samples[bytes + i], out.samples[2 * bytes + i]});
        const bool faint = near[i] != 0 && most - least >= kFaintChroma && least >= kFaintLevel;
        if (mask.samples[i] == 0 && !faint) continue;
        for (size_t c = 0; c < 3; ++c)
            out.samples[c * bytes + i] = 255;
    }
    return out;
}

/// Black on white, as ink is elsewhere.
Page inkOf(const Page& mask) {
    Page ink = makePage(mask.size, 1);
    KelBinarizeThreshold(mask.samples.get(), ink.samples.get(), mask.size, 127, 1);
    return ink;
}

void show(const Arguments& arguments, const Page& page, const Page& ink, const Page& rest,
          const std::string& share, const std::string& time) {
    Report report(arguments.report, {arguments.input, arguments.config});
    const fs::path file = arguments.input;
    Row row = Report::rowFor(file, page);
    row.cells = {{report.addPicture(page, 1, file, "page"), "page", "as loaded", ""},
                 {report.addPicture(ink, 1, file, "seal"), "seal", share, time},
                 {report.addPicture(rest, 1, file, "rest"), "page without the seal",
                  "with the rim of its strokes", ""}};
    report.addRow(std::move(row));
    std::printf("%s\n", report.write("Seals", "Each page, its seal, and what is left.").c_str());
}

/// `atFault` is the file that an exception is about.
void segment(const Arguments& arguments, kelHSVSegConfig& config, fs::path& atFault) {
    const Page page = loadPage(arguments.input);
    if (page.channels != 3) throw FileError("is a grey page, without colours");
    Page mask = makePage(page.size, 1);
    const std::string time = timed([&] {
        KelSegementImage_hsv_param(page.samples.get(), page.size, mask.samples.get(), &config);
    });
    const Page ink = inkOf(mask);
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
        kelHSVSegConfig config = settingsOf(arguments);
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
