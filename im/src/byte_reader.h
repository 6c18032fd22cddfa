// The one bounds-checked reader of the formats that are our own code: buffered, in both byte
// orders. Everything that the file does not hold throws IM_ERR_ACCESS.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bin_file.h"

namespace im {

class ByteReader {
  public:
    /// Starts at the file's beginning. A file in memory is read in place.
    explicit ByteReader(BinaryFile& file);

    uint8_t u8() { return at_ < end_ ? *at_++ : refillAndTake(); }
    uint16_t u16le();
    uint16_t u16be();
    uint32_t u32le();
    uint32_t u32be();
    int32_t i32le() { return static_cast<int32_t>(u32le()); }

    /// Reads exactly `count` bytes.
    void bytes(void* to, size_t count);
    /// Reads up to `count` bytes; fewer only at the end of the file.
    size_t some(void* to, size_t count);
    /// The next `count` bytes: in place where memory holds them all, else copied into `room`. They
    /// last until the next call.
    const uint8_t* view(size_t count, std::vector<uint8_t>& room);
    void skip(uint64_t count) { seek(tell() + count); }
    /// A place beyond the end is accepted; reading there is not.
    void seek(uint64_t position);
    uint64_t tell() const { return base_ + static_cast<uint64_t>(at_ - start_); }
    uint64_t size() const { return size_; }
    uint64_t left() const { return tell() < size_ ? size_ - tell() : 0; }

  private:
    bool refill();
    uint8_t refillAndTake();

    BinaryFile& file_;
    std::vector<uint8_t> buffer_;
    uint64_t size_;
    uint64_t base_ = 0;  ///< place in the file of start_
    const uint8_t *start_ = nullptr, *at_ = nullptr, *end_ = nullptr;
};

}  // namespace im
