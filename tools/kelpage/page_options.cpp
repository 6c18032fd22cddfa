#include "page_options.h"

#include <cstdio>

#include "commands.h"

namespace kelpage {
namespace {

constexpr int kSmallestWindow = 3;
constexpr int kLargestWindow = 999;

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

}  // namespace

void addMethodOptions(CLI::App& command, MethodOptions& options) {
    command.add_option("-m,--method", options.method, methodHelp())
        ->transform(methodNumber, "")
        ->type_name("METHOD")
        ->capture_default_str();
    command
        .add_option("-t,--thres", options.thres,
                    "Method 1: the level (128). Methods 0, 2, 6, otsu, iterated, grey: added to "
                    "the page's own level")
        ->check(CLI::Range(-255, 255));
    command
        .add_option("-b,--block-size", options.blockSize,
                    "Methods 3 to 5, otsu-mean, grey: odd window side in pixels (31). Method 6: "
                    "lowest level (80)")
        ->check(CLI::Range(0, kLargestWindow));
    command
        .add_option("-c,--param1", options.param1,
                    "Methods 3 to 5, otsu-mean, grey: subtracted from the mean (15, 15, 255). "
                    "Method 6: highest level (180). Methods iterated: a level not above it becomes "
                    "twice this number (40)")
        ->check(CLI::Range(-255, 255));
    command
        .add_option("-r,--ratio", options.ratio,
                    "Method otsu-mean: share of Otsu's level below which all is ink (0.9). Methods "
                    "grey-spread, grey-red: weight of the push (1). Method grey-blank: fewest "
                    "pixels of ink (100)")
        ->check(realRange(0.0, 1e9));
    command
        .add_option("--low-ratio", options.lowRatio,
                    "Method iterated-part: times the level, where a pixel is below the mean (1)")
        ->check(realRange(0.0, 255.0));
    command
        .add_option("--high-ratio", options.highRatio,
                    "Method iterated-part: times the level, elsewhere (0.75)")
        ->check(realRange(0.0, 255.0));
}

Settings settingsOf(const MethodOptions& options) {
    const int window = options.blockSize.value_or(kSmallestWindow);
    const bool windowIsGood =
        window >= kSmallestWindow && window <= kLargestWindow && window % 2 == 1;
    if (hasWindow(options.method) && !windowIsGood)
        throw CLI::ValidationError("--block-size", "must be an odd number from 3 to 999");
    Settings settings = usualSettings(options.method);
    settings.thres = options.thres.value_or(settings.thres);
    settings.blockSize = options.blockSize.value_or(settings.blockSize);
    settings.param1 = options.param1.value_or(settings.param1);
    settings.ratio = options.ratio.value_or(settings.ratio);
    settings.lowRatio = options.lowRatio.value_or(settings.lowRatio);
    settings.highRatio = options.highRatio.value_or(settings.highRatio);
    return settings;
}

bool parsePair(const std::string& text, char between, int& first, int& second) {
    int end = 0;
    const std::string format = std::string("%6d") + between + "%6d%n";
    return std::sscanf(text.c_str(), format.c_str(), &first, &second, &end) == 2 &&
           static_cast<size_t>(end) == text.size() && first >= 1 && second >= 1;
}

kelSize limitOf(const std::string& text) {
    kelSize limit{};
    if (!parsePair(text, 'x', limit.width, limit.height) || limit.width < 2 || limit.height < 2)
        throw CLI::ValidationError("--limit", "must be like 1000x800");
    return limit;
}

}  // namespace kelpage
