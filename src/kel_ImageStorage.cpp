// Records of loaded pages: releasing them, and unpacking the first of a load result.
#include "kel_ImageStorage.h"

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "decimal_text.h"
#include "kel_ImageStorage_internal.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr size_t kResolutionChars = sizeof(tagImage::xResolution);

/// The text of a fixed field, which may fill it without a terminator.
template <size_t N>
std::string_view fieldText(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

/// Copies a fixed field into a caller's buffer of the same size, always terminated.
template <size_t N>
void copyField(char* to, const char (&field)[N]) {
    const std::string_view text = fieldText(field).substr(0, N - 1);
    std::memcpy(to, text.data(), text.size());
    to[text.size()] = '\0';
}

double resolutionOf(const char* text) {
    return parseDecimal({text, strnlen(text, kResolutionChars)});
}

}  // namespace

void KelInitKelImage(tagImage* image) {
    std::memset(image, 0, sizeof *image);
}

void KelReleaseKelImage(tagImage* image) {
    if (!image) return;
    Kel_ReleaseImage(image->imageData);
    KelInitKelImage(image);
}

void KelReleaseImageArrs(tagImage** arr, int* count) {
    if (!*arr || *count < 1) return;
    const std::unique_ptr<tagImage[]> records(*arr);
    for (int i = 0; i < *count; ++i)
        KelReleaseKelImage(&records[static_cast<size_t>(i)]);
    *arr = nullptr;
    *count = 0;
}

void Kel_ReleaseImageArr(tagImage** arr, int* count) {
    KelReleaseImageArrs(arr, count);
}

void Kel_ReleaseImage(unsigned char* image) {
    std::unique_ptr<unsigned char[]>{image}.reset();
}

int Kel_CopyImageArr2One(tagImage* arr, int /*count*/, int wantInfo, unsigned char** dst,
                         int* width, int* height, int* channels, char* format, char* compression,
                         int* cprRate, double* xResolution, double* yResolution) {
    const tagImage& first = arr[0];
    const auto bytes = planeBytes(first.width, first.height, first.channels);
    if (!bytes) throw std::bad_array_new_length();
    SampleBuffer samples(*bytes);
    if (*bytes > 0) std::memcpy(samples.data(), first.imageData, *bytes);
    *dst = samples.release();
    return tellRecord(first, wantInfo, width, height, channels, format, compression, cprRate,
                      xResolution, yResolution);
}

int tellRecord(const tagImage& first, int wantInfo, int* width, int* height, int* channels,
               char* format, char* compression, int* cprRate, double* xResolution,
               double* yResolution) {
    *width = first.width;
    *height = first.height;
    *channels = first.channels;
    if (wantInfo != 1) return 0;
    copyField(format, first.format);
    copyField(compression, first.compression);
    *cprRate = parseInteger(fieldText(first.compression));
    *xResolution = resolutionOf(first.xResolution);
    *yResolution = resolutionOf(first.yResolution);
    return 0;
}

double TransResolution(char* resolutions, int mode) {
    if (mode != 1) return resolutionOf(resolutions);
    for (char* text : {resolutions, resolutions + kResolutionChars}) {
        const auto perCm = static_cast<float>(resolutionOf(text));
        const auto perInch = static_cast<float>(static_cast<double>(perCm) * 2.54);
        std::string printed = formatTwoDecimals(static_cast<double>(perInch));
        printed.resize(kResolutionChars, '\0');
        std::memcpy(text, printed.data(), kResolutionChars);
    }
    return 0.0;
}
