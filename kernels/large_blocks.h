// A hint for memory that is about to be filled from end to end.
#pragma once

#include <cstddef>

namespace kel::detail {

/// Tells the system that a fresh block may lie in large pages, where it is large itself: the first
/// touch of a page costs as much as copying it, and a page of paper has thousands of the small
/// ones.
void preferLargePages(void* block, size_t bytes);

}  // namespace kel::detail
