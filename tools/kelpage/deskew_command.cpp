// kelpage deskew: pages turned upright, where it is sure how they lie.
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "page_work.h"
#include "skew_of_page.h"
#include "upright_page.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    SkewSearch search;
};

Outcome deskew(Page page, const SkewSearch& search) {
    const Skew skew = skewOf(inkOf(page), search);
    Page upright = skew.angle == 0.0 ? copyOf(page) : turned(page, -skew.angle);
    return {std::move(page), std::move(upright), "", skew.text()};
}

}  // namespace

void addDeskew(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "deskew", "Turn pages upright; one that is blank or whose skew is unsure stays as it is");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    addSkewOptions(*command, arguments->search);
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        requireSearch(arguments->search);
        status = takeEach(arguments->pages, "Pages turned upright",
                          [&](Page page) { return deskew(std::move(page), arguments->search); });
    });
}

}  // namespace kelpage
