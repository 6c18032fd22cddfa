// Processing against plain definitions: resizing by weights over the whole axis, regions by flood
// fill, Otsu's level by trying every level.
#include "im_process.h"

#include <cmath>
#include <limits>

#include "binary_patterns.h"
#include "im_support.h"

using namespace test;

namespace {

template <class Sample>
Sample* rowsOf(const Im& image, int plane = 0) {
    return static_cast<Sample*>(image->data[plane]);
}

Bytes bytesOf(const Im& image) {
    if (image == nullptr) return {};
    return Bytes(samplesOf(*image), samplesOf(*image) + imBytes(*image));
}

/// The weight of every source sample in result sample `i`, whole numbers with a common sum.
std::vector<int64_t> weightsByDefinition(int src, int dst, int i, int order) {
    std::vector<int64_t> weights(size_t(src), 0);
    if (order == 0) {
        weights[size_t(std::floor((i + 0.5L) * src / dst))] = 1;
    } else if (order == 2 && dst < src) {
        for (int64_t j = 0; j < src; ++j)
            weights[size_t(j)] =
                std::max<int64_t>(0, std::min((j + 1) * dst, (i + int64_t{1}) * src) -
                                         std::max(j * dst, int64_t{i} * src));
    } else {
        const int64_t centre = (2 * int64_t{i} + 1) * src - dst, unit = 2 * int64_t{dst};
        for (int64_t j = 0; j < src; ++j)
            weights[size_t(j)] = std::max<int64_t>(0, unit - std::abs(centre - j * unit));
        if (centre < 0) weights[0] = unit;
        if (centre > (src - 1) * unit) weights[size_t(src - 1)] = unit;
    }
    return weights;
}

__extension__ using Int128 = __int128;

template <class Sample>
void expectByDefinition(const Im& src, const Im& dst, int order) {
    using Sum = std::conditional_t<std::is_integral_v<Sample>, Int128, long double>;
    for (size_t i = 0; i < imBytes(*dst) / sizeof(Sample); ++i) {
        const int x = int(i) % dst->width, row = int(i) / dst->width, y = row % dst->height;
        const auto down = weightsByDefinition(src->height, dst->height, y, order);
        const auto across = weightsByDefinition(src->width, dst->width, x, order);
        const auto* sample = rowsOf<Sample>(src, row / dst->height);
        Sum sum = 0, unit = 0;
        for (const int64_t v : down)
            for (const int64_t u : across) {
                sum += Sum(v * u) * *sample++;
                unit += v * u;
            }
        const Sample got = rowsOf<Sample>(dst)[i];
        if constexpr (std::is_integral_v<Sample>) {
            const Int128 rest = (2 * sum + unit) - 2 * unit * got;
            ASSERT_TRUE(rest >= 0 && rest < 2 * unit)  // floor of the mean and a half
                << x << "," << row << " is " << +got << " of " << double(sum) / double(unit);
        } else {
            const double step = std::max<double>(1e-12, std::numeric_limits<Sample>::epsilon());
            ASSERT_NEAR(got, double(sum / unit), step * double(sum / unit));
        }
    }
}

template <class Sample>
Im noise(int width, int height, int space, int type) {
    Im image(imImageCreate(width, height, space, type));
    std::mt19937 random(static_cast<unsigned>(width + space));
    const bool whole = std::is_integral_v<Sample>;
    const Sample highest = whole ? std::numeric_limits<Sample>::max() : Sample(1000);
    for (size_t i = 0; i < imBytes(*image) / sizeof(Sample); ++i)
        rowsOf<Sample>(image)[i] =
            random() % 4 == 0 ? highest : static_cast<Sample>(whole ? random() : random() % 999);
    return image;
}

template <class Sample>
void checkResizing(int type) {
    constexpr int sizes[][4] = {{1, 1, 1, 1},     {1, 1, 5, 3},    {7, 1, 1, 7},   {1, 9, 1, 4},
                                {33, 17, 9, 5},   {10, 8, 5, 4},   {66, 6, 33, 3}, {11, 9, 5, 4},
                                {40, 25, 32, 20}, {13, 3, 12, 8},  {3, 3, 8, 2},   {130, 5, 129, 4},
                                {9, 7, 9, 7},     {101, 103, 2, 1}};
    for (const auto& [width, height, newWidth, newHeight] : sizes)
        for (const int space : {IM_GRAY, IM_RGB, IM_CMYK})
            for (const int order : {0, 1, 2}) {
                SCOPED_TRACE(testing::Message()
                             << width << "x" << height << " to " << newWidth << " order " << order
                             << " " << imDataTypeName(type));
                const Im src = noise<Sample>(width, height, space, type);
                const Im dst(imImageCreate(newWidth, newHeight, space, type));
                ASSERT_EQ(imProcessResize(src.get(), dst.get(), order), IM_ERR_NONE);
                ASSERT_NO_FATAL_FAILURE(expectByDefinition<Sample>(src, dst, order));
            }
}

TEST(ImResize, EveryTypeOrderAndSize) {
    checkResizing<uint8_t>(IM_BYTE);
    checkResizing<int16_t>(IM_SHORT);
    checkResizing<uint16_t>(IM_USHORT);
    checkResizing<int32_t>(IM_INT);
    checkResizing<float>(IM_FLOAT);
    checkResizing<double>(IM_DOUBLE);
}

/// The mean of as many samples, all `high` but one more than half of them, or one less, one lower.
template <class Sample>
void expectMean(Sample high, int type, int width, int height) {
    const Im src(imImageCreate(width, height, IM_GRAY, type)),
        dst(imImageCreate(1, 1, IM_GRAY, type));
    const int64_t count = int64_t{width} * height;
    for (const int64_t lower : {count / 2, count / 2 + 1}) {
        std::fill_n(rowsOf<Sample>(src), count, high);
        std::fill_n(rowsOf<Sample>(src), lower, static_cast<Sample>(high - 1));
        EXPECT_EQ(imProcessResize(src.get(), dst.get(), 2), IM_ERR_NONE);
        EXPECT_EQ(*rowsOf<Sample>(dst), lower > count / 2 ? high - 1 : high) << width;
    }
}

TEST(ImResize, MeansOfManyAndVeryMany) {
    // A product with the reciprocal is below the whole number for some of these divisors.
    for (int width = 2; width < 300; width += 2)
        expectMean<uint8_t>(1, IM_BYTE, width, 1);
    // Sums beyond 32 bits, in a column and in all, and beyond what doubles divide exactly.
    expectMean<uint8_t>(255, IM_BYTE, 1, 20000003);
    expectMean<uint8_t>(255, IM_BYTE, 4099, 4111);
    expectMean<uint16_t>(65535, IM_USHORT, 3, 70001);
    expectMean<int32_t>(std::numeric_limits<int32_t>::max(), IM_INT, 3001, 3001);
    expectMean<int32_t>(std::numeric_limits<int32_t>::min() + 1, IM_INT, 3001, 3001);
}

TEST(ImResize, IndexesTakeTheNearest) {
    for (const int space : {IM_MAP, IM_BINARY})
        for (const int order : {0, 1, 2}) {
            const Im src = randomIm(19, 11, space, IM_BYTE, 3, 7);
            const Im dst(imImageCreate(7, 25, space, IM_BYTE)),
                copy(imImageCreate(19, 11, space, 0));
            ASSERT_EQ(imProcessResize(src.get(), dst.get(), order), IM_ERR_NONE);
            ASSERT_NO_FATAL_FAILURE(expectByDefinition<uint8_t>(src, dst, 0));
            ASSERT_EQ(imProcessResize(src.get(), copy.get(), order), IM_ERR_NONE);
            EXPECT_TRUE(same(copy.get(), src.get()));  // palettes come along
        }
}

TEST(ImResize, NeighboursWithoutWeightNeedNotBeNumbers) {
    const Im src(imImageCreate(3, 1, IM_GRAY, IM_FLOAT)),
        dst(imImageCreate(3, 2, IM_GRAY, IM_FLOAT));
    rowsOf<float>(src)[0] = 1;
    rowsOf<float>(src)[1] = std::numeric_limits<float>::quiet_NaN();
    rowsOf<float>(src)[2] = 2;
    ASSERT_EQ(imProcessResize(src.get(), dst.get(), 1), IM_ERR_NONE);
    EXPECT_EQ(rowsOf<float>(dst)[3], 1);
    EXPECT_EQ(rowsOf<float>(dst)[5], 2);
}

TEST(ImResize, Refuses) {
    const Im gray = randomIm(5, 4, IM_GRAY), wide = randomIm(3, 3, IM_GRAY, IM_USHORT),
             color = randomIm(3, 3, IM_RGB), complex = randomIm(3, 3, IM_GRAY, IM_CFLOAT),
             other = randomIm(3, 3, IM_GRAY, IM_CFLOAT, 2), fits = randomIm(3, 3, IM_GRAY), none;
    for (const auto& [src, dst, order] : {std::tuple(&gray, &wide, 0),
                                          {&gray, &color, 0},
                                          {&other, &complex, 0},
                                          {&gray, &fits, -1},
                                          {&gray, &fits, 3},
                                          {&none, &fits, 1},
                                          {&gray, &none, 1}}) {
        const Bytes before = bytesOf(*dst);
        EXPECT_EQ(imProcessResize(src->get(), dst->get(), order), IM_ERR_DATA);
        EXPECT_EQ(bytesOf(*dst), before);
    }
    EXPECT_EQ(imProcessResize(gray.get(), gray.get(), 2), IM_ERR_NONE);
}

int otsuByDefinition(const Bytes& samples) {
    long double best = 0;
    int level = *std::min_element(samples.begin(), samples.end());
    for (int t = 0; t < 255; ++t) {
        long double n[2] = {}, sum[2] = {};
        for (const int s : samples) {
            n[s > t] += 1;
            sum[s > t] += s;
        }
        if (n[0] == 0 || n[1] == 0) continue;
        const long double apart = sum[0] * n[1] - sum[1] * n[0];
        const long double variance = apart * apart / (n[0] * n[1]);
        if (variance > best) {
            best = variance;
            level = t;
        }
    }
    return level;
}

TEST(ImOtsu, IsTheLowestBestLevel) {
    std::vector<Bytes> images = {{7},          Bytes(9, 255),       {0, 255}, {255, 254, 254},
                                 {10, 30, 20}, {10, 10, 20, 30, 30}};
    for (const int range : {2, 20, 256})
        for (int size = 90; size < 110; ++size)
            images.push_back(bytesOf(randomIm(size, 1, IM_MAP, IM_BYTE, unsigned(size), range)));
    for (const Bytes& samples : images) {
        const Im src(imImageCreate(int(samples.size()), 1, IM_GRAY, IM_BYTE));
        const Im dst(imImageCreate(int(samples.size()), 1, IM_BINARY, IM_BYTE));
        std::copy(samples.begin(), samples.end(), samplesOf(*src));
        const int level = imProcessOtsuThreshold(src.get(), dst.get());
        ASSERT_EQ(level, otsuByDefinition(samples));
        for (size_t i = 0; i < samples.size(); ++i)
            ASSERT_EQ(samplesOf(*dst)[i], samples[i] > level ? 1 : 0);
    }
    const Im gray = randomIm(3, 2, IM_GRAY), binary = randomIm(2, 3, IM_BINARY), none;
    const Bytes before = bytesOf(binary);
    for (const Im* src : {&gray, &binary, &none})
        EXPECT_EQ(imProcessOtsuThreshold(src->get(), binary.get()), 0);
    EXPECT_EQ(imProcessOtsuThreshold(gray.get(), gray.get()), 0);
    EXPECT_EQ(bytesOf(binary), before);
}

struct FloodRegion {
    std::vector<size_t> pixels;
    bool atBorder;
};

/// In raster order of their first pixels.
std::vector<FloodRegion> regionsByDefinition(const Im& image, int connect) {
    const int w = image->width, h = image->height;
    Bytes left = bytesOf(image);
    std::vector<FloodRegion> regions;
    for (size_t start = 0; start < left.size(); ++start) {
        if (left[start] == 0) continue;
        FloodRegion region{{start}, false};
        left[start] = 0;
        for (size_t i = 0; i < region.pixels.size(); ++i) {
            const int x = int(region.pixels[i]) % w, y = int(region.pixels[i]) / w;
            region.atBorder |= x == 0 || y == 0 || x == w - 1 || y == h - 1;
            for (int v = std::max(y - 1, 0); v <= std::min(y + 1, h - 1); ++v)
                for (int u = std::max(x - 1, 0); u <= std::min(x + 1, w - 1); ++u) {
                    const auto next = size_t(v * w + u);
                    if (left[next] == 0 || (connect == 4 && u != x && v != y)) continue;
                    left[next] = 0;
                    region.pixels.push_back(next);
                }
        }
        regions.push_back(region);
    }
    return regions;
}

/// Patterns that are hard on labellers, at widths round the words that they work in.
std::vector<Im> patterns() {
    std::vector<Im> images;
    std::mt19937 random(9);
    for (const auto& [width, height] :
         {std::pair{1, 1}, {1, 9}, {9, 1}, {63, 4}, {64, 5}, {65, 31}, {200, 23}})
        for (const Bytes& plane : test::binaryPatterns(width, height)) {
            images.emplace_back(
                imImageCreate(width, height, images.size() % 3 ? IM_GRAY : IM_BINARY, 0));
            for (size_t i = 0; i < plane.size(); ++i) {
                const int value = images.size() % 3 == 1 ? 1 : 1 << random() % 8;
                samplesOf(*images.back())[i] = static_cast<unsigned char>(plane[i] & value);
            }
        }
    return images;
}

template <class Number>
void checkNumbers(const Im& src, int type, int connect, int touch) {
    const Im dst(imImageCreate(src->width, src->height, IM_GRAY, type));
    std::fill_n(rowsOf<Number>(dst), imBytes(*src), Number{77});
    std::vector<Number> expected(imBytes(*src));
    int64_t highest = 0;
    for (const auto& region : regionsByDefinition(src, connect))
        if ((touch != 0 || !region.atBorder) && highest < std::numeric_limits<Number>::max()) {
            ++highest;
            for (const size_t i : region.pixels)
                expected[i] = static_cast<Number>(highest);
        }
    ASSERT_EQ(imAnalyzeFindRegions(src.get(), dst.get(), connect, touch), highest);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), rowsOf<Number>(dst)));
}

