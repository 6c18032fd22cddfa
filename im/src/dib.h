// The bitmap that BMP files and the images of ICO files share: header, palette, and rows that lie
// bottom row first and are padded to four bytes.
#pragma once

#include <cstdint>

#include "byte_reader.h"
#include "byte_writer.h"
#include "format.h"
#include "im.h"

namespace im {

/// A bitmap as it lies in a file.
struct Dib {
    PageInfo info;
    int bits = 0;            ///< of a pixel
    bool runs = false;       ///< run-length codes in place of rows
    uint32_t masks[4] = {};  ///< where 16 and 32 bits hold red, green, blue and alpha
    imPaletteColor palette[256] = {};
    int colors = 0;       ///< in the palette
    uint8_t flipBit = 0;  ///< 1 where index 0 of an IM_BINARY image is white
    int perMetreX = 0, perMetreY = 0;
    uint64_t dataAt = 0;  ///< where the rows start
};

/// Reads header and palette from where `in` stands. `dataAt` is where the rows start by the file's
/// own word; 0, or a place too early, stands for right behind the palette.
Dib readDib(ByteReader& in, uint64_t dataAt);

/// Throws unless the image can be made and the file can hold it.
void checkDib(const Dib& dib, const ByteReader& in);

/// Decodes rows and palette. The file's first row becomes the bottom one.
void readDibRows(ByteReader& in, const Dib& dib, imImage& image);

/// How an image of the kinds RGB, MAP, GRAY and BINARY is written.
struct DibLayout {
    int bits;
    int colors;       ///< in the palette
    size_t rowBytes;  ///< with padding
};
DibLayout dibLayoutOf(const imImage& image);

constexpr uint32_t kDibHeaderBytes = 40;

/// Fields of a header that the image doesn't tell.
struct DibHeader {
    int height = 0;
    bool runs = false;  ///< by 8-bit run-length codes
    uint32_t dataBytes = 0;
    int perMetreX = 0, perMetreY = 0;
};

/// Writes a header of kDibHeaderBytes and the palette.
void writeDibHeader(ByteWriter& out, const imImage& image, DibLayout layout,
                    const DibHeader& header);

void writeDibRows(ByteWriter& out, const imImage& image, DibLayout layout);

/// Writes an image of one plane of bytes by run-length codes.
void writeDibRuns(ByteWriter& out, const imImage& image);

}  // namespace im
