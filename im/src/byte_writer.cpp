#include "byte_writer.h"

#include "error.h"

namespace im {

namespace {
constexpr size_t kBufferBytes = 64 * 1024;
}

ByteWriter::ByteWriter(BinaryFile& file) : file_(file) {
    buffer_.reserve(kBufferBytes);
}

void ByteWriter::u8(unsigned value) {
    if (buffer_.size() == kBufferBytes) flush();
    buffer_.push_back(static_cast<uint8_t>(value));
}

void ByteWriter::u16le(unsigned value) {
    u8(value & 0xff);
    u8(value >> 8 & 0xff);
}

void ByteWriter::u16be(unsigned value) {
    u8(value >> 8 & 0xff);
    u8(value & 0xff);
}

void ByteWriter::u32le(uint32_t value) {
    u16le(value & 0xffff);
    u16le(value >> 16);
}

void ByteWriter::u32be(uint32_t value) {
    u16be(value >> 16);
    u16be(value & 0xffff);
}

void ByteWriter::bytes(const void* from, size_t count) {
    const auto* const first = static_cast<const uint8_t*>(from);
    if (count > kBufferBytes - buffer_.size()) flush();
    if (count > kBufferBytes)
        require(file_.write(first, count), IM_ERR_ACCESS);
    else
        buffer_.insert(buffer_.end(), first, first + count);
}

void ByteWriter::zeros(size_t count) {
    for (size_t i = 0; i < count; ++i)
        u8(0);
}

void ByteWriter::seek(uint64_t position) {
    flush();
    file_.seek(position);
}

void ByteWriter::flush() {
    require(file_.write(buffer_.data(), buffer_.size()), IM_ERR_ACCESS);
    buffer_.clear();
}

}  // namespace im
