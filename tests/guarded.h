// Buffers with guard bytes on both sides, and seeded pages to fill them with.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "kel_define.h"

namespace test {

using Bytes = std::vector<unsigned char>;

/// A buffer of `count` bytes that knows when something was written round it.
class Guarded {
  public:
    explicit Guarded(size_t count, unsigned char fill = 0xAB)
        : bytes_(count + 2 * kPad, fill), count_(count) {
        std::fill(bytes_.begin(), bytes_.begin() + kPad, kGuard);
        std::fill(bytes_.end() - kPad, bytes_.end(), kGuard);
    }
    explicit Guarded(const Bytes& content) : Guarded(content.size()) {
        std::copy(content.begin(), content.end(), data());
    }

    unsigned char* data() { return bytes_.data() + kPad; }
    size_t size() const { return count_; }
    Bytes content() const {
        const auto start = bytes_.begin() + kPad;
        return Bytes(start, start + static_cast<std::ptrdiff_t>(count_));
    }
    bool intact() const {
        const auto isGuard = [](unsigned char b) { return b == kGuard; };
        return std::all_of(bytes_.begin(), bytes_.begin() + kPad, isGuard) &&
               std::all_of(bytes_.end() - kPad, bytes_.end(), isGuard);
    }

  private:
    static constexpr std::ptrdiff_t kPad = 96;
    static constexpr unsigned char kGuard = 0xC7;
    Bytes bytes_;
    size_t count_;
};

inline size_t area(kelSize size) {
    return static_cast<size_t>(std::max(size.width, 0)) *
           static_cast<size_t>(std::max(size.height, 0));
}

inline Bytes randomBytes(size_t count, unsigned seed, int lowest = 0, int highest = 255) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> level(lowest, highest);
    Bytes bytes(count);
    for (auto& b : bytes)
        b = static_cast<unsigned char>(level(random));
    return bytes;
}

/// A grey page: shaded paper, dark strokes, some noise.
inline Bytes textPage(kelSize size, unsigned seed) {
    std::mt19937 random(seed);
    Bytes page(area(size));
    size_t i = 0;
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const bool ink = (x / 3 + y / 7) % 6 == 0 && y % 9 > 2;
            const int paper = 205 + 30 * x / size.width - 20 * y / size.height;
            page[i++] = static_cast<unsigned char>((ink ? 45 : paper) +
                                                   static_cast<int>(random() % 11) - 5);
        }
    }
    return page;
}

/// Sizes at which loops go wrong: none, one row, one column, odd, round a vector's width.
inline std::vector<kelSize> awkwardSizes() {
    return {{0, 5},  {5, 0},  {-3, 4},  {1, 1},   {1, 9},   {2, 2},  {3, 3},
            {4, 4},  {9, 1},  {15, 3},  {16, 2},  {17, 5},  {31, 7}, {32, 1},
            {33, 4}, {64, 3}, {65, 65}, {127, 2}, {130, 11}};
}

inline std::ostream& operator<<(std::ostream& out, kelSize s) {
    return out << s.width << "x" << s.height;
}

}  // namespace test

inline void PrintTo(kelSize s, std::ostream* out) {
    *out << s.width << "x" << s.height;
}
