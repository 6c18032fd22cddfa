// Planes that are hard on labellers.
#pragma once

#include <algorithm>
#include <random>
#include <vector>

namespace test {

/// Planes of 0 and 255.
inline std::vector<std::vector<unsigned char>> binaryPatterns(int width, int height) {
    using Rule = bool (*)(int x, int y, int w, int h, unsigned noise);
    const Rule rules[] = {
        [](int, int, int, int, unsigned) { return false; },
        [](int, int, int, int, unsigned) { return true; },
        [](int x, int y, int w, int h, unsigned) { return x == w / 2 && y == h / 2; },
        [](int x, int y, int, int, unsigned) { return (x + y) % 2 == 0; },
        [](int x, int y, int, int h, unsigned) { return x % 2 == 0 || y == h - 1; },  // a comb
        [](int x, int y, int w, int, unsigned) { return y % 2 == 0 || x == y / 2 % 2 * (w - 1); },
        [](int x, int y, int w, int h, unsigned) {
            return std::min({x, y, w - 1 - x, h - 1 - y}) % 2 == 1;
        },
        [](int x, int, int, int, unsigned noise) {  // rows much like those above
            return (x * x / 37 % 2 == 1) != (noise % 200 == 0);
        },
        [](int x, int y, int w, int, unsigned) {  // and long runs with changes midway
            return y % 3 == 2 ? x > 63 && x < w - 70 : y % 3 == 1 || x % 100 > 70;
        },
        [](int, int, int, int, unsigned noise) { return noise % 4 == 0; },
        [](int, int, int, int, unsigned noise) { return noise % 5 < 3; }};
    std::vector<std::vector<unsigned char>> planes;
    std::mt19937 random(9);
    for (const Rule rule : rules) {
        planes.emplace_back();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                planes.back().push_back(rule(x, y, width, height, unsigned(random()) >> 8) ? 255
                                                                                           : 0);
    }
    return planes;
}

}  // namespace test
