// Plane copies and crops beside row-wise memcpy.
#include <cstring>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "kel_ImageBasicProcess.h"

namespace bench {
namespace {

/// The peer of every copy: memcpy row by row, w by h samples of each plane.
void copyRows(const Bytes& from, kelSize fromSize, Bytes& to, kelSize toSize, int w, int h,
              int planes) {
    for (int c = 0; c < planes; ++c)
        for (int y = 0; y < h; ++y)
            std::memcpy(
                to.data() + (static_cast<ptrdiff_t>(c) * toSize.height + y) * toSize.width,
                from.data() + (static_cast<ptrdiff_t>(c) * fromSize.height + y) * fromSize.width,
                static_cast<size_t>(w));
}

}  // namespace

void addCopyRows() {
    for (const PageSet& page : pages()) {
        auto src = std::make_shared<Bytes>(page.colour);
        auto dst = std::make_shared<Bytes>(src->size());
        auto other = std::make_shared<Bytes>(src->size());
        const kelSize size = page.size;
        const kelSize wider{size.width + 32, size.height};
        auto wide = std::make_shared<Bytes>(3 * static_cast<size_t>(wider.width) *
                                            static_cast<size_t>(wider.height));
        const auto same = [dst, other] { return *dst == *other; };
        const std::string colour = page.name + " colour";

        addRow({"KelCopyImage", colour,
                [=] { KelCopyImage(src->data(), size, 3, dst->data(), size, 3); }, "memcpy by rows",
                [=] { copyRows(*src, size, *other, size, size.width, size.height, 3); }, 1.2,
                same});
        addRow({"KelCopyImage, wider target", colour,
                [=] { KelCopyImage(src->data(), size, 3, wide->data(), wider, 3); },
                "memcpy by rows",
                [=] { copyRows(*src, size, *wide, wider, size.width, size.height, 3); }, 1.2,
                [] { return true; }});
        const int w = size.width / 2, h = size.height / 2;
        addRow({"KelCopySubImage, quarter page", colour,
                [=] {
                    CvRect rect = cvRect(0, 0, w, h);
                    KelCopySubImage(src->data(), size, dst->data(), {w, h}, 3, &rect);
                },
                "memcpy by rows",
                [=] {
                    copyRows(*src, size, *other, {w, h}, w, h, 3);
                },
                1.2, same});
        addRow({"KelCopyImage1Channel", colour,
                [=] { KelCopyImage1Channel(src->data(), size, 3, dst->data(), size, 1, 1, 'R'); },
                "memcpy by rows",
                [=] { copyRows(*src, size, *other, size, size.width, size.height, 1); }, 1.2,
                same});
    }
}

}  // namespace bench
