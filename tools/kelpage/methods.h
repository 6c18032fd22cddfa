// The binarization methods of the library, as a person names them.
#pragma once

#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

/// The parameters of a binarization.
struct Settings {
    int method = 2;
    int thres = 0;
    int blockSize = 0;
    int param1 = 0;
    double ratio = 0.0;
    double lowRatio = 0.0;
    double highRatio = 0.0;
    bool invert = false;
};

/// For a page that a method finds no level in.
class NoLevel : public FileError {
  public:
    using FileError::FileError;
};

struct Method {
    Settings usual;  ///< with the method's own number
    std::string name;
    std::string shows;  ///< what it does, in a few words

    /// "6: auto-clamped", or the bare name of a method that the dispatcher has no number for.
    std::string title() const;
};

/// Every method: those of the dispatcher by its numbers, and the others.
const std::vector<Method>& methods();

/// The method of a name, or of a number of the dispatcher; null for another text.
const Method* findMethod(const std::string& text);

/// True for the methods whose block size is a window round each pixel.
bool hasWindow(int method);

/// Usual values for a method: level 128, or a window of 31 pixels minus 15, or the bare estimate,
/// or the estimate kept within 80 and 180, and so on.
Settings usualSettings(int method);

/// Ink black on white paper, whatever the method (the reverse with `invert`).
/// @throws NoLevel, FileError
Page binarize(const Page& source, const Settings& settings);

/// The level that a binarization of `source` uses, or the rule behind it, in a few words.
std::string levelText(const Page& source, const Settings& settings);

}  // namespace kelpage
