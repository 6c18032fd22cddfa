// The subcommands of kelpage, one per file. Each call adds its command to the program; when a
// person chooses that command, it runs during parsing and leaves the exit status in `status`: 0, or
// 1 when a file failed (the others are still done).
#pragma once

#include <CLI/CLI.hpp>

#include <cmath>
#include <string>

namespace kelpage {

/// Refuses "nan", which compares with no bound and so passes CLI::Range().
inline CLI::Validator notNan() {
    return CLI::Validator(
        [](const std::string& text) {
            double value = 0.0;
            const bool isNan = CLI::detail::lexical_cast(text, value) && std::isnan(value);
            return std::string(isNan ? "is not a number" : "");
        },
        "");
}

void addAmount(CLI::App& app, int& status);
void addAreas(CLI::App& app, int& status);
void addBinarize(CLI::App& app, int& status);
void addConvert(CLI::App& app, int& status);
void addEnhance(CLI::App& app, int& status);
void addDeskew(CLI::App& app, int& status);
void addDespeckle(CLI::App& app, int& status);
void addEdges(CLI::App& app, int& status);
void addHoles(CLI::App& app, int& status);
void addHue(CLI::App& app, int& status);
void addInfo(CLI::App& app, int& status);
void addResize(CLI::App& app, int& status);
void addLines(CLI::App& app, int& status);
void addProfile(CLI::App& app, int& status);
void addRoad(CLI::App& app, int& status);
void addRotate(CLI::App& app, int& status);
void addSeal(CLI::App& app, int& status);
void addSheet(CLI::App& app, int& status);
void addSkew(CLI::App& app, int& status);

}  // namespace kelpage
