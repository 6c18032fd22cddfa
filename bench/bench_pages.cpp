#include "bench_pages.h"

#include <algorithm>
#include <random>

namespace bench {
namespace {

unsigned char clamp(int v) {
    return static_cast<unsigned char>(std::clamp(v, 0, 255));
}

/// About a tenth of the page is ink: lines of words of short strokes.
bool isInk(int x, int y, int dpi) {
    const int line = dpi / 6, glyph = dpi / 14;
    const int margin = dpi * 3 / 4;
    if (x < margin || y < margin || y % line > line / 2) return false;
    const int word = x / glyph;
    if (word % 7 == 0) return false;
    const int stroke = std::max(2, dpi / 70);
    const int phase = (word * 7 + y / line * 5) % 4;
    return (x + phase * (y % line) / 3) % glyph < stroke || (y % line + phase) % (line / 3) < 1;
}

bool isSeal(int x, int y, kelSize size, int dpi) {
    const int dx = x - size.width * 2 / 3, dy = y - size.height * 3 / 4;
    const int r2 = dx * dx + dy * dy, outer = dpi * 5 / 8, inner = dpi * 9 / 16;
    return (r2 < outer * outer && r2 > inner * inner) ||
           (r2 < inner * inner && (x / 9 + y / 7) % 5 == 0);
}

PageSet makePages(const std::string& name, kelSize size, int dpi) {
    PageSet set{name, size, {}, {}};
    const size_t n = set.area();
    set.grey.resize(n);
    set.colour.resize(3 * n);
    std::mt19937 random(static_cast<unsigned>(dpi));
    size_t i = 0;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x, ++i) {
            const int noise = static_cast<int>(random() % 9) - 4;
            const int paper = 244 - 18 * x / size.width - 10 * y / size.height;
            const bool ink = isInk(x, y, dpi);
            const int level = (ink ? 50 : paper) + noise;
            set.grey[i] = clamp(level);
            const bool seal = isSeal(x, y, size, dpi);
            // Sensors add noise of their own to each colour.
            const int tint = static_cast<int>(random() % 5) - 2;
            set.colour[i] = clamp(seal ? std::min(level + 20, 215) : level + tint);
            set.colour[n + i] = clamp(seal && !ink ? level - 150 : level);
            set.colour[2 * n + i] = clamp(seal && !ink ? level - 140 : level - tint);
        }
    }
    return set;
}

}  // namespace

const std::vector<PageSet>& pages() {
    static const std::vector<PageSet> all = {makePages("A4 200 dpi", {1654, 2339}, 200),
                                             makePages("A4 300 dpi", {2480, 3508}, 300)};
    return all;
}

}  // namespace bench
