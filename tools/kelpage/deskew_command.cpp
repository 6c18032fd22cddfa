// kelpage deskew: pages turned upright, where it is sure how they lie.
#include <algorithm>
#include <cstring>
#include <memory>

#include "areas_of_page.h"
#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"
#include "skew_of_page.h"

namespace kelpage {
namespace {

struct Arguments {
    PageArguments pages;
    SkewSearch search;
};

bool isBlackAndWhite(const Page& page) {
    const unsigned char* const samples = page.samples.get();
    return page.channels == 1 && std::all_of(samples, samples + page.planeBytes(),
                                             [](unsigned char s) { return s % 255 == 0; });
}

/// The level of a plane's paper: the most frequent one of those above the mean.
unsigned char paperLevel(unsigned char* plane, kelSize size) {
    int counts[256] = {};
    KelCalHist(plane, size, counts);
    double sum = 0, count = 0;
    for (int level = 0; level < 256; ++level) {
        sum += static_cast<double>(level) * counts[level];
        count += counts[level];
    }
    const auto mean = static_cast<int>(sum / count);
    return static_cast<unsigned char>(std::max_element(counts + mean, counts + 256) - counts);
}

/// 0 where a page turned by `angle` has no source, 255 elsewhere.
Page coverOf(kelSize size, double angle) {
    Page cover = makePage(size, 1);
    std::memset(cover.samples.get(), 255, cover.planeBytes());
    SetBorder(cover.samples.get(), size, 1, 0);  // which is what is repeated outside
    KelRotateImageLittleAngle(cover.samples.get(), cover.samples.get(), size, 1, angle);
    return cover;
}

Page turned(const Page& page, double angle) {
    Page result = copyOf(page);
    KelRotateImageLittleAngle(page.samples.get(), result.samples.get(), page.size, page.channels,
                              angle);
    if (isBlackAndWhite(page))
        KelBinarizeThreshold(result.samples.get(), result.samples.get(), page.size, 127, 0);
    const Page cover = coverOf(page.size, angle);
    for (int c = 0; c < page.channels; ++c) {
        const size_t start = static_cast<size_t>(c) * page.planeBytes();
        const unsigned char paper = paperLevel(page.samples.get() + start, page.size);
        for (size_t i = 0; i < page.planeBytes(); ++i)
            if (cover.samples[i] < 128) result.samples[start + i] = paper;
    }
    return result;
}

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
