// The row kernels for every processor of the architecture.
#define KEL_KERNEL_LEVEL plain
#define KEL_KERNEL_LEVEL_NAME "plain"
#include "row_kernels_body.inc"
