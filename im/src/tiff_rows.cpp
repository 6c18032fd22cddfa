#include "tiff_rows.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "error.h"
#include "image.h"
#include "rows.h"

namespace im {

// -- Decoding --

TiffRows::TiffRows(const TiffHandle& tiff, const TiffLayout& layout)
    : tiff_(tiff.get()),
      file_(tiff.wholeFile()),
      width_(layout.info.width),
      height_(layout.info.height),
      pixelBits_(layout.bits * layout.stride),
      inverted_(layout.inverted),
      lowBitFirst_(tiff.field<uint16_t>(TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) == FILLORDER_LSB2MSB),
      isJbig_(layout.scheme == COMPRESSION_JBIG) {
    if (TIFFIsTiled(tiff_) != 0)
        prepareTiles();
    else
        prepareStrips();
    inPlace_ = layout.scheme == COMPRESSION_NONE && layout.bits <= 8 && !lowBitFirst_ && !byRow_ &&
               tile_.empty();
    constexpr size_t mostBlockBytes = std::numeric_limits<int>::max();
    require(rowBytes_ <= mostBlockBytes / static_cast<size_t>(blockRows_), IM_ERR_MEM);
    block_.resize(static_cast<size_t>(blockRows_) * rowBytes_);
}

void TiffRows::prepareStrips() {
    // Larger strips are read row by row. Those of bilevel pages need not: they take an eighth of
    // the image.
    constexpr size_t mostStripBytes = 1 << 20;
    rowBytes_ = static_cast<size_t>(TIFFScanlineSize(tiff_));
    require(rowBytes_ >= packedBytes(width_, pixelBits_), IM_ERR_DATA);
    uint32_t rows = 0;
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_ROWSPERSTRIP, &rows);
    require(rows > 0, IM_ERR_FORMAT);
    blockRows_ = static_cast<int>(std::min(rows, static_cast<uint32_t>(height_)));
    byRow_ = pixelBits_ > 1 && static_cast<size_t>(blockRows_) > mostStripBytes / rowBytes_;
    if (byRow_) blockRows_ = 1;
}

void TiffRows::prepareTiles() {
    uint32_t width = 0, height = 0;
    TIFFGetField(tiff_, TIFFTAG_TILEWIDTH, &width);
    TIFFGetField(tiff_, TIFFTAG_TILELENGTH, &height);
    const auto bytes = static_cast<size_t>(TIFFTileSize(tiff_));
    tileRowBytes_ = static_cast<size_t>(TIFFTileRowSize(tiff_));
    require(width > 0 && height > 0 && tileRowBytes_ > 0, IM_ERR_FORMAT);
    tileWidth_ = static_cast<int>(std::min(width, static_cast<uint32_t>(width_)));
    blockRows_ = static_cast<int>(std::min(height, static_cast<uint32_t>(height_)));
    rowBytes_ = packedBytes(width_, pixelBits_);
    require(bytes / tileRowBytes_ >= static_cast<size_t>(blockRows_) &&
                tileRowBytes_ >= packedBytes(tileWidth_, pixelBits_),
            IM_ERR_DATA);
    require(tileWidth_ == width_ || static_cast<int64_t>(tileWidth_) * pixelBits_ % 8 == 0,
            IM_ERR_DATA);
    tile_.resize(bytes);
}

const uint8_t* TiffRows::row(int y, int plane) {
    if (y % blockRows_ == 0) readBlock(y, plane);
    return rows_ + static_cast<size_t>(y % blockRows_) * rowBytes_;
}

void TiffRows::readBlock(int y, int plane) {
    const auto row = static_cast<uint32_t>(y);
    const auto sample = static_cast<uint16_t>(plane);
    const size_t bytes = static_cast<size_t>(std::min(blockRows_, height_ - y)) * rowBytes_;
    const uint32_t strip = tile_.empty() ? TIFFComputeStrip(tiff_, row, sample) : 0;
    rows_ = stripInFile(strip, bytes);
    if (rows_ != nullptr) return;

    if (isJbig_) checkJbig(strip, y);
    rows_ = block_.data();
    // What a codec leaves out without calling it an error is white, or no ink.
    std::fill(block_.begin(), block_.end(), inverted_ ? uint8_t{0} : uint8_t{0xff});
    if (!tile_.empty())
        readTiles(row, sample);
    else if (byRow_)
        require(TIFFReadScanline(tiff_, block_.data(), row, sample) == 1, IM_ERR_ACCESS);
    else
        require(
            TIFFReadEncodedStrip(tiff_, strip, block_.data(), static_cast<tmsize_t>(bytes)) >= 0,
            IM_ERR_ACCESS);
}

