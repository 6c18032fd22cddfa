#include "blank_page.h"

#include <algorithm>
#include <vector>

#include "areas_of_page.h"
#include "holes_of_page.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"
#include "upright_page.h"

namespace kelpage {
namespace {

constexpr int kMarginPart = 20;
constexpr int kContrast = 32;  ///< ink is darker than the paper by so much
constexpr int kSmallestArea = 4;
/// Holes never make up so much of a page; with more ink they need not be looked for.
constexpr double kSurelyInk = 0.02;

/// The part of a page within its margins.
struct Inside {
    int left, top, right, bottom;  ///< the last two beyond it

    explicit Inside(kelSize size)
        : left(size.width / kMarginPart),
          top(size.height / kMarginPart),
          right(size.width - left),
          bottom(size.height - top) {}

    double pixels() const { return static_cast<double>(right - left) * (bottom - top); }

    /// Calls `work` with the first index of every row, and with that behind its last.
    template <class Work>
    void forEachRow(kelSize size, Work work) const {
        for (int y = top; y < bottom; ++y) {
            const size_t row = static_cast<size_t>(y) * static_cast<size_t>(size.width);
            work(row + static_cast<size_t>(left), row + static_cast<size_t>(right));
        }
    }
};

/// Ink that stands out from the paper.
Page clearInk(const Page& ink, const Page& page) {
    if (isBlackAndWhite(page)) return copyOf(ink);
    Page grey = makePage(page.size, 1);
    KelColorConvert(page.samples.get(), page.size, page.channels, grey.samples.get(), page.size, 1);
    const int limit = paperLevel(grey.samples.get(), grey.size) - kContrast;
    Page clear = makePage(ink.size, 1);
    for (size_t i = 0; i < ink.planeBytes(); ++i)
        clear.samples[i] = ink.samples[i] != 0 && grey.samples[i] <= limit ? 255 : 0;
    return clear;
}

/// Round, of about the size of a hole, and near a side.
bool isHole(const kelConnectArea& area, const Holes& usual, kelSize size) {
    const double circle = 3.14159265358979 * usual.radius * usual.radius;
    if (area.area < 0.5 * circle || area.area > 1.6 * circle) return false;
    const int w = area.x1 - area.x0 + 1, h = area.y1 - area.y0 + 1;
    const double filled = area.area / (static_cast<double>(w) * h);
    const bool isRound = std::min(w, h) >= 0.85 * std::max(w, h) && filled > 0.65 && filled < 0.95;
    const int x = (area.x0 + area.x1) / 2, y = (area.y0 + area.y1) / 2;
    return isRound && (x < usual.strip || x >= size.width - usual.strip || y < usual.strip ||
                       y >= size.height - usual.strip);
}

double countedInk(const Page& clear, const Inside& inside, const Holes& usual) {
    const Areas areas = areasOf(clear);
    std::vector<int> pixels(areas.records.size());
    inside.forEachRow(clear.size, [&](size_t begin, size_t end) {
        for (size_t i = begin; i < end; ++i)
            ++pixels[static_cast<size_t>(areas.labels[i])];
    });
    double counted = 0.0;
    for (size_t i = 1; i < pixels.size(); ++i)
        if (areas.records[i].area >= kSmallestArea && !isHole(areas.records[i], usual, clear.size))
            counted += pixels[i];
    return counted;
}

}  // namespace

double inkShare(const Page& ink, const Page& page) {
    const Page clear = clearInk(ink, page);
    const Inside inside(ink.size);
    size_t all = 0;
    inside.forEachRow(ink.size, [&](size_t begin, size_t end) {
        const unsigned char* const samples = clear.samples.get();
        all += static_cast<size_t>(std::count(samples + begin, samples + end, 255));
    });
    double counted = static_cast<double>(all);
    if (counted < kSurelyInk * inside.pixels())
        counted = countedInk(clear, inside, usualHoles(page));
    return counted / std::max(inside.pixels(), 1.0);
}

}  // namespace kelpage
