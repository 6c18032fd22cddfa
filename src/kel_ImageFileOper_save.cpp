// Format names, and saving channel images by them.
#include <strings.h>

#include <cstdio>
#include <cstring>
#include <string_view>

#include "im_handles.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageFileOper_internal.h"
#include "kel_im.h"

using namespace kel::detail;

namespace {

constexpr int kRefusedCompression = -5;

struct FormatName {
    const char* extension;  ///< in capitals
    const char* name;
    bool standard;  ///< known to both tables
};

constexpr FormatName kFormatNames[] = {
    {"BMP", "BMP", true},  {"JPG", "JPEG", true},  {"JPEG", "JPEG", true}, {"JP2", "JP2", true},
    {"TIF", "TIFF", true}, {"TIFF", "TIFF", true}, {"PCX", "PCX", true},   {"PNG", "PNG", true},
    {"GIF", "GIF", true},  {"RAS", "RAS", true},   {"SGI", "SGI", true},   {"LED", "LED", true},
    {"TGA", "TGA", true},  {"RAW", "RAW", true},   {"PNM", "PNM", true},   {"ICO", "ICO", true},
    {"KRN", "KRN", false}, {"AVI", "AVI", false},  {"ECW", "ECW", false},  {"WMV", "WMV", false},
};

bool isSmallForm(std::string_view text, std::string_view capitals) {
    if (text.size() != capitals.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = capitals[i];
        if (text[i] != (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c)) return false;
    }
    return true;
}

// The table of names by the file's name: all capitals or all small; KRN in capitals alone.
const char* formatOfExtension(std::string_view extension) {
    for (const FormatName& f : kFormatNames) {
        if (extension == f.extension) return f.name;
        if (std::string_view(f.name) != "KRN" && isSmallForm(extension, f.extension)) return f.name;
    }
    return nullptr;
}

}  // namespace

int KelCalImageFormatInName(char* fileName, char* format) {
    const std::string_view name = fileName == nullptr ? "" : fileName;
    const size_t length = name.size();
    if (length < 5) return 1;
    size_t letters = 0;
    if (name[length - 4] == '.') {
        letters = 3;
    } else if (name[length - 5] == '.') {
        if (length == 5) return 1;
        letters = 4;
    } else {
        return 2;
    }
    const char* const found = formatOfExtension(name.substr(length - letters));
    if (found == nullptr) return 3;
    std::strcpy(format, found);
    return 0;
}

int KelStandardFormatName(const char* extension, char* format) {
    for (const FormatName& f : kFormatNames)
        if (f.standard && strcasecmp(extension, f.extension) == 0) {
            std::strcpy(format, f.name);
            return 0;
        }
    return -1;
}

bool Kel_CheckSepcialCprTypeIsOK(const char* format, int cprType) {
    const std::string_view name = format == nullptr ? "" : format;
    if (cprType == 1)
        return name == "BMP" || name == "PCX" || name == "TIFF" || name == "RAS" || name == "SGI" ||
               name == "TGA";
    if (cprType == 2 || cprType == 3) return name == "TIFF";
    return true;
}

int Kel_SaveImage(unsigned char* data, int width, int height, int channels, const char* fileName,
                  const char* format, int cprType) {
    if (!Kel_CheckSepcialCprTypeIsOK(format, cprType)) return kRefusedCompression;
    ImImageHandle image = makeImImage(width, height, channels == 1 ? IM_GRAY : IM_RGB);
    if (image == nullptr) {
        PrintError(IM_ERR_MEM);
        return IM_ERR_MEM;
    }
    KelPutIMLibImage(image.get(), data);

    // The run-length form of BMP takes one plane; CCITT takes bits.
    const bool turnsGrey = channels != 1 && cprType == 1 && std::strcmp(format, "BMP") == 0;
    if (turnsGrey || cprType == 2) {
        const ImImageHandle stored = makeImImageLike(*image, turnsGrey ? IM_GRAY : IM_BINARY);
        if (stored == nullptr) {
            PrintError(IM_ERR_MEM);
            return IM_ERR_MEM;
        }
        imConvertColorSpace(image.get(), stored.get());
        image.reset();
        return im_SaveImage(stored.get(), fileName, format, cprType);
    }
    return im_SaveImage(image.get(), fileName, format, cprType == 1 ? 1 : 0);
}

int Kel_SaveImage_DT(unsigned char* data, int width, int height, int channels, const char* fileName,
                     int cprType) {
    if (data == nullptr || fileName == nullptr || width < 1 || height < 1 ||
        (channels != 1 && channels != 3))
        return -1;
    const std::string_view name = fileName;
    if (name.size() < 5) return -2;
    const size_t dot = name.rfind('.');
    if (dot == name.npos || dot < 1) return -3;
    const size_t letters = name.size() - dot - 1;
    if (letters != 3 && letters != 4) return -3;
    char format[12] = "";
    if (KelStandardFormatName(fileName + dot + 1, format) != 0) {
        std::fputs("format is error!\n", stderr);
        return -4;
    }
    return Kel_SaveImage(data, width, height, channels, fileName, format, cprType);
}

int Kel_SaveImage_Mult_DT() {
    return 0;
}

int KelSaveKelImage(char* path, tagImage* image) {
    char format[12] = "";
    const int result = KelCalImageFormatInName(path, format);
    if (result != 0) return -result;
    return Kel_SaveImage(image->imageData, image->width, image->height, image->channels, path,
                         format, 0);
}

int KelSaveUserImage(const char* name, unsigned char* data, int width, int height, int channels) {
    return Kel_SaveImage_DT(data, width, height, channels, name, 0);
}
