// RAS: the Sun raster file. Rows of 1, 8, 24 or 32 bits a pixel, top row first and padded to 16
// bits, plain or run-length coded, with a colour map of planes.
#include <algorithm>
#include <cstring>
#include <vector>

#include "byte_reader.h"
#include "byte_writer.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "palette.h"
#include "rows.h"
#include "runs.h"

namespace im {
namespace {

constexpr uint32_t kMagic = 0x59A66A95;
constexpr uint64_t kHeaderBytes = 32;
constexpr uint64_t kLengthAt = 16;
constexpr uint8_t kEscape = 0x80;
constexpr size_t kLongestRun = 256;

enum Type : uint32_t { kOld = 0, kStandard = 1, kCoded = 2, kRgbOrder = 3 };
enum MapType : uint32_t { kNoMap = 0, kPlanesMap = 1, kRawMap = 2 };

struct Header {
    uint32_t width = 0, height = 0, depth = 0, type = 0, mapType = 0, mapBytes = 0;
};

// Bytes of a row of `depth` bits a pixel, with its padding.
size_t rowBytes(int width, int depth) {
    return (packedBytes(width, depth) + 1) & ~size_t{1};
}

Header readHeader(ByteReader& in) {
    constexpr uint32_t longestSide = 1U << 30;
    require(in.u32be() == kMagic, IM_ERR_FORMAT);
    Header h;
    h.width = in.u32be();
    h.height = in.u32be();
    h.depth = in.u32be();
    in.skip(4);  // the length of the data, which old files leave 0
    h.type = in.u32be();
    h.mapType = in.u32be();
    h.mapBytes = in.u32be();
    require(h.width > 0 && h.height > 0, IM_ERR_FORMAT);
    require(h.width < longestSide && h.height < longestSide, IM_ERR_MEM);
    require(h.depth == 1 || h.depth == 8 || h.depth == 24 || h.depth == 32, IM_ERR_DATA);
    require(h.type <= kRgbOrder, IM_ERR_COMPRESS);
    require(h.mapType <= kRawMap, IM_ERR_DATA);
    return h;
}

/// The bytes of the rows. Runs may reach from one row into the next.
class ByteStream {
  public:
    ByteStream(ByteReader& in, bool coded) : in_(in), coded_(coded) {}

    void read(uint8_t* to, size_t count) {
        if (!coded_) {
            in_.bytes(to, count);
            return;
        }
        while (count > 0) {
            if (left_ == 0) startRun();
            const size_t part = std::min(count, left_);
            std::memset(to, value_, part);
            to += part;
            count -= part;
            left_ -= part;
        }
    }

  private:
    void startRun() {
        value_ = in_.u8();
        left_ = 1;
        if (value_ != kEscape) return;
        const uint8_t more = in_.u8();
        if (more == 0) return;  // the escape itself
        left_ = more + size_t{1};
        value_ = in_.u8();
    }

    ByteReader& in_;
    bool coded_;
    size_t left_ = 0;  ///< of the run
    uint8_t value_ = 0;
};

class RasReader : public Reader {
  public:
    explicit RasReader(BinaryFile& file) : in_(file), h_(readHeader(in_)) {
        info_.width = static_cast<int>(h_.width);
        info_.height = static_cast<int>(h_.height);
        info_.flags = IM_TOPDOWN;
        if (h_.depth >= 24) {
            info_.colorSpace = IM_RGB;
            info_.flags |= IM_PACKED;
        } else if (h_.mapType == kPlanesMap && h_.mapBytes >= 3) {
            readMap();
            kind_ = kindOfPalette(colors_, colorCount_);
            info_.colorSpace = kind_.colorSpace;
        } else if (h_.depth == 1) {
            kind_ = {IM_BINARY, 1};
            info_.colorSpace = IM_BINARY;
        }
    }

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        in_.seek(kHeaderBytes + h_.mapBytes);
        const double perByte = h_.depth == 1 ? 8.0 : 1.0;
        const double perCode = h_.type == kCoded ? kLongestRun / 3.0 : 1.0;
        checkPage(info_, in_.left(), perByte * perCode);
        return info_;
    }

    void readPage(int, imImage& image) override {
        if (image.color_space == IM_MAP) setPalette(image, colors_, colorCount_);
        in_.seek(kHeaderBytes + h_.mapBytes);
        ByteStream stream(in_, h_.type == kCoded);
        std::vector<uint8_t> row(rowBytes(image.width, static_cast<int>(h_.depth)));
        for (int y = 0; y < image.height; ++y) {
            stream.read(row.data(), row.size());
            storeRow(row.data(), image, y);
        }
    }

    std::string compression() override { return h_.type == kCoded ? "RLE" : "NONE"; }

