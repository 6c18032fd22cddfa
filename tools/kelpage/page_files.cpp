#include "page_files.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iostream>
#include <map>
#include <new>
#include <set>

#include "kel_ImageBasicProcess.h"

namespace kelpage {
namespace {

constexpr int kReadAsStoredColour = 4;  // OpenCV's IMREAD_ANYCOLOR: grey stays one plane

const std::set<std::string>& imageExtensions() {
    static const std::set<std::string> extensions = {".bmp", ".jp2", ".jpeg", ".jpg",
                                                     ".pbm", ".pgm", ".png",  ".pnm",
                                                     ".ppm", ".ras", ".tif",  ".tiff"};
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

}  // namespace

Page makePage(kelSize size, int channels) {
    Page page;
    page.size = size;
    page.channels = channels;
    page.samples.reset(new unsigned char[page.planeBytes() * static_cast<size_t>(channels)]);
    return page;
}

Page loadPage(const fs::path& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (status.type() == fs::file_type::not_found) throw FileError("no such file");
    if (fs::is_directory(status)) throw FileError("is a folder");
    if (error || !std::ifstream(file)) throw FileError("cannot be opened for reading");
    Page page;
    unsigned char* samples = nullptr;
    if (KelLoadImageFiles(file.c_str(), &page.size.width, &page.size.height, &samples,
                          &page.channels, kReadAsStoredColour) != 0)
        throw FileError("not an image, or damaged");
    page.samples.reset(samples);
    if (page.channels != 1 && page.channels != 3)
        throw FileError("has " + std::to_string(page.channels) + " channels");
    return page;
}

void savePage(const Page& page, const fs::path& file, const std::vector<fs::path>& inputs) {
    if (!isImageName(file)) throw FileError("its extension names no image format");
    std::error_code error;
    for (const fs::path& input : inputs)
        if (fs::equivalent(input, file, error)) throw FileError("would overwrite an input");
    // Written aside and renamed, so that an interrupted run leaves no half a file.
    const fs::path aside = file.parent_path() / (".kelpage-" + std::to_string(getpid()) + "-" +
                                                 file.filename().string());
    try {
        KelSaveImage(page.samples.get(), page.channels, page.size, aside.c_str());
    } catch (const std::exception& failure) {
        fs::remove(aside, error);
        throw FileError("cannot be written: " + reasonOf(failure));
    }
    if (!fs::exists(aside, error)) throw FileError("cannot be written");
    fs::rename(aside, file, error);
    if (!error) return;
    const std::string reason = error.message();
    fs::remove(aside, error);
    throw FileError("cannot be written: " + reason);
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
