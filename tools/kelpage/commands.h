// The subcommands of kelpage, one per file. Each call adds its command to the program; when a
// person chooses that command, it runs during parsing and leaves the exit status in `status`: 0, or
// 1 when a file failed (the others are still done).
#pragma once

#include <CLI/CLI.hpp>

#include <cmath>

namespace kelpage {

/// Accepts numbers from `low` to `high`. Unlike CLI::Range it refuses "nan".
inline CLI::Validator realRange(double low, double high) {
    const CLI::Range range(low, high);
    return {[range](std::string& text) {
                double number = 0.0;
                const bool isNan = CLI::detail::lexical_cast(text, number) && std::isnan(number);
                return isNan ? text + " is not a number" : range(text);
            },
            range.get_description()};
}

void addAmount(CLI::App& app, int& status);
void addAreas(CLI::App& app, int& status);
void addBinarize(CLI::App& app, int& status);
void addConvert(CLI::App& app, int& status);
void addDescribe(CLI::App& app, int& status);
void addDeskew(CLI::App& app, int& status);
void addDespeckle(CLI::App& app, int& status);
void addEdges(CLI::App& app, int& status);
void addEnhance(CLI::App& app, int& status);
void addHoles(CLI::App& app, int& status);
void addHue(CLI::App& app, int& status);
void addInfo(CLI::App& app, int& status);
void addLines(CLI::App& app, int& status);
void addProfile(CLI::App& app, int& status);
void addResize(CLI::App& app, int& status);
void addRun(CLI::App& app, int& status);
void addRotate(CLI::App& app, int& status);
void addSeal(CLI::App& app, int& status);
void addSheet(CLI::App& app, int& status);
void addSkew(CLI::App& app, int& status);

}  // namespace kelpage
