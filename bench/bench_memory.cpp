// Working memory: the most that an operation holds from `new` at a time, beside the planes of its
// page. OpenCV's own buffers are not counted.
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "bench_pages.h"
#include "bench_rows.h"
#include "kel_ConnectArea.h"
#include "kel_ImageBasicProcess.h"

// NOLINTBEGIN(cppcoreguidelines-no-malloc): what `new` is made of
namespace {

size_t held = 0, most = 0;

void* take(size_t bytes) {
    void* const p = std::malloc(bytes);
    if (p == nullptr) throw std::bad_alloc();
    held += malloc_usable_size(p);
    most = std::max(most, held);
    return p;
}

void giveBack(void* p) {
    held -= malloc_usable_size(p);
    std::free(p);
}

}  // namespace

void* operator new(size_t bytes) {
    return take(bytes);
}
void* operator new[](size_t bytes) {
    return take(bytes);
}
void operator delete(void* p) noexcept {
    giveBack(p);
}
void operator delete[](void* p) noexcept {
    giveBack(p);
}
void operator delete(void* p, size_t) noexcept {
    giveBack(p);
}
void operator delete[](void* p, size_t) noexcept {
    giveBack(p);
}
// NOLINTEND(cppcoreguidelines-no-malloc)

namespace bench {
namespace {

template <class Operation>
void printTaken(const char* name, const PageSet& page, Operation call) {
    call();  // OpenCV keeps some state of its own from the first call on
    const size_t before = most = held;
    call();
    std::printf("| %s | %s | %.2f |\n", name, page.name.c_str(),
                static_cast<double>(most - before) / static_cast<double>(page.area()));
}

}  // namespace

void printMemoryTable() {
    std::printf(
        "| operation, colour page | page | planes of memory taken (bar: 1, and tables of "
        "0.5 MB) |\n|---|---|---|\n");
    for (const PageSet& page : pages()) {
        Bytes src = page.colour, dst(src.size());
        const auto binarize = [&](int method, Bytes& target) {
            KelBinarizeImage(src.data(), 3, target.data(), page.size, 0, method, 100, 15, 0);
        };
        printTaken("luminance", page,
                   [&] { KelColorConvert(src.data(), page.size, 3, dst.data(), page.size, 1); });
        printTaken("KelBinarizeImage method 1", page, [&] { binarize(1, dst); });
        printTaken("KelBinarizeImage method 2", page, [&] { binarize(2, dst); });
        printTaken("KelBinarizeImage method 3", page, [&] { binarize(3, dst); });
        std::vector<int> labels(page.area());
        Bytes ink = page.grey;
        for (unsigned char& sample : ink)
            sample = sample < 128 ? 255 : 0;
        printTaken("KC_GenerateCALabelBuf, text", page, [&] {
            KC_GenerateCALabelBuf(ink.data(), page.size.width, page.size.height, labels.data());
        });
        printTaken("KelBinarizeImage method 2, into its source", page, [&] { binarize(2, src); });
    }
}

}  // namespace bench
