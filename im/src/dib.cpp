#include "dib.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "error.h"
#include "image.h"
#include "palette.h"
#include "rows.h"

namespace im {
namespace {

enum Compression : uint32_t {
    kPlain = 0,
    kRuns8 = 1,
    kRuns4 = 2,
    kMasks = 3,
    kMasksWithAlpha = 6,
};

constexpr uint32_t kCoreHeader = 12, kShortHeader = 16, kOs2Header = 64, kLargestHeader = 255;

// Codes of run-length data that follow a count of 0; all others are lengths of literal runs.
enum RunCode { kEndOfLine = 0, kEndOfBitmap = 1, kDelta = 2, kLeastLiteral = 3 };
constexpr int kLongestRun = 255;

// More samples than run-length data make of a byte: 255 of two bytes, but also whole rows of an end
// of line.
constexpr double kMostRunRatio = 16384;

uint64_t paddedRowBytes(int width, int bits) {
    return (static_cast<uint64_t>(width) * static_cast<uint64_t>(bits) + 31) / 32 * 4;
}

void setMasks(Dib& dib, uint32_t red, uint32_t green, uint32_t blue) {
    dib.masks[0] = red;
    dib.masks[1] = green;
    dib.masks[2] = blue;
}

// Leaves `in` behind header and masks; returns the colours that the header announces.
uint32_t readHeader(ByteReader& in, Dib& dib, uint32_t headerBytes) {
    const uint64_t start = in.tell() - 4;
    uint32_t compression = kPlain, colors = 0;
    if (headerBytes == kCoreHeader) {
        dib.info.width = in.u16le();
        dib.info.height = in.u16le();
    } else {
        dib.info.width = in.i32le();
        dib.info.height = in.i32le();
    }
    in.skip(2);  // planes: always 1
    dib.bits = in.u16le();
    if (headerBytes >= kDibHeaderBytes) {
        compression = in.u32le();
        in.skip(4);  // bytes of the data, often 0
        dib.perMetreX = in.i32le();
        dib.perMetreY = in.i32le();
        colors = in.u32le();
        in.skip(4);
    }
    if (dib.info.height < 0) {
        require(dib.info.height >= -INT32_MAX, IM_ERR_FORMAT);
        dib.info.height = -dib.info.height;
        dib.info.flags |= IM_TOPDOWN;
    }
    require(dib.info.width > 0 && dib.info.height > 0, IM_ERR_FORMAT);

    // OS/2 gives other meanings to the numbers from 3 on.
    const bool masked =
        (compression == kMasks || compression == kMasksWithAlpha) && headerBytes != kOs2Header;
    dib.runs = compression == kRuns8 || compression == kRuns4;
    require(compression == kPlain || dib.runs || masked, IM_ERR_COMPRESS);
    const int b = dib.bits;
    require(b == 1 || b == 2 || b == 4 || b == 8 || b == 16 || b == 24 || b == 32, IM_ERR_FORMAT);
    require(!dib.runs || b == (compression == kRuns8 ? 8 : 4), IM_ERR_FORMAT);
    require(!masked || b == 16 || b == 32, IM_ERR_FORMAT);

    if (masked) {
        for (int i = 0; i < 3; ++i)
            dib.masks[i] = in.u32le();
        if (compression == kMasksWithAlpha || headerBytes >= 56) dib.masks[3] = in.u32le();
        if (dib.masks[3] != 0) dib.info.flags |= IM_ALPHA;
    }
    if ((dib.masks[0] | dib.masks[1] | dib.masks[2]) == 0) {
        if (b == 16)
            setMasks(dib, 0x7c00, 0x03e0, 0x001f);
        else
            setMasks(dib, 0xff0000, 0x00ff00, 0x0000ff);
    }
    in.seek(std::max(in.tell(), start + headerBytes));
    return colors;
}

// Takes the announced entries, as far as they fit before the rows.
void readPalette(ByteReader& in, Dib& dib, uint32_t announced, int entryBytes) {
    const uint64_t most = uint64_t{1} << dib.bits;
    uint64_t count = announced == 0 ? most : std::min<uint64_t>(announced, most);
    if (dib.dataAt >= in.tell() && dib.dataAt != 0)
        count = std::min(count, (dib.dataAt - in.tell()) / static_cast<uint64_t>(entryBytes));
    dib.colors = static_cast<int>(count);
    for (int i = 0; i < dib.colors; ++i) {
        imPaletteColor& color = dib.palette[i];
        color.blue = in.u8();
        color.green = in.u8();
        color.red = in.u8();
        if (entryBytes == 4) in.u8();
    }
    if (count == 0) {  // no palette at all stands for greys
        dib.colors = static_cast<int>(most);
        setGreys(dib.palette, dib.colors);
    }
    if (dib.bits == 1) dib.colors = 2;
}

/// Takes the samples of one colour out of masked pixels.
class MaskedSample {
  public:
    explicit MaskedSample(uint32_t mask) : mask_(mask) {
        while (mask != 0 && (mask >> shift_ & 1) == 0)
            ++shift_;
        most_ = mask >> shift_;
        for (uint32_t v = 0; v <= 255 && v <= most_; ++v)
            table_[v] = scaled(v);
    }

