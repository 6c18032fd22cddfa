// The subcommands of kelpage, one per file. Each call adds its command to the program; when a
// person chooses that command, it runs during parsing and leaves the exit status in `status`: 0, or
// 1 when a file failed (the others are still done).
#pragma once

#include <CLI/CLI.hpp>

namespace kelpage {

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
void addRun(CLI::App& app, int& status);
void addRotate(CLI::App& app, int& status);
void addSeal(CLI::App& app, int& status);
void addSheet(CLI::App& app, int& status);
void addSkew(CLI::App& app, int& status);

}  // namespace kelpage
