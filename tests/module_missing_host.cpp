// A host beside a copy of the library that has lost its private module: reads give "nothing was
// read", writes say on standard error what is missing, everything else works.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "kel_ImageBasicProcess.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;  // an image that is there, and a folder to write to
    const std::string target = std::string(argv[2]) + "/page.png", errors = target + ".stderr";
    unsigned char page[6] = {0, 255, 0, 255, 0, 255};
    KelBinarizeThreshold(page, page, {3, 2}, 128, 1);

    int width = 0, height = 0, channels = 0;
    unsigned char* back = page;
    const int loaded = KelLoadImageFiles(argv[1], &width, &height, &back, &channels, 0);
    if (!std::freopen(errors.c_str(), "w", stderr)) return 2;
    const int saved = KelSaveImage(page, 1, {3, 2}, target.c_str());
    std::fflush(stderr);
    std::ostringstream said;
    said << std::ifstream(errors).rdbuf();

    const std::string expected = "KelImageLib: cannot write " + target + ": libKelImageLib-highgui";
    const bool good = page[0] == 255 && loaded == -1 && !back && saved == 0 &&
                      said.str().compare(0, expected.size(), expected) == 0 &&
                      !std::ifstream(target);
    std::printf("read %d, write %d, said: %s", loaded, saved, said.str().c_str());
    return good ? 0 : 1;
}
