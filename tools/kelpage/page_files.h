// Pages in memory, and the files they come from and go to.
#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "kel_ImageStorage.h"

namespace kelpage {

namespace fs = std::filesystem;

/// What is wrong with a file, in one line without its name.
class FileError : public std::runtime_error {
  public:
    /// @param code result of the library's call that failed; 0 where none did
    explicit FileError(const std::string& text, int code = 0)
        : std::runtime_error(text), code_(code) {}

    int code() const { return code_; }

  private:
    int code_;
};

struct ReleaseSamples {
    void operator()(unsigned char* samples) const { Kel_ReleaseImage(samples); }
};

/// A channel image of 1 or 3 planes with its samples.
struct Page {
    kelSize size{};
    int channels = 0;
    double xDpi = 0.0, yDpi = 0.0;  ///< 0 where the file tells none
    std::unique_ptr<unsigned char[], ReleaseSamples> samples;

    size_t planeBytes() const {
        return static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    }
};

/// A page with room for `channels` planes.
Page makePage(kelSize size, int channels);
/// The same, of the size and resolution of another.
Page makePageLike(const Page& page, int channels);

/// Reads the first page of an image file, as PageFile::load() does, and says so where the file has
/// several.
/// @throws FileError
Page loadPage(const fs::path& file);

/// Compression by its number in the library's savers.
enum class Compression { usual = 0, rle = 1, ccittFax4 = 2, none = 3 };

/// Writes a page as the extension of `file` says. The file appears whole or not at all.
/// @param inputs files that must not be overwritten
/// @throws FileError
void savePage(const Page& page, const fs::path& file, const std::vector<fs::path>& inputs);

/// Throws for a name without an image format, and for one of the inputs.
/// @throws FileError
void requireWritableName(const fs::path& file, const std::vector<fs::path>& inputs);

/// The format's name by the extension, in letters of either case; empty for none.
std::string formatOf(const fs::path& file);

/// True for a folder; false for anything else, and for what cannot be looked at.
bool isFolder(const fs::path& path);

/// Files to work on, and how many arguments gave none.
struct Inputs {
    std::vector<fs::path> files;
    size_t failures = 0;
};

/// The files that the arguments name: a folder stands for the image files in it, by name. A folder
/// that gives no file is reported.
Inputs collectFiles(const std::vector<std::string>& arguments);

/// Makes a folder with its parents.
/// @throws FileError
void makeFolder(const fs::path& folder);

/// Why a piece of work failed, in one line.
std::string reasonOf(const std::exception& error);

/// "kelpage: FILE: TEXT" on standard error.
void reportError(const fs::path& file, const std::string& text);

}  // namespace kelpage
