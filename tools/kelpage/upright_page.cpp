#include "upright_page.h"

#include <algorithm>
#include <cstring>

#include "kel_ImageBasicProcess.h"
#include "page_work.h"

namespace kelpage {
namespace {

/// 0 where a page turned by `angle` has no source, 255 elsewhere.
Page coverOf(kelSize size, double angle) {
    Page cover = makePage(size, 1);
    std::memset(cover.samples.get(), 255, cover.planeBytes());
    SetBorder(cover.samples.get(), size, 1, 0);  // which is what is repeated outside
    KelRotateImageLittleAngle(cover.samples.get(), cover.samples.get(), size, 1, angle);
    return cover;
}

}  // namespace

bool isBlackAndWhite(const Page& page) {
    const unsigned char* const samples = page.samples.get();
    return page.channels == 1 && std::all_of(samples, samples + page.planeBytes(),
                                             [](unsigned char s) { return s % 255 == 0; });
}

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

}  // namespace kelpage
