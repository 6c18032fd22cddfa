// The registry of formats, and the public calls that tell about them.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>

#include "error.h"
#include "format.h"
#include "image.h"

namespace im {

// Formats with a weak mark or none come last: they accept what looks plausible.
// clang-format off
const Format* const kFormats[] = {
    &kJpeg,
    &kPng,
    &kTiff,
    &kBmp,
    &kGif,
    &kJp2,
    &kPnm,
    &kRas,
    &kSgi,
    &kLed,
    &kRaw,
    &kIco,
    &kPcx,
    &kTga,
    nullptr,
};
// clang-format on

namespace {

std::atomic<int> mostPageBytes{std::numeric_limits<int>::max()};

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

}  // namespace

bool sameName(const char* a, const char* b) {
    while (*a != '\0' && upper(*a) == upper(*b)) {
        ++a;
        ++b;
    }
    return upper(*a) == upper(*b);
}

const Format* findFormat(const char* name) {
    if (name == nullptr) return nullptr;
    for (const Format* const* f = kFormats; *f != nullptr; ++f)
        if (sameName((*f)->name, name)) return *f;
    return nullptr;
}

void checkPage(const PageInfo& info, uint64_t sourceBytes, double bestRatio) {
    require(info.width > 0 && info.height > 0, IM_ERR_FORMAT);
    const int bytes =
        checkedImageBytes(info.width, info.height, planesOf(info.colorSpace), info.dataType);
    require(bytes > 0 && bytes <= mostPageBytes.load(std::memory_order_relaxed), IM_ERR_MEM);
    require(static_cast<double>(bytes) <= static_cast<double>(sourceBytes) * bestRatio,
            IM_ERR_ACCESS);
}

double ratioWithoutBound(const PageInfo& info) {
    constexpr double freeBytes = 256 << 20, usual = 4096, none = 1e9;
    const double bytes = static_cast<double>(info.width) * info.height * planesOf(info.colorSpace) *
                         imDataTypeSize(info.dataType);
    return bytes <= freeBytes ? none : usual;
}

void limitPageBytes(int bytes) {
    mostPageBytes.store(bytes, std::memory_order_relaxed);
}

}  // namespace im

namespace {

void listNames(const char* const* all, size_t available, const char** names, int* count) {
    if (count == nullptr) return;
    if (names != nullptr)
        for (size_t i = 0; i < available && static_cast<int>(i) < *count; ++i)
            names[i] = all[i];
    *count = static_cast<int>(available);
}

}  // namespace

int imFormatInfo(const char* format, char* description, char* extensions, int* multiple) {
    const im::Format* const found = im::findFormat(format);
    if (found == nullptr) return IM_ERR_FORMAT;
    if (description != nullptr) std::strcpy(description, found->description);
    if (extensions != nullptr) std::strcpy(extensions, found->extensions);
    if (multiple != nullptr) *multiple = found->multiple ? 1 : 0;
    return IM_ERR_NONE;
}

void imFormatList(const char** names, int* count) {
    constexpr size_t most = 64;
    const char* all[most];
    size_t available = 0;
    for (const im::Format* const* f = im::kFormats; *f != nullptr && available < most; ++f)
        all[available++] = (*f)->name;
    listNames(all, available, names, count);
}

int imFormatCompressions(const char* format, const char** names, int* count) {
    const im::Format* const found = im::findFormat(format);
    if (found == nullptr) return IM_ERR_FORMAT;
    size_t available = 0;
    while (found->compressions[available] != nullptr)
        ++available;
    listNames(found->compressions, available, names, count);
    return IM_ERR_NONE;
}
