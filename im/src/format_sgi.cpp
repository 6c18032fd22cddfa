// SGI: one plane after the other, the bottom row first, samples of 8 or 16 bits, plain or with each
// row run-length coded at a place of its own.
#include <algorithm>
#include <vector>

#include "byte_reader.h"
#include "byte_writer.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "rows.h"
#include "runs.h"

namespace im {
namespace {

constexpr unsigned kMagic = 474;
constexpr uint64_t kHeaderBytes = 512;
constexpr size_t kMostInPacket = 127;
constexpr unsigned kCopies = 0x80;  // in a packet's head: units to copy, not a run
constexpr int kLongestSide = 65535;

struct Header {
    bool coded = false;
    int sampleBytes = 1;
    int width = 1, height = 1, channels = 1;

    uint64_t rows() const {
        return static_cast<uint64_t>(height) * static_cast<uint64_t>(channels);
    }
};

Header readHeader(ByteReader& in) {
    require(in.u16be() == kMagic, IM_ERR_FORMAT);
    Header h;
    const int storage = in.u8();
    h.sampleBytes = in.u8();
    const int dimension = in.u16be();
    h.width = in.u16be();
    h.height = in.u16be();
    h.channels = in.u16be();
    if (dimension < 3) h.channels = 1;
    if (dimension < 2) h.height = 1;
    h.coded = storage == 1;
    in.skip(92);  // least and highest sample, name
    const uint32_t colorMap = in.u32be();
    require(storage <= 1, IM_ERR_COMPRESS);
    require(dimension >= 1 && dimension <= 3 && h.width > 0 && h.height > 0, IM_ERR_FORMAT);
    require(h.sampleBytes == 1 || h.sampleBytes == 2, IM_ERR_DATA);
    require(h.channels >= 1 && h.channels <= 4 && colorMap == 0, IM_ERR_DATA);
    return h;
}

class SgiReader : public Reader {
  public:
    explicit SgiReader(BinaryFile& file) : in_(file), h_(readHeader(in_)) {
        info_.width = h_.width;
        info_.height = h_.height;
        info_.colorSpace = h_.channels < 3 ? IM_GRAY : IM_RGB;
        info_.dataType = h_.sampleBytes == 1 ? IM_BYTE : IM_USHORT;
        info_.flags = h_.channels % 2 == 0 ? IM_ALPHA : 0;
    }

    int pageCount() override { return 1; }

    // Coded rows may share their data, but each has two numbers of 4 bytes in the tables.
    PageInfo pageInfo(int) override {
        const uint64_t after = in_.size() - std::min(in_.size(), kHeaderBytes);
        checkPage(info_, after, h_.coded ? h_.width * h_.sampleBytes / 8.0 : 1.0);
        require(after >= 8 * (h_.coded ? h_.rows() : 0), IM_ERR_ACCESS);
        return info_;
    }

    void readPage(int, imImage& image) override {
        if (h_.coded)
            readTable();
        else
            in_.seek(kHeaderBytes);
        for (int p = 0; p < image.depth; ++p)
            for (int y = image.height - 1; y >= 0; --y)
                readRow(image, p, y);
    }

    std::string compression() override { return h_.coded ? "RLE" : "NONE"; }

  private:
    // The places of the rows. Their lengths are not needed: width and packets bound what is read.
    void readTable() {
        in_.seek(kHeaderBytes);
        table_.resize(static_cast<size_t>(h_.rows()));
        for (uint32_t& place : table_)
            place = in_.u32be();
    }

    void readRow(imImage& image, int plane, int y) {
        uint8_t* const to = rowFromTop(image, plane, y);
        const auto width = static_cast<size_t>(image.width);
        if (!h_.coded) {
            in_.bytes(to, lineBytes(image));
        } else {
            const int row = plane * image.height + image.height - 1 - y;
            in_.seek(table_[static_cast<size_t>(row)]);
            if (h_.sampleBytes == 1)
                readPackets(to, width);
            else
                readWidePackets(to, width);
        }
        if (h_.sampleBytes == 2) wideFromBigEndian(to, wideRowFromTop(image, plane, y), width);
    }

    // Length of the next packet, which fits into what the row still lacks; a row that ends early or
    // runs over is damaged.
    static size_t packetLength(unsigned head, size_t lacking) {
        const size_t length = head & ~kCopies & 0xff;
        require(length > 0 && length <= lacking, IM_ERR_ACCESS);
        return length;
    }

    void readPackets(uint8_t* to, size_t lacking) {
        while (lacking > 0) {
            const unsigned head = in_.u8();
            const size_t length = packetLength(head, lacking);
            if ((head & kCopies) != 0)
                in_.bytes(to, length);
            else
                std::fill_n(to, length, in_.u8());
            to += length;
            lacking -= length;
        }
    }

