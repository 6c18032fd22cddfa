#include "kel_im_imagefile_info.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "decimal_text.h"
#include "toolkit_errors.h"

using namespace kel::detail;

namespace {

constexpr size_t kFormatChars = 20, kCompressionChars = 32, kDescriptionChars = 64;

struct FileFacts {
    explicit FileFacts(imFile* file) {
        imFileGetInfo(file, format, compression, &images);
        imFormatInfo(format, description, nullptr, nullptr);
    }
    char format[kFormatChars] = "";
    char compression[kCompressionChars] = "";
    char description[kDescriptionChars] = "";
    int images = 0;
};

struct ImageFacts {
    int width = 0, height = 0, colorMode = 0, dataType = 0;

    std::string dataSize() const {
        double size = imImageDataSize(width, height, colorMode, dataType);
        const char* const unit = GetSizeDesc(&size);
        return formatTwoDecimals(size) + " " + unit;
    }
    const char* yesNo(int flag) const { return (colorMode & flag) != 0 ? "Yes" : "No"; }
};

// On an error prints it to the standard output and closes the file.
bool readFacts(imFile*& file, int index, ImageFacts& facts) {
    const int error = imFileReadImageInfo(file, index, &facts.width, &facts.height,
                                          &facts.colorMode, &facts.dataType);
    if (error == IM_ERR_NONE) return true;
    std::fputs(toolkitErrorText(error), stdout);
    imFileClose(file);
    file = nullptr;
    return false;
}

std::vector<char*> attributeNames(imFile* file) {
    int count = 0;
    imFileGetAttributeList(file, nullptr, &count);
    std::vector<char*> names(static_cast<size_t>(count));
    if (count > 0) imFileGetAttributeList(file, names.data(), &count);
    return names;
}

void printAttribute(imFile* file, const char* name) {
    int type = 0, count = 0;
    const auto* const data =
        static_cast<const unsigned char*>(imFileGetAttribute(file, name, &type, &count));
    if (count == 1) {
        std::printf("      %s: %s\n", name, AttribData2Str(data, type));
    } else if (type == IM_BYTE &&
               FindZero(const_cast<unsigned char*>(data), count) == 1) {  // NOLINT
        std::printf("      %s: %s\n", name, reinterpret_cast<const char*>(data));
    } else {
        // Both texts are the one of the first element, which comes last.
        const char* const second = AttribData2Str(data + imDataTypeSize(type), type);
        const char* const first = AttribData2Str(data, type);
        std::printf("      %s: %s %s ...\n", name, second, first);
    }
}

/// Spaces before a text that is shorter.
std::string widened(const std::string& text, size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string xmlOf(const char* name, const std::string& value) {
    return std::string("<") + name + ">" + value + "</" + name + ">";
}

std::string xmlOf(const ImageFacts& image, int index) {
    return "<imageOne>" + xmlOf("sn", std::to_string(index)) +
           xmlOf("width", std::to_string(image.width)) +
           xmlOf("height", std::to_string(image.height)) +
           xmlOf("color_space", imColorModeSpaceName(image.colorMode)) +
           xmlOf("has_alpha", image.yesNo(IM_ALPHA)) + xmlOf("is_packed", image.yesNo(IM_PACKED)) +
           xmlOf("is_top_down", image.yesNo(IM_TOPDOWN)) +
           xmlOf("data_type", imDataTypeName(image.dataType)) +
           xmlOf("data_size", image.dataSize()) +
           "</imageOne>";  // attributes are left out: kept so
}

template <class Value>
Value valueAt(const void* data, size_t index = 0) {
    Value value;
    std::memcpy(&value, static_cast<const unsigned char*>(data) + index * sizeof value,
                sizeof value);
    return value;
}

/// Nothing for types without a form.
std::optional<std::string> firstElementText(const void* data, int dataType) {
    const auto real = [data](size_t index) {
        return static_cast<double>(valueAt<float>(data, index));
    };
    switch (dataType) {
        case IM_BYTE:
            return widened(std::to_string(valueAt<unsigned char>(data)), 3);
        case IM_USHORT:
            return widened(std::to_string(valueAt<unsigned short>(data)), 5);
        case IM_INT:
            return widened(std::to_string(valueAt<int>(data)), 5);
        case IM_FLOAT:
            return widened(formatTwoDecimals(real(0)), 5);
        case IM_CFLOAT:
            return widened(formatTwoDigits(real(0)), 5) + ", " +
                   widened(formatTwoDecimals(real(1)), 5);
        default:
            return std::nullopt;
    }
}

}  // namespace

void PrintImageInfo(imFile*& file) {
    std::fputs("IM Info\n", stdout);
    const FileFacts facts(file);
    std::printf("  Format: %s - %s\n", facts.format, facts.description);
    std::printf("  Compression: %s\n", facts.compression);
    std::printf("  Image Count: %d\n", facts.images);
    for (int i = 0; i < facts.images; ++i) {
        ImageFacts image;
        if (!readFacts(file, i, image)) return;
        std::printf("  Image #%d\n", i);
        std::printf("    Width: %d\n", image.width);
        std::printf("    Height: %d\n", image.height);
        std::printf("    Color Space: %s\n", imColorModeSpaceName(image.colorMode));
        std::printf("      Has Alpha: %s\n", image.yesNo(IM_ALPHA));
        std::printf("      Is Packed: %s\n", image.yesNo(IM_PACKED));
        std::printf("      Is Top Down: %s\n", image.yesNo(IM_TOPDOWN));
        std::printf("    Data Type: %s\n", imDataTypeName(image.dataType));
        std::printf("    Data Size: %s\n", image.dataSize().c_str());
        const std::vector<char*> names = attributeNames(file);
        if (!names.empty()) std::fputs("    Attributes:\n", stdout);
        for (const char* name : names)
            printAttribute(file, name);
    }
}

void kel_GenerateIMFileInfo(imFile*& file, char* rlt) {
    const FileFacts facts(file);
    const std::string end = "</ImgInfo>";
    std::string report = "<?xml version='1.0' encoding='UTF-8'?><ImgInfo>" +
                         xmlOf("format", facts.format) + xmlOf("compression", facts.compression) +
                         xmlOf("image_count", std::to_string(facts.images));
    bool isRoom = true;
    for (int i = 0; i < facts.images && isRoom; ++i) {
        ImageFacts image;
        if (!readFacts(file, i, image)) return;
        const std::string part = xmlOf(image, i);
        isRoom = report.size() + part.size() + end.size() <= kMostReportChars;
        if (isRoom) report += part;
    }
    report += end;
    std::printf("rlt[%s]\n", report.c_str());
    std::memcpy(rlt, report.data(), report.size());
    rlt[report.size() + 1] = '\0';
}

char* AttribData2Str(const void* data, int data_type) {
    // One text for all calls of a thread, so that loads may run side by side.
    static thread_local char data_str[64];
    const std::optional<std::string> text = firstElementText(data, data_type);
    // Filled up with zeros: records take fixed parts of it, and are compared byte for byte.
    if (text) std::strncpy(data_str, text->c_str(), sizeof data_str - 1);
    return data_str;
}

const char* GetSizeDesc(double* size) {
    if (*size < 1024) return "b";
    *size /= 1024;
    if (*size < 1024) return "Kb";
    *size /= 1024;
    return "Mb";
}

int FindZero(unsigned char* data, int count) {
    return count > 0 && std::memchr(data, 0, static_cast<size_t>(count)) != nullptr ? 1 : 0;
}

int FileSize(const char* fileName) {
    imBinFile* const file = imBinFileOpen(fileName);
    if (file == nullptr) return 0;
    const int size = imBinFileSize(file);
    imBinFileClose(file);
    return size;
}
