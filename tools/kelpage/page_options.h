// Options that several commands share: how to binarize, and how large a page may be.
#pragma once

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

#include "methods.h"

namespace kelpage {

/// A binarization as the command line gives it.
struct MethodOptions {
    int method = 2;
    std::optional<int> thres, blockSize, param1;
    std::optional<double> ratio, lowRatio, highRatio;
};

/// --method and its numbers.
void addMethodOptions(CLI::App& command, MethodOptions& options);

/// The method's usual settings with what the options give.
/// @throws CLI::ValidationError for a window that is not odd
Settings settingsOf(const MethodOptions& options);

/// Two numbers above 0 with one character between them.
bool parsePair(const std::string& text, char between, int& first, int& second);

/// A limit like "1000x800".
/// @throws CLI::ValidationError
kelSize limitOf(const std::string& text);

}  // namespace kelpage
