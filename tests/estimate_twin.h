// The plain form of the two-dimensional estimator: the rule as it is defined, step by step.
#pragma once

#include <cstdint>
#include <vector>

#include "support.h"

namespace test {

/// Weight, row sum and column sum of a class; 32-bit, and wrapping.
struct Sums {
    uint32_t w = 0, i = 0, j = 0;
    void count(uint32_t row, uint32_t column, uint32_t cell) {
        w += cell;
        i += row * cell;
        j += column * cell;
    }
    double operator()(uint32_t Sums::*sum) const { return static_cast<int32_t>(this->*sum); }
};

inline int estimatedLevel(const Bytes& src, const Bytes* guide, kelSize size) {
    std::vector<uint32_t> table(65536);
    const auto cell = [&](int r, int c) -> uint32_t& { return table[size_t(r * 256 + c)]; };
    for (int y = 1; y < size.height - 1; ++y)
        for (int x = 1; x < size.width - 1; ++x) {
            const auto at = [&](int row, int column) { return size_t(row * size.width + column); };
            int sum = 0;
            for (int k = 0; k < 9; ++k)
                sum += src[at(y + k / 3 - 1, x + k % 3 - 1)];
            ++cell(src[at(y, x)], guide ? (*guide)[at(y, x)] : sum / 9);
        }
    int lo = 256, hi = -1;
    for (int k = 0; k < 65536; ++k)
        if (table[size_t(k)] > 0) {
            lo = std::min(lo, k / 256);
            hi = std::max(hi, k / 256);
        }
    if (lo > hi) return 190;

    const int pixels = (size.width - 2) * (size.height - 2);
    Sums all, a, b;
    for (int r = lo; r <= hi; ++r)
        for (int c = lo; c <= hi; ++c)
            all.count(r, c, cell(r, c));
    int best = 190;
    double bestValue = 0.0;
    for (int t = lo; t <= hi; ++t) {
        // Class A is the square up to t, class B the square above it; the sums wrap in any order.
        a = b = Sums();
        for (int r = lo; r <= hi; ++r)
            for (int c = lo; c <= hi; ++c)
                if ((r <= t) == (c <= t)) (r <= t ? a : b).count(r, c, cell(r, c));
        const double n = pixels, wA = a(&Sums::w), wB = b(&Sums::w);
        if (!(wA / n > 0.0 && wB / n > 0.0)) continue;
        const double mAi = a(&Sums::i) / wA, mAj = a(&Sums::j) / wA;
        const double mBi = b(&Sums::i) / wB, mBj = b(&Sums::j) / wB;
        const double mTi = all(&Sums::i) / n, mTj = all(&Sums::j) / n;
        const int truncated = static_cast<int32_t>(all.i) / pixels;
        const double value = (wA * ((mAi - truncated) * (mAi - mTi) + (mAj - mTj) * (mAj - mTj)) +
                              wB * ((mBi - mTi) * (mBi - mTi) + (mBj - mTj) * (mBj - mTj))) /
                             n;
        if (value > bestValue) {
            bestValue = value;
            best = t;
        }
    }
    return best;
}

}  // namespace test
