// Scanner edges and binding holes against their plain forms: byte planes, one pass over the image
// for each step, regions by the toolkit's own calls.
#include <gtest/gtest.h>

#include <climits>
#include <set>

#include "binary_patterns.h"
#include "black_edges.h"
#include "enhance_support.h"
#include "im_process.h"
#include "kel_ConnectArea.h"
#include "kel_ImageBasicProcess.h"
#include "kel_im.h"

using namespace test;

namespace {

using Labels = std::vector<unsigned short>;

int labelledByToolkit(Bytes plane, kelSize size, Labels& labels) {
    imImage* from = imImageCreate(size.width, size.height, IM_BINARY, IM_BYTE);
    imImage* to = imImageCreate(size.width, size.height, IM_GRAY, IM_USHORT);
    KelPutIMLibImage(from, plane.data());
    const int count = imAnalyzeFindRegions(from, to, 8, 1);
    labels.assign(plane.size(), 0);
    KelGetIMLibImage(to, labels.data());
    imImageDestroy(from);
    imImageDestroy(to);
    return count;
}

/// Paints the regions of `plane` that touch the border into all planes of the image.
Bytes borderPainted(Bytes image, const Bytes& plane, kelSize size, int value) {
    Labels labels;
    labelledByToolkit(plane, size, labels);
    std::set<int> border;
    for (int i = 0; i < int(labels.size()); ++i) {
        const int x = i % size.width, y = i / size.width;
        if (x == 0 || y == 0 || x == size.width - 1 || y == size.height - 1)
            border.insert(labels[size_t(i)]);
    }
    border.erase(0);
    for (size_t i = 0; i < image.size(); ++i)
        if (border.count(labels[i % plane.size()]) > 0)
            image[i] = static_cast<unsigned char>(value);
    return image;
}

/// What lies outside the plane is no mark, and takes none.
void grow(Bytes& plane, int w, int h) {
    const auto isMark = [&](int64_t i) {
        return i >= 0 && i < int64_t(plane.size()) && plane[size_t(i)] == 100;
    };
    const auto grown = [&](int64_t from, int64_t to) {
        if (!isMark(from) || isMark(to)) return false;
        if (to >= 0 && to < int64_t(plane.size())) plane[size_t(to)] = 100;
        return true;
    };
    for (int row = 0; row < w * h; row += w) {
        for (int x = 0; w > 2 && x <= std::min(w, 51) - 3; ++x)
            if (grown(row + x, row + x + 1)) break;
        for (int x = w - 2; x >= std::max(w, 50) - 49; --x)
            if (grown(row + x, row + x - 1)) break;
    }
    for (int x = 0; x < w; ++x) {
        for (int y = 0; y < std::min(h, 50) && isMark(y * w + x); ++y)
            if (grown(y * w + x, (y + 1) * w + x)) break;
        for (int y = h - 1; y >= std::max(h, 50) - 49 && isMark(y * w + x); --y)
            if (grown(y * w + x, y * w + x - h)) break;
    }
}

Bytes withoutEdges(Bytes src, kelSize size, int channels, bool opened, bool keepCentre, int marginX,
                   int marginY) {
    const size_t n = area(size);
    Bytes marks(n), dst = src;
    KelColorConvert(src.data(), size, channels, marks.data(), size, 1);
    KelBinarizeImage(marks.data(), 1, marks.data(), size, 1, 1, 50, 0, 0);
    if (opened) KelMorphology(marks.data(), marks.data(), &size, 2, 2, 2, 1);
    marks = borderPainted(marks, marks, size, 100);
    grow(marks, size.width, size.height);
    const int xEnd = std::max(size.width - marginX, 0), yEnd = std::max(size.height - marginY, 0);
    for (size_t c = 0; c < size_t(channels); ++c) {
        uint64_t sum = 0;
        for (size_t i = 0; i < n; ++i)
            sum += src[c * n + i];
        for (size_t i = 0; i < n; ++i) {
            const int x = int(i) % size.width, y = int(i) / size.width;
            if (marks[i] != 100 ||
                (keepCentre && x >= marginX && x <= xEnd && y >= marginY && y <= yEnd))
                continue;
            dst[c * n + i] = static_cast<unsigned char>(std::min<uint64_t>(sum / n, 225) + 30);
        }
    }
    return dst;
}

Bytes withoutFrame(Bytes image, kelSize size, int channels, int fill, int marginX, int marginY) {
    Bytes dark(area(size));
    KelBinarizePartArea(image.data(), dark.data(), size.width, size.height, channels, marginX,
                        marginY, 50);
    return borderPainted(image, dark, size, fill);
}

/// A page with ragged dark bands along its edges, and dark spots.
Bytes darkEdged(kelSize size, int channels, unsigned seed) {
    Bytes image = page(size, channels).samples;
    const Bytes depth = randomBytes(400, seed, 0, 1 + seed % 70);
    const Bytes noise = randomBytes(area(size), seed + 1);
    for (size_t i = 0; i < image.size(); ++i) {
        const size_t at = i % noise.size();
        const int x = int(at) % size.width, y = int(at) / size.width;
        const bool isDark = x < depth[size_t(y / 3)] || y < depth[size_t(100 + x / 5)] ||
                            size.width - 1 - x < depth[size_t(200 + y / 4)] ||
                            size.height - 1 - y < depth[size_t(300 + x / 3)];
        if (isDark || noise[at] < 9)
            image[i] = noise[at] % 53;
        else if (seed % 3 == 0 && image[i] > 150)
            image[i] = 255;
    }
    return image;
}

TEST(Edges, RemovalEqualsItsPlainForm) {
    const kelSize sizes[] = {{1, 1},    {1, 7},    {7, 1},    {2, 2},    {3, 60},
                             {49, 50},  {50, 49},  {52, 51},  {64, 64},  {64, 130},
                             {130, 64}, {131, 20}, {20, 131}, {140, 151}};
    unsigned seed = 0;
    for (const kelSize size : sizes)
        for (const int channels : {1, 3})
            for (const bool keep : {false, true})
                for (const auto& [marginX, marginY] :
                     {std::pair{0, 0}, {5, 9}, {70, 3}, {-4, 200}, {1000, 1000}}) {
                    const Bytes src = darkEdged(size, channels, ++seed);
                    const int mx = marginX, my = marginY;
                    for (const bool opened : {true, false})
                        compareOn(
                            "removal " + std::to_string(seed), size, src,
                            {channels, channels, true},
                            [&](auto s, auto d, auto z) {
                                const auto call = opened ? KelSubBlackEdge : KelSubBlackEdge1;
                                EXPECT_EQ(call(s, d, z, channels, keep, mx, my), 0);
                            },
                            [&](const Bytes& s, auto z, auto) {
                                return withoutEdges(s, z, channels, opened, keep, mx, my);
                            });
                    Guarded framed(src);
                    KelSubBlackEdge2(framed.data(), size.width, size.height, channels, 99, mx, my);
                    ASSERT_EQ(framed.bytes(), withoutFrame(src, size, channels, 99, mx, my));
                }
    for (const kelSize none : {kelSize{0, 5}, {5, 0}, {-3, 4}, {-3, -4}}) {
        EXPECT_EQ(KelSubBlackEdge(nullptr, nullptr, none, 3, false, 1, 1), 0);
        EXPECT_EQ(KelSubBlackEdge2(nullptr, none.width, none.height, 3, 1, 1, 1), 0);
        EXPECT_EQ(Kel_RemoveEdgeNoise(nullptr, none.width, none.height, 1), 0);
    }
    // The sum of the samples needs more than 32 bits.
    const kelSize large{4200, 4100};
    Bytes bright(area(large), 255);
    std::fill_n(bright.begin(), 10 * 4200, static_cast<unsigned char>(0));
    KelSubBlackEdge(bright.data(), bright.data(), large, 1, false, 0, 0);
    EXPECT_EQ(bright, Bytes(area(large), 255));
    // A page of planes without a luminance is copied as it is.
    Bytes two = randomBytes(2 * 30, 1, 0, 40);
    Guarded copy(two.size());
    EXPECT_EQ(KelSubBlackEdge(two.data(), copy.data(), {6, 5}, 2, false, 1, 1), 0);
    EXPECT_EQ(copy.bytes(), two);
}

TEST(Edges, LabelsAndNoiseAreTheToolkits) {
    const auto check = [](const Bytes& plane, kelSize size) {
        Labels expected;
        const int count = labelledByToolkit(plane, size, expected);
        Guarded out(2 * plane.size()), cleaned(plane);
        Bytes in = plane;
        auto* const labels = reinterpret_cast<unsigned short*>(out.data());
        ASSERT_EQ(kel_GetLabel(in.data(), size.width, size.height, labels), count);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), labels));
        out.bytes();
        for (const int value : {100, 0, 0x1234}) {
            EXPECT_EQ(Kel_RemoveEdgeNoise(cleaned.data(), size.width, size.height, value), 0);
            ASSERT_EQ(cleaned.bytes(), borderPainted(plane, plane, size, value));
            std::copy(plane.begin(), plane.end(), cleaned.data());
        }
    };
    for (const kelSize size : {kelSize{1, 1}, {1, 9}, {9, 1}, {65, 31}, {200, 23}})
        for (const Bytes& plane : binaryPatterns(size.width, size.height))
            ASSERT_NO_FATAL_FAILURE(check(plane, size));
    // More regions than 16 bits number: the last ones, at the top, are not seen.
    const kelSize wide{600, 500};
    Bytes dots(area(wide));
    for (size_t i = 0; i < dots.size(); ++i)
        dots[i] = i % 2 == 0 && i / 600 % 2 == 0 ? 7 : 0;
    check(dots, wide);
    EXPECT_EQ(kel_GetLabel(nullptr, 0, -5, nullptr), 0);
}

