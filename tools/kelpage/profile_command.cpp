// kelpage profile: how much ink rows and columns have, drawn beside the page.
#include <algorithm>
#include <cstring>
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "drawing.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "page_work.h"

namespace kelpage {
namespace {

constexpr int kGap = 4;

std::vector<int> counts(const Page& ink, char direction) {
    std::vector<int> all(static_cast<size_t>(direction == 'H' ? ink.size.height : ink.size.width));
    KelImageProject1(ink.samples.get(), ink.size, all.data(), direction);
    return all;
}

std::string peakText(const std::vector<int>& all, const char* what) {
    const auto peak = std::max_element(all.begin(), all.end());
    return std::string(what) + " " + std::to_string(peak - all.begin()) + " has " +
           std::to_string(*peak);
}

Outcome drawProfile(Page page) {
    const Page ink = inkOf(page);
    const std::vector<int> rows = counts(ink, 'H'), columns = counts(ink, 'V');
    const int mostOfRow = std::max(1, *std::max_element(rows.begin(), rows.end()));
    const int mostOfColumn = std::max(1, *std::max_element(columns.begin(), columns.end()));

    const int side = std::max(40, std::min(page.size.width, page.size.height) / 6);
    const kelSize size{page.size.width + kGap + side, page.size.height + kGap + side};
    Page picture = makePage(size, 3);
    std::memset(picture.samples.get(), 255, 3 * picture.planeBytes());
    const Page colour = inColour(page);
    KelCopyImageClip(colour.samples.get(), colour.size, picture.samples.get(), size, 3, 0, 0);
    const auto bar = [side](int count, int most) {
        return static_cast<int>(static_cast<double>(count) / most * side);
    };
    for (size_t y = 0; y < rows.size(); ++y)
        fill(picture, page.size.width + kGap, static_cast<int>(y), bar(rows[y], mostOfRow), 1,
             kRed);
    for (size_t x = 0; x < columns.size(); ++x)
        fill(picture, static_cast<int>(x), page.size.height + kGap, 1,
             bar(columns[x], mostOfColumn), kBlue);
    const int area = KelCalArea(ink.samples.get(), ink.size);
    return {std::move(page), std::move(picture), "",
            std::to_string(area) + " pixels of ink; " + peakText(rows, "row") + ", " +
                peakText(columns, "column")};
}

}  // namespace

void addProfile(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("profile", "Draw the ink of each row and column beside the page");
    const auto arguments = std::make_shared<PageArguments>();
    addFileOptions(*command, arguments->batch);
    addReportOption(*command, *arguments);
    command->callback(
        [arguments, &status] { status = takeEach(*arguments, "Projections", drawProfile); });
}

}  // namespace kelpage
