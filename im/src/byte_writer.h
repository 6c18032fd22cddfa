// The one writer of the formats that are our own code: buffered, in both byte orders. A failing
// file throws IM_ERR_ACCESS. What is not flushed is not written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "bin_file.h"

namespace im {

class ByteWriter {
  public:
    /// Starts where the file stands.
    explicit ByteWriter(BinaryFile& file);

    void u8(unsigned value);
    void u16le(unsigned value);
    void u16be(unsigned value);
    void u32le(uint32_t value);
    void u32be(uint32_t value);
    void bytes(const void* from, size_t count);
    void text(std::string_view text) { bytes(text.data(), text.size()); }
    void zeros(size_t count);
    void seek(uint64_t position);
    uint64_t tell() const { return file_.tell() + buffer_.size(); }
    void flush();

  private:
    BinaryFile& file_;
    std::vector<uint8_t> buffer_;
};

}  // namespace im
