// GIF, by giflib: several images, interlaced too. A page is an image's own rectangle with its own
// palette or else the file's; where it lies on the screen, delays and transparency are left aside.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "byte_reader.h"
#include "byte_writer.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "palette.h"

namespace im {
namespace {

constexpr size_t kMostPages = 10000;
constexpr int kMostSize = 65535;
constexpr uint8_t kTrailer = ';';
constexpr uint64_t kScreenSizeAt = 6;  ///< place in the file

struct CloseDecoder {
    void operator()(GifFileType* gif) const { DGifCloseFile(gif, nullptr); }
};
struct CloseEncoder {
    void operator()(GifFileType* gif) const { EGifCloseFile(gif, nullptr); }
};
struct FreeColors {
    void operator()(ColorMapObject* colors) const { GifFreeMapObject(colors); }
};

// The reader's `some` throws nothing; giflib never reads ahead, so that it can be moved to another
// place between two calls.
int readBytes(GifFileType* gif, GifByteType* to, int count) {
    auto& in = *static_cast<ByteReader*>(gif->UserData);
    return static_cast<int>(in.some(to, static_cast<size_t>(count)));
}

int writeBytes(GifFileType* gif, const GifByteType* from, int count) {
    try {
        static_cast<ByteWriter*>(gif->UserData)->bytes(from, static_cast<size_t>(count));
        return count;
    } catch (const Error&) {
        return 0;
    }
}

// Data that are damaged or end early are an error: giflib doesn't tell how much of a row is good.
void succeed(int result) {
    require(result == GIF_OK, IM_ERR_ACCESS);
}

class GifReader : public Reader {
  public:
    explicit GifReader(BinaryFile& file) : in_(file), gif_(DGifOpen(&in_, readBytes, nullptr)) {
        require(gif_ != nullptr, IM_ERR_ACCESS);
        while (places_.size() < kMostPages && findNext()) {
        }
        require(!places_.empty(), IM_ERR_ACCESS);
    }

    int pageCount() override { return static_cast<int>(places_.size()); }

    PageInfo pageInfo(int index) override {
        goTo(index);
        takePalette();
        PageInfo info;
        info.width = gif_->Image.Width;
        info.height = gif_->Image.Height;
        info.colorSpace = kind_.colorSpace;
        info.flags = IM_TOPDOWN;
        // A code of 12 bits stands for at most 4096 pixels.
        checkPage(info, in_.left(), 4096.0 * 8 / 12);
        return info;
    }

    void readPage(int index, imImage& image) override {
        goTo(index);
        takePalette();
        if (image.color_space == IM_MAP) setPalette(image, colors_, colorCount_);
        if (!gif_->Image.Interlace) return readRows(image, 0, 1);
        constexpr int passes[][2] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
        for (const auto& pass : passes)
            readRows(image, pass[0], pass[1]);
    }

    std::string compression() override { return "LZW"; }

  private:
    // Passes one record and notes where an image's is. False behind the last whole one.
    bool findNext() {
        const uint64_t place = in_.tell();
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif_.get(), &type) != GIF_OK) return false;
        GifByteType* block = nullptr;
        int code = 0, result = GIF_ERROR;
        if (type == IMAGE_DESC_RECORD_TYPE) {
            if (DGifGetImageHeader(gif_.get()) != GIF_OK) return false;
            places_.push_back(place);
            result = DGifGetCode(gif_.get(), &code, &block);
            while (result == GIF_OK && block != nullptr)
                result = DGifGetCodeNext(gif_.get(), &block);
        } else if (type == EXTENSION_RECORD_TYPE) {
            result = DGifGetExtension(gif_.get(), &code, &block);
            while (result == GIF_OK && block != nullptr)
                result = DGifGetExtensionNext(gif_.get(), &block);
        }
        return result == GIF_OK;
    }

    void goTo(int index) {
        in_.seek(places_[static_cast<size_t>(index)]);
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        succeed(DGifGetRecordType(gif_.get(), &type));
        succeed(DGifGetImageHeader(gif_.get()));
    }

    void takePalette() {
        const ColorMapObject* const map =
            gif_->Image.ColorMap != nullptr ? gif_->Image.ColorMap : gif_->SColorMap;
        if (map != nullptr) {
            colorCount_ = std::min(map->ColorCount, 256);
            for (int i = 0; i < colorCount_; ++i)
                colors_[i] = {map->Colors[i].Red, map->Colors[i].Green, map->Colors[i].Blue};
        } else {
            takeRamp();
        }
        kind_ = kindOfPalette(colors_, colorCount_);
    }

