// kelpage lines: the rules of forms, found by long thin openings and drawn on the page.
#include <algorithm>
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "drawing.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "page_work.h"

namespace kelpage {
namespace {

constexpr int kOpening = 2;
constexpr int kDrawnWidth = 3;

struct Arguments {
    PageArguments pages;
    int length = 80;
    int thickness = 15;
};

/// A rule: its middle row or column, and the pieces along it.
struct Rule {
    int position;
    std::vector<kelWaveCharacter> pieces;
};

struct Projections {
    std::vector<int> rows, columns;
};

Projections projectionsOf(const Page& ink) {
    Projections p;
    p.rows.resize(static_cast<size_t>(ink.size.height));
    p.columns.resize(static_cast<size_t>(ink.size.width));
    KelImageProject1(ink.samples.get(), ink.size, p.rows.data(), 'H');
    KelImageProject1(ink.samples.get(), ink.size, p.columns.data(), 'V');
    return p;
}

/// The runs of a projection above a threshold; the library's list is taken apart.
std::vector<kelWaveCharacter> wavesOf(std::vector<int>& projection, int threshold) {
    kelWaveCharacter first;
    int count = 0;
    KelDetectWaveCharacter1(projection.data(), static_cast<int>(projection.size()), &first, &count,
                            threshold);
    std::vector<kelWaveCharacter> waves;
    if (count > 0) waves.push_back(first);
    for (kelWaveCharacter* wave = first.next; wave != nullptr;) {
        waves.push_back(*wave);
        kelWaveCharacter* const next = wave->next;
        delete wave;
        wave = next;
    }
    return waves;
}

/// The rules of one direction.
std::vector<Rule> rulesOf(const Page& ink, const Arguments& arguments, bool horizontal) {
    Page opened = makePage(ink.size, 1);
    kelSize size = ink.size;
    const int radius = arguments.length / 2;
    KelMorphology(ink.samples.get(), opened.samples.get(), &size, kOpening, horizontal ? radius : 0,
                  horizontal ? 0 : radius, 1);
    Projections p = projectionsOf(opened);
    std::vector<Rule> rules;
    for (const kelWaveCharacter& wave :
         wavesOf(horizontal ? p.rows : p.columns, arguments.length)) {
        if (wave.length > arguments.thickness) continue;
        // The ink of the wave alone, projected along it.
        const kelSize part = horizontal ? kelSize{ink.size.width, wave.length}
                                        : kelSize{wave.length, ink.size.height};
        Page strip = makePage(part, 1);
        CvRect rect = cvRect(horizontal ? 0 : wave.start, horizontal ? wave.start : 0, part.width,
                             part.height);
        KelCopySubImage(opened.samples.get(), size, strip.samples.get(), part, 1, &rect);
        Projections along = projectionsOf(strip);
        rules.push_back(
            {(wave.start + wave.end) / 2, wavesOf(horizontal ? along.columns : along.rows, 0)});
    }
    return rules;
}

void draw(Page& page, const std::vector<Rule>& rules, bool horizontal) {
    for (const Rule& rule : rules) {
        const int start = rule.position - kDrawnWidth / 2;
        for (const kelWaveCharacter& piece : rule.pieces) {
            if (horizontal)
                fill(page, piece.start, start, piece.length, kDrawnWidth, kRed);
            else
                fill(page, start, piece.start, kDrawnWidth, piece.length, kBlue);
        }
    }
}

std::string countText(size_t count, const char* direction) {
    return std::to_string(count) + " " + direction + (count == 1 ? " line" : " lines");
}

Outcome drawLines(Page page, const Arguments& arguments) {
    const Page ink = inkOf(page);
    const std::vector<Rule> rows = rulesOf(ink, arguments, true);
    const std::vector<Rule> columns = rulesOf(ink, arguments, false);
    Page drawn = inColour(page);
    draw(drawn, rows, true);
    draw(drawn, columns, false);
    return {std::move(page), std::move(drawn), "",
            countText(rows.size(), "horizontal") + ", " + countText(columns.size(), "vertical")};
}

}  // namespace

void addLines(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "lines", "Find the rules of upright forms, and draw them: red across, blue down");
    const auto arguments = std::make_shared<Arguments>();
    addFileOptions(*command, arguments->pages.batch);
    command->add_option("-l,--length", arguments->length, "Shortest unbroken piece, in pixels")
        ->check(CLI::Range(3, 10000))
        ->capture_default_str();
    command->add_option("-t,--thickness", arguments->thickness, "Thickest rule, in pixels")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    addReportOption(*command, arguments->pages);
    command->callback([arguments, &status] {
        status = takeEach(arguments->pages, "Form lines",
                          [&](Page page) { return drawLines(std::move(page), *arguments); });
    });
}

}  // namespace kelpage
