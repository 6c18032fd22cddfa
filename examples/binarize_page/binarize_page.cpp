// The smallest host: one page in, its black and white form out.
//
//     binarize_page IN OUT
#include <KelImageLib.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: binarize_page IN OUT\n");
        return 2;
    }
    kelSize size = {0, 0};
    int channels = -100;  // no size limit
    unsigned char* page = nullptr;
    if (Kel_LoadImageFile2Buffer(argv[1], &page, &size.width, &size.height, &channels) != 0) {
        std::fprintf(stderr, "binarize_page: %s: nothing was read\n", argv[1]);
        return 1;
    }
    // One plane or three in, one plane out, at the level that the page itself suggests.
    std::vector<unsigned char> binary(static_cast<size_t>(size.width) *
                                      static_cast<size_t>(size.height));
    KelBinarizeImage(page, channels, binary.data(), size, 0, KEL_BIN_METHOD_AUTO, 0, 0, 0);
    Kel_ReleaseImage(page);
    return Kel_SaveImage_DT(binary.data(), size.width, size.height, 1, argv[2], 0) == 0 ? 0 : 1;
}
