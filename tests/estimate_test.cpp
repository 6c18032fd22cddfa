// The two-dimensional threshold estimator against its plain form.
#include "estimate_twin.h"

#include <gtest/gtest.h>

#include "guarded.h"
#include "kel_ImageBasicProcess.h"

using test::area;
using test::Bytes;

namespace {

int level(Bytes& src, kelSize size, Bytes* guide = nullptr) {
    return KelAutoThresholdValue3(src.data(), guide ? guide->data() : nullptr, size);
}

TEST(Estimate, EqualsThePlainFormOnSeededPages) {
    const kelSize sizes[] = {{3, 3}, {4, 4}, {5, 3}, {17, 4}, {34, 35}, {130, 7}, {200, 311}};
    for (kelSize size : sizes) {
        for (unsigned seed = 1; seed <= 12; ++seed) {
            const int low = static_cast<int>(seed % 4) * 60;
            Bytes page = seed % 3 == 0 ? test::textPage(size, seed)
                                       : test::randomBytes(area(size), seed, low, low + 75);
            Bytes guide = test::randomBytes(area(size), seed + 100, low, 255);
            ASSERT_EQ(level(page, size), test::estimatedLevel(page.data(), nullptr, size))
                << size.width << "x" << size.height << " seed " << seed;
            ASSERT_EQ(level(page, size, &guide),
                      test::estimatedLevel(page.data(), guide.data(), size))
                << size.width << "x" << size.height << " seed " << seed;
        }
    }
}

TEST(Estimate, SumsWrapOnLargePages) {
    // 12 million bright pixels: the row moment exceeds 32 bits.
    const kelSize size{4002, 3002};
    Bytes page(area(size));
    for (size_t i = 0; i < page.size(); ++i)
        page[i] = static_cast<unsigned char>(i % 5 == 0 ? 30 + i % 7 : 230 + i % 11);
    EXPECT_EQ(level(page, size), test::estimatedLevel(page.data(), nullptr, size));
}

TEST(Estimate, NothingToSplitGives190) {
    Bytes flat(100, 77);
    EXPECT_EQ(level(flat, {10, 10}), 190);
    flat[0] = flat[9] = flat[95] = 0;  // the frame alone does not make a split
    EXPECT_EQ(level(flat, {10, 10}), 190);
    for (kelSize size :
         {kelSize{2, 40}, kelSize{40, 2}, kelSize{1, 1}, kelSize{0, 0}, kelSize{-5, 9}})
        EXPECT_EQ(level(flat, size), 190);
}

TEST(Estimate, SplitsTwoLevels) {
    const kelSize size{60, 60};
    Bytes page(area(size), 200);
    for (int y = 10; y < 50; ++y)
        for (int x = 10; x < 30; ++x)
            page[static_cast<size_t>(y * 60 + x)] = 10;
    const int t = level(page, size);
    EXPECT_GE(t, 10);
    EXPECT_LT(t, 200);
}

}  // namespace