  private:
    void readMap() {
        const uint32_t entries = h_.mapBytes / 3;
        colorCount_ = static_cast<int>(std::min(entries, h_.depth == 1 ? 2U : 256U));
        uint8_t planes[3][256];
        for (uint32_t p = 0; p < 3; ++p) {
            in_.seek(kHeaderBytes + uint64_t{p} * entries);
            in_.bytes(planes[p], static_cast<size_t>(colorCount_));
        }
        for (int i = 0; i < colorCount_; ++i)
            colors_[i] = {planes[0][i], planes[1][i], planes[2][i]};
    }

    void storeRow(const uint8_t* row, imImage& image, int y) const {
        const auto width = static_cast<size_t>(image.width);
        uint8_t* const to = rowFromTop(image, 0, y);
        if (h_.depth >= 24) {
            const int step = static_cast<int>(h_.depth / 8);
            const int padding = step - 3;  // goes before the colours
            splitPixels(row + padding, step, h_.type == kRgbOrder ? kRgb : kBgr, image, y);
            return;
        }
        if (h_.depth == 1) {
            unpackSamples(row, to, image.width, 1, kind_.flipBit);
            return;
        }
        std::memcpy(to, row, width);
        if (image.color_space == IM_BINARY)
            for (size_t x = 0; x < width; ++x)
                to[x] = to[x] == (kind_.flipBit ^ 1) ? 1 : 0;
    }

    ByteReader in_;
    Header h_;
    PageInfo info_;
    PaletteKind kind_{};
    imPaletteColor colors_[256] = {};
    int colorCount_ = 0;
};

class RasWriter : public Writer {
  public:
    explicit RasWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string& compression,
                   const Attributes&) override {
        ByteWriter out(file_);
        const bool coded = compression == "RLE";
        const int depth = image.color_space == IM_BINARY ? 1 : 8 * image.depth;
        writeHeader(image, depth, coded, out);
        const uint64_t dataAt = out.tell();
        std::vector<uint8_t> row(rowBytes(image.width, depth));
        for (int y = 0; y < image.height; ++y) {
            fillRow(image, y, row.data());
            if (coded)
                writeRuns(row, out);
            else
                out.bytes(row.data(), row.size());
        }
        const uint64_t length = out.tell() - dataAt;
        out.seek(kLengthAt);
        out.u32be(static_cast<uint32_t>(length));
        out.flush();
    }

  private:
    static void writeHeader(const imImage& image, int depth, bool coded, ByteWriter& out) {
        const bool hasMap = image.color_space == IM_MAP;
        const int count = hasMap ? image.palette_count : 0;
        out.u32be(kMagic);
        out.u32be(static_cast<uint32_t>(image.width));
        out.u32be(static_cast<uint32_t>(image.height));
        out.u32be(static_cast<uint32_t>(depth));
        out.u32be(0);  // the length of the data, known in the end
        out.u32be(coded ? kCoded : kStandard);
        out.u32be(hasMap ? kPlanesMap : kNoMap);
        out.u32be(static_cast<uint32_t>(3 * count));
        for (int i = 0; i < count; ++i)
            out.u8(image.palette[i].red);
        for (int i = 0; i < count; ++i)
            out.u8(image.palette[i].green);
        for (int i = 0; i < count; ++i)
            out.u8(image.palette[i].blue);
    }

    // Leaves the padding as it is: 0.
    static void fillRow(const imImage& image, int y, uint8_t* row) {
        if (image.color_space == IM_BINARY) {
            packSamples(rowFromTop(image, 0, y), row, image.width, 1, 1);  // 1 is black
        } else if (image.depth == 3) {
            mergePixels(image, y, kBgr, row);
        } else {
            std::memcpy(row, rowFromTop(image, 0, y), lineBytes(image));
        }
    }

    static void writeRuns(const std::vector<uint8_t>& row, ByteWriter& out) {
        for (size_t at = 0; at < row.size();) {
            const size_t length = runLength<1>(&row[at], row.size() - at, kLongestRun);
            if (length > 2 || (length == 2 && row[at] == kEscape)) {
                out.u8(kEscape);
                out.u8(static_cast<unsigned>(length - 1));
                out.u8(row[at]);
            } else {
                for (size_t i = 0; i < length; ++i)
                    out.u8(row[at]);
                if (row[at] == kEscape) out.u8(0);
            }
            at += length;
        }
    }

    BinaryFile& file_;
};

bool probe(Bytes head, BinaryFile&) {
    static constexpr uint8_t magic[] = {0x59, 0xA6, 0x6A, 0x95};
    return head.size >= kHeaderBytes && std::memcmp(head.data, magic, sizeof magic) == 0;
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE) return -1;
    return colorSpace == IM_CMYK ? static_cast<int>(IM_RGB) : colorSpace;
}

}  // namespace

const Format kRas = {
    "RAS",
    "Sun raster, plain or run-length coded",
    "*.ras;*.sun",
    {"NONE", "RLE"},
    false,
    probe,
    openAs<RasReader>,
    createAs<RasWriter>,
    storedSpace,
};

}  // namespace im
