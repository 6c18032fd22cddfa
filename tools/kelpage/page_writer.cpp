#include "page_writer.h"

#include "kel_ImageBasicProcess.h"

namespace kelpage {
namespace {

const char* nameOf(Compression compression) {
    switch (compression) {
        case Compression::rle:
            return "RLE";
        case Compression::ccittFax4:
            return "CCITTFAX4";
        case Compression::none:
            return "NONE";
        default:
            return nullptr;
    }
}

Page greyOf(const Page& page) {
    Page grey = makePageLike(page, 1);
    KelColorConvert(page.samples.get(), page.size, page.channels, grey.samples.get(), page.size, 1);
    return grey;
}

std::string errorText(int result) {
    switch (result) {
        case IM_ERR_FORMAT:
            return "its extension names no image format that can be written";
        case IM_ERR_COMPRESS:
            return "its format does not have this compression";
        case IM_ERR_DATA:
            return "cannot be written: the format does not have images of this kind or size";
        case IM_ERR_MEM:
            return "cannot be written: not enough memory";
        default:
            return "cannot be written";
    }
}

void require(int result) {
    if (result != IM_ERR_NONE) throw FileError(errorText(result), result);
}

}  // namespace

PageWriter::PageWriter(fs::path path, int quality)
    : path_(std::move(path)), format_(formatOf(path_)), quality_(quality) {}

void PageWriter::add(const Page& page, Compression compression) {
    if (file_ == nullptr) create();
    setResolution(page);
    require(imFileSetInfo(file_.get(), nameOf(compression)));
    // The run-length form of BMP takes one plane.
    const bool turnsGrey =
        format_ == "BMP" && compression == Compression::rle && page.channels == 3;
    const ToolkitImage image = turnsGrey ? toToolkit(greyOf(page)) : toToolkit(page);
    require(imFileSaveImage(file_.get(), image.get()));
}

void PageWriter::finish() {
    require(file_ == nullptr ? IM_ERR_OPEN : imFileFinish(file_.get()));
}

void PageWriter::create() {
    int error = IM_ERR_NONE;
    file_.reset(imFileNew(path_.c_str(), format_.c_str(), &error));
    if (file_ == nullptr) require(error);
    imFileSetAttribute(file_.get(), "JPEGQuality", IM_INT, 1, &quality_);
}

void PageWriter::setResolution(const Page& page) {
    const bool isKnown = page.xDpi > 0.0 && page.yDpi > 0.0;
    const auto x = static_cast<float>(page.xDpi), y = static_cast<float>(page.yDpi);
    imFileSetAttribute(file_.get(), "ResolutionUnit", IM_BYTE, 4, isKnown ? "DPI" : nullptr);
    imFileSetAttribute(file_.get(), "XResolution", IM_FLOAT, 1, isKnown ? &x : nullptr);
    imFileSetAttribute(file_.get(), "YResolution", IM_FLOAT, 1, isKnown ? &y : nullptr);
}

}  // namespace kelpage
