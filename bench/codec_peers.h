// The bare codec libraries, as a host would call them without the toolkit: from memory into a
// buffer of its own and back. Pixels are interleaved, rows top first, bilevel rows packed.
#pragma once

#include "bench_pages.h"

namespace bench::peers {

struct Page {
    int width, height;
    int samples;  ///< per pixel: 1 or 3
    int bits;     ///< per sample: 1 or 8
    size_t rowBytes() const {
        return (static_cast<size_t>(width) * static_cast<size_t>(samples * bits) + 7) / 8;
    }
};

/// All decode into `pixels`, which is large enough; all encode into `file`, which they overwrite.
void decodeJpeg(const Bytes& file, Bytes& pixels);
void encodeJpeg(Page page, const Bytes& pixels, int quality, Bytes& file);
void decodePng(const Bytes& file, Bytes& pixels);
void encodePng(Page page, const Bytes& pixels, Bytes& file);
void decodeTiff(const Bytes& file, Bytes& pixels);
/// `compression` is libtiff's number. White is zero in bilevel pages.
void encodeTiff(Page page, const Bytes& pixels, int compression, Bytes& file);

}  // namespace bench::peers
