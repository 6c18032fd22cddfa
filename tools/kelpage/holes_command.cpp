// kelpage holes: pages without the dark holes of binders.
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "areas_of_page.h"
#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"

namespace kelpage {
namespace {

constexpr double kHoleRadiusInch = 3.0 / 25.4;
constexpr double kStripInch = 0.8;
constexpr double kPageWidthInch = 8.27;
constexpr int kMargin = 10;

struct Arguments {
    PageArguments pages;
    std::optional<int> radius, strip;
    std::vector<int> colour = {255, 255, 255};
};

/// What the file says, or as for an upright A4 page.
double dpiOf(const Page& page) {
    return page.xDpi > 50 ? page.xDpi : page.size.width / kPageWidthInch;
}

/// The paint of the areas that differ, as a plane of ink.
size_t holesIn(const Page& before, const Page& after) {
    Page changed = makePage(before.size, 1);
    for (size_t i = 0; i < before.planeBytes(); ++i) {
        bool differs = false;
        for (size_t c = 0; c < static_cast<size_t>(before.channels); ++c)
            differs |= before.samples[c * before.planeBytes() + i] !=
                       after.samples[c * before.planeBytes() + i];
        changed.samples[i] = differs ? 255 : 0;
    }
    return areasOf(changed).count();
}

/// The library leaves smaller pages alone.
bool isLargeEnough(kelSize page, int radius, int strip) {
    return page.height >= 300 && strip > 0 && 2 * strip + 100 <= page.width &&
           2 * (kMargin + radius) + 10 <= page.width;
}

Outcome fillHoles(Page page, const Arguments& arguments) {
    const int radius =
        arguments.radius.value_or(static_cast<int>(std::lround(dpiOf(page) * kHoleRadiusInch)));
    const int strip = arguments.strip.value_or(
        std::min(static_cast<int>(dpiOf(page) * kStripInch), (page.size.width - 100) / 2));
    Outcome outcome;
    outcome.after = copyOf(page);
    KelDetectAndFixBindingHole(outcome.after.samples.get(), page.size.width, page.size.height,
                               page.channels, 0, strip, radius, kMargin, 0, 0, arguments.colour[0],
                               arguments.colour[1], arguments.colour[2]);
    const size_t holes = holesIn(page, outcome.after);
    outcome.facts = std::to_string(holes) + (holes == 1 ? " hole" : " holes") + " of radius " +
                    std::to_string(radius) + " filled, in strips of " + std::to_string(strip);
    if (!isLargeEnough(page.size, radius, strip)) outcome.facts += ": the page is too small";
    outcome.before = std::move(page);
    return outcome;
}

}  // namespace

void addHoles(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("holes", "Fill the dark round holes at the left and right of pages");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    command
        ->add_option("-R,--radius", arguments->radius,
                     "Radius of a hole in pixels (3 mm by the file's resolution)")
        ->check(CLI::Range(1, 1000));
    command
        ->add_option("-s,--strip", arguments->strip,
                     "Columns at each side to look at (20 mm by the file's resolution)")
        ->check(CLI::Range(1, 10000));
    command
        ->add_option("-c,--colour", arguments->colour,
                     "Paint as RED,GREEN,BLUE; grey pages take RED")
        ->delimiter(',')
        ->expected(3)
        ->check(CLI::Range(0, 255));
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        status = takeEach(arguments->pages, "Binding holes filled",
                          [&](Page page) { return fillHoles(std::move(page), *arguments); });
    });
}

}  // namespace kelpage
