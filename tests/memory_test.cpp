// Working memory: at most one plane beyond inputs and outputs, plus the estimator's tables. This
// program counts every byte that the library asks for.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <vector>

#include "kel_ImageBasicProcess.h"

static size_t taken = 0;

static void* take(size_t bytes) {
    taken += bytes;
    if (void* p = std::malloc(bytes)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t bytes) {
    return take(bytes);
}
void* operator new[](size_t bytes) {
    return take(bytes);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, size_t) noexcept {
    std::free(p);
}

TEST(Memory, NoOperationTakesMoreThanOnePlane) {
    constexpr kelSize size{1000, 900};
    constexpr size_t plane = 900000, tables = 600000;
    std::vector<unsigned char> from(3 * plane, 200), to(3 * plane);
    unsigned char *src = from.data(), *dst = to.data();
    const auto takenBy = [](auto call) {
        call();  // OpenCV keeps some state of its own from the first call on
        taken = 0;
        call();
        return taken;
    };
    for (int method : {1, 2, 6}) {
        // The result's own plane serves as the grey plane, unless it lies in the source.
        const auto binarize = [&](unsigned char* target) {
            return takenBy([&] { KelBinarizeImage(src, 3, target, size, 0, method, 5, 0, 0); });
        };
        EXPECT_LE(binarize(dst), tables);
        EXPECT_LE(binarize(src), plane + tables);
    }
    EXPECT_LE(takenBy([&] { KelBinarizeImage(src, 3, dst, size, 0, 3, 0, 15, 5); }),
              plane + 100000);
    EXPECT_EQ(takenBy([&] { KelColorConvert(src, size, 3, dst, size, 1); }), 0U);
    EXPECT_LE(takenBy([&] { KelColorConvert(src, size, 1, src, size, 3); }), plane);
}
