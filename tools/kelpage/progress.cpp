#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace kelpage {
namespace {

constexpr size_t kBarWidth = 24;

}  // namespace

Progress::Progress(size_t total) : total_(total), onTerminal_(isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    clear();
}

void Progress::show(const std::string& label) {
    if (!onTerminal_ || total_ == 0) return;
    const size_t filled = kBarWidth * done_ / total_;
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    std::fprintf(stderr, "\r\033[K[%s] %zu/%zu %.50s", bar.c_str(), done_, total_, label.c_str());
    std::fflush(stderr);
}

void Progress::step() {
    ++done_;
}

void Progress::clear() {
    if (onTerminal_) std::fputs("\r\033[K", stderr);
}

void Progress::wipe() {
    if (isatty(STDERR_FILENO) != 0) std::fputs("\r\033[K", stderr);
}

}  // namespace kelpage
