#include "large_blocks.h"

#include <cstdint>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace kel::detail {

void preferLargePages(void* block, size_t bytes) {
#ifdef __linux__
    constexpr size_t least = 4 << 20;
    constexpr uintptr_t page = 4096;
    if (block == nullptr || bytes < least) return;
    const uintptr_t first = (reinterpret_cast<uintptr_t>(block) + page - 1) / page * page;
    const uintptr_t end = (reinterpret_cast<uintptr_t>(block) + bytes) / page * page;
    // Only a hint: where it is not taken, nothing changes.
    madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
#else
    static_cast<void>(block);
    static_cast<void>(bytes);
#endif
}

}  // namespace kel::detail
