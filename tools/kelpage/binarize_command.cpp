// kelpage binarize: pages in, binary pages out.
#include <memory>

#include "commands.h"
#include "methods.h"
#include "page_options.h"
#include "page_work.h"

namespace kelpage {
namespace {

struct Arguments {
    Batch batch;
    MethodOptions method;
    bool invert = false;
};

}  // namespace

void addBinarize(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand("binarize", "Turn pages into black and white");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->batch);
    addMethodOptions(*command, arguments->method);
    command->add_flag("-i,--invert", arguments->invert, "White ink on black paper");
    command->callback([arguments, &status] {
        Settings settings = settingsOf(arguments->method);
        settings.invert = arguments->invert;
        status = runBatch(
            arguments->batch, collectFiles(arguments->batch.inputs),
            [&settings](const Page& page, const PlannedPage&) { return binarize(page, settings); });
    });
}

}  // namespace kelpage
