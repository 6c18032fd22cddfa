// Chooses among the levels of the row kernels.
#include "row_kernels.h"

#include <algorithm>
#include <atomic>

namespace kel::detail {

namespace plain {
extern const RowKernels kTable;
}
namespace avx2 {
extern const RowKernels kTable;
}

namespace {

std::atomic<CpuLevel> limit{CpuLevel::best};

CpuLevel levelOfProcessor() {
#if defined(KEL_HAVE_AVX2_KERNELS)
    static const CpuLevel level = __builtin_cpu_supports("avx2") ? CpuLevel::avx2 : CpuLevel::plain;
    return level;
#else
    return CpuLevel::plain;
#endif
}

}  // namespace

const RowKernels& rowKernels(CpuLevel atMost) {
    [[maybe_unused]] const CpuLevel level =
        std::min({atMost, limit.load(std::memory_order_relaxed), levelOfProcessor()});
#if defined(KEL_HAVE_AVX2_KERNELS)
    if (level == CpuLevel::avx2) return avx2::kTable;
#endif
    return plain::kTable;
}

void limitCpuLevel(CpuLevel atMost) {
    limit.store(atMost, std::memory_order_relaxed);
}

}  // namespace kel::detail