    // Without a palette, indexes are greys; their bits are told by the byte before the data, which
    // giflib has just read.
    void takeRamp() {
        in_.seek(in_.tell() - 1);
        const int bits = std::clamp<int>(in_.u8(), 1, 8);
        colorCount_ = 1 << bits;
        setGreys(colors_, colorCount_);
    }

    void readRows(imImage& image, int first, int step) {
        for (int y = first; y < image.height; y += step) {
            uint8_t* const row = rowFromTop(image, 0, y);
            succeed(DGifGetLine(gif_.get(), row, image.width));
            if (image.color_space != IM_BINARY) continue;
            // The code allows for more indexes than the two: black, as beyond any palette.
            for (int x = 0; x < image.width; ++x)
                row[x] = row[x] > 1 ? uint8_t{0} : static_cast<uint8_t>(row[x] ^ kind_.flipBit);
        }
    }

    ByteReader in_;  ///< outlives gif_, which reads from it
    std::unique_ptr<GifFileType, CloseDecoder> gif_;
    std::vector<uint64_t> places_;  ///< of the images' records
    imPaletteColor colors_[256] = {};
    int colorCount_ = 0;
    PaletteKind kind_{};
};

class GifWriter : public Writer {
  public:
    explicit GifWriter(BinaryFile& file) : out_(file), gif_(EGifOpen(&out_, writeBytes, nullptr)) {
        require(gif_ != nullptr, IM_ERR_MEM);
    }

    void writePage(const imImage& image, const std::string&, const Attributes&) override {
        require(image.width <= kMostSize && image.height <= kMostSize, IM_ERR_DATA);
        const auto colors = colorMapOf(image);
        const bool first = width_ == 0;
        if (first) putScreen(image, colors.get());
        succeed(EGifPutImageDesc(gif_.get(), 0, 0, image.width, image.height, false,
                                 first ? nullptr : colors.get()));
        writeRows(image);
        out_.u8(kTrailer);
        const uint64_t end = out_.tell();
        if (image.width > width_ || image.height > height_) growScreen(image);
        out_.seek(end - 1);  // the next image takes the trailer's place
    }

  private:
    using ColorMap = std::unique_ptr<ColorMapObject, FreeColors>;

    // Tables have 2, 4, 8... entries.
    static ColorMap colorMapOf(const imImage& image) {
        imPaletteColor colors[256];
        int count = paletteFor(image, colors);
        if (image.color_space == IM_MAP) count = colorsInUse(image);
        GifColorType stored[256] = {};
        for (int i = 0; i < count; ++i)
            stored[i] = {colors[i].red, colors[i].green, colors[i].blue};
        ColorMap map(GifMakeMapObject(1 << GifBitSize(count), stored));
        require(map != nullptr, IM_ERR_MEM);
        return map;
    }

    void writeRows(const imImage& image) {
        row_.resize(lineBytes(image));
        for (int y = 0; y < image.height; ++y) {
            std::memcpy(row_.data(), rowFromTop(image, 0, y), row_.size());  // giflib masks it
            succeed(EGifPutLine(gif_.get(), row_.data(), image.width));
        }
    }

    void putScreen(const imImage& image, const ColorMapObject* colors) {
        EGifSetGifVersion(gif_.get(), true);
        succeed(EGifPutScreenDesc(gif_.get(), image.width, image.height, 8, 0, colors));
        width_ = image.width;
        height_ = image.height;
    }

    // The screen holds every image.
    void growScreen(const imImage& image) {
        width_ = std::max(width_, image.width);
        height_ = std::max(height_, image.height);
        out_.seek(kScreenSizeAt);
        out_.u16le(static_cast<unsigned>(width_));
        out_.u16le(static_cast<unsigned>(height_));
    }

    // giflib closes with one more trailer, which is never flushed.
    ByteWriter out_;
    std::unique_ptr<GifFileType, CloseEncoder> gif_;
    std::vector<uint8_t> row_;
    int width_ = 0, height_ = 0;  ///< of the screen
};

bool probe(Bytes head, BinaryFile&) {
    return head.size >= 6 && (std::memcmp(head.data, GIF87_STAMP, 6) == 0 ||
                              std::memcmp(head.data, GIF89_STAMP, 6) == 0);
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE && dataType != IM_USHORT) return -1;
    const bool stays = colorSpace == IM_BINARY || (colorSpace == IM_GRAY && dataType == IM_BYTE);
    return stays ? colorSpace : static_cast<int>(IM_MAP);
}

}  // namespace

const Format kGif = {
    "GIF",
    "Graphics Interchange Format",
    "*.gif",
    {"LZW"},
    true,
    probe,
    openAs<GifReader>,
    createAs<GifWriter>,
    storedSpace,
};

}  // namespace im
