// kelpage areas: the connected areas of pages, counted and coloured.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "kel_ImageFileOper.h"
#include "page_work.h"

namespace kelpage {
namespace {

/// A file of its own that is gone with this object.
class ScratchFile {
  public:
    ScratchFile() {
        std::string pattern = (fs::temp_directory_path() / "kelpage-XXXXXX.bmp").string();
        const int file = mkstemps(pattern.data(), 4);
        if (file < 0) throw FileError("no room for a picture in the folder of temporary files");
        close(file);
        path_ = pattern;
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() {
        std::error_code error;
        fs::remove(path_, error);
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

/// The library draws into a file.
Page coloured(const Page& page, Areas& areas) {
    const ScratchFile file;
    std::string name = file.path().string();
    KC_DrawCALabelBuf(page.samples.get(), page.size.width, page.size.height, 1, areas.labels.data(),
                      name.data());
    Page picture = loadPage(file.path());
    picture.xDpi = page.xDpi;
    picture.yDpi = page.yDpi;
    return picture;
}

std::string sizesText(const Areas& areas) {
    const int bounds[] = {1, 9, 99, 999};
    std::string text = std::to_string(areas.count()) + (areas.count() == 1 ? " area" : " areas");
    int above = 0;
    const auto add = [&](const std::string& name, int upTo) {
        const auto count = std::count_if(
            areas.records.begin() + 1, areas.records.end(),
            [&](const kelConnectArea& ca) { return ca.area > above && ca.area <= upTo; });
        text += (above == 0 ? "; of " : ", of ") + name + ": " + std::to_string(count);
        above = upTo;
    };
    for (const int bound : bounds)
        add(above + 1 == bound ? std::to_string(bound)
                               : std::to_string(above + 1) + "-" + std::to_string(bound),
            bound);
    add("1000 and more pixels", 2147483647);
    if (areas.count() == 0) return text;
    const kelConnectArea& most = *std::max_element(
        areas.records.begin() + 1, areas.records.end(),
        [](const kelConnectArea& a, const kelConnectArea& b) { return a.area < b.area; });
    return text + "; the largest has " + std::to_string(most.area) + " in " +
           std::to_string(most.x1 - most.x0 + 1) + " x " + std::to_string(most.y1 - most.y0 + 1) +
           " at " + std::to_string(most.x0) + ", " + std::to_string(most.y0);
}

Outcome colourAreas(Page page) {
    const Page ink = inkOf(page);
    Areas areas = areasOf(ink);
    Page picture = coloured(blackOnWhite(ink), areas);
    return {std::move(page), std::move(picture), "", sizesText(areas)};
}

}  // namespace

void addAreas(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "areas", "Count the connected areas of ink by their sizes, and colour them");
    const auto arguments = std::make_shared<PageArguments>();
    addFileOptions(*command, arguments->batch);
    addReportOption(*command, *arguments);
    command->callback(
        [arguments, &status] { status = takeEach(*arguments, "Connected areas", colourAreas); });
}

}  // namespace kelpage
