// PCX: pages of Paintbrush, from one bit to full colour, by its run-length codes or plain. Planes
// of a row lie one behind the other; a palette of 256 colours comes at the end of the file.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "byte_reader.h"
#include "byte_writer.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "palette.h"
#include "rows.h"

namespace im {
namespace {

constexpr unsigned kMark = 0x0a, kPaletteMark = 0x0c;
constexpr size_t kHeaderBytes = 128, kEndPaletteBytes = 1 + 3 * 256;
constexpr int kNoPaletteVersion = 3, kNewestVersion = 5;
constexpr int kHeaderColors = 16;

// Bytes with both of these bits are counts of runs, all others stand for themselves.
constexpr unsigned kRunBits = 0xc0;
constexpr int kLongestRun = 0x3f;

// What files without a palette mean.
constexpr imPaletteColor kEgaColors[kHeaderColors] = {
    {0, 0, 0},     {0, 0, 170},     {0, 170, 0},    {0, 170, 170},  {170, 0, 0},   {170, 0, 170},
    {170, 85, 0},  {170, 170, 170}, {85, 85, 85},   {85, 85, 255},  {85, 255, 85}, {85, 255, 255},
    {255, 85, 85}, {255, 85, 255},  {255, 255, 85}, {255, 255, 255}};

struct Header {
    int version = 0;
    bool runs = false;
    int bits = 0;  ///< of a sample in a plane
    int planes = 0;
    int planeBytes = 0;  ///< of a row
    int dotsX = 0, dotsY = 0;
    PageInfo info;
    imPaletteColor palette[256] = {};
    int colors = 0;
    uint8_t flipBit = 0;

    size_t rowBytes() const {
        return static_cast<size_t>(planes) * static_cast<size_t>(planeBytes);
    }
};

bool isKnownDepth(int bits, int planes) {
    if (planes == 1) return bits == 1 || bits == 2 || bits == 4 || bits == 8;
    if (bits == 1) return planes >= 2 && planes <= 4;
    return (bits == 4 || bits == 8) && (planes == 3 || planes == 4);
}

bool isBlank(const imPaletteColor* colors, int count) {
    return std::all_of(colors, colors + count, [colors](imPaletteColor c) {
        return c.red == colors->red && c.green == colors->green && c.blue == colors->blue;
    });
}

void readEndPalette(ByteReader& in, Header& h) {
    h.colors = 256;
    if (h.version == kNewestVersion && in.size() >= kHeaderBytes + kEndPaletteBytes) {
        in.seek(in.size() - kEndPaletteBytes);
        if (in.u8() == kPaletteMark) {
            for (imPaletteColor& color : h.palette)
                color = {in.u8(), in.u8(), in.u8()};
            return;
        }
    }
    setGreys(h.palette, 256);
}

// The palette of the header, which many writers left blank.
void chooseHeaderPalette(Header& h) {
    h.colors = 1 << (h.bits * h.planes);
    if (h.version != kNoPaletteVersion && !isBlank(h.palette, h.colors)) return;
    std::copy(kEgaColors, kEgaColors + kHeaderColors, h.palette);
    if (h.colors == 2) h.palette[1] = {255, 255, 255};
}

void chooseKind(ByteReader& in, Header& h) {
    h.info.flags = IM_TOPDOWN;
    if (h.planes >= 3 && h.bits > 1) {
        h.info.colorSpace = IM_RGB;
        if (h.planes == 4) h.info.flags |= IM_ALPHA;
        return;
    }
    if (h.bits == 8)
        readEndPalette(in, h);
    else
        chooseHeaderPalette(h);
    const PaletteKind kind = kindOfPalette(h.palette, h.colors);
    h.info.colorSpace = kind.colorSpace;
    h.flipBit = kind.flipBit;
}

Header readHeader(ByteReader& in) {
    Header h;
    require(in.u8() == kMark, IM_ERR_FORMAT);
    h.version = in.u8();
    const int encoding = in.u8();
    require(h.version <= kNewestVersion && encoding <= 1, IM_ERR_FORMAT);
    h.runs = encoding == 1;
    h.bits = in.u8();
    const int left = in.u16le(), top = in.u16le(), right = in.u16le(), bottom = in.u16le();
    require(left <= right && top <= bottom, IM_ERR_FORMAT);
    h.info.width = right - left + 1;
    h.info.height = bottom - top + 1;
    h.dotsX = in.u16le();
    h.dotsY = in.u16le();
    for (int i = 0; i < kHeaderColors; ++i)
        h.palette[i] = {in.u8(), in.u8(), in.u8()};
    in.skip(1);
    h.planes = in.u8();
    h.planeBytes = in.u16le();
    require(isKnownDepth(h.bits, h.planes), IM_ERR_DATA);
    require(static_cast<size_t>(h.planeBytes) >= packedBytes(h.info.width, h.bits), IM_ERR_FORMAT);
    chooseKind(in, h);
    return h;
}

class PcxReader : public Reader {
  public:
    explicit PcxReader(BinaryFile& file) : in_(file), header_(readHeader(in_)) {}

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        const uint64_t available = in_.size() - std::min<uint64_t>(in_.size(), kHeaderBytes);
        checkPage(header_.info, available, 8.0 * kLongestRun);
        uint64_t rowBytes = header_.rowBytes();
        if (header_.runs) rowBytes = (2 * rowBytes + kLongestRun - 1) / kLongestRun;
        require(rowBytes * static_cast<uint64_t>(header_.info.height) <= available, IM_ERR_ACCESS);
        return header_.info;
    }

