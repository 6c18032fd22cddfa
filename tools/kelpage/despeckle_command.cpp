// kelpage despeckle: black and white pages without specks.
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "page_work.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    int least = 10;
};

Outcome despeckle(const Page& page, int least) {
    Page ink = inkOf(page);
    Outcome outcome;
    outcome.before = blackOnWhite(ink);
    outcome.factsBefore = countText(areasOf(ink), least - 1);
    kel_del_smallspot_uc(ink.samples.get(), ink.size.width, ink.size.height, least - 1);
    outcome.facts = countText(areasOf(ink), least - 1);
    outcome.after = blackOnWhite(ink);
    return outcome;
}

}  // namespace

void addDespeckle(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("despeckle", "Turn pages into black and white without specks");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    command
        ->add_option("-l,--least", arguments->least, "Areas of ink with fewer pixels are removed")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        status = takeEach(arguments->pages, "Specks removed",
                          [&](const Page& page) { return despeckle(page, arguments->least); });
    });
}

}  // namespace kelpage
