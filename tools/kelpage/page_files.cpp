#include "page_files.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <new>
#include <set>

#include "file_facts.h"
#include "kel_ImageFileOper.h"
#include "toolkit.h"

namespace kelpage {
namespace {

constexpr int kNoLimit = -100, kLimitGiven = -10;  // what the loader takes for `channels`
constexpr int kMostPages = 9999;                   // that its page numbers reach

const std::set<std::string>& imageExtensions() {
    static const std::set<std::string> extensions = {
        ".bmp", ".gif", ".ico", ".jp2", ".jpeg", ".jpg", ".led", ".pbm", ".pcx",
        ".pgm", ".png", ".pnm", ".ppm", ".ras",  ".sgi", ".tga", ".tif", ".tiff"};
    return extensions;
}

bool isImageName(const fs::path& file) {
    return imageExtensions().count(lowerExtension(file)) > 0;
}

/// What a loader's result means to a person.
std::string loadErrorText(int result) {
    switch (result) {
        case 1:
            return "not an image, or damaged";
        case 3:
            return "has no such page";
        case 6:
        case 7:
            return "is of a kind that is not supported";
        default:
            return "damaged: it cannot be decoded";
    }
}

std::string saveErrorText(int result) {
    switch (result) {
        case -5:
            return "its format does not have this compression";
        case -4:
        case -3:
        case -2:
            return "its extension names no image format that can be written";
        case IM_ERR_DATA:
            return "cannot be written: the format does not have images of this kind or size";
        case IM_ERR_MEM:
            return "cannot be written: not enough memory";
        default:
            return "cannot be written";
    }
}

Page loadFirst(const fs::path& file, kelSize limit) {
    Page page;
    page.size = limit;
    page.channels = limit.width > 0 && limit.height > 0 ? kLimitGiven : kNoLimit;
    unsigned char* samples = nullptr;
    char format[12] = "", compression[32] = "";
    int rate = 0;
    const int result = Kel_LoadImageFile2BufferRParam(file.c_str(), &samples, &page.size.width,
                                                      &page.size.height, &page.channels, format,
                                                      compression, &rate, &page.xDpi, &page.yDpi);
    if (result != 0) throw FileError(loadErrorText(result));
    page.samples.reset(samples);
    return page;
}

double resolutionOf(const char (&field)[8]) {
    return std::strtod(std::string(field, strnlen(field, sizeof field)).c_str(), nullptr);
}

/// The upper halves of samples of 16 bits.
void copyUpperHalves(unsigned char* to, const unsigned char* from, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        unsigned short sample = 0;
        std::memcpy(&sample, from + 2 * i, sizeof sample);
        to[i] = static_cast<unsigned char>(sample >> 8);
    }
}

/// Any page, by the loader of several.
Page loadNumbered(const fs::path& file, int number) {
    if (number > kMostPages) throw FileError("pages beyond 9999 cannot be reached");
    tagImage* records = nullptr;
    int count = number * 10000 + number;
    const int result = Kel_LoadImageFiles2Buffer_Mult(file.c_str(), &records, &count);
    if (result != 0) throw FileError(loadErrorText(result));
    Page page = makePage({records->width, records->height}, records->channels);
    page.xDpi = resolutionOf(records->xResolution);
    page.yDpi = resolutionOf(records->yResolution);
    const size_t samples = page.planeBytes() * static_cast<size_t>(page.channels);
    const int type = records->dataType;
    if (type == IM_BYTE) std::memcpy(page.samples.get(), records->imageData, samples);
    if (type == IM_USHORT) copyUpperHalves(page.samples.get(), records->imageData, samples);
    Kel_ReleaseImageArr(&records, &count);
    if (type != IM_BYTE && type != IM_USHORT) throw FileError(loadErrorText(7));
    return page;
}

}  // namespace

Page makePage(kelSize size, int channels) {
    Page page;
    page.size = size;
    page.channels = channels;
    page.samples.reset(new unsigned char[page.planeBytes() * static_cast<size_t>(channels)]);
    return page;
}

Page loadPage(const fs::path& file, int number, kelSize limit) {
    const PageFacts facts = readFacts(file, number);
    Page page = number == 1 && facts.sampleType == IM_BYTE ? loadFirst(file, limit)
                                                           : loadNumbered(file, number);
    return limit.width > 0 && limit.height > 0 ? shrunk(std::move(page), limit) : std::move(page);
}

void savePage(const Page& page, const fs::path& file, const std::vector<fs::path>& inputs,
              Compression compression) {
    requireWritableName(file, inputs);
    const int result = Kel_SaveImage_DT(page.samples.get(), page.size.width, page.size.height,
                                        page.channels, file.c_str(), static_cast<int>(compression));
    if (result != 0) throw FileError(saveErrorText(result));
}

void requireWritableName(const fs::path& file, const std::vector<fs::path>& inputs) {
    if (!isImageName(file)) throw FileError("its extension names no image format");
    std::error_code error;
    for (const fs::path& input : inputs)
        if (fs::equivalent(input, file, error)) throw FileError("would overwrite an input");
}

std::string lowerExtension(const fs::path& file) {
    std::string extension = file.extension().string();
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

Inputs collectFiles(const std::vector<std::string>& arguments) {
    Inputs inputs;
    for (const std::string& argument : arguments) {
        if (!isFolder(argument)) {
            inputs.files.emplace_back(argument);
            continue;
        }
        std::vector<fs::path> found;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(argument, error)) {
            std::error_code entryError;
            if (entry.is_regular_file(entryError) && isImageName(entry.path()))
                found.push_back(entry.path());
        }
        if (found.empty()) {
            reportError(argument,
                        error ? "this folder cannot be read" : "no image files in this folder");
            ++inputs.failures;
        }
        std::sort(found.begin(), found.end());
        inputs.files.insert(inputs.files.end(), found.begin(), found.end());
    }
    return inputs;
}

std::vector<fs::path> resultNames(const std::vector<fs::path>& files, const fs::path& folder) {
    std::map<std::string, int> uses;
    for (const fs::path& file : files)
        ++uses[file.stem().string()];
    std::vector<fs::path> names;
    std::set<std::string> taken;
    for (const fs::path& file : files) {
        const bool shared = uses[file.stem().string()] > 1;
        const std::string base = (shared ? file.filename() : file.stem()).string();
        std::string name = base + ".png";
        for (int n = 2; !taken.insert(name).second; ++n)
            name = base + "-" + std::to_string(n) + ".png";
        names.push_back(folder / name);
    }
    return names;
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!isFolder(folder)) throw FileError("cannot make this folder");
}

std::string reasonOf(const std::exception& error) {
    if (dynamic_cast<const std::bad_alloc*>(&error)) return "not enough memory";
    // Some libraries' texts have several lines; the first one says it.
    const std::string text = error.what();
    return text.substr(0, text.find('\n'));
}

void reportError(const fs::path& file, const std::string& text) {
    std::cerr << "kelpage: " << file.string() << ": " << text << std::endl;
}

}  // namespace kelpage
