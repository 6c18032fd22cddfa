#include "page_files.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <set>

#include "kel_ImageFileOper.h"
#include "page_file.h"
#include "page_writer.h"
#include "plain_text.h"

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

constexpr int kUsualQuality = 75;  // of JPEG

}  // namespace

Page makePage(kelSize size, int channels) {
    Page page;
    page.size = size;
    page.channels = channels;
    page.samples.reset(new unsigned char[page.planeBytes() * static_cast<size_t>(channels)]);
    return page;
}

Page makePageLike(const Page& page, int channels) {
    Page like = makePage(page.size, channels);
    like.xDpi = page.xDpi;
    like.yDpi = page.yDpi;
    return like;
}

Page loadPage(const fs::path& file) {
    PageFile source(file);
    const int count = source.pageCount();
    if (count > 1)
        reportError(file, "has " + std::to_string(count) + " pages; the first one is taken");
    return source.load(1);
}

void savePage(const Page& page, const fs::path& file, const std::vector<fs::path>& inputs) {
    requireWritableName(file, inputs);
    PageWriter writer(file, kUsualQuality);
    writer.add(page, Compression::usual);
    writer.finish();
}

void requireWritableName(const fs::path& file, const std::vector<fs::path>& inputs) {
    if (!isImageName(file)) throw FileError("its extension names no image format");
    std::error_code error;
    for (const fs::path& input : inputs)
        if (fs::equivalent(input, file, error)) throw FileError("would overwrite an input");
}

std::string formatOf(const fs::path& file) {
    const std::string extension = lowerExtension(file);
    // Three extensions of PNM are not in the library's own table.
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
    std::cerr << "kelpage: " << inOneLine(file.string() + ": " + text) << std::endl;
}

}  // namespace kelpage
