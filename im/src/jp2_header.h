// What the headers of a JPEG 2000 file say: the boxes of a JP2 file, and the first markers of the
// codestream. Read here, because the codec tells what kind of image a file holds only after
// decoding it, and because it believes sizes that no file can hold.
#pragma once

#include <cstdint>
#include <vector>

#include "bin_file.h"
#include "format.h"

namespace im {

/// One component of the codestream.
struct Jp2Component {
    int bits = 0;
    bool isSigned = false;
    uint32_t stepX = 1, stepY = 1;  ///< a sample every so many places of the grid
    int width = 0, height = 0;
};

/// The grid that components and tiles lie on.
struct Jp2Grid {
    uint32_t left = 0, top = 0, right = 0, bottom = 0;
    uint32_t tileLeft = 0, tileTop = 0, tileWidth = 0, tileHeight = 0;
};

/// Where one plane of the image comes from: a component, by way of a palette or directly.
struct Jp2Channel {
    size_t component = 0;
    int bits = 0;                   ///< of what it gives
    std::vector<uint16_t> palette;  ///< empty where there is none
};

struct Jp2Header {
    uint64_t codestreamAt = 0, codestreamSize = 0;
    Jp2Grid grid;
    std::vector<Jp2Component> components;
    std::vector<Jp2Channel> planes;  ///< in the order of the image's planes
    bool isYcc = false;              ///< luma and two chromas instead of R, G, B
    PageInfo info;
};

/// Reads the boxes and the size marker; throws for what makes no sense.
Jp2Header readJp2Header(BinaryFile& file);

/// Throws when the coding markers would keep the codec busy beyond all measure: when they promise
/// more packets than there are bytes (each takes one at least), or code blocks by the million,
/// which cost hundreds of bytes each.
void checkJp2Work(BinaryFile& codestream, const Jp2Header& header);

}  // namespace im
