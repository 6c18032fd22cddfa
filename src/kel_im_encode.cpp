// Encoding to whole files in memory: JPEG, BMP, TIFF.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "im_handles.h"
#include "kel_im.h"
#include "kel_im_internal.h"
#include "page_records.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

/// A file that is written into memory.
class MemoryImageFile {
  public:
    explicit MemoryImageFile(const char* format)
        : file_(imFileNew(nameOf(block_), format, nullptr)) {}
    MemoryImageFile(const MemoryImageFile&) = delete;
    MemoryImageFile& operator=(const MemoryImageFile&) = delete;
    ~MemoryImageFile() {
        file_.reset();
        imBinMemoryRelease(block_.buffer);
    }

    imFile* get() const { return file_.get(); }

    /// Hands the bytes so far to the caller, one zero byte behind them; without the memory for it
    /// nothing happens.
    void take(unsigned char** dst, int* length) const try {
        const int bytes = imFileGetWriteImageDataLen(file_.get());
        const auto count = static_cast<size_t>(std::max(bytes, 0));
        if (count > 0) {
            SampleBuffer copy(count + 1);
            std::memcpy(copy.data(), block_.buffer, count);
            copy[count] = 0;
            *dst = copy.release();
        }
        *length = bytes;
    } catch (const std::bad_alloc&) {
    }

  private:
    MemoryModule module_;
    imBinMemoryFileName block_{nullptr, 2048, 1.1F};
    ImFileHandle file_;
};

int colorSpaceOf(int channels) {
    return channels == 3 ? IM_RGB : IM_GRAY;
}

struct Encoding {
    const char* format;
    const char* compression;  ///< null for the format's usual one
    float xDpi, yDpi;
    const int* quality = nullptr;  ///< of JPEG
};

// A failure is the result, and leaves the outputs as they were.
int encode(imImage* image, const Encoding& how, unsigned char** dst, int* length) {
    const MemoryImageFile file(how.format);
    if (how.quality != nullptr)
        imFileSetAttribute(file.get(), "JPEGQuality", IM_INT, 1, how.quality);
    kel_SetDpiInfoToImageFile(how.format, how.xDpi, how.yDpi, file.get());
    if (how.compression != nullptr) imFileSetInfo(file.get(), how.compression);
    const int error = imFileSaveImage(file.get(), image);
    if (error == IM_ERR_NONE) file.take(dst, length);
    return error;
}

/// Reads a little-endian 32-bit number.
int32_t int32At(const unsigned char* bytes) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i)
        value = value << 8 | bytes[i];
    return static_cast<int32_t>(value);
}

}  // namespace

int ConvertimImage2JpegStream_Params(imImage* image, int quality, unsigned char** dst, int* length,
                                     float xDpi, float yDpi, void* /*reserved*/) {
    encode(image, {"JPEG", nullptr, xDpi, yDpi, &quality}, dst, length);
    return 0;
}

int ConvertimImage2JpegStream(imImage* image, int quality, unsigned char** dst, int* length) {
    return ConvertimImage2JpegStream_Params(image, quality, dst, length, 0.0F, 0.0F, nullptr);
}

int KC_ConverRaw2BMP(unsigned char* data, int width, int height, int channels, unsigned char** dst,
                     int* length, float xDpi, float yDpi, void* /*reserved*/, int cprType) {
    ImImageHandle image = recordOf(data, width, height, colorSpaceOf(channels));
    // The run-length form takes one plane.
    if (channels == 3 && cprType == 1 && image != nullptr) image = convertedRecord(*image, IM_GRAY);
    encode(image.get(), {"BMP", cprType == 1 ? "RLE" : nullptr, xDpi, yDpi}, dst, length);
    return 0;
}

int KC_ConverRaw2TIFF(unsigned char* data, int width, int height, int channels, unsigned char** dst,
                      int* length, float xDpi, float yDpi, void* /*reserved*/, int cprType) {
    const bool isBinary = cprType == 2;
    const ImImageHandle image =
        (isBinary ? binaryRecordOf : recordOf)(data, width, height, colorSpaceOf(channels));
    const char* const compression = isBinary ? "CCITTFAX4" : cprType == 1 ? "RLE" : nullptr;
    const int error = encode(image.get(), {"TIFF", compression, xDpi, yDpi}, dst, length);
    if (error != IM_ERR_NONE) PrintError(error);
    return 0;
}

int kel_SetDpiInfoToImageFile(const char* format, float xDpi, float yDpi, imFile* file) {
    const bool carries = std::strcmp(format, "BMP") == 0 || std::strcmp(format, "JPEG") == 0 ||
                         std::strcmp(format, "PCX") == 0 || std::strcmp(format, "PNG") == 0 ||
                         std::strcmp(format, "TIFF") == 0;
    if (!carries || !(xDpi > 0.0F) || !(yDpi > 0.0F)) return 0;
    // A count of 4 goes with each resolution, of which the first counts; the data are as long.
    const float x[4] = {xDpi, yDpi, 0.0F, 0.0F}, y[4] = {yDpi, xDpi, 0.0F, 0.0F};
    imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, "DPI");
    imFileSetAttribute(file, "XResolution", IM_FLOAT, 4, x);
    imFileSetAttribute(file, "YResolution", IM_FLOAT, 4, y);
    return 0;
}

int ConvertDIB2JpegStream(unsigned char* bitmap, int quality, unsigned char** dst, int* length) {
    constexpr size_t headerBytes = 40, fileHeaderBytes = 14;
    if (bitmap == nullptr) return 1;
    const int64_t width = int32At(bitmap + 4), height = std::abs(int64_t{int32At(bitmap + 8)});
    const int64_t bits = bitmap[14] | bitmap[15] << 8;
    const int64_t rowBytes = ((bits * width + 31) >> 5) * 4;
    constexpr int64_t most = std::numeric_limits<int32_t>::max() - 54;
    if (width < 1 || height < 1 || rowBytes < 1 || rowBytes > most / height) return 0;
    const auto pixelBytes = static_cast<size_t>(rowBytes * height);

    const size_t fileBytes = fileHeaderBytes + headerBytes + pixelBytes;
    SampleBuffer file(fileBytes);
    std::memset(file.data(), 0, fileHeaderBytes);
    file[0] = 'B';
    file[1] = 'M';
    for (size_t i = 0; i < 4; ++i)
        file[2 + i] = static_cast<unsigned char>(fileBytes >> 8 * i);
    file[10] = fileHeaderBytes + headerBytes;
    std::memcpy(file.data() + fileHeaderBytes, bitmap, headerBytes + pixelBytes);

    imImage* decoded = nullptr;
    ReadImageFile2Buffer(file.data(), static_cast<int>(fileBytes), &decoded, nullptr);
    const ImImageHandle image(decoded);
    if (image != nullptr) ConvertimImage2JpegStream(image.get(), quality, dst, length);
    return 0;
}

int kel_GetoFileTell(imFile* file) {
    imBinFile* const handle = imFileHandle(file);
    if (handle == nullptr) {
        std::fputs("handle is NULL\n", stdout);
        return 0;
    }
    return imBinFileTell(handle);
}
