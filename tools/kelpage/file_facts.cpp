#include "file_facts.h"

#include <cstring>
#include <fstream>

#include "toolkit.h"

namespace kelpage {
namespace {

constexpr double kCentimetresPerInch = 2.54;

std::string kindOf(int colorMode) {
    switch (colorMode & 0xff) {
        case IM_BINARY:
            return "binary";
        case IM_GRAY:
            return "grey";
        case IM_MAP:
            return "palette";
        case IM_CMYK:
            return "CMYK";
        default:
            return "colour";
    }
}

double floatAttribute(imFile* file, const char* name) {
    int type = 0;
    const void* data = imFileGetAttribute(file, name, &type, nullptr);
    if (data == nullptr || type != IM_FLOAT) return 0.0;
    float value = 0.0F;
    std::memcpy(&value, data, sizeof value);
    return static_cast<double>(value);
}

bool isPerCentimetre(imFile* file) {
    int count = 0;
    const void* data = imFileGetAttribute(file, "ResolutionUnit", nullptr, &count);
    return data != nullptr && count >= 3 && std::memcmp(data, "DPC", 3) == 0;
}

PageFacts pageFacts(imFile* file, int index) {
    PageFacts page;
    int mode = 0;
    const int error = imFileReadImageInfo(file, index, &page.size.width, &page.size.height, &mode,
                                          &page.sampleType);
    if (error != IM_ERR_NONE)
        throw FileError("page " + std::to_string(index + 1) + " is damaged or not supported");
    char compression[20] = "";
    imFileGetInfo(file, nullptr, compression, nullptr);
    page.kind = kindOf(mode);
    page.compression = compression;
    const double scale = isPerCentimetre(file) ? kCentimetresPerInch : 1.0;
    page.xDpi = floatAttribute(file, "XResolution") * scale;
    page.yDpi = floatAttribute(file, "YResolution") * scale;
    return page;
}

ToolkitFile open(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) throw FileError("no such file");
    if (fs::is_directory(status)) throw FileError("is a folder");
    if (error || !std::ifstream(path)) throw FileError("cannot be opened for reading");
    ToolkitFile file(imFileOpen(path.c_str(), nullptr));
    if (file == nullptr) throw FileError("not an image, or damaged");
    return file;
}

int pageCount(imFile* file) {
    int count = 0;
    imFileGetInfo(file, nullptr, nullptr, &count);
    return count;
}

}  // namespace

FileFacts readFacts(const fs::path& path) {
    const ToolkitFile file = open(path);
    FileFacts facts;
    char format[12] = "";
    imFileGetInfo(file.get(), format, nullptr, nullptr);
    facts.format = format;
    const int count = pageCount(file.get());
    for (int i = 0; i < count; ++i)
        facts.pages.push_back(pageFacts(file.get(), i));
    return facts;
}

PageFacts readFacts(const fs::path& path, int number) {
    const ToolkitFile file = open(path);
    if (number < 1 || number > pageCount(file.get())) throw FileError("has no such page");
    return pageFacts(file.get(), number - 1);
}

std::string describe(const PageFacts& page) {
    std::string text = std::to_string(page.size.width) + " x " + std::to_string(page.size.height) +
                       " pixels, " + page.kind;
    if (page.sampleType != IM_BYTE)
        text += std::string(" (") + imDataTypeName(page.sampleType) + " samples)";
    return text;
}

}  // namespace kelpage
