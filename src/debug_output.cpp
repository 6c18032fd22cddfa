// The debug output channel where the platform has none.
#include <cstdio>

#include "kel_debug.h"

// Weak, so that a host's own function of this name takes its place.
extern "C" __attribute__((weak)) void OutputDebugStringA(const char* text) {
    std::fputs(text, stderr);
}
