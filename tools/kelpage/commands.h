// The subcommands of kelpage. Each returns the program's exit status: 0, or 1 when a file failed.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace kelpage {

struct BinarizeArguments {
    std::vector<std::string> inputs;
    std::string output;
    int method = 2;
    std::optional<int> thres, blockSize, param1;
    bool invert = false;
};

/// Binarizes each input; a file that fails is reported and the others are still done.
int runBinarize(const BinarizeArguments& arguments);

struct SheetArguments {
    std::vector<std::string> inputs;
    std::string folder;
};

/// Binarizes each input by every method and writes an HTML contact sheet of the results.
int runSheet(const SheetArguments& arguments);

}  // namespace kelpage
