// kelpage resize: pages of another size, by any of the library's methods.
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"
#include "report.h"

namespace kelpage {
namespace {

constexpr int kLongestSide = 32767;

const std::map<std::string, int> kMethods = {{"linear", KEL_RESIZE_LINEAR},
                                             {"nearest", KEL_RESIZE_NEAREST},
                                             {"area", KEL_RESIZE_AREA},
                                             {"cubic", KEL_RESIZE_CUBIC},
                                             {"fast-linear", KEL_RESIZE_FAST_LINEAR},
                                             {"fast-average", KEL_RESIZE_FAST_AVERAGE},
                                             {"fast-min", KEL_RESIZE_FAST_MIN},
                                             {"fast-nearest", KEL_RESIZE_FAST_NEAREST}};

struct Arguments {
    PageArguments pages;
    std::optional<double> scale;
    std::optional<std::pair<int, int>> size;
    int method = KEL_RESIZE_FAST_AVERAGE;
};

kelSize targetSize(const Arguments& arguments, kelSize size) {
    if (arguments.size) return {arguments.size->first, arguments.size->second};
    const auto scaled = [&](int side) {
        const double length = std::round(side * *arguments.scale);
        if (length > kLongestSide) throw FileError("would be too large");
        return std::max(1, static_cast<int>(length));
    };
    return {scaled(size.width), scaled(size.height)};
}

bool leavesEdge(int method, int channels) {
    return channels == 3 && method >= KEL_RESIZE_FAST_AVERAGE && method <= KEL_RESIZE_FAST_NEAREST;
}

std::string sizeText(kelSize size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height) + " pixels";
}

Outcome resize(Page page, const Arguments& arguments) {
    Outcome outcome;
    Page& result = outcome.after;
    result = makePage(targetSize(arguments, page.size), page.channels);
    result.xDpi = page.xDpi * result.size.width / page.size.width;
    result.yDpi = page.yDpi * result.size.height / page.size.height;
    const auto resizeBy = [&](int method) {
        KelResizeImage(page.samples.get(), page.size, result.samples.get(), result.size,
                       page.channels, method);
    };
    if (leavesEdge(arguments.method, page.channels)) resizeBy(KEL_RESIZE_NEAREST);
    outcome.time = timed([&] { resizeBy(arguments.method); });
    outcome.factsBefore = sizeText(page.size);
    outcome.facts = sizeText(result.size);
    outcome.before = std::move(page);
    return outcome;
}

}  // namespace

void addResize(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("resize", "Scale pages");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    CLI::Option* const scale =
        command->add_option("-s,--scale", arguments->scale, "Factor, such as 0.5")
            ->check(realRange(0.001, 100.0));
    command->add_option("-z,--size", arguments->size, "Width and height, such as 1240x1754")
        ->delimiter('x')
        ->type_name("WxH")
        ->check(CLI::Range(1, kLongestSide))
        ->excludes(scale);
    command
        ->add_option("-m,--method", arguments->method,
                     "linear, nearest, area and cubic are OpenCV's; fast-linear, fast-average, "
                     "fast-min (keeps thin strokes) and fast-nearest use up to four threads")
        ->transform(CLI::CheckedTransformer(kMethods, CLI::ignore_case).description(""))
        ->type_name("METHOD")
        ->default_str("fast-average");
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        if (!arguments->scale && !arguments->size)
            throw CLI::ValidationError("resize", "needs --scale or --size");
        status = takeEach(arguments->pages, "Pages resized",
                          [&](Page page) { return resize(std::move(page), *arguments); });
    });
}

}  // namespace kelpage
