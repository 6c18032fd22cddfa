#include "page_files.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <new>
#include <set>

#include "kel_ImageFileOper.h"
#include "page_file.h"

namespace kelpage {
namespace {

const std::set<std::string>& imageExtensions() {
    static const std::set<std::string> extensions = {
        ".bmp", ".gif", ".ico", ".jp2", ".jpeg", ".jpg", ".led", ".pbm", ".pcx",
        ".pgm", ".png", ".pnm", ".ppm", ".ras",  ".sgi", ".tga", ".tif", ".tiff"};
    return extensions;
}

std::string lowerExtension(const fs::path& file) {
    std::string extension = file.extension().string();
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

bool isImageName(const fs::path& file) {
    return imageExtensions().count(lowerExtension(file)) > 0;
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

}  // namespace

Page makePage(kelSize size, int channels) {
    Page page;
    page.size = size;
    page.channels = channels;
    page.samples.reset(new unsigned char[page.planeBytes() * static_cast<size_t>(channels)]);
    return page;
}

Page loadPage(const fs::path& file) {
    return PageFile(file).load(1);
}

void savePage(const Page& page, const fs::path& file, const std::vector<fs::path>& inputs,
              Compression compression) {
    requireWritableName(file, inputs);
    const int width = page.size.width, height = page.size.height;
    const int type = static_cast<int>(compression);
    // Three extensions of PNM are not in the library's own table.
    const int result = formatOf(file) == "PNM"
                           ? Kel_SaveImage(page.samples.get(), width, height, page.channels,
                                           file.c_str(), "PNM", type)
                           : Kel_SaveImage_DT(page.samples.get(), width, height, page.channels,
                                              file.c_str(), type);
    if (result != 0) throw FileError(saveErrorText(result), result);
}

void requireWritableName(const fs::path& file, const std::vector<fs::path>& inputs) {
    if (!isImageName(file)) throw FileError("its extension names no image format");
    std::error_code error;
    for (const fs::path& input : inputs)
        if (fs::equivalent(input, file, error)) throw FileError("would overwrite an input");
}

std::string formatOf(const fs::path& file) {
    const std::string extension = lowerExtension(file);
    if (extension == ".pbm" || extension == ".pgm" || extension == ".ppm") return "PNM";
    std::string name = "page" + extension;
    char format[5] = "";
    KelCalImageFormatInName(name.data(), format);
    return format;
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

std::vector<fs::path> resultNames(const std::vector<fs::path>& files, const fs::path& folder,
                                  const std::string& extension) {
    std::map<std::string, int> uses;
    for (const fs::path& file : files)
        ++uses[file.stem().string()];
    std::vector<fs::path> names;
    std::set<std::string> taken;
    for (const fs::path& file : files) {
        const bool shared = uses[file.stem().string()] > 1;
        const std::string base = (shared ? file.filename() : file.stem()).string();
        std::string name = base + extension;
        for (int n = 2; !taken.insert(name).second; ++n)
            name = base + "-" + std::to_string(n) + extension;
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
