// What the tests of image files share: files made by the toolkit, on the disk and in memory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "im.h"
#include "support.h"

namespace test {

struct DestroyIm {
    void operator()(imImage* image) const { imImageDestroy(image); }
    void operator()(imFile* file) const { imFileClose(file); }
};
using ImRecord = std::unique_ptr<imImage, DestroyIm>;
using ImOpenFile = std::unique_ptr<imFile, DestroyIm>;

inline std::string scratchPath(const std::string& name) {
    const auto folder = std::filesystem::path(::testing::TempDir()) / "kel_files";
    std::filesystem::create_directories(folder);
    return (folder / name).string();
}

inline Bytes bytesOfFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes{std::istreambuf_iterator<char>(in), {}};
}

inline std::string writeBytes(const std::string& name, const Bytes& bytes) {
    const std::string path = scratchPath(name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    return path;
}

/// A record of random samples.
inline ImRecord recordOf(int width, int height, int space, int type = IM_BYTE, unsigned seed = 1) {
    ImRecord record(imImageCreate(width, height, space, type));
    const size_t bytes = size_t(record->line_size) * size_t(height) * size_t(record->depth);
    const Bytes random = randomBytes(bytes, seed, 0, space == IM_BINARY ? 2 : 256);
    std::copy(random.begin(), random.end(), static_cast<unsigned char*>(record->data[0]));
    return record;
}

struct Dots {
    float x, y;
    const char* unit;
};

/// Writes pages of a size into one file.
inline std::string writeFile(const std::string& name, const char* format,
                             const std::vector<const imImage*>& pages, const Dots* dots = nullptr,
                             const char* compression = nullptr) {
    const std::string path = scratchPath(name);
    const ImOpenFile file(imFileNew(path.c_str(), format, nullptr));
    EXPECT_NE(file, nullptr) << path;
    if (dots != nullptr) {
        imFileSetAttribute(file.get(), "XResolution", IM_FLOAT, 1, &dots->x);
        imFileSetAttribute(file.get(), "YResolution", IM_FLOAT, 1, &dots->y);
        imFileSetAttribute(file.get(), "ResolutionUnit", IM_BYTE, 4, dots->unit);
    }
    EXPECT_EQ(imFileSetInfo(file.get(), compression), IM_ERR_NONE);
    for (const imImage* page : pages)
        EXPECT_EQ(imFileSaveImage(file.get(), page), IM_ERR_NONE) << path;
    return path;
}

/// The channel image of a record, by the definition of the bridge.
inline Bytes channelImageOf(const imImage& record) {
    Bytes image;
    for (int p = 0; p < record.depth; ++p)
        for (int y = record.height; y-- > 0;)
            for (int i = 0; i < record.line_size; ++i) {
                const auto* const plane = static_cast<const unsigned char*>(record.data[p]);
                const unsigned char sample = plane[y * record.line_size + i];
                image.push_back(record.color_space == IM_BINARY && sample != 0 ? 255 : sample);
            }
    return image;
}

}  // namespace test