TEST(ImRegions, AreThoseOfAFloodFill) {
    for (const Im& src : patterns())
        for (const int connect : {4, 8})
            for (const int touch : {0, 1}) {
                ASSERT_NO_FATAL_FAILURE(checkNumbers<uint16_t>(src, IM_USHORT, connect, touch));
                ASSERT_NO_FATAL_FAILURE(checkNumbers<int32_t>(src, IM_INT, connect, touch));
            }
}

TEST(ImRegions, MoreThanSixteenBitsHold) {
    const Im src(imImageCreate(601, 300, IM_BINARY, IM_BYTE));
    for (size_t i = 0; i < imBytes(*src); i += 2)
        samplesOf(*src)[i] = 1;
    checkNumbers<uint16_t>(src, IM_USHORT, 4, 1);
    checkNumbers<uint16_t>(src, IM_USHORT, 4, 0);
    checkNumbers<int32_t>(src, IM_INT, 4, 1);
}

TEST(ImRegions, AreRemovedByTheirSize) {
    for (const Im& src : patterns())
        for (const int connect : {4, 8}) {
            const auto regions = regionsByDefinition(src, connect);
            const int some = regions.empty() ? 1 : int(regions[regions.size() / 2].pixels.size());
            for (const auto& [start, end] :
                 {std::pair{some, some}, {some + 1, 0}, {0, some - 1}, {-5, -1}, {3, 2}})
                for (const int inside : {0, 1}) {
                    Bytes expected = bytesOf(src);
                    for (const auto& region : regions) {
                        const int size = int(region.pixels.size());
                        const bool within = size >= start && (end <= 0 || size <= end);
                        for (const size_t i : region.pixels)
                            if (within == (inside != 0)) expected[i] = 0;
                    }
                    // Into an image of other samples, and then once more in place.
                    const Im dst = randomIm(src->width, src->height, src->color_space);
                    for (const Im* from : {&src, &dst}) {
                        ASSERT_EQ(imProcessRemoveByArea(from->get(), dst.get(), connect, start, end,
                                                        inside),
                                  IM_ERR_NONE);
                        ASSERT_EQ(bytesOf(dst), expected);
                        std::memcpy(dst->data[0], src->data[0], imBytes(*src));
                    }
                }
        }
}

