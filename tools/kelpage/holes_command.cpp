// kelpage holes: pages without the dark holes of binders.
#include <algorithm>
#include <memory>
#include <optional>

#include "commands.h"
#include "holes_of_page.h"
#include "page_work.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    std::optional<int> radius, strip;
    std::vector<int> colour = {255, 255, 255};
};

Outcome fillHoles(Page page, const Arguments& arguments) {
    Holes holes = usualHoles(page);
    holes.radius = arguments.radius.value_or(holes.radius);
    holes.strip = arguments.strip.value_or(holes.strip);
    std::copy_n(arguments.colour.begin(), 3, holes.paint.begin());
    Outcome outcome;
    outcome.after = copyOf(page);
    const size_t count = fillHoles(outcome.after, holes);
    outcome.facts = std::to_string(count) + (count == 1 ? " hole" : " holes") + " of radius " +
                    std::to_string(holes.radius) + " filled, in strips of " +
                    std::to_string(holes.strip);
    if (!isLargeEnough(page.size, holes)) outcome.facts += ": the page is too small";
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
