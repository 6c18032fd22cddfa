// Pages in Leptonica's form, owned.
#pragma once

#include <leptonica/allheaders.h>

#include <memory>

#include "bench_pages.h"

namespace bench {

struct PixRelease {
    void operator()(Pix* pix) const { pixDestroy(&pix); }
};
using PixHandle = std::shared_ptr<Pix>;

inline PixHandle owned(Pix* pix) {
    return PixHandle(pix, PixRelease());
}

/// Ink is black to Leptonica.
inline PixHandle pixOf(const Bytes& plane, kelSize size) {
    PixHandle pix = owned(pixCreate(size.width, size.height, 8));
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            SET_DATA_BYTE(pixGetData(pix.get()) + y * pixGetWpl(pix.get()), x,
                          255 - plane[static_cast<size_t>(y) * static_cast<size_t>(size.width) +
                                      static_cast<size_t>(x)]);
    return pix;
}

}  // namespace bench
