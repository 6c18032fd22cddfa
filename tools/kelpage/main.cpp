// kelpage, the host program: takes pages through KelImageLib from the command line.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>

#include "commands.h"
#include "kel_debug.h"
#include "page_files.h"

namespace {

constexpr int kUsageError = 2;

/// A standard stream that is closed would give its number to the next file that is opened, and our
/// lines would go into that.
void openStandardStreams() {
    int file = 0;
    do
        file = open("/dev/null", O_RDWR);
    while (file >= 0 && file <= STDERR_FILENO);
    if (file >= 0) close(file);
}

int run(int argc, char** argv) {
    CLI::App app(
        "kelpage takes scanned pages through KelImageLib.\n"
        "Exit status: 0, or 1 when a file failed (the others are still done), or 2 for a "
        "wrong command line.",
        "kelpage");
    app.set_version_flag("--version", "kelpage " KELPAGE_VERSION);
    app.require_subcommand(1);
    int status = 0;
    kelpage::addAmount(app, status);
    kelpage::addAreas(app, status);
    kelpage::addBinarize(app, status);
    kelpage::addConvert(app, status);
    kelpage::addDescribe(app, status);
    kelpage::addDeskew(app, status);
    kelpage::addDespeckle(app, status);
    kelpage::addEdges(app, status);
    kelpage::addEnhance(app, status);
    kelpage::addHoles(app, status);
    kelpage::addHue(app, status);
    kelpage::addInfo(app, status);
    kelpage::addLines(app, status);
    kelpage::addProfile(app, status);
    kelpage::addResize(app, status);
    kelpage::addRun(app, status);
    kelpage::addRotate(app, status);
    kelpage::addSeal(app, status);
    kelpage::addSheet(app, status);
    kelpage::addSkew(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsageError;
    }
    return status;
}

}  // namespace

// The library's debug channel: kelpage has a line of its own for every failure.
void OutputDebugStringA(const char* /*text*/) {}

int main(int argc, char** argv) {
    openStandardStreams();
    try {
        const int status = run(argc, argv);
        std::cout.flush();
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0 && std::cout) return status;
        kelpage::reportError("standard output", "cannot be written");
        return status == 0 ? 1 : status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kelpage: %s\n", error.what());
    } catch (...) {
        std::fputs("kelpage: unexpected failure\n", stderr);
    }
    return 1;
}
