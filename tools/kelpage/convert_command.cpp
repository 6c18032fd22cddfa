// kelpage convert: pages of an image file into another file, format or compression.
#include <cstring>
#include <exception>
#include <map>
#include <memory>

#include "commands.h"
#include "file_facts.h"
#include "kel_ImageFileOper.h"
#include "progress.h"
#include "toolkit.h"

namespace kelpage {
namespace {

struct Arguments {
    std::string input, output;
    std::string pages;        ///< "A-B" or "A"; empty for all
    std::string compression;  ///< a key of kCompressions; empty to choose by page
    std::string limit;        ///< "WxH"; empty for none
    int quality = 90;
};

const std::map<std::string, Compression> kCompressions = {
    {"none", Compression::none}, {"rle", Compression::rle}, {"g4", Compression::ccittFax4}};

/// Two numbers with one character between them.
bool parsePair(const std::string& text, char between, int& first, int& second) {
    int end = 0;
    const std::string format = std::string("%6d") + between + "%6d%n";
    return std::sscanf(text.c_str(), format.c_str(), &first, &second, &end) == 2 &&
           static_cast<size_t>(end) == text.size() && first >= 1 && second >= 1;
}

struct Range {
    int first = 1, last = 1;
};

Range rangeOf(const std::string& text) {
    Range range;
    int end = 0;
    if (std::sscanf(text.c_str(), "%6d%n", &range.first, &end) == 1 &&
        static_cast<size_t>(end) == text.size() && range.first >= 1) {
        range.last = range.first;
        return range;
    }
    if (!parsePair(text, '-', range.first, range.last) || range.last < range.first)
        throw CLI::ValidationError("--pages", "must be like 3 or 2-5");
    return range;
}

kelSize limitOf(const std::string& text) {
    kelSize limit{};
    if (!parsePair(text, 'x', limit.width, limit.height) || limit.width < 2 || limit.height < 2)
        throw CLI::ValidationError("--limit", "must be like 1000x800");
    return limit;
}

/// The format's name by the extension; empty for none.
std::string formatOf(const fs::path& file) {
    std::string name = "page" + lowerExtension(file);
    char format[5] = "";
    KelCalImageFormatInName(name.data(), format);
    return format;
}

bool isTiff(const fs::path& file) {
    return formatOf(file) == "TIFF";
}

/// Binary pages go into TIFF as group 4, unless a compression is asked for.
Compression compressionOf(const Arguments& arguments, bool isBinary) {
    if (!arguments.compression.empty()) return kCompressions.at(arguments.compression);
    return isBinary && isTiff(arguments.output) ? Compression::ccittFax4 : Compression::usual;
}

/// A file that the toolkit writes, with resolution and quality, and with several pages for TIFF.
class Writer {
  public:
    Writer(fs::path path, int quality) : path_(std::move(path)), quality_(quality) {}

    void add(const Page& page, Compression compression) {
        if (file_ == nullptr) create(page);
        const char* const name = compression == Compression::rle         ? "RLE"
                                 : compression == Compression::ccittFax4 ? "CCITTFAX4"
                                                                         : nullptr;
        const ToolkitImage image = toToolkit(page);
        if (imFileSetInfo(file_.get(), name) != IM_ERR_NONE)
            throw FileError("its format does not have this compression");
        if (imFileSaveImage(file_.get(), image.get()) != IM_ERR_NONE)
            throw FileError("cannot be written");
    }

    void finish() {
        if (file_ == nullptr || imFileFinish(file_.get()) != IM_ERR_NONE)
            throw FileError("cannot be written");
    }

  private:
    void create(const Page& page) {
        file_.reset(imFileNew(path_.c_str(), formatOf(path_).c_str(), nullptr));
        if (file_ == nullptr) throw FileError("cannot be written");
        imFileSetAttribute(file_.get(), "JPEGQuality", IM_INT, 1, &quality_);
        if (page.xDpi <= 0.0 || page.yDpi <= 0.0) return;
        const auto x = static_cast<float>(page.xDpi), y = static_cast<float>(page.yDpi);
        imFileSetAttribute(file_.get(), "ResolutionUnit", IM_BYTE, 4, "DPI");
        imFileSetAttribute(file_.get(), "XResolution", IM_FLOAT, 1, &x);
        imFileSetAttribute(file_.get(), "YResolution", IM_FLOAT, 1, &y);
    }

    fs::path path_;
    int quality_;
    ToolkitFile file_;
};

/// Formats that keep a resolution; the library's plain saver writes none.
bool keepsResolution(const fs::path& file) {
    const std::string format = formatOf(file);
    return format == "BMP" || format == "JPEG" || format == "PCX" || format == "PNG" ||
           format == "TIFF";
}

/// "out.png" for a single page, else "out-3.png".
fs::path numberedName(const fs::path& output, int number, bool isOnly) {
    if (isOnly) return output;
    return output.parent_path() /
           (output.stem().string() + "-" + std::to_string(number) + output.extension().string());
}

int run(const Arguments& arguments) {
    const fs::path input = arguments.input, output = arguments.output;
    const kelSize limit = arguments.limit.empty() ? kelSize{0, 0} : limitOf(arguments.limit);
    Range range;
    if (!arguments.pages.empty()) range = rangeOf(arguments.pages);
    fs::path atFault = input;
    try {
        const FileFacts facts = readFacts(input);
        const int count = static_cast<int>(facts.pages.size());
        if (arguments.pages.empty()) range.last = count;
        if (range.last > count)
            throw FileError("has " + std::to_string(count) + (count == 1 ? " page" : " pages"));
        atFault = output;
        requireWritableName(output, {input});
        Writer together(output, arguments.quality);
        Progress progress(static_cast<size_t>(range.last - range.first + 1));
        for (int number = range.first; number <= range.last; ++number) {
            progress.show("page " + std::to_string(number));
            atFault = input;
            const Page page = loadPage(input, number, limit);
            const Compression compression =
                compressionOf(arguments, facts.pages[static_cast<size_t>(number - 1)].isBinary());
            atFault = numberedName(output, number, isTiff(output) || range.first == range.last);
            if (isTiff(output)) {
                together.add(page, compression);
            } else if (keepsResolution(output) && arguments.compression.empty()) {
                requireWritableName(atFault, {input});
                Writer alone(atFault, arguments.quality);
                alone.add(page, compression);
                alone.finish();
            } else {
                savePage(page, atFault, {input}, compression);
            }
            progress.step();
        }
        if (isTiff(output)) together.finish();
    } catch (const std::exception& error) {
        reportError(atFault, reasonOf(error));
        return 1;
    }
    return 0;
}

}  // namespace

void addConvert(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "convert", "Write pages of an image file in another format, compression or size");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->input, "Image file")->required();
    command
        ->add_option("OUT", arguments->output,
                     "Result; TIFF takes all pages, other formats become OUT-1, OUT-2, ...")
        ->required();
    command->add_option("-p,--pages", arguments->pages, "Pages A-B, or one (all)");
    command
        ->add_option("-c,--compression", arguments->compression,
                     "none, rle, or g4 for black and white (g4 for binary pages in TIFF)")
        ->check(CLI::IsMember({"none", "rle", "g4"}));
    command->add_option("-l,--limit", arguments->limit, "Scale larger pages down to fit WxH");
    command->add_option("-q,--quality", arguments->quality, "Quality of JPEG")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    command->callback([arguments, &status] { status = run(*arguments); });
}

}  // namespace kelpage
