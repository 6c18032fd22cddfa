#include "tiff_handle.h"

#include <cstdio>
#include <limits>
#include <memory>
#include <new>

namespace im {
namespace {

TiffHandle::Client& clientOf(thandle_t handle) {
    return *static_cast<TiffHandle::Client*>(handle);
}

tmsize_t readBytes(thandle_t handle, void* to, tmsize_t count) {
    return count <= 0
               ? 0
               : static_cast<tmsize_t>(clientOf(handle).file.read(to, static_cast<size_t>(count)));
}

tmsize_t writeBytes(thandle_t handle, void* from, tmsize_t count) {
    TiffHandle::Client& client = clientOf(handle);
    if (count < 0 || client.refusing) return -1;
    return client.file.write(from, static_cast<size_t>(count)) ? count : -1;
}

toff_t seekTo(thandle_t handle, toff_t offset, int whence) {
    BinaryFile& file = clientOf(handle).file;
    const uint64_t base = whence == SEEK_CUR ? file.tell() : whence == SEEK_END ? file.size() : 0;
    file.seek(base + offset);
    return file.tell();
}

int closeNothing(thandle_t) {
    return 0;  // the file is not ours
}

toff_t sizeOf(thandle_t handle) {
    return clientOf(handle).file.size();
}

int mapFile(thandle_t handle, void** base, toff_t* size) {
    const Bytes whole = clientOf(handle).file.whole();
    if (whole.size == 0) return 0;
    *base = const_cast<uint8_t*>(whole.data);  // NOLINT: libtiff only reads what it maps
    *size = whole.size;
    return 1;
}

void unmapNothing(thandle_t, void*, toff_t) {}

int ignoreMessage(TIFF*, void*, const char*, const char*, va_list) {
    return 1;  // done with: not for the process-wide handlers
}

struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

}  // namespace

TiffHandle::TiffHandle(BinaryFile& file, const char* mode) : client_{file} {
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (options == nullptr) throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), ignoreMessage, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreMessage, nullptr);
    // No strip of an image that can be held is larger.
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), std::numeric_limits<int>::max());
    file.seek(0);
    tiff_ = TIFFClientOpenExt("image", mode, &client_, readBytes, writeBytes, seekTo, closeNothing,
                              sizeOf, mapFile, unmapNothing, options.get());
    require(tiff_ != nullptr, mode[0] == 'r' ? IM_ERR_FORMAT : IM_ERR_ACCESS);
}

TiffHandle::~TiffHandle() {
    refuseWrites();
    TIFFClose(tiff_);
}

}  // namespace im
