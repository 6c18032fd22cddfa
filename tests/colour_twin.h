// Plain rules of the colour family, one pixel at a time.
#pragma once

#include <array>
#include <cmath>
#include <functional>

#include "support.h"

namespace test {

struct Rgb {
    int r, g, b;
    int most() const { return std::max({r, g, b}); }
    int chroma() const { return most() - std::min({r, g, b}); }
    /// `sixtieths` is the difference of two channels in 60ths of the chroma, before any sum.
    double hue(const std::function<double(int)>& sixtieths) const {
        if (most() == r) return sixtieths(g - b);
        return most() == g ? sixtieths(b - r) + 120 : sixtieths(r - g) + 240;
    }
};

/// The hue affinity that ends 90 degrees away.
inline int affinity(Rgb p, double ratio, int hue) {
    if (p.chroma() == 0) return 0;
    const double delta = p.chroma(), max = p.most();
    const double h = p.hue([&](int d) { return d * 60 * (1 / delta); });
    const int dh = static_cast<int>(h - hue + 720);
    const int closeness = std::abs((dh % 360) - 180);
    if (closeness < 90) return 0;
    const double w = (ratio * max / 255 + delta * (1 - ratio) / max) * 1.4167;
    return std::min(static_cast<int>(w * closeness + 0.5), 255);
}

inline double fullHue(Rgb p) {
    const double h = p.hue([&](int d) { return d * 60.0 / p.chroma(); });
    return h < 0 ? h + 360 : h;
}

/// The hue affinity without an end, times a triangle over saturations.
inline int triangleAffinity(Rgb p, int hue, double satMin, double satMax) {
    if (p.chroma() == 0) return 0;
    const double h = fullHue(p), s = static_cast<double>(p.chroma()) / p.most();
    int up = static_cast<int>(h - hue), down = static_cast<int>(hue - h);
    up += up < 0 ? 360 : 0;
    down += down < 0 ? 360 : 0;
    if (s < satMin || s > satMax) return 0;
    const double mid = (satMin + satMax) * 0.5;
    const double value = (180 - std::min(up, down)) * (1 - std::abs(s - mid) / mid);
    return std::clamp(static_cast<int>(value), 0, 255);
}

/// The planes of pixels that are given one by one.
inline Bytes planesOf(const std::vector<std::array<int, 3>>& pixels) {
    Bytes samples;
    for (size_t c = 0; c < 3; ++c)
        for (const auto& pixel : pixels)
            samples.push_back(static_cast<unsigned char>(pixel[c]));
    return samples;
}

/// Applies a rule to each pixel of a colour image.
template <class Rule>
Bytes eachPixel(const Bytes& image, Rule rule) {
    const size_t n = image.size() / 3;
    Bytes out(n);
    for (size_t i = 0; i < n; ++i)
        out[i] = static_cast<unsigned char>(rule(Rgb{image[i], image[n + i], image[2 * n + i]}));
    return out;
}

/// A page of paper, dark print and strokes in red, blue and green, over one another, with noise.
inline Image stampedPage(kelSize size, unsigned seed = 7) {
    Image image(size, 3, seed);
    const int inks[4][3] = {{190, 40, 45}, {40, 60, 180}, {40, 150, 60}, {45, 45, 48}};
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) {
            const int* ink = (x / 4 + y / 6) % 5 == 0 ? inks[3] : nullptr;
            for (int k = 0; k < 3; ++k)
                if ((x + 2 * y + 9 * k) % 31 < 5) ink = inks[k];
            for (int c = 0; c < 3; ++c)
                image.at(c, y, x) = static_cast<unsigned char>(
                    (ink ? ink[c] : 225 + 20 * y / size.height) + image.at(c, y, x) % 9);
        }
    return image;
}

}  // namespace test
