// What the tests of enhancement share: plain samples, contents to work on, and the comparison of an
// operation with its plain rule.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "colour_twin.h"
#include "kernels/row_kernels.h"

namespace test {

using Sample = unsigned char;

inline int clamped(double v) {
    return v < 0 ? 0 : v > 255 ? 255 : v >= 0 ? static_cast<int>(v) : 0;
}

inline Sample sampleOf(double v) {
    return static_cast<Sample>(clamped(v));
}

/// One plane or more with coordinates, outside which there is `outside`.
struct Plain {
    Plain(const Bytes& samples, kelSize size) : all(samples), s(size) {}
    int at(int c, int y, int x, int outside = 0) const {
        if (x < 0 || y < 0 || x >= s.width || y >= s.height) return outside;
        return all[size_t(c) * area(s) + size_t(y) * size_t(s.width) + size_t(x)];
    }
    bool inside(int y, int x) const {
        return y > 0 && x > 0 && y < s.height - 1 && x < s.width - 1;
    }
    const Bytes& all;
    kelSize s;
};

/// Calls rule(plane, y, x) for each sample of `planes` planes.
template <class Rule>
Bytes eachSample(kelSize s, int planes, Rule rule) {
    Bytes out;
    for (int c = 0; c < planes; ++c)
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                out.push_back(sampleOf(rule(c, y, x)));
    return out;
}

template <class Rule>
Bytes mapped(Bytes samples, Rule rule) {
    for (auto& v : samples)
        v = sampleOf(rule(v));
    return samples;
}
enum class Content { noise, binary, flagged, stamped };

/// Samples to work on: noise; thick blobs of 255; blobs mixed with other values; or a stamped page.
inline Bytes content(Content kind, kelSize s, int planes) {
    if (kind == Content::stamped) return stampedPage(s).samples;
    Bytes all = randomBytes(area(s) * size_t(planes), unsigned(s.width * 131 + s.height));
    if (kind == Content::noise) return all;
    for (size_t i = 0; i < all.size(); ++i) {
        const size_t x = i % size_t(s.width), y = i / size_t(s.width);
        const bool ink = (x % 23 < 13 && y % 17 < 11) || x % 37 == y % 29;
        const Sample others[] = {0, 125, 200, 255, 219, 220, 254, 255};
        const bool odd = kind == Content::flagged && all[i] > 150;
        all[i] = odd ? others[all[i] % 8] : (ink != (all[i] < 4)) ? 255 : 0;
    }
    return all;
}

/// What an operation takes: planes of source and target, whether they may be one, the samples.
struct Takes {
    int in, out;
    bool inPlace;
    Content kind = Content::noise;
    kelSize more{0, 0};  ///< beside the awkward sizes
};

constexpr Takes kPlane{1, 1, true}, kColour{3, 3, true},
    kStamped{3, 3, true, Content::stamped, {97, 61}};

/// Compares ours(src, dst, size) with plain(src samples, size, dst samples before) on one source.
template <class Ours, class Plain>
void compareOn(const std::string& name, kelSize size, Bytes src, Takes takes, Ours ours,
               Plain plain) {
    const Bytes before = src, target = randomBytes(area(size) * size_t(takes.out), 9);
    const Bytes expected = area(size) > 0 ? plain(src, size, target) : target;
    Guarded dst(target), both(src);
    ours(src.data(), dst.data(), size);
    ASSERT_EQ(dst.bytes(), expected) << name << " " << ::testing::PrintToString(size);
    ASSERT_EQ(src, before) << name;
    if (!takes.inPlace) return;
    ours(both.data(), both.data(), size);
    const Bytes got = both.bytes();
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), got.begin())) << name << " in place";
}

/// The same on awkward sizes, by both levels.
template <class Ours, class Plain>
void compare(const char* name, Takes takes, Ours ours, Plain plain) {
    using kel::detail::CpuLevel;
    auto sizes = awkwardSizes();
    sizes.push_back(takes.more);
    for (const CpuLevel level : {CpuLevel::plain, CpuLevel::best})
        for (kelSize size : sizes) {
            kel::detail::limitCpuLevel(level);
            compareOn(name, size, content(takes.kind, size, takes.in), takes, ours, plain);
        }
}

}  // namespace test
