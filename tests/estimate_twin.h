// The plain form of the two-dimensional estimator: the rule as it is defined, step by step.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "kel_define.h"

namespace test {

// Wrapping 32-bit sums.
inline void plus(int& sum, int64_t term) {
    sum = static_cast<int>(static_cast<uint32_t>(sum) + static_cast<uint32_t>(term));
}

using JointTable = std::array<std::array<int, 256>, 256>;

/// The search on a ready table; N is the count of pixels, which may differ from the cells' sum.
inline int searchedLevel(const JointTable& H, int N) {
    int lo = 0, hi = 255;
    const auto empty = [&](int row) {
        for (int c : H[static_cast<size_t>(row)])
            if (c > 0) return false;
        return true;
    };
    while (lo <= 255 && empty(lo))
        ++lo;
    while (hi >= 0 && empty(hi))
        --hi;
    if (lo > hi) return 190;
    const auto cell = [&](int r, int c) {
        return static_cast<int64_t>(H[static_cast<size_t>(r)][static_cast<size_t>(c)]);
    };
    int W = 0, Ti = 0, Tj = 0;
    for (int i = lo; i <= hi; ++i)
        for (int j = lo; j <= hi; ++j) {
            plus(W, cell(i, j));
            plus(Ti, i * cell(i, j));
            plus(Tj, j * cell(i, j));
        }
    int wA = 0, sAi = 0, sAj = 0, wB = W, sBi = Ti, sBj = Tj, bestT = 190;
    double best = 0.0;
    for (int t = lo; t <= hi; ++t) {
        for (int r = lo; r <= t; ++r) {
            plus(wA, cell(r, t));
            plus(sAi, r * cell(r, t));
            plus(sAj, t * cell(r, t));
        }
        for (int r = t; r <= hi; ++r) {
            plus(wB, -cell(r, t));
            plus(sBi, -r * cell(r, t));
            plus(sBj, -t * cell(r, t));
        }
        for (int c = lo; c <= t - 1; ++c) {
            plus(wA, cell(t, c));
            plus(sAi, t * cell(t, c));
            plus(sAj, c * cell(t, c));
        }
        for (int c = t + 1; c <= hi; ++c) {
            plus(wB, -cell(t, c));
            plus(sBi, -t * cell(t, c));
            plus(sBj, -c * cell(t, c));
        }
        if (!(static_cast<double>(wA) / N > 0.0 && static_cast<double>(wB) / N > 0.0)) continue;
        const double mAi = static_cast<double>(sAi) / wA, mAj = static_cast<double>(sAj) / wA;
        const double mBi = static_cast<double>(sBi) / wB, mBj = static_cast<double>(sBj) / wB;
        const double mTi = static_cast<double>(Ti) / N, mTj = static_cast<double>(Tj) / N;
        const double mTiInt = Ti / N;
        const double value = (wA * ((mAi - mTiInt) * (mAi - mTi) + (mAj - mTj) * (mAj - mTj)) +
                              wB * ((mBi - mTi) * (mBi - mTi) + (mBj - mTj) * (mBj - mTj))) /
                             N;
        if (value > best) {
            best = value;
            bestT = t;
        }
    }
    return bestT;
}

inline int estimatedLevel(const unsigned char* src, const unsigned char* guide, kelSize size) {
    auto table = std::make_unique<JointTable>();
    for (auto& row : *table)
        row.fill(0);
    const auto sample = [&](const unsigned char* plane, int y, int x) {
        return plane[static_cast<ptrdiff_t>(y) * size.width + x];
    };
    for (int y = 1; y < size.height - 1; ++y)
        for (int x = 1; x < size.width - 1; ++x) {
            int sum = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    sum += sample(src, y + dy, x + dx);
            const int column = guide ? sample(guide, y, x) : sum / 9;
            ++(*table)[sample(src, y, x)][static_cast<size_t>(column)];
        }
    return searchedLevel(*table, (size.width - 2) * (size.height - 2));
}

}  // namespace test
