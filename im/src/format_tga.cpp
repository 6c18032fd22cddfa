// TGA: palette, true colour and grey images, plain or run-length coded. Files carry no mark at
// their start, so that a header counts as one only when all of it makes sense.
#include <algorithm>
#include <cstring>
#include <string_view>
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

constexpr uint64_t kHeaderBytes = 18;
constexpr size_t kFooterBytes = 26;
constexpr std::string_view kFooterMark{"TRUEVISION-XFILE.\0", 18};  // ends the footer
constexpr size_t kMostInPacket = 128;
constexpr int kLongestSide = 65535;

enum Type { kPaletteType = 1, kColorType = 2, kGreyType = 3, kCoded = 8 };  // kCoded is added
enum Descriptor { kOpacityBits = 0x0f, kFromRight = 0x10, kFromTop = 0x20, kInterleaved = 0xc0 };

struct Header {
    int idBytes = 0;
    bool hasMap = false;
    int kind = 0;  ///< Type without kCoded
    bool coded = false;
    int mapFirst = 0, mapCount = 0, mapDepth = 0;
    int width = 0, height = 0, depth = 0;
    int descriptor = 0;

    int pixelBytes() const { return (depth + 7) / 8; }
    int mapEntryBytes() const { return (mapDepth + 7) / 8; }
    uint64_t mapAt() const { return kHeaderBytes + static_cast<uint64_t>(idBytes); }
    uint64_t mapBytes() const {
        return static_cast<uint64_t>(mapCount) * static_cast<uint64_t>(mapEntryBytes());
    }
    bool hasEmptyMapFields() const { return (mapFirst | mapCount | mapDepth) == 0; }
};