TEST(Edges, WhiteGrowsAtBothEndsOfRows) {
    const Bytes cases[][3] = {// a row, what becomes of it in row 0, and in later ones
                              {{0, 9, 9, 9, 9, 9}, {0, 9, 9, 9, 9, 9}, {0, 9, 9, 9, 9, 9}},
                              {{9, 0, 0, 0, 0, 9}, {9, 255, 0, 0, 255, 9}, {9, 255, 0, 0, 255, 9}},
                              {{9, 9, 9, 0, 9, 9}, {9, 9, 9, 0, 9, 9}, {9, 9, 9, 0, 9, 9}},
                              {{9, 9, 0, 0, 0, 0}, {9, 9, 255, 0, 0, 0}, {9, 9, 255, 0, 0, 255}},
                              {{0}, {0}, {0}},
                              {{9, 0}, {9, 0}, {9, 0}},
                              {{0, 9, 0}, {0, 9, 0}, {0, 9, 255}}};
    for (const auto& [row, first, later] : cases) {
        Bytes rows = row, expected = first;
        rows.insert(rows.end(), row.begin(), row.end());
        expected.insert(expected.end(), later.begin(), later.end());
        Guarded image(rows);
        EXPECT_EQ(KelEnlargeWhiteArea(image.data(), int(row.size()), 2), 0);
        EXPECT_EQ(image.bytes(), expected);
    }
    EXPECT_EQ(KelEnlargeWhiteArea(nullptr, INT_MIN, 1), 0);
}

