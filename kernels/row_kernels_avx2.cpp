// The row kernels for processors with AVX2. Built with -mavx2.
#define KEL_KERNEL_LEVEL avx2
#define KEL_KERNEL_LEVEL_NAME "avx2"
#include "row_kernels_body.inc"
