// kelpage amount: the cells of a bill's amount field.
#include <algorithm>
#include <memory>
#include <system_error>

#include <cstdlib>

#include "commands.h"
#include "drawing.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    int leastPeak = 100;
};

/// An empty working folder while it lives: the library leaves pictures of fixed names in it.
class ScratchFolder {
  public:
    ScratchFolder() : before_(fs::current_path()) {
        std::string pattern = (fs::temp_directory_path() / "kelpage-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw FileError("no room for a folder in that of temporary files");
        path_ = pattern;
        fs::current_path(path_);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code error;
        fs::current_path(before_, error);
        fs::remove_all(path_, error);
    }

  private:
    fs::path before_, path_;
};

struct Field {
    std::vector<int> positions;
    int top = 0, bottom = 0;
};

Field fieldOf(const Page& page, int leastPeak) {
    Field field;
    // A mark takes two columns, with the gap behind it; the outermost give two more positions.
    field.positions.resize(static_cast<size_t>(page.size.width) / 2 + 3);
    int count = 0;
    const ScratchFolder scratch;
    if (KelDetectAmountPos(page.samples.get(), page.channels, page.size, field.positions.data(),
                           &count, &field.top, &field.bottom, 0, leastPeak) != 0)
        throw FileError("has fewer than three marks; a lower --peak takes fainter ones");
    field.positions.resize(static_cast<size_t>(count));
    field.bottom = std::min(field.bottom, page.size.height - 1);
    return field;
}

Outcome drawField(Page page, int leastPeak) {
    const Field field = fieldOf(page, leastPeak);
    Page drawn = inColour(page);
    std::string facts = "columns";
    for (const int x : field.positions) {
        fill(drawn, x, 0, 1, page.size.height, kRed);
        facts += " " + std::to_string(x);
    }
    for (const int y : {field.top, field.bottom})
        fill(drawn, field.positions.front(), y, field.positions.back() - field.positions.front(), 1,
             kBlue);
    facts += ", rows " + std::to_string(field.top) + " to " + std::to_string(field.bottom);
    return {std::move(page), std::move(drawn), "", facts};
}

}  // namespace

void addAmount(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "amount", "Find the cells of amount fields, and draw their bounds on the page");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    command
        ->add_option("-p,--peak", arguments->leastPeak,
                     "A column of a mark has more ink than this, 255 being all of it")
        ->check(CLI::Range(10, 254))
        ->capture_default_str();
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        status = takeEach(arguments->pages, "Amount fields", [&](Page page) {
            return drawField(std::move(page), arguments->leastPeak);
        });
    });
}

}  // namespace kelpage
