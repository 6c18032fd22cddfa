// BMP: bitmaps of Windows and OS/2 in all depths, plain, by masks and by run-length codes; written
// bottom row first with the 40-byte header.
#include <algorithm>
#include <cmath>
#include <limits>

#include "dib.h"
#include "error.h"
#include "image.h"

namespace im {
namespace {

constexpr uint32_t kFileHeaderBytes = 14;
constexpr uint64_t kFileBytesAt = 2, kDataBytesAt = kFileHeaderBytes + 20;
constexpr double kMetresPerInch = 0.0254;

class BmpReader : public Reader {
  public:
    explicit BmpReader(BinaryFile& file) : in_(file) {
        require(in_.u16le() == ('B' | 'M' << 8), IM_ERR_FORMAT);
        in_.skip(8);  // size of the file, and two numbers of no use
        const uint32_t dataAt = in_.u32le();
        dib_ = readDib(in_, dataAt);
    }

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        checkDib(dib_, in_);
        return dib_.info;
    }

    // A top-down file is not turned over: its callers know it by IM_TOPDOWN and do that.
    void readPage(int, imImage& image) override { readDibRows(in_, dib_, image); }

    Attributes attributes() override {
        Attributes attributes;
        attributes.setResolution({static_cast<float>(dib_.perMetreX * kMetresPerInch),
                                  static_cast<float>(dib_.perMetreY * kMetresPerInch), false});
        return attributes;
    }

    std::string compression() override { return dib_.runs ? "RLE" : "NONE"; }

  private:
    ByteReader in_;
    Dib dib_;
};

int dotsPerMetre(float dotsPerInch) {
    constexpr double most = std::numeric_limits<int>::max();
    return static_cast<int>(
        std::min(most, std::round(static_cast<double>(dotsPerInch) / kMetresPerInch)));
}

uint32_t checkedFileBytes(uint64_t bytes) {
    require(bytes <= std::numeric_limits<uint32_t>::max(), IM_ERR_MEM);
    return static_cast<uint32_t>(bytes);
}

class BmpWriter : public Writer {
  public:
    explicit BmpWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string& compression,
                   const Attributes& attributes) override {
        const DibLayout layout = dibLayoutOf(image);
        const uint32_t dataAt =
            kFileHeaderBytes + kDibHeaderBytes + 4 * static_cast<uint32_t>(layout.colors);
        DibHeader header;
        header.height = image.height;
        header.runs = compression == "RLE";
        uint32_t fileBytes = dataAt;
        if (!header.runs) {
            fileBytes = checkedFileBytes(dataAt + uint64_t{layout.rowBytes} *
                                                      static_cast<uint64_t>(image.height));
            header.dataBytes = fileBytes - dataAt;
        }
        float x = 0, y = 0;
        if (attributes.dotsPerInch(x, y)) {
            header.perMetreX = dotsPerMetre(x);
            header.perMetreY = dotsPerMetre(y);
        }

        ByteWriter out(file_);
        out.text("BM");
        out.u32le(fileBytes);
        out.u32le(0);
        out.u32le(dataAt);
        writeDibHeader(out, image, layout, header);
        if (header.runs) {
            writeDibRuns(out, image);
            fileBytes = checkedFileBytes(out.tell());
            out.seek(kFileBytesAt);
            out.u32le(fileBytes);
            out.seek(kDataBytesAt);
            out.u32le(fileBytes - dataAt);
        } else {
            writeDibRows(out, image, layout);
        }
        out.flush();
    }

  private:
    BinaryFile& file_;
};

bool probe(Bytes head, BinaryFile&) {
    // The size of the second header fits one byte; the three above it are 0.
    return head.size >= 26 && head.data[0] == 'B' && head.data[1] == 'M' && head.data[14] >= 12 &&
           head.data[15] == 0 && head.data[16] == 0 && head.data[17] == 0;
}

int storedSpace(int colorSpace, int dataType, const std::string& compression) {
    if (dataType != IM_BYTE) return -1;
    const int space = colorSpace == IM_CMYK ? static_cast<int>(IM_RGB) : colorSpace;
    if (compression != "RLE") return space;
    if (space == IM_RGB) return -1;
    return space == IM_BINARY ? static_cast<int>(IM_GRAY) : space;
}

}  // namespace

const Format kBmp = {
    "BMP",
    "Windows Device Independent Bitmap",
    "*.bmp;*.dib",
    {"NONE", "RLE"},
    false,
    probe,
    openAs<BmpReader>,
    createAs<BmpWriter>,
    storedSpace,
};

}  // namespace im
