// kelpage binarize: pages in, binary pages out.
#include <exception>
#include <iostream>
#include <memory>
#include <optional>

#include "commands.h"
#include "methods.h"
#include "page_files.h"
#include "progress.h"

namespace kelpage {
namespace {

constexpr int kSmallestWindow = 3;
constexpr int kLargestWindow = 999;

struct Arguments {
    std::vector<std::string> inputs;
    std::string output;
    int method = 2;
    std::optional<int> thres, blockSize, param1;
    bool invert = false;
};

std::string methodHelp() {
    std::string help = "How to tell ink from paper, by number or name:";
    for (const auto& method : methods())
        help += "\n    " + std::to_string(method.number) + "  " + method.name + ": " + method.shows;
    return help;
}

/// The number of a method given by number or name, as text for the option parser.
std::string methodNumber(const std::string& text) {
    for (const auto& method : methods())
        if (text == method.name || text == std::to_string(method.number))
            return std::to_string(method.number);
    throw CLI::ValidationError(text + " is no method; see kelpage binarize --help");
}

Settings settingsOf(const Arguments& arguments) {
    Settings settings = usualSettings(arguments.method);
    settings.thres = arguments.thres.value_or(settings.thres);
    settings.blockSize = arguments.blockSize.value_or(settings.blockSize);
    settings.param1 = arguments.param1.value_or(settings.param1);
    settings.invert = arguments.invert;
    return settings;
}

/// One file goes to one file; several, or a folder, go into a folder.
bool isOneToOne(const Arguments& arguments) {
    return arguments.inputs.size() == 1 && !isFolder(arguments.inputs[0]) &&
           !isFolder(arguments.output) && fs::path(arguments.output).has_extension();
}

int run(const Arguments& arguments) {
    const Settings settings = settingsOf(arguments);
    const Inputs inputs = collectFiles(arguments.inputs);
    const std::vector<fs::path>& files = inputs.files;
    if (files.empty()) return 1;
    std::vector<fs::path> results = {fs::path(arguments.output)};
    if (!isOneToOne(arguments)) {
        results = resultNames(files, arguments.output);
        try {
            makeFolder(arguments.output);
        } catch (const FileError& error) {
            reportError(arguments.output, error.what());
            return 1;
        }
    }

    size_t failures = inputs.failures;
    Progress progress(files.size());
    for (size_t i = 0; i < files.size(); ++i) {
        progress.show(files[i].filename().string());
        fs::path atFault = files[i];
        try {
            const Page binary = binarize(loadPage(files[i]), settings);
            atFault = results[i];
            savePage(binary, results[i], files);
        } catch (const std::exception& error) {
            progress.clear();
            reportError(atFault, reasonOf(error));
            ++failures;
        }
        progress.step();
    }
    progress.clear();
    if (failures > 0 && files.size() > 1)
        std::cerr << "kelpage: " << failures << " of " << files.size() + inputs.failures
                  << " inputs failed\n";
    return failures > 0 ? 1 : 0;
}

}  // namespace

void addBinarize(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("binarize", "Turn pages into black and white");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->inputs, "Image files, or folders of them")->required();
    command
        ->add_option("-o,--output", arguments->output,
                     "Result file for one page, otherwise a folder for PNG files")
        ->required();
    command->add_option("-m,--method", arguments->method, methodHelp())
        ->transform(methodNumber, "")
        ->type_name("METHOD")
        ->capture_default_str();
    command->add_option(
        "-t,--thres", arguments->thres,
        "Method 1: the level (128). Methods 0, 2, 6: added to the page's own level");
    command->add_option(
        "-b,--block-size", arguments->blockSize,
        "Methods 3 to 5: odd window side in pixels (31). Method 6: lowest level (80)");
    command->add_option(
        "-c,--param1", arguments->param1,
        "Methods 3 to 5: subtracted from the mean (15). Method 6: highest level (180)");
    command->add_flag("-i,--invert", arguments->invert, "White ink on black paper");
    command->callback([arguments, &status] {
        const int window = arguments->blockSize.value_or(kSmallestWindow);
        const bool windowIsGood =
            window >= kSmallestWindow && window <= kLargestWindow && window % 2 == 1;
        if (isLocal(arguments->method) && !windowIsGood)
            throw CLI::ValidationError("--block-size", "must be an odd number from 3 to 999");
        status = run(*arguments);
    });
}

}  // namespace kelpage