// The JBIG decoder ends the process when it cannot get the memory that the data's own header asks
// for. That header must be of a single plane within the strip.
void TiffRows::checkJbig(uint32_t strip, int y) const {
    uint8_t header[20];
    require(TIFFReadRawStrip(tiff_, strip, header, sizeof header) == sizeof header, IM_ERR_ACCESS);
    if (!lowBitFirst_) TIFFReverseBits(header, sizeof header);  // as libtiff has it
    const auto number = [&header](int at) {
        return static_cast<uint32_t>(header[at]) << 24 |
               static_cast<uint32_t>(header[at + 1]) << 16 |
               static_cast<uint32_t>(header[at + 2]) << 8 | header[at + 3];
    };
    constexpr int mostLayers = 16;
    require(header[1] <= mostLayers && header[2] == 1 &&
                number(4) <= static_cast<uint32_t>(width_) &&
                number(8) <= static_cast<uint32_t>(std::min(blockRows_, height_ - y)),
            IM_ERR_ACCESS);
}

const uint8_t* TiffRows::stripInFile(uint32_t strip, size_t bytes) const {
    if (!inPlace_ || TIFFGetStrileByteCount(tiff_, strip) < bytes) return nullptr;
    const uint64_t offset = TIFFGetStrileOffset(tiff_, strip);
    if (offset > file_.size || bytes > file_.size - offset) return nullptr;
    return file_.data + offset;
}

void TiffRows::readTiles(uint32_t y, uint16_t plane) {
    const int rows = std::min(blockRows_, height_ - static_cast<int>(y));
    for (int x = 0; x < width_; x += std::min(tileWidth_, width_ - x)) {
        std::fill(tile_.begin(), tile_.end(), inverted_ ? uint8_t{0} : uint8_t{0xff});
        const uint32_t tile = TIFFComputeTile(tiff_, static_cast<uint32_t>(x), y, 0, plane);
        require(TIFFReadEncodedTile(tiff_, tile, tile_.data(),
                                    static_cast<tmsize_t>(tile_.size())) >= 0,
                IM_ERR_ACCESS);
        const size_t from = packedBytes(x, pixelBits_);
        const size_t bytes = packedBytes(std::min(tileWidth_, width_ - x), pixelBits_);
        for (int r = 0; r < rows; ++r)
            std::memcpy(&block_[static_cast<size_t>(r) * rowBytes_ + from],
                        &tile_[static_cast<size_t>(r) * tileRowBytes_], bytes);
    }
}

// -- Converting --

TiffConvertedRows::TiffConvertedRows(TiffHandle& tiff, const TiffLayout& layout) {
    const bool tiled = TIFFIsTiled(tiff.get()) != 0;
    const auto rows = tiff.field<uint32_t>(tiled ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP, 0);
    require(rows > 0, IM_ERR_FORMAT);
    blockRows_ = static_cast<int>(std::min(rows, static_cast<uint32_t>(layout.info.height)));
    block_.resize(static_cast<size_t>(layout.info.width) * static_cast<size_t>(blockRows_));
    char reason[1024];
    require(TIFFRGBAImageBegin(&image_, tiff.get(), 1, reason) == 1, IM_ERR_DATA);
    image_.req_orientation = image_.orientation;  // rows as they are stored
}

TiffConvertedRows::~TiffConvertedRows() {
    TIFFRGBAImageEnd(&image_);
}