TEST(ImRegions, Refuse) {
    const Im gray = randomIm(4, 3, IM_GRAY), map = randomIm(4, 3, IM_MAP),
             wide = randomIm(4, 3, IM_GRAY, IM_USHORT), color = randomIm(4, 3, IM_RGB),
             small = randomIm(3, 3, IM_GRAY), wideSmall = randomIm(3, 3, IM_GRAY, IM_USHORT),
             real = randomIm(4, 3, IM_GRAY, IM_FLOAT), none;
    const auto refused = [](const Im& src, const Im& numbers, const Im& rest, int connect) {
        const Bytes before[] = {bytesOf(numbers), bytesOf(rest)};
        return imAnalyzeFindRegions(src.get(), numbers.get(), connect, 1) == 0 &&
               imProcessRemoveByArea(src.get(), rest.get(), connect, 0, 0, 1) == IM_ERR_DATA &&
               bytesOf(numbers) == before[0] && bytesOf(rest) == before[1];
    };
    for (const Im* src : {&map, &wide, &color, &small, &none})
        EXPECT_TRUE(refused(*src, wide, gray, 8));
    for (const int connect : {0, 6, -4})
        EXPECT_TRUE(refused(gray, wide, gray, connect));
    for (const auto& [numbers, rest] :
         {std::pair(&wideSmall, &small), {&gray, &wide}, {&real, &map}, {&color, &color}})
        EXPECT_TRUE(refused(gray, *numbers, *rest, 4));
    EXPECT_EQ(imAnalyzeFindRegions(gray.get(), nullptr, 4, 1), 0);
    EXPECT_EQ(imProcessRemoveByArea(gray.get(), nullptr, 4, 0, 0, 1), IM_ERR_DATA);
}

}  // namespace
