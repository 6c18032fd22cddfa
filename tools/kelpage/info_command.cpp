// kelpage info: what image files hold.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>

#include "commands.h"
#include "file_facts.h"
#include "kel_ImageFileOper.h"
#include "kel_im.h"
#include "toolkit.h"

namespace kelpage {
namespace {

constexpr size_t kReportBytes = 1024;

std::string resolutionText(const PageFacts& page) {
    if (page.xDpi <= 0.0 || page.yDpi <= 0.0) return "no resolution";
    char text[64];
    std::snprintf(text, sizeof text, "%.0f x %.0f dpi", page.xDpi, page.yDpi);
    return text;
}

/// The quality of a JPEG, which decoding tells.
std::string qualityText(const fs::path& path) {
    int error = IM_ERR_NONE;
    const ToolkitFile file(imFileOpen(path.c_str(), &error));
    const ToolkitImage page(imFileLoadImage(file.get(), 0, &error));
    if (page == nullptr) return ", damaged";
    char quality[20] = "";
    imFileGetInfo(file.get(), nullptr, quality, nullptr);
    return std::string(", quality ") + quality;
}

void printFacts(const fs::path& path) {
    const FileFacts facts = readFacts(path);
    std::printf("%s: %s, %zu page%s, %ju bytes\n", path.c_str(), facts.format.c_str(),
                facts.pages.size(), facts.pages.size() == 1 ? "" : "s",
                static_cast<uintmax_t>(fs::file_size(path)));
    size_t number = 0;
    for (const PageFacts& page : facts.pages) {
        const std::string quality = facts.format == "JPEG" ? qualityText(path) : "";
        std::printf("  page %zu: %s, %s%s, %s\n", ++number, describe(page).c_str(),
                    page.compression.c_str(), quality.c_str(), resolutionText(page).c_str());
    }
}

/// Keeps what the library prints off the standard output.
class QuietOutput {
  public:
    QuietOutput() : kept_((std::fflush(stdout), dup(STDOUT_FILENO))) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    QuietOutput(const QuietOutput&) = delete;
    QuietOutput& operator=(const QuietOutput&) = delete;
    ~QuietOutput() {
        std::fflush(stdout);
        dup2(kept_, STDOUT_FILENO);
        close(kept_);
    }

  private:
    int kept_;
};

/// The library's own report.
void printXml(const fs::path& path) {
    readFacts(path);  // for its errors
    char report[kReportBytes] = "";
    {
        const QuietOutput quiet;
        const ToolkitImage page(im_LoadImage(path.c_str(), report));
    }
    if (report[0] == '\0') throw FileError("damaged: no report of it");
    std::printf("%s\n", report);
}

int run(const std::vector<std::string>& names, bool xml) {
    const Inputs inputs = collectFiles(names);
    size_t failures = inputs.failures;
    for (const fs::path& file : inputs.files) {
        try {
            if (xml) {
                printXml(file);
            } else {
                printFacts(file);
            }
        } catch (const std::exception& error) {
            reportError(file, reasonOf(error));
            ++failures;
        }
    }
    return failures > 0 ? 1 : 0;
}

}  // namespace

void addInfo(CLI::App& app, int& status) {
    CLI::App* command =
        app.add_subcommand("info", "Tell format, pages, sizes, compression and resolution");
    const auto inputs = std::make_shared<std::vector<std::string>>();
    const auto xml = std::make_shared<bool>(false);
    command->add_option("IN", *inputs, "Image files, or folders of them")->required();
    command->add_flag("--xml", *xml, "The library's own report, up to 1022 characters of XML");
    command->callback([inputs, xml, &status] { status = run(*inputs, *xml); });
}

}  // namespace kelpage