const uint8_t* TiffConvertedRows::row(int y, int) {
    if (y % blockRows_ == 0) {
        image_.row_offset = y;
        const auto rows =
            std::min(static_cast<uint32_t>(blockRows_), image_.height - static_cast<uint32_t>(y));
        require(TIFFRGBAImageGet(&image_, block_.data(), image_.width, rows) == 1, IM_ERR_ACCESS);
    }
    // A word has R in its lowest byte: in memory R, G, B, A.
    return reinterpret_cast<const uint8_t*>(
        &block_[static_cast<size_t>(y % blockRows_) * image_.width]);
}

// -- Storing --

TiffRowStore::TiffRowStore(const TiffLayout& layout, imImage& image)
    : layout_(layout),
      image_(image),
      count_(static_cast<size_t>(layout.stride) * static_cast<size_t>(image.width)),
      planes_(layout.planesApart ? 1 : image.depth) {
    if (layout.bits == 8 || layout.bits == 16) return;  // samples are used in place
    samples_.resize(count_);
    const int highest = (1 << layout.bits) - 1;
    const bool scaled = image.color_space != IM_MAP && image.color_space != IM_BINARY;
    const int full = !scaled ? highest : image.data_type == IM_USHORT ? 65535 : 255;
    for (int64_t i = 0; i <= highest; ++i) {
        const int64_t level = layout.inverted ? highest - i : i;
        scale_.push_back(static_cast<uint16_t>((level * full + highest / 2) / highest));
    }
    isBits_ = full == 1 && layout.stride == 1;
}

void TiffRowStore::store(const uint8_t* packed, int y, int plane) {
    const int row = layout_.bottomFirst ? image_.height - 1 - y : y;
    const bool wide = image_.data_type == IM_USHORT;
    if (isBits_) foreseeRows(image_, plane, row);
    if (isBits_)
        unpackSamples(packed, rowFromTop(image_, plane, row), image_.width, 1,
                      layout_.inverted ? 1 : 0);
    else if (layout_.bits == 8 && image_.color_space == IM_RGB && layout_.stride > 1)
        splitPixels(packed, layout_.stride, kRgb, image_, row);
    else if (wide)
        storeAs<uint16_t>(packed, row, plane);
    else
        storeAs<uint8_t>(packed, row, plane);
    if (!layout_.mirrored) return;
    if (wide)
        mirror<uint16_t>(row, plane);
    else
        mirror<uint8_t>(row, plane);
}

template <class Sample>
void TiffRowStore::storeAs(const uint8_t* packed, int row, int plane) {
    if (samples_.empty()) {
        split(reinterpret_cast<const Sample*>(packed), row, plane);
        if (layout_.inverted)
            for (int p = plane; p < plane + planes_; ++p)
                invertBytes(rowFromTop(image_, p, row), lineBytes(image_));
        return;
    }
    auto* const samples = reinterpret_cast<Sample*>(samples_.data());
    unpack(packed, samples);
    split(samples, row, plane);
}

// Samples of up to 15 bits, the highest bits of a byte first.
template <class Sample>
void TiffRowStore::unpack(const uint8_t* packed, Sample* samples) {
    const uint32_t mask = (1U << layout_.bits) - 1;
    uint32_t waiting = 0;
    int bits = 0;
    for (size_t i = 0; i < count_; ++i) {
        for (; bits < layout_.bits; bits += 8)
            waiting = waiting << 8 | *packed++;
        bits -= layout_.bits;
        samples[i] = static_cast<Sample>(scale_[waiting >> bits & mask]);
    }
}

template <class Sample>
void TiffRowStore::split(const Sample* samples, int row, int plane) {
    const auto step = static_cast<size_t>(layout_.stride);
    for (int p = 0; p < planes_; ++p) {
        auto* const to = reinterpret_cast<Sample*>(rowFromTop(image_, plane + p, row));
        if (step == 1)
            std::memcpy(to, samples, lineBytes(image_));
        else
            for (size_t x = 0; x < static_cast<size_t>(image_.width); ++x)
                to[x] = samples[x * step + static_cast<size_t>(p)];
    }
}

template <class Sample>
void TiffRowStore::mirror(int row, int plane) {
    for (int p = plane; p < plane + planes_; ++p) {
        auto* const samples = reinterpret_cast<Sample*>(rowFromTop(image_, p, row));
        std::reverse(samples, samples + image_.width);
    }
}

}  // namespace im
