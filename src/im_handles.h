// Owning handles for the toolkit's records and files, and for what a memory file needs.
#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>

#include "im.h"

namespace kel::detail {

struct ImDestroy {
    void operator()(imImage* image) const { imImageDestroy(image); }
    void operator()(imFile* file) const { imFileClose(file); }
};

using ImImageHandle = std::unique_ptr<imImage, ImDestroy>;
using ImFileHandle = std::unique_ptr<imFile, ImDestroy>;

inline ImImageHandle makeImImage(int width, int height, int colorSpace, int dataType = IM_BYTE) {
    return ImImageHandle(imImageCreate(width, height, colorSpace, dataType));
}

/// An image of the same size in another colour space of bytes, cleared.
inline ImImageHandle makeImImageLike(const imImage& image, int colorSpace) {
    return makeImImage(image.width, image.height, colorSpace);
}

/// A record as the toolkit takes it for a name while the memory module is current.
inline const char* nameOf(imBinMemoryFileName& record) {
    return reinterpret_cast<const char*>(&record);
}

/// A copy of a caller's block to give to the toolkit, which takes it back by imBinMemoryRelease;
/// null when there is none to copy, or no memory.
inline imBinMemoryFileName copyOfBlock(const unsigned char* block, int bytes) {
    imBinMemoryFileName copy{nullptr, bytes, 1.1F};
    if (block == nullptr || bytes < 1) return copy;
    const auto count = static_cast<size_t>(bytes);
    copy.buffer = static_cast<unsigned char*>(std::malloc(count));  // NOLINT: the toolkit's way
    if (copy.buffer != nullptr) std::memcpy(copy.buffer, block, count);
    return copy;
}

/// Makes the memory module current for as long as it lives.
class MemoryModule {
  public:
    MemoryModule() : before_(imBinFileSetCurrentModule(IM_MEMORYFILE)) {}
    MemoryModule(const MemoryModule&) = delete;
    MemoryModule& operator=(const MemoryModule&) = delete;
    ~MemoryModule() { imBinFileSetCurrentModule(before_); }

  private:
    int before_;
};

}  // namespace kel::detail
