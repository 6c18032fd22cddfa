// Rows of a TIFF page on their way into an image.
#pragma once

#include <vector>

#include "tiff_layout.h"

namespace im {

/// Decodes the rows of a page in the file's order, a block (a strip or a row of tiles) at a time.
class TiffRows {
  public:
    TiffRows(const TiffHandle& tiff, const TiffLayout& layout);

    /// Row `y` of the file; `plane` is 0 unless the planes lie apart. Rows are asked for in
    /// ascending order, plane by plane; the bytes live until the next one.
    const uint8_t* row(int y, int plane);

  private:
    void prepareStrips();
    void prepareTiles();
    void readBlock(int y, int plane);
    void readTiles(uint32_t y, uint16_t plane);
    void checkJbig(uint32_t strip, int y) const;
    const uint8_t* stripInFile(uint32_t strip, size_t bytes) const;

    TIFF* tiff_;
    Bytes file_;  ///< where it lies in memory
    int width_, height_;
    int pixelBits_;  ///< of the samples of a pixel that lie together
    bool inverted_, lowBitFirst_, isJbig_;
    size_t rowBytes_ = 0;
    int blockRows_ = 1;
    const uint8_t* rows_ = nullptr;  ///< of the block
    std::vector<uint8_t> block_;
    bool inPlace_ = false;  ///< uncompressed strips that the file holds as they are

    bool byRow_ = false;  ///< no whole strips: they are large
    int tileWidth_ = 0;
    size_t tileRowBytes_ = 0;
    std::vector<uint8_t> tile_;
};

/// Decodes the rows of a page as the 8-bit R, G, B, A that libtiff makes of it.
class TiffConvertedRows {
  public:
    TiffConvertedRows(TiffHandle& tiff, const TiffLayout& layout);
    TiffConvertedRows(const TiffConvertedRows&) = delete;
    TiffConvertedRows& operator=(const TiffConvertedRows&) = delete;
    ~TiffConvertedRows();

    /// As TiffRows::row.
    const uint8_t* row(int y, int plane);

  private:
    TIFFRGBAImage image_{};
    int blockRows_ = 1;
    std::vector<uint32_t> block_;
};

/// Puts rows of packed samples into the planes of an image.
class TiffRowStore {
  public:
    TiffRowStore(const TiffLayout& layout, imImage& image);

    /// Row `y` of the file; `plane` as TiffRows::row.
    void store(const uint8_t* packed, int y, int plane);

  private:
    template <class Sample>
    void storeAs(const uint8_t* packed, int row, int plane);
    template <class Sample>
    void unpack(const uint8_t* packed, Sample* samples);
    template <class Sample>
    void split(const Sample* samples, int row, int plane);
    template <class Sample>
    void mirror(int row, int plane);

    const TiffLayout& layout_;
    imImage& image_;
    size_t count_;                   ///< samples of a row of the file
    int planes_;                     ///< of the image in a row of the file
    std::vector<uint16_t> samples_;  ///< of a row, in bytes or words
    std::vector<uint16_t> scale_;    ///< what becomes of each sample
    bool isBits_ = false;            ///< bits become 0 and 1 as they are, or turned over
};

}  // namespace im
