// PNM: the portable bitmap, graymap and pixmap, as text (P1 to P3) and as bytes (P4 to P6); samples
// of up to 16 bits; any number of images one behind the other.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "byte_reader.h"
#include "byte_writer.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "rows.h"

namespace im {
namespace {

struct Header {
    int kind = 0;  ///< the digit of the magic
    int highest = 1;
    PageInfo info;
    uint64_t dataAt = 0;

    bool isText() const { return kind <= 3; }
    bool isBitmap() const { return kind == 1 || kind == 4; }
};

bool isSpace(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// A byte of a header or of text, with comments read as line ends.
int nextLetter(ByteReader& in) {
    int c = in.u8();
    if (c == '#')
        while (c != '\n' && c != '\r')
            c = in.u8();
    return c;
}

// A decimal number after white space; takes the one byte behind it as well, unless the file ends.
int number(ByteReader& in, int most) {
    int c = nextLetter(in);
    while (isSpace(c))
        c = nextLetter(in);
    require(c >= '0' && c <= '9', IM_ERR_ACCESS);
    int64_t value = 0;
    while (c >= '0' && c <= '9') {
        value = 10 * value + (c - '0');
        require(value <= most, IM_ERR_FORMAT);
        if (in.left() == 0) return static_cast<int>(value);
        c = nextLetter(in);
    }
    require(isSpace(c), IM_ERR_FORMAT);
    return static_cast<int>(value);
}

// Fewest bytes that one row takes in the file.
uint64_t leastRowBytes(const Header& h) {
    const auto samples =
        static_cast<uint64_t>(h.info.width) * static_cast<uint64_t>(planesOf(h.info.colorSpace));
    if (h.kind == 4) return (samples + 7) / 8;
    if (h.kind == 1) return samples;
    if (h.isText()) return 2 * samples - 1;
    return samples * (h.highest > 255 ? 2 : 1);
}

Header readHeader(ByteReader& in) {
    constexpr int mostSize = 1 << 30;
    Header h;
    require(in.u8() == 'P', IM_ERR_FORMAT);
    h.kind = in.u8() - '0';
    require(h.kind >= 1 && h.kind <= 6, IM_ERR_FORMAT);
    h.info.width = number(in, mostSize);
    h.info.height = number(in, mostSize);
    if (!h.isBitmap()) h.highest = number(in, 65535);
    require(h.info.width > 0 && h.info.height > 0 && h.highest > 0, IM_ERR_FORMAT);
    h.info.flags = IM_TOPDOWN;
    if (h.isBitmap()) h.info.colorSpace = IM_BINARY;
    if (h.kind == 3 || h.kind == 6) {
        h.info.colorSpace = IM_RGB;
        h.info.flags |= IM_PACKED;
    }
    if (h.highest > 255) h.info.dataType = IM_USHORT;
    h.dataAt = in.tell();
    return h;
}

class PnmReader : public Reader {
  public:
    explicit PnmReader(BinaryFile& file) : in_(file) { pages_.push_back(readHeader(in_)); }

    int pageCount() override {
        findPages();
        return static_cast<int>(pages_.size());
    }

    PageInfo pageInfo(int index) override {
        page_ = index;
        const Header& h = pages_[static_cast<size_t>(index)];
        checkPage(h.info, in_.size() - h.dataAt, 16.0);
        require(leastRowBytes(h) * static_cast<uint64_t>(h.info.height) <= in_.size() - h.dataAt,
                IM_ERR_ACCESS);
        return h.info;
    }

    void readPage(int index, imImage& image) override {
        const Header& h = pages_[static_cast<size_t>(index)];
        in_.seek(h.dataAt);
        if (h.isText())
            readText(h, image);
        else
            readBytes(h, image);
    }

    std::string compression() override {
        return pages_[static_cast<size_t>(page_)].isText() ? "ASCII" : "NONE";
    }

  private:
    // Only pages of bytes have a place that follows from the header; a page of text is the last.
    void findPages() {
        constexpr size_t mostPages = 10000;
        while (!complete_) {
            complete_ = true;
            const Header& h = pages_.back();
            const uint64_t rows = static_cast<uint64_t>(h.info.height);
            if (h.isText() || leastRowBytes(h) > (in_.size() - h.dataAt) / rows) return;
            in_.seek(h.dataAt + leastRowBytes(h) * rows);
            if (in_.left() < 8 || pages_.size() == mostPages) return;
            try {
                pages_.push_back(readHeader(in_));
                complete_ = false;
            } catch (const Error&) {
                // Whatever follows is no image.
            }
        }
    }

    static int scaled(int value, int highest) {
        if (highest == 255 || highest == 65535) return value;
        const int full = highest > 255 ? 65535 : 255;
        return static_cast<int>(
            (static_cast<int64_t>(std::min(value, highest)) * full + highest / 2) / highest);
    }

    void readText(const Header& h, imImage& image) {
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x)
                for (int p = 0; p < image.depth; ++p) {
                    if (h.isBitmap()) {
                        int c = nextLetter(in_);  // digits need no space between them
                        while (isSpace(c))
                            c = nextLetter(in_);
                        require(c == '0' || c == '1', IM_ERR_ACCESS);
                        rowFromTop(image, p, y)[x] = c == '0' ? 1 : 0;
                        continue;
                    }
                    const int sample = scaled(number(in_, 65535), h.highest);
                    if (image.data_type == IM_BYTE)
                        rowFromTop(image, p, y)[x] = static_cast<uint8_t>(sample);
                    else
                        wideRowFromTop(image, p, y)[x] = static_cast<uint16_t>(sample);
                }
    }

    void readBytes(const Header& h, imImage& image) {
        const auto width = static_cast<size_t>(image.width);
        const auto samples = width * static_cast<size_t>(image.depth);
        std::vector<uint8_t> row(static_cast<size_t>(leastRowBytes(h)));
        std::vector<uint16_t> wide(h.highest > 255 ? samples : 0);
        for (int y = 0; y < image.height; ++y) {
            if (image.data_type == IM_BYTE && image.color_space == IM_GRAY) {
                in_.bytes(rowFromTop(image, 0, y), width);
                scaleRow(rowFromTop(image, 0, y), width, h.highest);
                continue;
            }
            in_.bytes(row.data(), row.size());
            if (h.kind == 4) {
                unpackSamples(row.data(), rowFromTop(image, 0, y), image.width, 1, 1);
            } else if (h.highest > 255) {
                wideFromBigEndian(row.data(), wide.data(), samples);
                scaleRow(wide.data(), samples, h.highest);
                for (size_t i = 0; i < samples; ++i)
                    wideRowFromTop(image, static_cast<int>(i) % image.depth,
                                   y)[i / static_cast<size_t>(image.depth)] = wide[i];
            } else {
                scaleRow(row.data(), samples, h.highest);
                splitPixels(row.data(), 3, kRgb, image, y);
            }
        }
    }

    template <class Sample>
    static void scaleRow(Sample* row, size_t count, int highest) {
        if (highest == 255 || highest == 65535) return;
        for (size_t i = 0; i < count; ++i)
            row[i] = static_cast<Sample>(scaled(row[i], highest));
    }

    ByteReader in_;
    std::vector<Header> pages_;
    bool complete_ = false;
    int page_ = 0;
};

class PnmWriter : public Writer {
  public:
    explicit PnmWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string& compression,
                   const Attributes&) override {
        require(!hasText_, IM_ERR_DATA);  // no reader looks behind an image of text
        ByteWriter out(file_);
        const bool text = hasText_ = compression == "ASCII";
        const int base = image.color_space == IM_BINARY ? 1 : image.color_space == IM_GRAY ? 2 : 3;
        char header[64];
        std::snprintf(header, sizeof header, "P%d\n%d %d\n", text ? base : base + 3, image.width,
                      image.height);
        out.text(header);
        if (base != 1) out.text(image.data_type == IM_USHORT ? "65535\n" : "255\n");
        for (int y = 0; y < image.height; ++y)
            text ? writeTextRow(image, y, out) : writeRow(image, y, out);
        out.flush();
    }

