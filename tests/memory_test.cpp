// Working memory: at most one plane beyond inputs and outputs, plus the estimator's tables, and all
// of it given back. This program counts every byte that the library takes with `new`.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

#include "kel_ImageBasicProcess.h"

namespace {

size_t live = 0, peak = 0;
bool counting = false;

constexpr size_t kHeader = 32;

void* take(size_t bytes) {
    auto* block = static_cast<unsigned char*>(std::malloc(bytes + kHeader));
    if (!block) throw std::bad_alloc();
    *reinterpret_cast<size_t*>(block) = counting ? bytes : 0;
    if (counting) {
        live += bytes;
        peak = std::max(peak, live);
    }
    return block + kHeader;
}

void give(void* pointer) {
    if (!pointer) return;
    auto* block = static_cast<unsigned char*>(pointer) - kHeader;
    live -= *reinterpret_cast<size_t*>(block);
    std::free(block);
}

}  // namespace

void* operator new(size_t bytes) {
    return take(bytes);
}
void* operator new[](size_t bytes) {
    return take(bytes);
}
void operator delete(void* p) noexcept {
    give(p);
}
void operator delete[](void* p) noexcept {
    give(p);
}
void operator delete(void* p, size_t) noexcept {
    give(p);
}
void operator delete[](void* p, size_t) noexcept {
    give(p);
}

namespace {

constexpr kelSize kSize{1000, 900};
constexpr size_t kPlane = 900000;
constexpr size_t kTables = 600000;  // two of 256 by 256 counters, and a row

struct Buffers {
    std::vector<unsigned char> src = std::vector<unsigned char>(3 * kPlane, 200);
    std::vector<unsigned char> dst = std::vector<unsigned char>(3 * kPlane, 0);
};

/// Peak bytes during a call, the second of two, since OpenCV keeps some state of its own from the
/// first; fails when the call keeps any.
template <class Call>
size_t peakOf(Call call) {
    call();
    live = peak = 0;
    counting = true;
    call();
    counting = false;
    EXPECT_EQ(live, 0U);
    return peak;
}

TEST(Memory, NoOperationTakesMoreThanOnePlane) {
    Buffers b;
    unsigned char *src = b.src.data(), *dst = b.dst.data();
    for (int method : {1, 2, 6}) {
        EXPECT_LE(peakOf([&] { KelBinarizeImage(src, 3, dst, kSize, 0, method, 5, 0, 0); }),
                  kTables)
            << "the result's own plane serves as the grey plane";
        EXPECT_LE(peakOf([&] { KelBinarizeImage(src, 3, src, kSize, 0, method, 5, 0, 0); }),
                  kPlane + kTables);
    }
    EXPECT_LE(peakOf([&] { KelBinarizeImage(src, 3, dst, kSize, 0, 3, 0, 15, 5); }),
              kPlane + 100000);
    EXPECT_EQ(peakOf([&] { KelBinarizeThreshold(src, src, kSize, 100, 0); }), 0U);
    EXPECT_EQ(peakOf([&] { KelColorConvert(src, kSize, 3, dst, kSize, 1); }), 0U);
    EXPECT_EQ(peakOf([&] { KelColorConvert(src, kSize, 1, dst, kSize, 3); }), 0U);
    EXPECT_LE(peakOf([&] { KelColorConvert(src, kSize, 1, src, kSize, 3); }), kPlane);
}

TEST(Memory, FailedCallsKeepNothing) {
    Buffers b;
    EXPECT_EQ(
        peakOf([&] { KelBinarizeImage(b.src.data(), 2, b.dst.data(), kSize, 0, 3, 0, 15, 5); }),
        0U);
    live = peak = 0;
    counting = true;
    EXPECT_ANY_THROW(KelBinarizeImage(b.src.data(), 3, b.dst.data(), kSize, 0, 3, 0, 14, 5));
    counting = false;
    EXPECT_LT(live, kPlane);  // the error's own texts may live on in the test framework
}

}  // namespace
