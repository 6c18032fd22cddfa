// Runs every file of the seed corpora through its format's fuzz target, without a fuzzer.
// Usage: fuzz_replay CORPUS FORMAT...
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "format.h"
#include "fuzz_reader.h"

namespace {

int replay(const std::filesystem::path& folder, const std::string& format) {
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream in(entry.path(), std::ios::binary);
        const std::string bytes{std::istreambuf_iterator<char>(in), {}};
        fuzz::readWith(format.c_str(), reinterpret_cast<const uint8_t*>(bytes.data()),
                       bytes.size());
        ++files;
    }
    return files;
}

}  // namespace

int main(int argc, char** argv) try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty()) return 2;
    int status = 0;
    for (const im::Format* const* f = im::kFormats; *f != nullptr; ++f) {
        if ((*f)->open == nullptr) continue;  // only written
        if (std::find(arguments.begin() + 1, arguments.end(), (*f)->name) == arguments.end()) {
            std::fprintf(stderr, "%s has no fuzz target\n", (*f)->name);
            status = 1;
            continue;
        }
        const int files = replay(std::filesystem::path(arguments[0]) / (*f)->name, (*f)->name);
        std::printf("%s: %d files\n", (*f)->name, files);
        if (files == 0) status = 1;
    }
    return status;
} catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
}
