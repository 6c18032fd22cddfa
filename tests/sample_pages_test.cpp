// A real page through the library, held to recorded results: they must not change between releases,
// processors and compilers. The page is a PNG file, whose decoding is exact everywhere.
#include <gtest/gtest.h>

#include <string>

#include "estimate_twin.h"
#include "guarded.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"

namespace {

// FNV-1a.
uint64_t hashOf(const unsigned char* bytes, size_t count) {
    uint64_t hash = 14695981039346656037ULL;
    for (size_t i = 0; i < count; ++i)
        hash = (hash ^ bytes[i]) * 1099511628211ULL;
    return hash;
}

struct Recorded {
    int method, thres, blockSize, param1;
    uint64_t hash;
};

TEST(SamplePages, KeepTheirRecordedResults) {
    kelSize size{};
    int channels = 0;
    unsigned char* page = nullptr;
    const std::string file = std::string(KEL_SAMPLES) + "/form-ruled.png";
    ASSERT_EQ(KelLoadImageFiles(file.c_str(), &size.width, &size.height, &page, &channels, 1), 0);
    ASSERT_EQ(channels, 3);
    EXPECT_EQ(hashOf(page, 3 * test::area(size)), 269249060917039065ULL);

    test::Bytes grey(test::area(size));
    KelColorConvert(page, size, 3, grey.data(), size, 1);
    EXPECT_EQ(hashOf(grey.data(), grey.size()), 3693552354836142313ULL);
    const int level = KelAutoThresholdValue3(grey.data(), nullptr, size);
    EXPECT_EQ(level, 208);
    EXPECT_EQ(level, test::estimatedLevel(grey.data(), nullptr, size));

    const Recorded table[] = {
        {1, 128, 0, 0, 16332605530238785938ULL},
        {2, 0, 0, 0, 14388470732985684976ULL},
        {2, 25, 0, 0, 11764679797069583087ULL},
        {6, 0, 0, 100, 1093316617863374670ULL},
    };
    test::Bytes binary(test::area(size));
    for (const auto& r : table) {
        KelBinarizeImage(page, 3, binary.data(), size, 0, r.method, r.thres, r.blockSize, r.param1);
        EXPECT_EQ(hashOf(binary.data(), binary.size()), r.hash) << "method " << r.method;
    }
    Kel_ReleaseImage(page);
}

}  // namespace