struct Holes {
    int mode, strip, radius, margin, h;
};

Bytes withoutHoles(Bytes image, kelSize size, int channels, const Holes& a, const int paint[3]) {
    const int w = size.width, h = size.height, s = a.strip;
    if ((a.margin + a.radius) * 2 + 10 > w || h < 300 || s * 2 + 100 > w) return image;
    const Bytes grey =
        a.mode == 3 ? Bytes(image.begin(), image.begin() + w * h) : greyOf(image, channels);
    const auto eachStripPixel = [&](auto visit) {  // its place in the strips and on the page
        for (int y = 0; y < h; ++y)
            for (int part : {0, 1})
                for (int i = 0; i < s; ++i)
                    visit(size_t(y * 2 * s + part * (3 * s - 1) + i),
                          size_t(y * w + part * (w - 1 - s) + i));
    };
    Bytes strips(size_t(2 * s * h + 3 * s), a.mode == 3 ? 0 : 255);
    eachStripPixel([&](size_t to, size_t from) { strips[to] = grey[from]; });
    strips.resize(size_t(2 * s * h));
    for (auto& sample : strips)
        if (a.mode != 3) sample = compared(sample, 90, 1);
    Labels labels;
    const int count = labelledByToolkit(strips, {2 * s, h}, labels);
    if (count < 5) return image;
    std::vector<kelConnectArea> records(size_t(count) + 1);
    for (int i = 0; i < 2 * s * h; ++i)
        KelSetConnectArea(i % (2 * s), i / (2 * s), &records[labels[size_t(i)]]);
    const double circle = int(3.1415926 * a.radius * a.radius);
    for (auto& record : records)
        if (record.area > int(0.5 * circle) && record.area < int(circle * 1.2)) KelCAShape(&record);
    records[0].shape = 0;
    eachStripPixel([&](size_t from, size_t to) {
        for (int c = 0; from < labels.size() && c < channels; ++c)
            if (records[labels[from]].shape == 1)
                image[size_t(c * w * h) + to] = static_cast<unsigned char>(paint[c]);
    });
    return image;
}

