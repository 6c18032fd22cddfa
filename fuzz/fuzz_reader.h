// What every fuzz target does with its input.
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzz {

/// Opens the bytes as a file of the named format, whatever they look like; asks for everything
/// about its first pages and decodes them.
void readWith(const char* format, const uint8_t* data, size_t size);

}  // namespace fuzz
