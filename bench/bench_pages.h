// Synthetic A4 pages for the benchmarks: text lines, shaded paper, noise, and a red seal in colour.
#pragma once

#include <string>
#include <vector>

#include "kel_define.h"

namespace bench {

using Bytes = std::vector<unsigned char>;

struct PageSet {
    std::string name;  ///< "A4 200 dpi"
    kelSize size;
    Bytes grey;
    Bytes colour;  ///< three planes

    size_t area() const {
        return static_cast<size_t>(size.width) * static_cast<size_t>(size.height);
    }
};

/// The pages at 200 and 300 dpi, made once; the same on every run.
const std::vector<PageSet>& pages();

}  // namespace bench
