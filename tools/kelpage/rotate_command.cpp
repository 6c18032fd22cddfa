// kelpage rotate: pages turned, exactly by quarter turns or about their centre by other angles.
#include <cmath>
#include <memory>
#include <utility>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"
#include "report.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    double angle = 0.0;
};

/// Quarter turns clockwise, 0 to 3; -1 for an angle between them.
int quarterTurns(double angle) {
    const double turns = angle / 90.0;
    if (turns != std::floor(turns)) return -1;
    return ((static_cast<int>(turns) % 4) + 4) % 4;
}

void turn(const Page& page, Page& result, double angle) {
    unsigned char* const from = page.samples.get();
    unsigned char* const to = result.samples.get();
    const auto [w, h] = page.size;
    switch (quarterTurns(angle)) {
        case 1:
            kel_RotateImage90(from, w, h, page.channels, to, h, w);
            break;
        case 2:
            kel_RotateImage180(from, to, page.size, page.channels);
            break;
        case 3:
            kel_RotateImage270(from, w, h, page.channels, to, h, w);
            break;
        case 0:
            KelRotateImageLittleAngle(from, to, page.size, page.channels, 0.0);
            break;
        default:
            KelRotateImageLittleAngle(from, to, page.size, page.channels, angle);
    }
}

Outcome rotate(Page page, double angle) {
    const bool liesDown = quarterTurns(angle) == 1 || quarterTurns(angle) == 3;
    Outcome outcome;
    Page& result = outcome.after;
    result =
        makePage(liesDown ? kelSize{page.size.height, page.size.width} : page.size, page.channels);
    result.xDpi = liesDown ? page.yDpi : page.xDpi;
    result.yDpi = liesDown ? page.xDpi : page.yDpi;
    outcome.time = timed([&] { turn(page, result, angle); });
    outcome.facts = "turned";
    outcome.before = std::move(page);
    return outcome;
}

}  // namespace

void addRotate(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("rotate", "Turn pages clockwise");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    command
        ->add_option("-a,--angle", arguments->angle,
                     "Degrees clockwise; multiples of 90 turn exactly, others about the centre "
                     "within the page's size")
        ->required()
        ->check(realRange(-360.0, 360.0));
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        status = takeEach(arguments->pages, "Pages turned",
                          [&](Page page) { return rotate(std::move(page), arguments->angle); });
    });
}

}  // namespace kelpage
