// The two-dimensional threshold estimator against its plain form.
#include "estimate_twin.h"

#include <gtest/gtest.h>

#include "kel_ImageBasicProcess.h"

using test::area;
using test::Bytes;

namespace {

int level(Bytes& src, Bytes* guide, kelSize size) {
    return KelAutoThresholdValue3(src.data(), guide ? guide->data() : nullptr, size);
}

TEST(Estimate, EqualsThePlainFormOnSeededPages) {
    for (kelSize size : {kelSize{3, 3}, kelSize{5, 3}, kelSize{17, 4}, kelSize{34, 35},
                         kelSize{130, 7}, kelSize{200, 311}}) {
        for (unsigned seed = 1; seed <= 8; ++seed) {
            Bytes page = seed % 3 == 0 ? test::page(size, 1).samples
                                       : test::randomBytes(area(size), seed, seed % 4 * 60, 76);
            Bytes guide = test::randomBytes(area(size), seed + 100);
            for (Bytes* g : {static_cast<Bytes*>(nullptr), &guide})
                ASSERT_EQ(level(page, g, size), test::estimatedLevel(page, g, size))
                    << ::testing::PrintToString(size) << " seed " << seed << " guide " << !!g;
        }
    }
}

TEST(Estimate, SumsWrapOnLargePages) {
    const kelSize size{4002, 3002};  // 12 million bright pixels: their sum exceeds 32 bits
    Bytes page(area(size));
    for (size_t i = 0; i < page.size(); ++i)
        page[i] = static_cast<unsigned char>(i % 5 == 0 ? 30 + i % 7 : 230 + i % 11);
    EXPECT_EQ(level(page, nullptr, size), test::estimatedLevel(page, nullptr, size));
}

TEST(Estimate, NothingToSplitGives190) {
    Bytes flat(100, 77);
    flat[0] = flat[9] = 0;  // the frame alone does not make a split
    for (kelSize size :
         {kelSize{10, 10}, kelSize{2, 40}, kelSize{40, 2}, kelSize{0, 0}, kelSize{-5, 9}})
        EXPECT_EQ(level(flat, nullptr, size), 190);
}

}  // namespace
