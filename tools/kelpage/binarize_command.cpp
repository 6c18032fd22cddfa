// kelpage binarize: pages in, binary pages out.
#include <memory>
#include <optional>

#include "commands.h"
#include "methods.h"
#include "page_work.h"

namespace kelpage {
namespace {

constexpr int kSmallestWindow = 3;
constexpr int kLargestWindow = 999;

struct Arguments {
    Batch batch;
    int method = 2;
    std::optional<int> thres, blockSize, param1;
    std::optional<double> ratio, lowRatio, highRatio;
    bool invert = false;
};

std::string methodHelp() {
    std::string help = "How to tell ink from paper, by number or name:";
    for (const auto& method : methods())
        help += "\n    " + method.title() + ": " + method.shows;
    return help;
}

/// The number of a method given by number or name, as text for the option parser.
std::string methodNumber(const std::string& text) {
    if (const Method* method = findMethod(text)) return std::to_string(method->usual.method);
    throw CLI::ValidationError(text + " is no method; see kelpage binarize --help");
}

Settings settingsOf(const Arguments& arguments) {
    Settings settings = usualSettings(arguments.method);
    settings.thres = arguments.thres.value_or(settings.thres);
    settings.blockSize = arguments.blockSize.value_or(settings.blockSize);
    settings.param1 = arguments.param1.value_or(settings.param1);
    settings.ratio = arguments.ratio.value_or(settings.ratio);
    settings.lowRatio = arguments.lowRatio.value_or(settings.lowRatio);
    settings.highRatio = arguments.highRatio.value_or(settings.highRatio);
    settings.invert = arguments.invert;
    return settings;
}

}  // namespace

void addBinarize(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("binarize", "Turn pages into black and white");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->batch);
    command->add_option("-m,--method", arguments->method, methodHelp())
        ->transform(methodNumber, "")
        ->type_name("METHOD")
        ->capture_default_str();
    command->add_option(
        "-t,--thres", arguments->thres,
        "Method 1: the level (128). Methods 0, 2, 6, otsu, iterated, grey: added to the page's own "
        "level");
    command->add_option("-b,--block-size", arguments->blockSize,
                        "Methods 3 to 5, otsu-mean, grey: odd window side in pixels (31). Method "
                        "6: lowest level (80)");
    command->add_option(
        "-c,--param1", arguments->param1,
        "Methods 3 to 5, otsu-mean, grey: subtracted from the mean (15, 15, 255). Method 6: "
        "highest "
        "level (180). Methods iterated: a level not above it becomes twice this number (40)");
    command->add_option(
        "-r,--ratio", arguments->ratio,
        "Method otsu-mean: share of Otsu's level below which all is ink (0.9). Methods "
        "grey-spread, "
        "grey-red: weight of the push (1). Method grey-blank: fewest pixels of ink (100)");
    command->add_option(
        "--low-ratio", arguments->lowRatio,
        "Method iterated-part: times the level, where a pixel is below the mean (1)");
    command->add_option("--high-ratio", arguments->highRatio,
                        "Method iterated-part: times the level, elsewhere (0.75)");
    command->add_flag("-i,--invert", arguments->invert, "White ink on black paper");
    command->callback([arguments, &status] {
        const int window = arguments->blockSize.value_or(kSmallestWindow);
        const bool windowIsGood =
            window >= kSmallestWindow && window <= kLargestWindow && window % 2 == 1;
        if (hasWindow(arguments->method) && !windowIsGood)
            throw CLI::ValidationError("--block-size", "must be an odd number from 3 to 999");
        const Settings settings = settingsOf(*arguments);
        status = runBatch(
            arguments->batch, collectFiles(arguments->batch.inputs),
            [&settings](const Page& page, const fs::path&) { return binarize(page, settings); });
    });
}

}  // namespace kelpage
