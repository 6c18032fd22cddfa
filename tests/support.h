// What the tests share: guarded buffers, channel images with coordinates, seeded pages, plain
// rules.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "kel_define.h"

namespace test {

using Bytes = std::vector<unsigned char>;

inline size_t area(kelSize size) {
    return size.width < 1 || size.height < 1 ? 0 : size_t(size.width) * size_t(size.height);
}

inline Bytes randomBytes(size_t count, unsigned seed, unsigned lowest = 0, unsigned range = 256) {
    std::mt19937 random(seed);
    Bytes bytes(count);
    for (auto& b : bytes)
        b = static_cast<unsigned char>(lowest + random() % range);
    return bytes;
}

/// A buffer that knows when something was written round it: bytes(), and its end, check the guards
/// on both sides.
class Guarded {
  public:
    explicit Guarded(const Bytes& content) : all_(content.size() + 2 * kPad, kGuard) {
        for (size_t i = 0; i < content.size(); ++i)
            all_.at(kPad + i) = content[i];
    }
    explicit Guarded(size_t count) : Guarded(Bytes(count, 0xAB)) {}
    ~Guarded() { bytes(); }

    unsigned char* data() { return all_.data() + kPad; }
    Bytes bytes() const {
        const auto isGuard = [](unsigned char b) { return b == kGuard; };
        EXPECT_TRUE(std::all_of(all_.begin(), all_.begin() + kPad, isGuard));
        EXPECT_TRUE(std::all_of(all_.end() - kPad, all_.end(), isGuard));
        return Bytes(all_.begin() + kPad, all_.end() - kPad);
    }

  private:
    static constexpr int kPad = 96;
    static constexpr unsigned char kGuard = 0xC7;
    Bytes all_;
};

/// `count` bytes by a rule of their index.
template <class Rule>
Bytes eachByte(size_t count, Rule rule) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(rule(i));
    return bytes;
}

/// A channel image, addressed by plane, row and column.
struct Image {
    Image(kelSize s, int planes, unsigned seed)
        : size(s), samples(randomBytes(area(s) * size_t(planes), seed)) {}
    unsigned char& at(int plane, int y, int x) {
        return samples[size_t(plane) * area(size) + size_t(y) * size_t(size.width) + size_t(x)];
    }
    kelSize size;
    Bytes samples;
};

/// A page of shaded paper, dark strokes and noise, each plane a little different.
inline Image page(kelSize size, int planes) {
    Image image(size, planes, 41);
    for (int c = 0; c < planes; ++c)
        for (int y = 0; y < size.height; ++y)
            for (int x = 0; x < size.width; ++x) {
                const bool ink = (x / 3 + y / 7) % 6 == 0 && y % 9 > 2;
                const int level = ink ? 45 + 9 * c : 205 + 30 * x / size.width - 8 * c;
                image.at(c, y, x) = static_cast<unsigned char>(level + image.at(c, y, x) % 11);
            }
    return image;
}

/// Sizes at which loops go wrong: none, one row, one column, odd, round a vector's width.
inline std::vector<kelSize> awkwardSizes(std::initializer_list<kelSize> more = {}) {
    std::vector<kelSize> sizes = {{0, 5}, {5, 0},  {-3, 4}, {1, 1},  {1, 9},  {2, 2},   {3, 3},
                                  {9, 1}, {16, 2}, {17, 5}, {31, 7}, {33, 4}, {65, 65}, {130, 11}};
    sizes.insert(sizes.end(), more);
    return sizes;
}

/// The number of samples at each level.
inline std::vector<int> histogramOf(const Bytes& plane) {
    std::vector<int> counts(256);
    for (unsigned char s : plane)
        ++counts[s];
    return counts;
}

/// The defining rule of luminance.
inline unsigned char luminance(int r, int g, int b) {
    return static_cast<unsigned char>(static_cast<int>((0.299 * r + 0.587 * g) + 0.114 * b));
}

inline Bytes greyOf(const Bytes& samples, int channels) {
    Bytes grey(samples.size() / size_t(channels));
    const size_t n = grey.size();
    for (size_t i = 0; i < n; ++i)
        grey[i] =
            channels == 1 ? samples[i] : luminance(samples[i], samples[n + i], samples[2 * n + i]);
    return grey;
}

/// The defining rules of the two pushes toward white.
inline unsigned char stored(double v) {
    return static_cast<unsigned char>(v < 0 ? 0 : v < 255 ? int(v) : 255);
}

inline unsigned char greySpread(int r, int g, int b, double ratio) {
    const double mean = (r + g + b) / 3.0;
    const double spread = std::max({std::abs(r - mean), std::abs(g - mean), std::abs(b - mean)});
    return stored((0.299 * r + 0.587 * g) + 0.114 * b + spread * ratio);
}

inline unsigned char redLift(int r, int g, int b, double ratio) {
    double lift = 0;
    if (r - g >= 21 && r - b >= 21 && g <= 157 && b <= 157) lift = (g < b ? r - g : r - b) * ratio;
    return stored((0.299 * r + 0.587 * g) + 0.114 * b + lift);
}

/// The defining rule of a fixed threshold.
inline unsigned char compared(int sample, int thres, int isOpp) {
    return (sample > thres) != (isOpp != 0) ? 255 : 0;
}

}  // namespace test

inline std::ostream& operator<<(std::ostream& out, kelSize s) {
    return out << s.width << "x" << s.height;
}
