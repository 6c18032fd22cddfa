#include "fuzz_reader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "bin_file.h"
#include "error.h"
#include "format.h"
#include "image.h"

namespace fuzz {
namespace {

constexpr int kMostPageBytes = 16 << 20;
constexpr int kMostPages = 5;

// Every sample must be written, within the palette or 0 and 1 where the kind asks for it. The sums
// make the address sanitizer and valgrind look at each byte.
void inspect(const imImage& image) {
    const size_t bytes = static_cast<size_t>(image.line_size) * static_cast<size_t>(image.height) *
                         static_cast<size_t>(image.depth);
    const auto* const samples = static_cast<const uint8_t*>(image.data[0]);
    const int most = image.color_space == IM_BINARY ? 1 : 255;
    for (size_t i = 0; i < bytes; ++i)
        if (samples[i] > most) std::abort();
    if (image.color_space == IM_MAP && (image.palette_count < 1 || image.palette_count > 256))
        std::abort();
}

void readPage(im::Reader& reader, int index) {
    const im::PageInfo info = reader.pageInfo(index);
    reader.attributes();
    if (reader.compression().size() > 19) std::abort();
    const im::ImageHandle image =
        im::makeImage(info.width, info.height, info.colorSpace, info.dataType);
    reader.readPage(index, *image);
    inspect(*image);
    reader.compression();
}

/// A file in memory that looks like one on a disk.
class NotInMemory : public im::BinaryFile {
  public:
    explicit NotInMemory(im::BinaryFile& file) : file_(file) {}
    size_t read(void* to, size_t count) noexcept override {
        file_.seek(position_);
        const size_t got = file_.read(to, count);
        position_ += got;
        return got;
    }
    bool write(const void*, size_t) noexcept override { return false; }
    uint64_t size() const noexcept override { return file_.size(); }

  private:
    im::BinaryFile& file_;
};

void readPages(const im::Format& format, im::BinaryFile& file, bool backward) {
    file.seek(0);
    try {
        const auto reader = format.open(file);
        const int pages = std::min(reader->pageCount(), kMostPages);
        for (int i = 0; i < pages; ++i) {
            try {
                readPage(*reader, backward ? pages - 1 - i : i);
            } catch (const im::Error&) {
            } catch (const std::bad_alloc&) {
            }
        }
    } catch (const im::Error&) {
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace

void readWith(const char* format, const uint8_t* data, size_t size) {
    im::limitPageBytes(kMostPageBytes);
    imBinMemoryFileName record{const_cast<uint8_t*>(data), static_cast<int>(size), 0.0F};  // NOLINT
    imBinFileSetCurrentModule(IM_MEMORYFILE);
    const auto file = im::openBinaryFile(reinterpret_cast<const char*>(&record));
    if (file == nullptr) return;
    const im::Format* const found = im::findFormat(format);
    if (found == nullptr) std::abort();
    found->probe({data, std::min(size, im::kHeadBytes)}, *file);
    readPages(*found, *file, false);
    NotInMemory onDisk(*file);
    readPages(*found, onDisk, true);
}

}  // namespace fuzz
