// kelpage edges: pages without the dark edges of scanners.
#include <memory>

#include "commands.h"
#include "holes_of_page.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    bool thin = false;
    int frame = 0;
    int paint = 255;
    int keep = -1;
};

Outcome removeEdges(Page page, const Arguments& arguments) {
    Outcome outcome;
    outcome.after = copyOf(page);
    unsigned char* const src = page.samples.get();
    unsigned char* const dst = outcome.after.samples.get();
    const int keep = arguments.keep;
    if (arguments.frame > 0)
        KelSubBlackEdge2(dst, page.size.width, page.size.height, page.channels,
                         static_cast<unsigned char>(arguments.paint), arguments.frame,
                         arguments.frame);
    else
        (arguments.thin ? KelSubBlackEdge1 : KelSubBlackEdge)(src, dst, page.size, page.channels,
                                                              keep >= 0, keep, keep);
    const Page changes = changesBetween(page, outcome.after);
    outcome.facts = std::to_string(KelCalArea(changes.samples.get(), changes.size)) + " of " +
                    std::to_string(page.planeBytes()) + " pixels painted over";
    outcome.before = std::move(page);
    return outcome;
}

}  // namespace

void addEdges(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("edges", "Paint over the dark edges that a scanner leaves round pages");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    CLI::Option* const thin =
        command->add_flag("-t,--thin", arguments->thin, "Lines of fewer than 5 pixels too");
    CLI::Option* const keep = command
                                  ->add_option("-k,--keep-centre", arguments->keep,
                                               "Paint only within so many pixels of the border")
                                  ->check(CLI::Range(0, 100000));
    CLI::Option* const frame =
        command
            ->add_option("-f,--frame", arguments->frame,
                         "Look only within so many pixels of the border, and paint with --paint")
            ->check(CLI::Range(1, 100000))
            ->excludes(thin)
            ->excludes(keep);
    command
        ->add_option(
            "-p,--paint", arguments->paint,
            "Level to paint a frame with; else the page's own mean, made a little brighter")
        ->check(CLI::Range(0, 255))
        ->capture_default_str()
        ->needs(frame);
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        status = takeEach(arguments->pages, "Dark edges removed",
                          [&](Page page) { return removeEdges(std::move(page), *arguments); });
    });
}

}  // namespace kelpage
