// The chain of directories of a TIFF file, one for each page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "bin_file.h"

namespace im {

struct TiffChain {
    std::vector<uint64_t> directories;  ///< offsets, in order
    bool bigEndian = false;
    bool big = false;     ///< offsets of 8 bytes, not 4
    bool cutOff = false;  ///< the last one names another that is not there, or not whole
};

/// The chain of a file, `most` directories at the most. It ends where it is cut off or comes back
/// to itself.
TiffChain readTiffChain(BinaryFile& file, size_t most);

/// The file with a header that tells another directory to be the first, so that libtiff need not
/// walk to it.
std::unique_ptr<BinaryFile> startingAt(BinaryFile& file, const TiffChain& chain, size_t directory);

}  // namespace im
