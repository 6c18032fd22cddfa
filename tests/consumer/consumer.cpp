// Takes a page through the installed library: save, load, binarize, over the toolkit's record and
// back.
#include <KelImageLib.h>

#include <cstdio>
#include <vector>

#if __cplusplus >= 201703L
#include <KelImageLib.hpp>

// The same through the door for C++17.
bool goesThroughTheDoor(const char* path, const std::vector<unsigned char>& binary) {
    const kel::Image ink = kel::binarize(kel::load(path));
    const kel::Image page = kel::inverted(ink);
    return std::vector<unsigned char>(page.data(), page.data() + page.bytes()) == binary;
}
#else
bool goesThroughTheDoor(const char*, const std::vector<unsigned char>&) {
    return true;
}
#endif

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const kelSize size = {32, 20};
    std::vector<unsigned char> page(32 * 20, 220);
    for (size_t i = 200; i < 300; ++i)
        page[i] = 30;
    KelSaveImage(page.data(), 1, size, argv[1]);

    int width = 0, height = 0, channels = 0;
    unsigned char* loaded = nullptr;
    if (KelLoadUserImage(argv[1], &loaded, &width, &height, &channels) != 0) return 1;
    std::vector<unsigned char> binary(page.size());
    const int result =
        KelBinarizeImage(loaded, channels, binary.data(), size, 0, KEL_BIN_METHOD_AUTO, 0, 0, 0);
    Kel_ReleaseImage(loaded);

    imImage* const record = imImageCreate(width, height, IM_BINARY, IM_BYTE);
    std::vector<unsigned char> back(page.size());
    const bool same = KelPutIMLibImage(record, binary.data()) == 0 &&
                      KelGetIMLibImage(record, back.data()) == 0 && back == binary;
    imImageDestroy(record);
    const bool good = same && result == 0 && binary[0] == 255 && binary[250] == 0 &&
                      goesThroughTheDoor(argv[1], binary);
    std::printf("%dx%d, %d planes: %s\n", width, height, channels, good ? "good" : "wrong");
    return good ? 0 : 1;
}