/// A page with discs and squares of several sizes in both strips, some of which touch their ends.
Bytes punched(kelSize size, int channels, int strip) {
    Image image(size, channels, 3);
    for (auto& sample : image.samples)
        sample = static_cast<unsigned char>(150 + sample % 100);
    for (int k = 0; k < 12; ++k) {
        const int r = 6 + k % 4, y0 = 14 + k * 28;
        const int x0 = (k / 2 * 7) % strip + (k % 2) * (size.width - 1 - strip);
        for (int i = 0; i < (2 * r + 1) * (2 * r + 1); ++i) {
            const int dx = i % (2 * r + 1) - r, dy = i / (2 * r + 1) - r;
            const int x = x0 + dx, y = y0 + dy;
            if (y >= size.height || x < 0 || x >= size.width) continue;
            for (int c = 0; c < channels && (dx * dx + dy * dy <= r * r || k == 7); ++c)
                image.at(c, y, x) = static_cast<unsigned char>(std::min(10 * k, 90));
        }
    }
    return image.samples;
}

TEST(Holes, EqualTheirPlainForm) {
    const Holes cases[] = {{0, 40, 7, 10, 330}, {0, 40, 8, 10, 330}, {3, 33, 7, 10, 330},
                           {0, 40, 8, 10, 299}, {0, 40, 8, 83, 330}, {0, 51, 7, 10, 330},
                           {0, 50, 6, 10, 311}, {0, 1, 7, 10, 330},  {3, 1, 0, 10, 330},
                           {3, 40, 6, 9, 330},  {3, 40, 9, 9, 331},  {0, 40, 99999, -99999, 330}};
    // Blocks of 12 columns with as many pixels as both limits of radius 6 and 9, and one more or
    // less.
    const int counts[] = {134, 135, 127, 128, 133};
    const int paint[] = {300, -2, 77};
    int painted = 0;
    for (const int channels : {1, 3})
        for (const Holes& a : cases) {
            const kelSize size{200, a.h};
            Bytes src = punched(size, channels, a.strip);
            for (size_t i = 0; a.mode == 3 && i < area(size); ++i)
                src[i] = src[i] < 90 ? static_cast<unsigned char>(1 + i % 200) : 0;
            if (a.margin == 9) src.assign(src.size(), 0);
            for (int i = 0; a.margin == 9 && i < 5 * 140; ++i)
                src[size_t((20 + i / 140 * 40 + i % 140 / 12) * 200 + 5 + i % 140 % 12)] =
                    i % 140 < counts[i / 140] ? 255 : 0;
            compareOn(
                "holes " + std::to_string(a.radius), size, src, {channels, channels, false},
                [&](auto s, auto d, auto z) {
                    std::copy_n(s, src.size(), d);
                    EXPECT_EQ(KelDetectAndFixBindingHole(d, z.width, z.height, channels, a.mode,
                                                         a.strip, a.radius, a.margin, 1, 2,
                                                         paint[0], paint[1], paint[2]),
                              0);
                },
                [&](const Bytes& s, auto z, auto) {
                    const Bytes expected = withoutHoles(s, z, channels, a, paint);
                    painted += expected != s;
                    return expected;
                });
        }
    EXPECT_EQ(painted, 10);
    for (const int strip : {0, -1, -2000000000})
        EXPECT_EQ(KelDetectAndFixBindingHole(nullptr, 500, 400, 1, 0, strip, 8, 1, 0, 0, 1, 2, 3),
                  0);
}

}  // namespace
