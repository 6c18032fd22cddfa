// A host that links the library and nothing of OpenCV: loading the library must not load OpenCV's
// codecs; the first file call does, and copes where the private module is missing.
#include <link.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"

namespace {

bool isLoaded(const char* part) {
    struct Search {
        const char* part;
        bool found;
    } search{part, false};
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* data) {
            auto* s = static_cast<Search*>(data);
            s->found = s->found || std::strstr(info->dlpi_name, s->part);
            return 0;
        },
        &search);
    return search.found;
}

int failed(const char* what) {
    std::printf("failed: %s\n", what);
    return 1;
}

std::string contentOf(const std::string& name) {
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return failed("arguments: with-module|without-module FILE");
    const bool withModule = std::string(argv[1]) == "with-module";
    std::remove(argv[2]);

    unsigned char page[6] = {0, 255, 0, 255, 0, 255};
    KelBinarizeThreshold(page, page, {3, 2}, 128, 1);
    if (page[0] != 255) return failed("threshold");
    if (!isLoaded("libKelImageLib")) return failed("the search finds loaded libraries");
    if (isLoaded("imgcodecs")) return failed("no codecs before the first file call");

    const std::string errors = std::string(argv[2]) + ".stderr";
    if (!std::freopen(errors.c_str(), "w", stderr)) return failed("catching standard error");
    if (KelSaveImage(page, 1, {3, 2}, argv[2]) != 0) return failed("save gives 0");
    std::fflush(stderr);
    const bool told = contentOf(errors).find(std::string("cannot write ") + argv[2]) == 13;
    if (told == withModule) return failed("a line on standard error, only without the module");
    int width = 0, height = 0, channels = 0;
    unsigned char* back = nullptr;
    const int result = KelLoadImageFiles(argv[2], &width, &height, &back, &channels, 0);
    if (!withModule) return result == -1 && !back ? 0 : failed("nothing to read");
    if (!isLoaded("imgcodecs")) return failed("codecs after the first file call");
    if (result != 0 || std::memcmp(back, page, sizeof page) != 0) return failed("round trip");
    Kel_ReleaseImage(back);
    return 0;
}