    // The same in units of two bytes, heads as well. Leaves the samples in the file's byte order.
    void readWidePackets(uint8_t* to, size_t lacking) {
        while (lacking > 0) {
            const unsigned head = in_.u16be();
            const size_t length = packetLength(head, lacking);
            in_.bytes(to, (head & kCopies) != 0 ? 2 * length : 2);
            if ((head & kCopies) == 0)
                for (size_t i = 2; i < 2 * length; ++i)
                    to[i] = to[i - 2];
            to += 2 * length;
            lacking -= length;
        }
    }

    ByteReader in_;
    Header h_;
    PageInfo info_;
    std::vector<uint32_t> table_;
};

class SgiWriter : public Writer {
  public:
    explicit SgiWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string& compression,
                   const Attributes&) override {
        require(image.width <= kLongestSide && image.height <= kLongestSide, IM_ERR_DATA);
        ByteWriter out(file_);
        const bool coded = compression == "RLE";
        const auto rows = static_cast<size_t>(image.height) * static_cast<size_t>(image.depth);
        std::vector<uint32_t> places, lengths;
        writeHeader(image, coded, out);
        if (coded) out.zeros(8 * rows);  // the tables, known in the end
        for (int p = 0; p < image.depth; ++p)
            for (int y = image.height - 1; y >= 0; --y) {
                const uint64_t place = out.tell();
                writeRow(image, p, y, coded, out);
                places.push_back(static_cast<uint32_t>(place));
                lengths.push_back(static_cast<uint32_t>(out.tell() - place));
            }
        if (coded) {
            out.seek(kHeaderBytes);
            for (const uint32_t place : places)
                out.u32be(place);
            for (const uint32_t length : lengths)
                out.u32be(length);
        }
        out.flush();
    }

  private:
    static void writeHeader(const imImage& image, bool coded, ByteWriter& out) {
        const bool wide = image.data_type == IM_USHORT;
        out.u16be(kMagic);
        out.u8(coded ? 1 : 0);
        out.u8(wide ? 2 : 1);
        out.u16be(image.depth == 1 ? 2 : 3);
        out.u16be(static_cast<unsigned>(image.width));
        out.u16be(static_cast<unsigned>(image.height));
        out.u16be(static_cast<unsigned>(image.depth));
        out.u32be(0);
        out.u32be(wide ? 65535 : 255);
        out.zeros(static_cast<size_t>(kHeaderBytes - out.tell()));
    }

    void writeRow(const imImage& image, int plane, int y, bool coded, ByteWriter& out) {
        const uint8_t* row = rowFromTop(image, plane, y);
        const auto width = static_cast<size_t>(image.width);
        if (image.data_type == IM_USHORT) {
            row_.resize(lineBytes(image));
            wideToBigEndian(wideRowFromTop(image, plane, y), row_.data(), width);
            row = row_.data();
        }
        if (!coded)
            out.bytes(row, lineBytes(image));
        else if (image.data_type == IM_USHORT)
            writePackets<2>(row, width, out);
        else
            writePackets<1>(row, width, out);
    }

    template <size_t kSampleBytes>
    static void writePackets(const uint8_t* row, size_t width, ByteWriter& out) {
        const auto head = [&out](unsigned value) {
            kSampleBytes == 1 ? out.u8(value) : out.u16be(value);
        };
        cutIntoPackets<kSampleBytes>(
            row, width, kMostInPacket, [&](bool isRun, const uint8_t* first, size_t length) {
                head(static_cast<unsigned>(length) | (isRun ? 0 : kCopies));
                out.bytes(first, isRun ? kSampleBytes : length * kSampleBytes);
            });
        head(0);
    }

    BinaryFile& file_;
    std::vector<uint8_t> row_;
};

bool probe(Bytes head, BinaryFile&) {
    const uint8_t* const h = head.data;
    return head.size >= 12 && h[0] == kMagic >> 8 && h[1] == (kMagic & 0xff) && h[2] <= 1 &&
           (h[3] == 1 || h[3] == 2) && h[4] == 0 && h[5] >= 1 && h[5] <= 3;
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE && dataType != IM_USHORT) return -1;
    return colorSpace == IM_GRAY || colorSpace == IM_BINARY ? IM_GRAY : IM_RGB;
}

}  // namespace

const Format kSgi = {
    "SGI",
    "SGI, planes of 8 or 16 bits",
    "*.sgi;*.rgb;*.rgba;*.bw",
    {"NONE", "RLE"},
    false,
    probe,
    openAs<SgiReader>,
    createAs<SgiWriter>,
    storedSpace,
};

}  // namespace im