    uint8_t of(uint32_t pixel) const {
        const uint32_t value = (pixel & mask_) >> shift_;
        return most_ <= 255 ? table_[value] : scaled(value);
    }

  private:
    uint8_t scaled(uint64_t value) const {
        return most_ == 0 ? uint8_t{0} : static_cast<uint8_t>((value * 255 + most_ / 2) / most_);
    }

    uint32_t mask_;
    uint32_t most_ = 0;
    int shift_ = 0;
    uint8_t table_[256] = {};
};

void splitMaskedPixels(const uint8_t* pixels, int step, const MaskedSample (&colors)[3],
                       imImage& image, int y) {
    uint8_t* const to[3] = {rowFromTop(image, 0, y), rowFromTop(image, 1, y),
                            rowFromTop(image, 2, y)};
    for (int x = 0; x < image.width; ++x, pixels += step) {
        uint32_t pixel = pixels[0] | static_cast<uint32_t>(pixels[1]) << 8;
        if (step == 4)
            pixel |= static_cast<uint32_t>(pixels[2]) << 16 | static_cast<uint32_t>(pixels[3])
                                                                  << 24;
        for (int p = 0; p < 3; ++p)
            to[p][x] = colors[p].of(pixel);
    }
}

void readIndexRows(ByteReader& in, const Dib& dib, imImage& image) {
    const size_t used = packedBytes(image.width, dib.bits);
    const uint64_t padding = paddedRowBytes(image.width, dib.bits) - used;
    std::vector<uint8_t> room;
    for (int y = image.height - 1; y >= 0; --y) {
        uint8_t* const row = rowFromTop(image, 0, y);
        if (dib.bits == 8)
            in.bytes(row, used);
        else
            unpackSamples(in.view(used, room), row, image.width, dib.bits, dib.flipBit);
        in.skip(padding);
    }
}

void readColorRows(ByteReader& in, const Dib& dib, imImage& image) {
    const int step = dib.bits / 8;
    const size_t used = packedBytes(image.width, dib.bits);
    const uint64_t padding = paddedRowBytes(image.width, dib.bits) - used;
    const bool bytes = step == 3 || (step == 4 && dib.masks[0] == 0xff0000 &&
                                     dib.masks[1] == 0x00ff00 && dib.masks[2] == 0x0000ff);
    const MaskedSample colors[3] = {MaskedSample(dib.masks[0]), MaskedSample(dib.masks[1]),
                                    MaskedSample(dib.masks[2])};
    std::vector<uint8_t> room;
    for (int y = image.height - 1; y >= 0; --y) {
        const uint8_t* const pixels = in.view(used, room);
        if (bytes)
            splitPixels(pixels, step, kBgr, image, y);
        else
            splitMaskedPixels(pixels, step, colors, image, y);
        in.skip(padding);
    }
}

// A literal run; what the file lacks of it is left out.
int readLiterals(ByteReader& in, int count, int bits, uint8_t* samples) {
    uint8_t packed[kLongestRun + 1];
    const size_t bytes = packedBytes(count, bits);
    const size_t got = std::min(in.some(packed, (bytes + 1) / 2 * 2), bytes);  // padded to even
    const int read = std::min(count, static_cast<int>(got) * 8 / bits);
    unpackSamples(packed, samples, read, bits);
    return read;
}

// What no code reaches stays 0; runs are cut at the end of their row.
void readRuns(ByteReader& in, int bits, imImage& image) {
    std::memset(image.data[0], 0, planeSamples(image));
    int x = 0, y = image.height - 1;
    while (y >= 0 && in.left() >= 2) {
        const int count = in.u8();
        const int code = in.u8();
        uint8_t samples[kLongestRun];
        int run = count;
        if (count > 0) {
            for (int i = 0; i < count; ++i)
                samples[i] =
                    static_cast<uint8_t>(bits == 8 ? code : (i % 2 == 0 ? code >> 4 : code & 15));
        } else if (code == kEndOfLine) {
            x = 0;
            --y;
        } else if (code == kEndOfBitmap) {
            return;
        } else if (code == kDelta) {
            if (in.left() < 2) return;
            x = std::min(image.width, x + in.u8());
            y -= in.u8();
        } else {
            run = readLiterals(in, code, bits, samples);
        }
        const int fitting = std::min(run, image.width - x);
        if (fitting > 0) {
            std::memcpy(rowFromTop(image, 0, y) + x, samples, static_cast<size_t>(fitting));
            x += fitting;
        }
    }
}

void writeRun(ByteWriter& out, int count, int value) {
    out.u8(static_cast<unsigned>(count));
    out.u8(static_cast<unsigned>(value));
}

int runLength(const uint8_t* samples, int count) {
    const int most = std::min(count, kLongestRun);
    int run = 1;
    while (run < most && samples[run] == samples[0])
        ++run;
    return run;
}

// Samples up to the next run of three.
int literalLength(const uint8_t* samples, int count) {
    const int most = std::min(count, kLongestRun);
    int length = 0;
    while (length < most && runLength(samples + length, std::min(3, count - length)) < 3)
        ++length;
    return length;
}

void writeRowRuns(ByteWriter& out, const uint8_t* samples, int width) {
    for (int x = 0; x < width;) {
        const int literals = literalLength(samples + x, width - x);
        if (literals >= kLeastLiteral) {
            writeRun(out, 0, literals);
            out.bytes(samples + x, static_cast<size_t>(literals));
            if (literals % 2 == 1) out.u8(0);
            x += literals;
        } else {
            const int run = runLength(samples + x, width - x);
            writeRun(out, run, samples[x]);
            x += run;
        }
    }
    writeRun(out, 0, kEndOfLine);
}

}  // namespace

Dib readDib(ByteReader& in, uint64_t dataAt) {
    Dib dib;
    const uint32_t headerBytes = in.u32le();
    require(headerBytes == kCoreHeader || headerBytes == kShortHeader ||
                (headerBytes >= kDibHeaderBytes && headerBytes <= kLargestHeader),
            IM_ERR_FORMAT);
    const uint32_t announced = readHeader(in, dib, headerBytes);
    dib.dataAt = dataAt;
    if (dib.bits > 8) {
        dib.info.colorSpace = IM_RGB;
        dib.info.flags |= IM_PACKED;
    } else {
        readPalette(in, dib, announced, headerBytes == kCoreHeader ? 3 : 4);
        const PaletteKind kind = kindOfPalette(dib.palette, dib.colors);
        // Deeper pixels have more values than the two of a binary palette.
        const bool fits = kind.colorSpace != IM_BINARY || dib.bits == 1;
        dib.info.colorSpace = fits ? kind.colorSpace : static_cast<int>(IM_MAP);
        dib.flipBit = fits ? kind.flipBit : uint8_t{0};
    }
    dib.dataAt = std::max(dib.dataAt, in.tell());
    return dib;
}

void checkDib(const Dib& dib, const ByteReader& in) {
    if (dib.runs) {
        checkPage(dib.info, in.size(), kMostRunRatio);
        return;
    }
    const uint64_t available = in.size() - std::min(in.size(), dib.dataAt);
    checkPage(dib.info, available, 8.0);
    // The padding of the last row may be missing.
    const uint64_t needed =
        paddedRowBytes(dib.info.width, dib.bits) * (static_cast<uint64_t>(dib.info.height) - 1) +
        packedBytes(dib.info.width, dib.bits);
    require(needed <= available, IM_ERR_ACCESS);
}

void readDibRows(ByteReader& in, const Dib& dib, imImage& image) {
    if (image.color_space == IM_MAP) setPalette(image, dib.palette, dib.colors);
    in.seek(dib.dataAt);
    if (dib.runs)
        readRuns(in, dib.bits, image);
    else if (dib.bits <= 8)
        readIndexRows(in, dib, image);
    else
        readColorRows(in, dib, image);
}

DibLayout dibLayoutOf(const imImage& image) {
    imPaletteColor colors[256];
    DibLayout layout{24, 0, 0};
    if (image.color_space != IM_RGB) {
        layout.bits = image.color_space == IM_BINARY ? 1 : 8;
        layout.colors = paletteFor(image, colors);
    }
    layout.rowBytes = static_cast<size_t>(paddedRowBytes(image.width, layout.bits));
    return layout;
}

void writeDibHeader(ByteWriter& out, const imImage& image, DibLayout layout,
                    const DibHeader& header) {
    out.u32le(kDibHeaderBytes);
    out.u32le(static_cast<uint32_t>(image.width));
    out.u32le(static_cast<uint32_t>(header.height));
    out.u16le(1);
    out.u16le(static_cast<unsigned>(layout.bits));
    out.u32le(header.runs ? kRuns8 : kPlain);
    out.u32le(header.dataBytes);
    out.u32le(static_cast<uint32_t>(header.perMetreX));
    out.u32le(static_cast<uint32_t>(header.perMetreY));
    out.u32le(static_cast<uint32_t>(layout.colors));
    out.u32le(0);  // all colours count

    imPaletteColor palette[256];
    paletteFor(image, palette);
    for (int i = 0; i < layout.colors; ++i) {
        out.u8(palette[i].blue);
        out.u8(palette[i].green);
        out.u8(palette[i].red);
        out.u8(0);
    }
}

void writeDibRows(ByteWriter& out, const imImage& image, DibLayout layout) {
    const size_t used = packedBytes(image.width, layout.bits);
    std::vector<uint8_t> row(layout.rowBytes);
    for (int y = image.height - 1; y >= 0; --y) {
        if (layout.bits == 8) {
            out.bytes(rowFromTop(image, 0, y), used);
            out.zeros(layout.rowBytes - used);
            continue;
        }
        if (layout.bits == 1)
            packSamples(rowFromTop(image, 0, y), row.data(), image.width, 1);
        else
            mergePixels(image, y, kBgr, row.data());
        out.bytes(row.data(), row.size());
    }
}

void writeDibRuns(ByteWriter& out, const imImage& image) {
    for (int y = image.height - 1; y >= 0; --y)
        writeRowRuns(out, rowFromTop(image, 0, y), image.width);
    writeRun(out, 0, kEndOfBitmap);
}

}  // namespace im
