// Encoding channel images to whole files in memory, by the format's name.
#include <string_view>

#include "im_handles.h"
#include "kel_ImageFileOper.h"
#include "kel_im.h"
#include "kel_im_internal.h"
#include "page_records.h"

using namespace kel::detail;

int Kel_Convert2ImgFileBuffer_Params(unsigned char* data, int width, int height, int channels,
                                     const char* format, unsigned char** dst, int* length,
                                     float xDpi, float yDpi, int quality, void* reserved,
                                     int cprType) {
    if (data == nullptr || format == nullptr || width < 1 || height < 1 ||
        (channels != 1 && channels != 3))
        return -1;
    const std::string_view name = format;
    if (name == "BMP")
        return KC_ConverRaw2BMP(data, width, height, channels, dst, length, xDpi, yDpi, reserved,
                                cprType);
    if (name == "JPEG") {
        const ImImageHandle image = recordOf(data, width, height, channels == 3 ? IM_RGB : IM_GRAY);
        if (image == nullptr) return 0;
        return ConvertimImage2JpegStream_Params(image.get(), quality, dst, length, xDpi, yDpi,
                                                reserved);
    }
    if (name == "TIFF")
        return KC_ConverRaw2TIFF(data, width, height, channels, dst, length, xDpi, yDpi, reserved,
                                 cprType);
    return -2;
}

int Kel_Convert2ImgFileBuffer(unsigned char* data, int width, int height, int channels,
                              const char* format, unsigned char** dst, int* length, int cprType) {
    constexpr int usualQuality = 90;
    return Kel_Convert2ImgFileBuffer_Params(data, width, height, channels, format, dst, length,
                                            0.0F, 0.0F, usualQuality, nullptr, cprType);
}
