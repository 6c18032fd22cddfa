// kelpage, the host program: takes pages through KelImageLib from the command line.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "commands.h"
#include "methods.h"

namespace {

constexpr int kUsageError = 2;
constexpr int kSmallestWindow = 3;
constexpr int kLargestWindow = 999;

std::string methodHelp() {
    std::string help = "How to tell ink from paper, by number or name:";
    for (const auto& method : kelpage::methods())
        help += "\n    " + std::to_string(method.number) + "  " + method.name + ": " + method.shows;
    return help;
}

/// The number of a method given by number or name, as text for the option parser.
std::string methodNumber(const std::string& text) {
    for (const auto& method : kelpage::methods())
        if (text == method.name || text == std::to_string(method.number))
            return std::to_string(method.number);
    throw CLI::ValidationError(text + " is no method; see kelpage binarize --help");
}

void addBinarize(CLI::App& app, kelpage::BinarizeArguments& arguments) {
    CLI::App* command = app.add_subcommand("binarize", "Turn pages into black and white");
    command->add_option("IN", arguments.inputs, "Image files, or folders of them")->required();
    command
        ->add_option("-o,--output", arguments.output,
                     "Result file for one page, otherwise a folder for PNG files")
        ->required();
    command->add_option("-m,--method", arguments.method, methodHelp())
        ->transform(methodNumber, "")
        ->type_name("METHOD")
        ->capture_default_str();
    command->add_option(
        "-t,--thres", arguments.thres,
        "Method 1: the level (128). Methods 0, 2, 6: added to the page's own level");
    command->add_option(
        "-b,--block-size", arguments.blockSize,
        "Methods 3 to 5: odd window side in pixels (31). Method 6: lowest level (80)");
    command->add_option(
        "-c,--param1", arguments.param1,
        "Methods 3 to 5: subtracted from the mean (15). Method 6: highest level (180)");
    command->add_flag("-i,--invert", arguments.invert, "White ink on black paper");
    command->callback([&arguments] {
        const int window = arguments.blockSize.value_or(kSmallestWindow);
        const bool windowIsGood =
            window >= kSmallestWindow && window <= kLargestWindow && window % 2 == 1;
        if (kelpage::isLocal(arguments.method) && !windowIsGood)
            throw CLI::ValidationError("--block-size", "must be an odd number from 3 to 999");
    });
}

void addSheet(CLI::App& app, kelpage::SheetArguments& arguments) {
    CLI::App* command = app.add_subcommand(
        "sheet", "Show pages binarized by every method, side by side, as an HTML contact sheet");
    command->add_option("IN", arguments.inputs, "Image files, or folders of them")->required();
    command->add_option("-o,--output", arguments.folder, "Folder for the sheet and its pictures")
        ->required();
}

int run(int argc, char** argv) {
    CLI::App app(
        "kelpage takes scanned pages through KelImageLib.\n"
        "Exit status: 0, or 1 when a file failed (the others are still done), or 2 for a "
        "wrong command line.",
        "kelpage");
    app.set_version_flag("--version", "kelpage " KELPAGE_VERSION);
    app.require_subcommand(1);
    kelpage::BinarizeArguments binarize;
    kelpage::SheetArguments sheet;
    addBinarize(app, binarize);
    addSheet(app, sheet);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    return app.got_subcommand("binarize") ? kelpage::runBinarize(binarize)
                                          : kelpage::runSheet(sheet);
}

}  // namespace

int main(int argc, char** argv) {
    // One line of our own per failed file; OpenCV's log says the same thing less clearly.
    setenv("OPENCV_LOG_LEVEL", "SILENT", 0);
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kelpage: %s\n", error.what());
    } catch (...) {
        std::fputs("kelpage: unexpected failure\n", stderr);
    }
    return 1;
}
