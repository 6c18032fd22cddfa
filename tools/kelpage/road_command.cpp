// kelpage road: pages along the library's main road, each step with its time and size.
#include <chrono>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>

#include "commands.h"
#include "file_facts.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageFileOper.h"
#include "methods.h"

namespace kelpage {
namespace {

constexpr int kQuality = 80;

/// Runs a step and gives its time in milliseconds.
template <class Step>
double timed(const Step& step) {
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

void printStep(const char* name, double milliseconds, uintmax_t bytes, const std::string& what) {
    std::printf("  %-12s %8.2f ms %12ju bytes  %s\n", name, milliseconds, bytes, what.c_str());
}

/// A whole JPEG file in memory.
struct Block {
    std::unique_ptr<unsigned char[], ReleaseSamples> bytes;
    int length = 0;
};

Block encode(const Page& page) {
    Block block;
    unsigned char* bytes = nullptr;
    Kel_Convert2ImgFileBuffer_Params(page.samples.get(), page.size.width, page.size.height,
                                     page.channels, "JPEG", &bytes, &block.length,
                                     static_cast<float>(page.xDpi), static_cast<float>(page.yDpi),
                                     kQuality, nullptr, 0);
    block.bytes.reset(bytes);
    if (bytes == nullptr) throw FileError("cannot be encoded");
    return block;
}

void takeAlong(const fs::path& file, const fs::path& folder) {
    Page page, grey, binary;
    const double loading = timed([&] { page = loadPage(file); });
    std::printf("%s: %s\n", file.filename().c_str(), describe(readFacts(file, 1)).c_str());
    printStep("load", loading, page.planeBytes() * static_cast<size_t>(page.channels),
              std::to_string(page.channels) + (page.channels == 1 ? " plane" : " planes") +
                  " from " + std::to_string(fs::file_size(file)) + " bytes on the disk");

    grey = makePage(page.size, 1);
    const double greying = timed([&] {
        KelColorConvert(page.samples.get(), page.size, page.channels, grey.samples.get(), page.size,
                        1);
    });
    printStep("grey", greying, grey.planeBytes(), "exact luminance");

    const Settings settings;
    const double deciding = timed([&] { binary = binarize(grey, settings); });
    printStep("binary", deciding, binary.planeBytes(), "level " + levelText(grey, settings));

    const fs::path tiff = folder / (file.stem().string() + ".tif");
    const double saving = timed([&] { savePage(binary, tiff, {file}, Compression::ccittFax4); });
    printStep("TIFF G4", saving, fs::file_size(tiff), tiff.string());

    Block block;
    const double encoding = timed([&] { block = encode(page); });
    printStep("JPEG block", encoding, static_cast<uintmax_t>(block.length),
              "in memory, quality " + std::to_string(kQuality));
}

int run(const std::vector<std::string>& names, const fs::path& folder) {
    const Inputs inputs = collectFiles(names);
    size_t failures = inputs.failures;
    try {
        makeFolder(folder);
    } catch (const FileError& error) {
        reportError(folder, error.what());
        return 1;
    }
    for (const fs::path& file : inputs.files) {
        try {
            takeAlong(file, folder);
        } catch (const std::exception& error) {
            reportError(file, reasonOf(error));
            ++failures;
        }
    }
    return failures > 0 ? 1 : 0;
}

}  // namespace

void addRoad(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "road", "Take pages along the main road, and tell time and size of every step");
    const auto inputs = std::make_shared<std::vector<std::string>>();
    const auto folder = std::make_shared<std::string>();
    command->add_option("IN", *inputs, "Image files, or folders of them")->required();
    command->add_option("-o,--output", *folder, "Folder for the TIFF files")->required();
    command->callback([inputs, folder, &status] { status = run(*inputs, *folder); });
}

}  // namespace kelpage