    void readPage(int, imImage& image) override {
        if (image.color_space == IM_MAP) setPalette(image, header_.palette, header_.colors);
        std::vector<uint8_t> row(header_.rowBytes());
        in_.seek(kHeaderBytes);
        for (int y = 0; y < image.height; ++y) {
            if (header_.runs)
                readRuns(row.data(), row.size());
            else
                in_.bytes(row.data(), row.size());
            storeRow(row.data(), image, y);
        }
    }

    Attributes attributes() override {
        Attributes attributes;
        attributes.setResolution(
            {static_cast<float>(header_.dotsX), static_cast<float>(header_.dotsY), false});
        return attributes;
    }

    std::string compression() override { return header_.runs ? "RLE" : "NONE"; }

  private:
    // Runs may go from plane to plane; they are cut at the end of the row.
    void readRuns(uint8_t* row, size_t count) {
        for (size_t i = 0; i < count;) {
            const unsigned value = in_.u8();
            if ((value & kRunBits) != kRunBits) {
                row[i++] = static_cast<uint8_t>(value);
                continue;
            }
            const size_t run = std::min<size_t>(value & kLongestRun, count - i);
            std::memset(row + i, in_.u8(), run);
            i += run;
        }
    }

    void storeRow(const uint8_t* row, imImage& image, int y) const {
        const auto planeBytes = static_cast<size_t>(header_.planeBytes);
        if (image.color_space == IM_RGB) {
            for (int p = 0; p < 3; ++p)
                storePlane(row + planeBytes * static_cast<size_t>(p), rowFromTop(image, p, y),
                           image.width);
            return;
        }
        uint8_t* const to = rowFromTop(image, 0, y);
        unpackSamples(row, to, image.width, header_.bits);
        std::vector<uint8_t> bits(header_.planes > 1 ? static_cast<size_t>(image.width) : 0);
        for (int p = 1; p < header_.planes; ++p) {
            unpackSamples(row + planeBytes * static_cast<size_t>(p), bits.data(), image.width, 1);
            for (size_t x = 0; x < bits.size(); ++x)
                to[x] = static_cast<uint8_t>(to[x] | bits[x] << p);
        }
        if (header_.flipBit != 0)
            for (int x = 0; x < image.width; ++x)
                to[x] ^= 1;
    }

    // A plane of one colour.
    void storePlane(const uint8_t* packed, uint8_t* to, int width) const {
        unpackSamples(packed, to, width, header_.bits);
        if (header_.bits == 4)
            for (int x = 0; x < width; ++x)
                to[x] = static_cast<uint8_t>(to[x] * 17);
    }

