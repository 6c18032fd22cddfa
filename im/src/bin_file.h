// Binary files: the bytes below an image file, on a disk or in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "im.h"

namespace im {

/// A run of bytes that somebody else owns.
struct Bytes {
    const uint8_t* data = nullptr;
    size_t size = 0;
};

/// A file at a position. Calls throw nothing, so that they can serve as callbacks of C libraries.
class BinaryFile {
  public:
    BinaryFile() = default;
    BinaryFile(const BinaryFile&) = delete;
    BinaryFile& operator=(const BinaryFile&) = delete;
    virtual ~BinaryFile() = default;

    /// Reads up to `count` bytes; fewer only at the end of the file and on errors.
    virtual size_t read(void* to, size_t count) noexcept = 0;
    /// Writes all of `count` bytes, or tells that it could not.
    virtual bool write(const void* from, size_t count) noexcept = 0;
    /// Puts a file that was made in its place, whole; one that goes without this leaves no trace.
    /// False when that failed, or any write before.
    virtual bool finish() noexcept { return true; }
    /// Moves the position. Reading beyond the end gives nothing; writing there fills up with 0.
    void seek(uint64_t position) noexcept { position_ = position; }
    uint64_t tell() const noexcept { return position_; }
    virtual uint64_t size() const noexcept = 0;
    /// The whole file where it lies in memory and is only read; else nothing.
    virtual Bytes whole() const noexcept { return {}; }

  protected:
    uint64_t position_ = 0;
};

/// By the module of this thread; null when the file cannot be opened.
std::unique_ptr<BinaryFile> openBinaryFile(const char* name);
std::unique_ptr<BinaryFile> createBinaryFile(const char* name);

/// Part of a file for reading, such as an image inside another format: its own start and size.
std::unique_ptr<BinaryFile> partOf(BinaryFile& file, uint64_t start, uint64_t size);

}  // namespace im

struct imBinFile {
    std::unique_ptr<im::BinaryFile> bytes;
};
