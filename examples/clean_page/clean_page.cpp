// A page set upright, cleaned, and saved as ink on paper, in C++17.
//
//     clean_page IN OUT.tif
#include <KelImageLib.hpp>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::fprintf(stderr, "usage: clean_page IN OUT.tif\n");
        return 2;
    }
    kel::Image page = kel::load(argv[1]);
    const double skew = kel::skewOf(kel::binarize(page));
    if (skew != 0) page = kel::rotated(page, -skew);
    page = kel::withoutBlackEdges(page);
    const kel::Image ink = kel::withoutSpots(kel::binarize(page), 10);
    kel::save(kel::inverted(ink), argv[2], kel::Compression::group4);
    std::printf("%d x %d pixels, %.2f degrees, %zu areas of ink\n", page.width(), page.height(),
                skew, kel::areasOf(ink).records.size());
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "clean_page: %s\n", error.what());
    return 1;
}
