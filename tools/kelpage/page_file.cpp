#include "page_file.h"

#include <cstring>
#include <fstream>
#include <new>

#include "kel_ImageFileOper.h"
#include "kel_im.h"

namespace kelpage {
namespace {

constexpr double kCentimetresPerInch = 2.54;
// Results of the library's loaders.
constexpr int kNotOpened = 1, kNoSuchPage = 3, kNotDecoded = 5, kNotSupported = 7;
constexpr int kNoLimit = -100, kLimitGiven = -10;  // what the loader takes for `channels`

/// What a loader's result means to a person.
const char* loadErrorText(int result) {
    switch (result) {
        case kNotOpened:
            return "not an image, or damaged";
        case 6:
        case kNotSupported:
            return "is of a kind that is not supported, or too large";
        default:
            return "damaged: it cannot be decoded";
    }
}

FileError loadError(int result) {
    return FileError(loadErrorText(result), result);
}

const char* kindOf(int colorSpace) {
    switch (colorSpace) {
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

ToolkitFile open(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) throw FileError("no such file", kNotOpened);
    if (fs::is_directory(status)) throw FileError("is a folder", kNotOpened);
    if (error || !fs::is_regular_file(status) || !std::ifstream(path))
        throw FileError("cannot be opened for reading", kNotOpened);
    ToolkitFile file(imFileOpen(path.c_str(), nullptr));
    if (file == nullptr) throw loadError(kNotOpened);
    return file;
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

/// The first page of a file, by the library's loader.
Page loadFirst(const fs::path& path, kelSize limit) {
    Page page;
    page.size = limit;
    page.channels = limit.width > 0 && limit.height > 0 ? kLimitGiven : kNoLimit;
    unsigned char* samples = nullptr;
    char format[12] = "", compression[32] = "";
    int rate = 0;
    const int result = Kel_LoadImageFile2BufferRParam(path.c_str(), &samples, &page.size.width,
                                                      &page.size.height, &page.channels, format,
                                                      compression, &rate, &page.xDpi, &page.yDpi);
    if (result != 0) throw loadError(result);
    page.samples.reset(samples);
    return page;
}

/// The upper halves of samples of 16 bits.
ToolkitImage narrowed(const imImage& wide) {
    ToolkitImage image(imImageCreate(wide.width, wide.height, wide.color_space, IM_BYTE));
    if (image == nullptr) throw std::bad_alloc();
    const auto* const from = static_cast<const unsigned short*>(wide.data[0]);
    auto* const to = static_cast<unsigned char*>(image->data[0]);
    const size_t count = static_cast<size_t>(image->line_size) *
                         static_cast<size_t>(image->height) * static_cast<size_t>(image->depth);
    for (size_t i = 0; i < count; ++i)
        to[i] = static_cast<unsigned char>(from[i] >> 8);
    return image;
}

/// A page that the library's loader does not give whole: a later one, or one of wide samples.
Page loadByToolkit(imFile* file, int number) {
    ToolkitImage image(imFileLoadImage(file, number - 1, nullptr));
    if (image == nullptr) throw loadError(kNotDecoded);
    if (image->data_type == IM_USHORT) image = narrowed(*image);
    if (image->data_type != IM_BYTE) throw loadError(kNotSupported);
    if (image->depth != 1 || image->color_space == IM_MAP) {
        ToolkitImage rgb(imImageCreate(image->width, image->height, IM_RGB, IM_BYTE));
        if (rgb == nullptr) throw std::bad_alloc();
        if (imConvertColorSpace(image.get(), rgb.get()) != IM_ERR_NONE)
            throw loadError(kNotSupported);
        image = std::move(rgb);
    }
    Page page = makePage({image->width, image->height}, image->depth);
    KelGetIMLibImage(image.get(), page.samples.get());
    return page;
}

}  // namespace

std::string describe(const PageFacts& page) {
    std::string text = std::to_string(page.size.width) + " x " + std::to_string(page.size.height) +
                       " pixels, " + kindOf(page.colorSpace);
    if (page.sampleType != IM_BYTE)
        text += std::string(" (") + imDataTypeName(page.sampleType) + " samples)";
    return text;
}

PageFile::PageFile(fs::path path) : path_(std::move(path)), file_(open(path_)) {
    char format[12] = "";
    imFileGetInfo(file_.get(), format, nullptr, &pageCount_);
    format_ = format;
    pageCount_ += imFileIsCutOff(file_.get());
}

PageFacts PageFile::facts(int number) {
    if (number < 1 || number > pageCount_) throw FileError("has no such page", kNoSuchPage);
    PageFacts page;
    int mode = 0;
    imFile* const file = file_.get();
    if (imFileReadImageInfo(file, number - 1, &page.size.width, &page.size.height, &mode,
                            &page.sampleType) != IM_ERR_NONE)
        throw FileError("page " + std::to_string(number) + " is damaged or not supported",
                        kNotDecoded);
    char compression[20] = "";
    imFileGetInfo(file, nullptr, compression, nullptr);
    page.colorSpace = mode & 0xff;
    page.compression = compression;
    const double scale = isPerCentimetre(file) ? kCentimetresPerInch : 1.0;
    page.xDpi = floatAttribute(file, "XResolution") * scale;
    page.yDpi = floatAttribute(file, "YResolution") * scale;
    return page;
}

Page PageFile::load(int number, kelSize limit) {
    const PageFacts known = facts(number);
    const bool isUsual = number == 1 && known.sampleType == IM_BYTE;
    Page page = isUsual ? loadFirst(path_, limit) : loadByToolkit(file_.get(), number);
    if (!isUsual && limit.width > 0 && limit.height > 0) page = shrunk(std::move(page), limit);
    page.xDpi = known.xDpi * page.size.width / known.size.width;
    page.yDpi = known.yDpi * page.size.height / known.size.height;
    return page;
}

}  // namespace kelpage
