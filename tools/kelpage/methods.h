// The binarization methods of the dispatcher, as a person names them.
#pragma once

#include <string>
#include <vector>

#include "page_files.h"

namespace kelpage {

struct Method {
    int number;
    std::string name;
    std::string shows;  ///< what it does, in a few words
};

/// Every method number of the dispatcher.
const std::vector<Method>& methods();

/// True for the methods that compare each sample with the mean round it.
bool isLocal(int method);

/// The parameters of a binarization; absent ones get the method's usual values.
struct Settings {
    int method = 2;
    int thres = 0;
    int blockSize = 0;
    int param1 = 0;
    bool invert = false;
};

/// Usual values for a method: level 128, or a window of 31 pixels minus 15, or the bare estimate,
/// or the estimate kept within 80 and 180.
Settings usualSettings(int method);

/// Ink black on white paper, whatever the method (the reverse with `invert`).
Page binarize(const Page& source, const Settings& settings);

/// The level that a binarization of `source` uses, or the rule behind it, in a few words.
std::string levelText(const Page& source, const Settings& settings);

}  // namespace kelpage
