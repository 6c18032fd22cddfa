// The fuzz target of configuration files: the reader's lists and lookups, the settings of seal
// segmentation, and the segmentation itself with whatever numbers a file gives.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include "ConfigFile.h"
#include "kel_segment.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr kelSize kPage{21, 20};

void require(bool holds) {
    if (!holds) std::abort();
}

/// A file in memory, with a path.
class MemoryFile {
  public:
    MemoryFile(const uint8_t* data, size_t size) : handle_(memfd_create("config", 0)) {
        require(handle_ >= 0 && write(handle_, data, size) == static_cast<ssize_t>(size));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(handle_); }
    std::string path() const { return "/proc/self/fd/" + std::to_string(handle_); }

  private:
    int handle_;
};

void walk(kel::detail::Config& config, size_t size) {
    for (int k = 1; const char* const keyword = config.keyword(k); ++k) {
        require(std::strlen(keyword) <= size);
        if (k > 50) break;  // each lookup starts from the first node
        const std::string name = keyword;
        require(config.value(name.c_str(), 1) != nullptr);
        for (int n = 1; const char* const value = config.ivalue(k, n); ++n)
            require(std::strlen(value) <= size);
    }
    config.value("A", "k", 2);
    config.ivalue("A", "k", 2, 1);
    config.search_block("A");
    config.search_value(0);
}

void segment(kelHSVSegConfig config) {
    std::vector<unsigned char> page(3 * 21 * 20), mask(21 * 20);
    for (size_t i = 0; i < page.size(); ++i)
        page[i] = static_cast<unsigned char>(i * i / 7);
    KelSegementImage_hsv_param(page.data(), kPage, mask.data(), &config);
    for (const unsigned char m : mask)
        require(m == 0 || m == 255);
    config.param01 %= 100;  // the local threshold takes time in proportion
    kelBinrizeWholeAndPartParams params{};
    try {
        KelBinarizeImageHSVPart(page.data(), kPage, mask.data(), &config, &params);
    } catch (const std::exception&) {  // a window that OpenCV refuses
    }
}

std::string_view bytesOf(const kelHSVSegConfig& config) {
    return {reinterpret_cast<const char*>(&config), sizeof config};
}

void readSettings(const std::string& path, int colour) {
    kelHSVSegConfig before, config;
    std::memset(&before, 7, sizeof before);  // padding too, since all bytes are compared
    std::memcpy(&config, &before, sizeof before);
    const int result = KelReadHSVSegmentConfig(path.c_str(), &config, colour);
    if (result == 0) return segment(config);
    require(result == 3 && bytesOf(config) == bytesOf(before));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The reader says what it misses; the sanitizers write past this stream.
    static const bool quiet = (stderr = std::fopen("/dev/null", "w")) != nullptr;
    require(quiet);
    const MemoryFile file(data, size);
    for (const auto& [separator, limit] : {std::pair{'=', 1}, {':', 3}}) {
        kel::detail::Config config(file.path().c_str(), separator, limit);
        walk(config, size);
    }
    readSettings(file.path(), 0);
    readSettings(file.path(), 1);
    return 0;
}
