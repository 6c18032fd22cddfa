// Binary files in memory, the choice between these and the disk, and their public calls.
#include "bin_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "disk_file.h"

namespace im {
namespace {

thread_local int currentModule = IM_FILE;

size_t readFrom(Bytes bytes, uint64_t& position, void* to, size_t count) {
    if (position >= bytes.size) return 0;
    const size_t got = std::min(count, bytes.size - static_cast<size_t>(position));
    std::memcpy(to, bytes.data + position, got);
    position += got;
    return got;
}

class MemoryReader : public BinaryFile {
  public:
    explicit MemoryReader(Bytes bytes) : bytes_(bytes) {}
    size_t read(void* to, size_t count) noexcept override {
        return readFrom(bytes_, position_, to, count);
    }
    bool write(const void*, size_t) noexcept override { return false; }
    uint64_t size() const noexcept override { return bytes_.size; }
    Bytes whole() const noexcept override { return bytes_; }

  private:
    Bytes bytes_;
};

/// Grows the block of the caller's record, which always tells where it lies.
class MemoryWriter : public BinaryFile {
  public:
    explicit MemoryWriter(imBinMemoryFileName& record) : record_(record) {}

    size_t read(void* to, size_t count) noexcept override {
        return readFrom({record_.buffer, size_}, position_, to, count);
    }

    bool write(const void* from, size_t count) noexcept override {
        constexpr uint64_t most = std::numeric_limits<int>::max();
        if (count == 0) return true;
        if (position_ > most || count > most - position_) return false;
        const auto end = static_cast<size_t>(position_) + count;
        if (!reserve(end)) return false;
        if (position_ > size_)
            std::memset(record_.buffer + size_, 0, static_cast<size_t>(position_) - size_);
        std::memcpy(record_.buffer + position_, from, count);
        position_ = end;
        size_ = std::max(size_, end);
        return true;
    }

    uint64_t size() const noexcept override { return size_; }

  private:
    // NOLINTBEGIN(cppcoreguidelines-no-malloc): the block is handed over as malloc's
    bool reserve(size_t needed) {
        auto capacity = static_cast<size_t>(std::max(record_.size, 0));
        if (record_.buffer != nullptr && needed <= capacity) return true;
        if (needed > capacity && !(record_.reallocate > 0.0F)) return false;
        if (record_.buffer == nullptr) {
            capacity = std::max(needed, capacity);
        } else {
            const double grown =
                static_cast<double>(capacity) * static_cast<double>(record_.reallocate);
            constexpr double most = std::numeric_limits<int>::max();
            capacity = std::max(needed, static_cast<size_t>(std::min(grown, most)));
        }
        auto* const block = static_cast<uint8_t*>(std::realloc(record_.buffer, capacity));
        if (block == nullptr) return false;
        record_.buffer = block;
        record_.size = static_cast<int>(capacity);
        return true;
    }
    // NOLINTEND(cppcoreguidelines-no-malloc)

    imBinMemoryFileName& record_;
    size_t size_ = 0;
};

class FilePart : public BinaryFile {
  public:
    FilePart(BinaryFile& file, uint64_t start, uint64_t size)
        : file_(file), start_(start), size_(size) {}

    size_t read(void* to, size_t count) noexcept override {
        if (position_ >= size_) return 0;
        file_.seek(start_ + position_);
        const uint64_t left = size_ - position_;
        const size_t got = file_.read(to, left < count ? static_cast<size_t>(left) : count);
        position_ += got;
        return got;
    }
    bool write(const void*, size_t) noexcept override { return false; }
    uint64_t size() const noexcept override { return size_; }
    Bytes whole() const noexcept override {
        const Bytes all = file_.whole();
        if (all.data == nullptr) return {};
        return {all.data + start_, static_cast<size_t>(size_)};
    }

  private:
    BinaryFile& file_;
    uint64_t start_, size_;
};

imBinMemoryFileName& recordBehind(const char* name) {
    // The memory module's names are records in disguise.
    return *reinterpret_cast<imBinMemoryFileName*>(const_cast<char*>(name));  // NOLINT
}

}  // namespace

std::unique_ptr<BinaryFile> openBinaryFile(const char* name) {
    if (name == nullptr) return nullptr;
    if (currentModule == IM_FILE) return openDiskFile(name);
    const imBinMemoryFileName& record = recordBehind(name);
    if (record.buffer == nullptr || record.size < 1) return nullptr;
    return std::make_unique<MemoryReader>(Bytes{record.buffer, static_cast<size_t>(record.size)});
}

std::unique_ptr<BinaryFile> createBinaryFile(const char* name) {
    if (name == nullptr) return nullptr;
    if (currentModule == IM_FILE) return createDiskFile(name);
    return std::make_unique<MemoryWriter>(recordBehind(name));
}

std::unique_ptr<BinaryFile> partOf(BinaryFile& file, uint64_t start, uint64_t size) {
    const uint64_t from = std::min(start, file.size());
    return std::make_unique<FilePart>(file, from, std::min(size, file.size() - from));
}

}  // namespace im

namespace {

int clampedToInt(uint64_t value) {
    return static_cast<int>(std::min<uint64_t>(value, std::numeric_limits<int>::max()));
}

imBinFile* handedOut(std::unique_ptr<im::BinaryFile> bytes) {
    if (bytes == nullptr) return nullptr;
    return std::make_unique<imBinFile>(imBinFile{std::move(bytes)}).release();
}

}  // namespace

int imBinFileSetCurrentModule(int module) {
    if (module != IM_FILE && module != IM_MEMORYFILE) return -1;
    const int before = im::currentModule;
    im::currentModule = module;
    return before;
}

void imBinMemoryRelease(unsigned char* buffer) {
    std::free(buffer);  // NOLINT(cppcoreguidelines-no-malloc): made by realloc above
}

imBinFile* imBinFileOpen(const char* file_name) try {
    return handedOut(im::openBinaryFile(file_name));
} catch (const std::bad_alloc&) {
    return nullptr;
}

imBinFile* imBinFileNew(const char* file_name) try {
    return handedOut(im::createBinaryFile(file_name));
} catch (const std::bad_alloc&) {
    return nullptr;
}

void imBinFileClose(imBinFile* file) {
    const std::unique_ptr<imBinFile> owned(file);
    if (owned != nullptr) owned->bytes->finish();
}

int imBinFileSize(imBinFile* file) {
    return file == nullptr ? 0 : clampedToInt(file->bytes->size());
}

int imBinFileTell(imBinFile* file) {
    return file == nullptr ? 0 : clampedToInt(file->bytes->tell());
}

int imBinFileSeekTo(imBinFile* file, int position) {
    if (file == nullptr || position < 0) return 1;
    file->bytes->seek(static_cast<uint64_t>(position));
    return 0;
}

int imBinFileRead(imBinFile* file, void* bytes, int count) {
    if (file == nullptr || bytes == nullptr || count < 1) return 0;
    return static_cast<int>(file->bytes->read(bytes, static_cast<size_t>(count)));
}

int imBinFileWrite(imBinFile* file, const void* bytes, int count) {
    if (file == nullptr || bytes == nullptr || count < 1) return 0;
    return file->bytes->write(bytes, static_cast<size_t>(count)) ? count : 0;
}