    ByteReader in_;
    Header header_;
};

class PcxWriter : public Writer {
  public:
    explicit PcxWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string& compression,
                   const Attributes& attributes) override {
        const int bits = image.color_space == IM_BINARY ? 1 : 8;
        const size_t used = packedBytes(image.width, bits);
        const size_t planeBytes = used + used % 2;
        constexpr int longestSide = 0x10000;  // the header tells the last column and row
        require(image.width <= longestSide && image.height <= longestSide && planeBytes <= 0xffff,
                IM_ERR_DATA);
        const bool runs = compression == "RLE";

        ByteWriter out(file_);
        writeHeader(out, image, bits, planeBytes, runs, attributes);
        std::vector<uint8_t> row(planeBytes);
        for (int y = 0; y < image.height; ++y)
            for (int p = 0; p < image.depth; ++p) {
                packSamples(rowFromTop(image, p, y), row.data(), image.width, bits);
                if (runs)
                    writeRuns(out, row);
                else
                    out.bytes(row.data(), row.size());
            }
        if (image.depth == 1 && bits == 8) writeEndPalette(out, image);
        out.flush();
    }

  private:
    static unsigned wholeDots(float dots) {
        return static_cast<unsigned>(std::lround(std::min(dots, 65535.0F)));
    }

    static void writeHeader(ByteWriter& out, const imImage& image, int bits, size_t planeBytes,
                            bool runs, const Attributes& attributes) {
        float x = 0, y = 0;
        attributes.dotsPerInch(x, y);
        out.u8(kMark);
        out.u8(kNewestVersion);
        out.u8(runs ? 1 : 0);
        out.u8(static_cast<unsigned>(bits));
        out.u16le(0);
        out.u16le(0);
        out.u16le(static_cast<unsigned>(image.width - 1));
        out.u16le(static_cast<unsigned>(image.height - 1));
        out.u16le(wholeDots(x));
        out.u16le(wholeDots(y));
        out.zeros(3);  // the header's palette: black, and white for the other bit
        for (int i = 0; i < 3; ++i)
            out.u8(bits == 1 ? 255 : 0);
        out.zeros(3 * (kHeaderColors - 2));
        out.u8(0);
        out.u8(static_cast<unsigned>(image.depth));
        out.u16le(static_cast<unsigned>(planeBytes));
        out.u16le(image.color_space == IM_GRAY ? 2 : 1);  // shades of grey, or colours
        out.zeros(kHeaderBytes - 70);
    }

    static void writeRuns(ByteWriter& out, const std::vector<uint8_t>& row) {
        for (size_t i = 0; i < row.size();) {
            const size_t most = std::min<size_t>(kLongestRun, row.size() - i);
            size_t run = 1;
            while (run < most && row[i + run] == row[i])
                ++run;
            if (run > 1 || (row[i] & kRunBits) == kRunBits)
                out.u8(kRunBits | static_cast<unsigned>(run));
            out.u8(row[i]);
            i += run;
        }
    }

    static void writeEndPalette(ByteWriter& out, const imImage& image) {
        imPaletteColor colors[256];
        paletteFor(image, colors);
        out.u8(kPaletteMark);
        for (const imPaletteColor& color : colors) {
            out.u8(color.red);
            out.u8(color.green);
            out.u8(color.blue);
        }
    }

    BinaryFile& file_;
};

// The mark of one byte is weak: the whole header has to make sense.
bool probe(Bytes head, BinaryFile&) {
    if (head.size < kHeaderBytes) return false;
    const uint8_t* const h = head.data;
    const auto word = [h](size_t at) { return h[at] | h[at + 1] << 8; };
    if (h[0] != kMark || h[1] > kNewestVersion || h[1] == 1 || h[2] > 1) return false;
    if (!isKnownDepth(h[3], h[65]) || word(8) < word(4) || word(10) < word(6)) return false;
    const size_t least = packedBytes(word(8) - word(4) + 1, h[3]);
    const auto planeBytes = static_cast<size_t>(word(66));
    return planeBytes >= least && planeBytes <= 2 * least + 64;
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE) return -1;
    return colorSpace == IM_CMYK ? static_cast<int>(IM_RGB) : colorSpace;
}

}  // namespace

const Format kPcx = {
    "PCX",
    "Paintbrush Picture",
    "*.pcx",
    {"RLE", "NONE"},
    false,
    probe,
    openAs<PcxReader>,
    createAs<PcxWriter>,
    storedSpace,
};

}  // namespace im
