// kelpage convert: pages of an image file into another file, format or compression.
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <optional>

#include "batch.h"
#include "commands.h"
#include "page_file.h"
#include "page_options.h"
#include "page_writer.h"
#include "progress.h"

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

struct Range {
    int first = 1, last = 1;
};

Range rangeOf(const std::string& text) {
    const bool isOne = text.find('-') == std::string::npos;
    Range range;
    if (!parsePair(isOne ? text + "-" + text : text, '-', range.first, range.last) ||
        range.last < range.first)
        throw CLI::ValidationError("--pages", "must be like 3 or 2-5");
    return range;
}

bool isTiff(const fs::path& file) {
    return formatOf(file) == "TIFF";
}

/// Binary pages go into TIFF as group 4, unless a compression is asked for.
Compression compressionOf(const Arguments& arguments, bool isBinary) {
    if (!arguments.compression.empty()) return kCompressions.at(arguments.compression);
    return isBinary && isTiff(arguments.output) ? Compression::ccittFax4 : Compression::usual;
}

/// Converts the pages one by one. `atFault` names the file that a failure is about.
void convert(const Arguments& arguments, Range range, kelSize limit, fs::path& atFault) {
    const fs::path input = arguments.input, output = arguments.output;
    PageFile file(input);
    const int count = file.pageCount();
    if (arguments.pages.empty()) range.last = count;
    if (range.last > count)
        throw FileError("has " + std::to_string(count) + (count == 1 ? " page" : " pages"));
    std::optional<PageWriter> writer;
    Progress progress(static_cast<size_t>(range.last - range.first + 1));
    for (int number = range.first; number <= range.last; ++number) {
        progress.show("page " + std::to_string(number));
        atFault = input;
        const bool isBinary = file.facts(number).isBinary();
        const Page page = file.load(number, limit);
        atFault = numberedName(output, number, isTiff(output) || range.first == range.last);
        if (!writer) {
            requireWritableName(atFault, {input});
            writer.emplace(atFault, arguments.quality);
        }
        writer->add(page, compressionOf(arguments, isBinary));
        if (!isTiff(output) || number == range.last) {
            writer->finish();
            writer.reset();
        }
        progress.step();
    }
}

int run(const Arguments& arguments) {
    const kelSize limit = arguments.limit.empty() ? kelSize{0, 0} : limitOf(arguments.limit);
    const Range range = arguments.pages.empty() ? Range{} : rangeOf(arguments.pages);
    fs::path atFault = arguments.input;
    try {
        convert(arguments, range, limit, atFault);
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
