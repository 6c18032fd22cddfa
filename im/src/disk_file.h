// Files on the disk. A new one is written aside and takes its name when it is whole, so that a save
// that fails neither harms the file that was there nor leaves half of one behind.
#pragma once

#include <memory>

#include "bin_file.h"

namespace im {

/// Null when `path` is no regular file or cannot be opened.
std::unique_ptr<BinaryFile> openDiskFile(const char* path);

/// Null when `path` could not be written, or is there and no regular file. A file that is there
/// keeps its permissions. One that has other names, that is another user's, or whose folder can't
/// be written, is written over in the end, so that a failing disk may still spoil it.
std::unique_ptr<BinaryFile> createDiskFile(const char* path);

}  // namespace im
