// ICO: icons and cursors, several images to a file, each a bitmap with a mask of one bit behind it
// (which is left out) or a whole PNG file.
#include <cstring>
#include <optional>
#include <vector>

#include "dib.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "rows.h"

namespace im {
namespace {

constexpr size_t kDirectoryBytes = 6, kEntryBytes = 16;
constexpr unsigned kIcon = 1, kCursor = 2;
constexpr int kLargestSide = 256;
constexpr uint8_t kPngMark[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

class IcoReader : public Reader {
  public:
    explicit IcoReader(BinaryFile& file) : file_(file) {
        ByteReader in(file);
        require(in.u16le() == 0, IM_ERR_FORMAT);
        const unsigned type = in.u16le();
        require(type == kIcon || type == kCursor, IM_ERR_FORMAT);
        entries_.resize(in.u16le());
        require(!entries_.empty() && entries_.size() * kEntryBytes <= in.left(), IM_ERR_FORMAT);
        for (Entry& entry : entries_) {
            in.skip(8);  // what the image tells better itself
            entry.size = in.u32le();
            entry.at = in.u32le();
        }
    }

    int pageCount() override { return static_cast<int>(entries_.size()); }

    PageInfo pageInfo(int index) override {
        openEntry(index);
        if (png_ != nullptr) return png_->pageInfo(0);
        checkDib(dib_, *in_);
        return dib_.info;
    }

    void readPage(int, imImage& image) override {
        if (png_ != nullptr)
            png_->readPage(0, image);
        else
            readDibRows(*in_, dib_, image);
    }

    std::string compression() override {
        if (png_ == nullptr && !in_) openEntry(0);
        return png_ != nullptr ? png_->compression() : dib_.runs ? "RLE" : "NONE";
    }

  private:
    struct Entry {
        uint64_t at = 0, size = 0;
    };

    void openEntry(int index) {
        png_.reset();
        in_.reset();
        const Entry& entry = entries_[static_cast<size_t>(index)];
        part_ = partOf(file_, entry.at, entry.size);
        uint8_t mark[sizeof kPngMark];
        if (part_->read(mark, sizeof mark) == sizeof mark &&
            std::memcmp(mark, kPngMark, sizeof mark) == 0) {
            const Format* const png = findFormat("PNG");
            require(png != nullptr, IM_ERR_DATA);
            part_->seek(0);
            png_ = png->open(*part_);
            return;
        }
        in_.emplace(*part_);
        dib_ = readDib(*in_, 0);
        require((dib_.info.flags & IM_TOPDOWN) == 0, IM_ERR_FORMAT);
        dib_.info.height /= 2;  // the mask counts as well
        dib_.info.flags |= IM_ALPHA;
    }

    BinaryFile& file_;
    std::vector<Entry> entries_;
    // The entry that was opened last: one of the two readers over its part of the file.
    std::unique_ptr<BinaryFile> part_;
    std::unique_ptr<Reader> png_;
    std::optional<ByteReader> in_;
    Dib dib_;
};

/// The bytes of an image before they have their place in the file.
class Block : public BinaryFile {
  public:
    size_t read(void*, size_t) noexcept override { return 0; }
    bool write(const void* from, size_t count) noexcept override {
        try {
            const auto* const first = static_cast<const uint8_t*>(from);
            bytes.insert(bytes.end(), first, first + count);
        } catch (const std::bad_alloc&) {
            return false;
        }
        position_ += count;
        return true;
    }
    uint64_t size() const noexcept override { return bytes.size(); }

    std::vector<uint8_t> bytes;
};

class IcoWriter : public Writer {
  public:
    explicit IcoWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string&, const Attributes&) override {
        require(image.width <= kLargestSide && image.height <= kLargestSide, IM_ERR_DATA);
        require(icons_.size() < 0xffff, IM_ERR_DATA);
        icons_.push_back(encoded(image));
        writeFile();
    }

  private:
    struct Icon {
        int width, height;
        DibLayout layout;
        std::vector<uint8_t> bytes;
    };

    static Icon encoded(const imImage& image) {
        Icon icon{image.width, image.height, dibLayoutOf(image), {}};
        if (icon.layout.bits == 8) icon.layout.colors = 256;  // readers rely on whole palettes
        DibHeader header;
        header.height = 2 * image.height;
        Block block;
        ByteWriter out(block);
        writeDibHeader(out, image, icon.layout, header);
        writeDibRows(out, image, icon.layout);
        const size_t maskRow = (packedBytes(image.width, 1) + 3) / 4 * 4;
        out.zeros(maskRow * static_cast<size_t>(image.height));  // opaque everywhere
        out.flush();
        icon.bytes = std::move(block.bytes);
        return icon;
    }

    // The directory in front grows with every image, so that all of them move.
    void writeFile() {
        file_.seek(0);
        ByteWriter out(file_);
        out.u16le(0);
        out.u16le(kIcon);
        out.u16le(static_cast<unsigned>(icons_.size()));
        size_t at = kDirectoryBytes + icons_.size() * kEntryBytes;
        for (const Icon& icon : icons_) {
            out.u8(static_cast<unsigned>(icon.width % kLargestSide));  // 0 is 256
            out.u8(static_cast<unsigned>(icon.height % kLargestSide));
            out.u8(static_cast<unsigned>(icon.layout.colors % 256));  // 0 is 256 or more
            out.u8(0);
            out.u16le(1);  // planes
            out.u16le(static_cast<unsigned>(icon.layout.bits));
            out.u32le(static_cast<uint32_t>(icon.bytes.size()));
            out.u32le(static_cast<uint32_t>(at));
            at += icon.bytes.size();
            require(at <= 0xffffffffU, IM_ERR_MEM);
        }
        for (const Icon& icon : icons_)
            out.bytes(icon.bytes.data(), icon.bytes.size());
        out.flush();
    }

    BinaryFile& file_;
    std::vector<Icon> icons_;
};

uint32_t u32leAt(const uint8_t* bytes) {
    return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8 | static_cast<uint32_t>(bytes[2]) << 16 |
           static_cast<uint32_t>(bytes[3]) << 24;
}

// The mark is weak: the first entry has to make sense as well.
bool probe(Bytes head, BinaryFile& file) {
    if (head.size < kDirectoryBytes + kEntryBytes) return false;
    const uint8_t* const h = head.data;
    if (h[0] != 0 || h[1] != 0 || (h[2] != kIcon && h[2] != kCursor) || h[3] != 0) return false;
    const size_t count = h[4] | static_cast<size_t>(h[5]) << 8;
    const uint64_t end = kDirectoryBytes + count * kEntryBytes;
    return count > 0 && u32leAt(h + 18) >= end && u32leAt(h + 18) < file.size() &&
           u32leAt(h + 14) > 0;
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE) return -1;
    return colorSpace == IM_CMYK ? static_cast<int>(IM_RGB) : colorSpace;
}

}  // namespace

const Format kIco = {
    "ICO",       "Windows Icon", "*.ico",           {"NONE"},
    true,        probe,          openAs<IcoReader>, createAs<IcoWriter>,
    storedSpace,
};

}  // namespace im
