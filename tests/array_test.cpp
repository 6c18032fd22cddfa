// Array statistics: fixed cases, the edges of wrapping, and sorting.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "kel_ArrayProperties.h"

namespace {

using Ints = std::vector<int>;

TEST(ArrayStatistics, MeansAndDeviations) {
    struct Case {
        Ints values;
        int mean;
        bool calcAver;
        int aver;
        double err;
    };
    for (Case c : {Case{{1, 2, 2}, 1, true, 77, 0.0}, Case{{-1, -2, -2}, -1, true, 0, 0.0},
                   Case{{1, 2, 4}, 2, true, 0, 1.0}, Case{{0, 9}, 4, false, -2, 6.0},
                   Case{{INT_MAX, 1}, INT_MIN / 2, false, 0, -1073741824.0},
                   Case{{INT_MIN}, INT_MIN, false, 1, double(INT_MAX)}}) {
        double err = -1.0;
        const int length = int(c.values.size());
        EXPECT_EQ(KelCal1DArrayAver(c.values.data(), length), c.mean);
        EXPECT_EQ(KelCal1DArrayErr(c.values.data(), length, &err, c.calcAver, c.aver), 0);
        EXPECT_EQ(err, c.err) << c.mean;
    }
}

TEST(ArrayStatistics, RelationIsACosineThatWraps) {
    const auto relation = [](Ints a, Ints b) {
        double result = -5.0;
        EXPECT_EQ(KelCal1DArraysRelation1(a.data(), b.data(), int(a.size()), &result), 0);
        return result;
    };
    EXPECT_EQ(relation({3, -4, 12}, {3, -4, 12}), 1.0);
    EXPECT_EQ(relation({1, 0}, {0, 7}), 0.0);
    EXPECT_EQ(relation({0, 0}, {1, 1}), 0.0);
    EXPECT_EQ(relation({65536}, {65536}), 0.0);  // the squares wrap to 0
    EXPECT_EQ(relation({100000}, {100000}), 1410065408 / std::sqrt(1661992960.0));
    EXPECT_TRUE(std::isnan(relation({47000}, {1})));    // a negative product
    EXPECT_TRUE(std::isinf(relation({256}, {16384})));  // a product of 0
}

TEST(ArrayStatistics, LengthsBelowOneAndSorting) {
    double err = 1.0, relation = 1.0;
    Ints values = {3, 1, INT_MIN, 2, 2, INT_MAX};
    ::testing::internal::CaptureStderr();
    for (int length : {0, -3})
        EXPECT_EQ(KelCal1DArrayAver(nullptr, length) +
                      KelCal1DArrayErr(nullptr, length, &err, true, 4) +
                      KelCal1DArraysRelation1(nullptr, nullptr, length, &relation) +
                      KelOrderArray(nullptr, length, true),
                  0);
    EXPECT_EQ(std::pair(err, relation), std::pair(0.0, 0.0));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "arrLen = 0\n[KelCal1DArrayErr] arrLen = 0\n[KelCal1DArraysRelation1] arrLen = 0\n");
    EXPECT_EQ(KelOrderArray(values.data(), 6, true), 0);
    EXPECT_EQ(values, (Ints{INT_MIN, 1, 2, 2, 3, INT_MAX}));
    EXPECT_EQ(KelOrderArray(values.data(), 6, false), 0);
    EXPECT_EQ(values, (Ints{INT_MAX, 3, 2, 2, 1, INT_MIN}));
}

}  // namespace
