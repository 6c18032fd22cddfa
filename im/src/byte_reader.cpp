#include "byte_reader.h"

#include <algorithm>
#include <cstring>

#include "error.h"

namespace im {

namespace {
constexpr size_t kBufferBytes = 64 * 1024;
}

ByteReader::ByteReader(BinaryFile& file) : file_(file), size_(file.size()) {
    const Bytes whole = file.whole();
    if (whole.data != nullptr) {
        start_ = at_ = whole.data;
        end_ = whole.data + whole.size;
    } else {
        buffer_.resize(static_cast<size_t>(std::min<uint64_t>(kBufferBytes, size_)));
        start_ = at_ = end_ = buffer_.data();
    }
}

// False at the end of the file.
bool ByteReader::refill() {
    if (file_.whole().data != nullptr || buffer_.empty()) return false;
    base_ = tell();
    file_.seek(base_);
    const size_t got = file_.read(buffer_.data(), buffer_.size());
    start_ = at_ = buffer_.data();
    end_ = start_ + got;
    return got > 0;
}

uint8_t ByteReader::refillAndTake() {
    require(refill(), IM_ERR_ACCESS);
    return *at_++;
}

uint16_t ByteReader::u16le() {
    const unsigned low = u8();
    return static_cast<uint16_t>(low | static_cast<unsigned>(u8()) << 8);
}

uint16_t ByteReader::u16be() {
    const unsigned high = u8();
    return static_cast<uint16_t>(high << 8 | u8());
}

uint32_t ByteReader::u32le() {
    const uint32_t low = u16le();
    return low | static_cast<uint32_t>(u16le()) << 16;
}

uint32_t ByteReader::u32be() {
    const uint32_t high = u16be();
    return high << 16 | u16be();
}

void ByteReader::bytes(void* to, size_t count) {
    require(some(to, count) == count, IM_ERR_ACCESS);
}

size_t ByteReader::some(void* to, size_t count) {
    size_t done = 0;
    while (done < count) {
        if (at_ == end_ && !refill()) break;
        const size_t part = std::min(count - done, static_cast<size_t>(end_ - at_));
        std::memcpy(static_cast<uint8_t*>(to) + done, at_, part);
        at_ += part;
        done += part;
    }
    return done;
}

const uint8_t* ByteReader::view(size_t count, std::vector<uint8_t>& room) {
    if (count > static_cast<size_t>(end_ - at_)) {
        room.resize(count);
        bytes(room.data(), count);
        return room.data();
    }
    at_ += count;
    return at_ - count;
}

void ByteReader::seek(uint64_t position) {
    if (file_.whole().data != nullptr) {
        at_ = start_ + std::min(position, size_);
    } else if (position >= base_ && position - base_ <= static_cast<uint64_t>(end_ - start_)) {
        at_ = start_ + (position - base_);
    } else {
        base_ = std::min(position, size_);
        start_ = at_ = end_ = buffer_.data();
    }
}

}  // namespace im
