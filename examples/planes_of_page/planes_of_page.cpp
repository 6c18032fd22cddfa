// A picture of the image form: a page, and beside it its buffer as it lies in memory, plane by
// plane.
//
//     planes_of_page IN OUT
#include <KelImageLib.hpp>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: planes_of_page IN OUT\n");
        return 2;
    }
    kel::Image page = kel::load(argv[1], {360, 360});
    if (page.planes() != 3) throw kel::Error("a page without colour", page.planes());
    // The buffer, taken for one plane of three times the height.
    const kel::Image buffer = kel::Image::copyOf(page.data(), {page.width(), 3 * page.height()}, 1);

    const int gap = 24;
    kel::Image picture({2 * page.width() + 3 * gap, buffer.height() + 2 * gap}, 3, 235);
    KelCopyImageClip(page.data(), page.size(), picture.data(), picture.size(), 3, gap, gap);
    kel::Image planes(buffer.size(), 3);
    KelColorConvert(buffer.readable(), buffer.size(), 1, planes.data(), planes.size(), 3);
    KelCopyImageClip(planes.data(), planes.size(), picture.data(), picture.size(), 3,
                     page.width() + 2 * gap, gap);
    kel::save(picture, argv[2]);
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "planes_of_page: %s\n", error.what());
    return 1;
}