bool isColorDepth(int bits) {
    return bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

bool isSensible(const Header& h) {
    if (h.width == 0 || h.height == 0 || (h.descriptor & kInterleaved) != 0) return false;
    if (h.hasMap && !isColorDepth(h.mapDepth)) return false;
    switch (h.kind) {
        case kPaletteType:
            return h.hasMap && h.depth == 8 && h.mapCount > 0 && h.mapFirst + h.mapCount <= 256;
        case kColorType:
            return isColorDepth(h.depth);
        case kGreyType:
            return h.depth == 8 || h.depth == 16;  // the high byte of 16 bits is opacity
        default:
            return false;
    }
}

Header readHeader(ByteReader& in) {
    Header h;
    h.idBytes = in.u8();
    const int hasMap = in.u8();
    const int type = in.u8();
    h.mapFirst = in.u16le();
    h.mapCount = in.u16le();
    h.mapDepth = in.u8();
    in.skip(4);  // the place on a screen
    h.width = in.u16le();
    h.height = in.u16le();
    h.depth = in.u8();
    h.descriptor = in.u8();
    h.hasMap = hasMap == 1;
    h.coded = (type & kCoded) != 0;
    h.kind = type & ~kCoded;
    require(hasMap <= 1 && isSensible(h), IM_ERR_FORMAT);
    return h;
}

// A colour of 2 to 4 bytes, blue in the lowest bits, to blue, green, red.
void widenColor(const uint8_t* color, int bytes, uint8_t* bgr) {
    if (bytes > 2) {
        std::copy(color, color + 3, bgr);
        return;
    }
    const int bits = color[0] | color[1] << 8;
    for (int i = 0; i < 3; ++i)
        bgr[i] = static_cast<uint8_t>(((bits >> (5 * i) & 31) * 255 + 15) / 31);
}

/// The pixels of a file in its order. Packets may reach from one row into the next.
class PixelStream {
  public:
    PixelStream(ByteReader& in, bool coded, int pixelBytes)
        : in_(in), coded_(coded), step_(static_cast<size_t>(pixelBytes)) {}

    void read(uint8_t* to, size_t pixels) {
        if (!coded_) {
            in_.bytes(to, pixels * step_);
            return;
        }
        while (pixels > 0) {
            if (left_ == 0) startPacket();
            const size_t part = std::min(pixels, left_);
            if (repeats_)
                for (size_t i = 0; i < part; ++i)
                    std::memcpy(to + i * step_, pixel_, step_);
            else
                in_.bytes(to, part * step_);
            to += part * step_;
            pixels -= part;
            left_ -= part;
        }
    }

  private:
    void startPacket() {
        const unsigned head = in_.u8();
        left_ = (head & 127U) + 1;
        repeats_ = head > 127;
        if (repeats_) in_.bytes(pixel_, step_);
    }

    ByteReader& in_;
    bool coded_;
    size_t step_;
    size_t left_ = 0;  ///< pixels of the packet still to come
    bool repeats_ = false;
    uint8_t pixel_[4] = {};
};

class TgaReader : public Reader {
  public:
    explicit TgaReader(BinaryFile& file) : in_(file), h_(readHeader(in_)) {
        info_.width = h_.width;
        info_.height = h_.height;
        if ((h_.descriptor & kFromTop) != 0) info_.flags |= IM_TOPDOWN;
        if (h_.kind == kColorType) {
            info_.colorSpace = IM_RGB;
            info_.flags |= IM_PACKED;
        } else if (h_.kind == kPaletteType) {
            readPalette();
            kind_ = kindOfPalette(colors_, h_.mapFirst + h_.mapCount);
            info_.colorSpace = kind_.colorSpace;
        }
        const bool couldHave = h_.depth == 16 || h_.depth == 32;
        if (couldHave && (h_.descriptor & kOpacityBits) != 0) info_.flags |= IM_ALPHA;
    }

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        in_.seek(h_.mapAt() + h_.mapBytes());
        const double samples = planesOf(info_.colorSpace);
        checkPage(
            info_, in_.left(),
            h_.coded ? samples * kMostInPacket / (1 + h_.pixelBytes()) : samples / h_.pixelBytes());
        return info_;
    }

    void readPage(int, imImage& image) override {
        if (image.color_space == IM_MAP) setPalette(image, colors_, h_.mapFirst + h_.mapCount);
        in_.seek(h_.mapAt() + h_.mapBytes());
        const auto width = static_cast<size_t>(h_.width);
        PixelStream pixels(in_, h_.coded, h_.pixelBytes());
        std::vector<uint8_t> row(width * static_cast<size_t>(h_.pixelBytes()));
        std::vector<uint8_t> wide(h_.kind == kColorType && h_.depth <= 16 ? 3 * width : 0);
        for (int i = 0; i < h_.height; ++i) {
            pixels.read(row.data(), width);
            if ((h_.descriptor & kFromRight) != 0) mirror(row);
            storeRow(row, wide, image, (h_.descriptor & kFromTop) != 0 ? i : h_.height - 1 - i);
        }
    }

    std::string compression() override { return h_.coded ? "RLE" : "NONE"; }

  private:
    void readPalette() {
        in_.seek(h_.mapAt());
        for (int i = h_.mapFirst; i < h_.mapFirst + h_.mapCount; ++i) {
            uint8_t color[4], bgr[3];
            in_.bytes(color, static_cast<size_t>(h_.mapEntryBytes()));
            widenColor(color, h_.mapEntryBytes(), bgr);
            colors_[i] = {bgr[2], bgr[1], bgr[0]};
        }
    }

    void mirror(std::vector<uint8_t>& row) const {
        const auto step = static_cast<size_t>(h_.pixelBytes());
        std::reverse(row.begin(), row.end());  // turns each pixel over as well
        for (size_t at = 0; at < row.size(); at += step)
            std::reverse(&row[at], &row[at] + step);
    }

    void storeRow(const std::vector<uint8_t>& row, std::vector<uint8_t>& wide, imImage& image,
                  int y) const {
        const auto width = static_cast<size_t>(image.width);
        uint8_t* const to = rowFromTop(image, 0, y);
        if (!wide.empty()) {
            for (size_t x = 0; x < width; ++x)
                widenColor(&row[2 * x], 2, &wide[3 * x]);
            splitPixels(wide.data(), 3, kBgr, image, y);
        } else if (h_.kind == kColorType) {
            splitPixels(row.data(), h_.pixelBytes(), kBgr, image, y);
        } else if (image.color_space == IM_BINARY) {
            for (size_t x = 0; x < width; ++x)
                to[x] = row[x] == (kind_.flipBit ^ 1) ? 1 : 0;
        } else {
            const auto step = static_cast<size_t>(h_.pixelBytes());
            for (size_t x = 0; x < width; ++x)
                to[x] = row[x * step];
        }
    }

    ByteReader in_;
    Header h_;
    PageInfo info_;
    PaletteKind kind_{};
    imPaletteColor colors_[256] = {};
};

