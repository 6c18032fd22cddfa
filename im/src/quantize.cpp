#include "quantize.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <vector>

#include "image.h"
#include "palette.h"

namespace im {
namespace {

constexpr int kBits = 5;
constexpr int kLevels = 1 << kBits;
constexpr int kCells = 1 << 3 * kBits;
constexpr size_t kMostColors = 256;

struct Planes {
    const uint8_t* channel[3];
};

Planes planesOfImage(const imImage& image) {
    return {{static_cast<const uint8_t*>(image.data[0]), static_cast<const uint8_t*>(image.data[1]),
             static_cast<const uint8_t*>(image.data[2])}};
}

uint32_t packed(const Planes& p, size_t i) {
    return static_cast<uint32_t>(p.channel[0][i] << 16 | p.channel[1][i] << 8 | p.channel[2][i]);
}

// True, with palette and indexes written, when 256 colours are enough.
bool keepColors(const Planes& from, size_t count, imImage& map) {
    std::unordered_map<uint32_t, uint8_t> indexes;
    std::vector<imPaletteColor> colors;
    auto* const out = static_cast<uint8_t*>(map.data[0]);
    uint32_t last = packed(from, 0) + 1;
    uint8_t lastIndex = 0;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t color = packed(from, i);
        if (color != last) {
            const auto [at, isNew] =
                indexes.try_emplace(color, static_cast<uint8_t>(colors.size()));
            if (isNew) {
                if (colors.size() == kMostColors) return false;
                colors.push_back({from.channel[0][i], from.channel[1][i], from.channel[2][i]});
            }
            last = color;
            lastIndex = at->second;
        }
        out[i] = lastIndex;
    }
    setPalette(map, colors.data(), static_cast<int>(colors.size()));
    return true;
}

size_t cellOf(const Planes& p, size_t i) {
    constexpr int drop = 8 - kBits;
    return static_cast<size_t>((p.channel[0][i] >> drop) << 2 * kBits |
                               (p.channel[1][i] >> drop) << kBits | p.channel[2][i] >> drop);
}

// Pixels of one cell of the colour cube, with the sums of their channels.
struct Cell {
    uint64_t pixels = 0;
    std::array<uint64_t, 3> sum{};
};

int coordinate(uint32_t cell, int axis) {
    return static_cast<int>(cell >> (2 - axis) * kBits) & (kLevels - 1);
}

// A run of used cells, and the axis along which they spread most.
struct Box {
    size_t first, last;
    uint64_t pixels;
    int axis, spread;
};

Box boxOf(const std::vector<uint32_t>& order, const std::vector<Cell>& cells, size_t first,
          size_t last) {
    Box box{first, last, 0, 0, -1};
    for (size_t i = first; i < last; ++i)
        box.pixels += cells[order[i]].pixels;
    for (int axis = 0; axis < 3; ++axis) {
        int low = kLevels, high = 0;
        for (size_t i = first; i < last; ++i) {
            low = std::min(low, coordinate(order[i], axis));
            high = std::max(high, coordinate(order[i], axis));
        }
        if (high - low > box.spread) {
            box.spread = high - low;
            box.axis = axis;
        }
    }
    return box;
}

// Where the box falls into two parts of about equally many pixels; neither part is empty.
size_t cut(std::vector<uint32_t>& order, const std::vector<Cell>& cells, const Box& box) {
    const auto begin = order.begin() + static_cast<ptrdiff_t>(box.first);
    const auto end = order.begin() + static_cast<ptrdiff_t>(box.last);
    std::stable_sort(begin, end, [&](uint32_t a, uint32_t b) {
        return coordinate(a, box.axis) < coordinate(b, box.axis);
    });
    uint64_t seen = 0;
    size_t at = box.first;
    while (at + 1 < box.last && 2 * seen < box.pixels)
        seen += cells[order[at++]].pixels;
    return std::max(at, box.first + 1);
}

std::vector<Box> medianCut(std::vector<uint32_t>& order, const std::vector<Cell>& cells) {
    std::vector<Box> boxes{boxOf(order, cells, 0, order.size())};
    while (boxes.size() < kMostColors) {
        // The box of most pixels times spread gives the most when it is cut.
        const auto widest =
            std::max_element(boxes.begin(), boxes.end(), [](const Box& a, const Box& b) {
                return a.pixels * static_cast<uint64_t>(a.spread) <
                       b.pixels * static_cast<uint64_t>(b.spread);
            });
        if (widest->last - widest->first < 2) break;
        const Box box = *widest;
        const size_t middle = cut(order, cells, box);
        *widest = boxOf(order, cells, box.first, middle);
        boxes.push_back(boxOf(order, cells, middle, box.last));
    }
    return boxes;
}

imPaletteColor meanOf(const std::vector<uint32_t>& order, const std::vector<Cell>& cells,
                      const Box& box) {
    std::array<uint64_t, 3> sum{};
    for (size_t i = box.first; i < box.last; ++i)
        for (size_t c = 0; c < 3; ++c)
            sum[c] += cells[order[i]].sum[c];
    const auto mean = [&](size_t c) {
        return static_cast<uint8_t>((sum[c] + box.pixels / 2) / box.pixels);
    };
    return {mean(0), mean(1), mean(2)};
}

}  // namespace

void quantize(const imImage& rgb, imImage& map) {
    const Planes from = planesOfImage(rgb);
    const size_t count = planeSamples(rgb);
    if (keepColors(from, count, map)) return;

    std::vector<Cell> cells(kCells);
    for (size_t i = 0; i < count; ++i) {
        Cell& cell = cells[cellOf(from, i)];
        ++cell.pixels;
        for (size_t c = 0; c < 3; ++c)
            cell.sum[c] += from.channel[c][i];
    }
    std::vector<uint32_t> order;
    for (uint32_t c = 0; c < kCells; ++c)
        if (cells[c].pixels > 0) order.push_back(c);

    const std::vector<Box> boxes = medianCut(order, cells);
    std::vector<imPaletteColor> colors;
    std::vector<uint8_t> indexOfCell(kCells);
    for (const Box& box : boxes) {
        for (size_t i = box.first; i < box.last; ++i)
            indexOfCell[order[i]] = static_cast<uint8_t>(colors.size());
        colors.push_back(meanOf(order, cells, box));
    }
    setPalette(map, colors.data(), static_cast<int>(colors.size()));
    auto* const out = static_cast<uint8_t*>(map.data[0]);
    for (size_t i = 0; i < count; ++i)
        out[i] = indexOfCell[cellOf(from, i)];
}

}  // namespace im