  private:
    static int sampleOf(const imImage& image, int plane, int y, int x) {
        if (image.data_type == IM_USHORT) return wideRowFromTop(image, plane, y)[x];
        const int sample = rowFromTop(image, plane, y)[x];
        return image.color_space == IM_BINARY ? (sample == 0 ? 1 : 0) : sample;
    }

    static void writeTextRow(const imImage& image, int y, ByteWriter& out) {
        size_t column = 0;  // lines stay within 70 letters, as the format asks
        for (int x = 0; x < image.width; ++x)
            for (int p = 0; p < image.depth; ++p) {
                char sample[16];
                const int length =
                    std::snprintf(sample, sizeof sample, "%d ", sampleOf(image, p, y, x));
                if (column + static_cast<size_t>(length) > 70) {
                    out.u8('\n');
                    column = 0;
                }
                out.bytes(sample, static_cast<size_t>(length));
                column += static_cast<size_t>(length);
            }
        out.u8('\n');
    }

    void writeRow(const imImage& image, int y, ByteWriter& out) {
        const auto samples = static_cast<size_t>(image.width) * static_cast<size_t>(image.depth);
        row_.resize(2 * samples);
        size_t bytes = samples;
        if (image.color_space == IM_BINARY) {
            bytes = packedBytes(image.width, 1);
            packSamples(rowFromTop(image, 0, y), row_.data(), image.width, 1, 1);  // 1 is black
        } else if (image.data_type == IM_USHORT) {
            bytes = 2 * samples;
            mergeWidePixels(image, y, row_.data());
        } else if (image.color_space == IM_GRAY) {
            std::memcpy(row_.data(), rowFromTop(image, 0, y), samples);
        } else {
            mergePixels(image, y, kRgb, row_.data());
        }
        out.bytes(row_.data(), bytes);
    }

    BinaryFile& file_;
    bool hasText_ = false;
    std::vector<uint8_t> row_;
};

bool probe(Bytes head, BinaryFile&) {
    return head.size > 2 && head.data[0] == 'P' && head.data[1] >= '1' && head.data[1] <= '6' &&
           (isSpace(head.data[2]) || head.data[2] == '#');
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE && dataType != IM_USHORT) return -1;
    if (colorSpace == IM_BINARY || colorSpace == IM_GRAY) return colorSpace;
    return IM_RGB;
}

}  // namespace

const Format kPnm = {
    "PNM", "Netpbm Portable Image Map", "*.pnm;*.pbm;*.pgm;*.ppm", {"NONE", "ASCII"}, true,
    probe, openAs<PnmReader>,           createAs<PnmWriter>,       storedSpace,
};

}  // namespace im