class TgaWriter : public Writer {
  public:
    explicit TgaWriter(BinaryFile& file) : file_(file) {}

    // The bottom row comes first: the one order that every reader knows.
    void writePage(const imImage& image, const std::string& compression,
                   const Attributes&) override {
        require(image.width <= kLongestSide && image.height <= kLongestSide, IM_ERR_DATA);
        ByteWriter out(file_);
        const bool coded = compression == "RLE";
        writeHeader(image, coded, out);
        std::vector<uint8_t> pixels(image.depth == 3 ? 3 * lineBytes(image) : 0);
        for (int y = image.height - 1; y >= 0; --y) {
            const uint8_t* row = rowFromTop(image, 0, y);
            if (image.depth == 3) {
                mergePixels(image, y, kBgr, pixels.data());
                row = pixels.data();
            }
            if (!coded)
                out.bytes(row, static_cast<size_t>(image.depth) * lineBytes(image));
            else if (image.depth == 3)
                writePackets<3>(row, lineBytes(image), out);
            else
                writePackets<1>(row, lineBytes(image), out);
        }
        out.zeros(kFooterBytes - kFooterMark.size());
        out.text(kFooterMark);
        out.flush();
    }

  private:
    static void writeHeader(const imImage& image, bool coded, ByteWriter& out) {
        imPaletteColor colors[256];
        const bool hasMap = image.color_space == IM_MAP || image.color_space == IM_BINARY;
        const int count = hasMap ? paletteFor(image, colors) : 0;
        const int kind = hasMap ? kPaletteType : image.depth == 3 ? kColorType : kGreyType;
        out.u8(0);
        out.u8(hasMap ? 1 : 0);
        out.u8(static_cast<unsigned>(kind + (coded ? kCoded : 0)));
        out.u16le(0);
        out.u16le(static_cast<unsigned>(count));
        out.u8(hasMap ? 24 : 0);
        out.zeros(4);
        out.u16le(static_cast<unsigned>(image.width));
        out.u16le(static_cast<unsigned>(image.height));
        out.u8(image.depth == 3 ? 24 : 8);
        out.u8(0);
        for (int i = 0; i < count; ++i) {
            const uint8_t bgr[3] = {colors[i].blue, colors[i].green, colors[i].red};
            out.bytes(bgr, 3);
        }
    }

    template <size_t kPixelBytes>
    static void writePackets(const uint8_t* row, size_t pixels, ByteWriter& out) {
        cutIntoPackets<kPixelBytes>(
            row, pixels, kMostInPacket, [&out](bool isRun, const uint8_t* first, size_t length) {
                out.u8(static_cast<unsigned>(length - 1) | (isRun ? 128U : 0U));
                out.bytes(first, isRun ? kPixelBytes : length * kPixelBytes);
            });
    }

    BinaryFile& file_;
};

bool hasFooter(ByteReader& in) {
    char mark[kFooterMark.size()];
    if (in.size() < kHeaderBytes + kFooterBytes) return false;
    in.seek(in.size() - sizeof mark);
    return in.some(mark, sizeof mark) == sizeof mark &&
           kFooterMark == std::string_view(mark, sizeof mark);
}

bool probe(Bytes, BinaryFile& file) {
    try {
        ByteReader in(file);
        const Header h = readHeader(in);
        return h.hasMap || h.hasEmptyMapFields() || hasFooter(in);
    } catch (const Error&) {
        return false;
    }
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE) return -1;
    return colorSpace == IM_CMYK ? static_cast<int>(IM_RGB) : colorSpace;
}

}  // namespace

const Format kTga = {
    "TGA",
    "TGA, plain or run-length coded",
    "*.tga",
    {"NONE", "RLE"},
    false,
    probe,
    openAs<TgaReader>,
    createAs<TgaWriter>,
    storedSpace,
};

}  // namespace im
