// What the tests of image files share: files made by the toolkit, on the disk and in memory.
#pragma once

#include <tuple>

#include "im_support.h"
#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "support.h"

namespace test {

/// An empty working folder while it lives, for files of fixed names.
struct WorkingFolder : ScratchFolder {
    WorkingFolder() { std::filesystem::current_path(path); }
    ~WorkingFolder() { std::filesystem::current_path(before); }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::filesystem::path before = std::filesystem::current_path();
};

struct Dots {
    float x, y;
    const char* unit;
};

/// Writes pages of a size into one file.
inline std::string writeFile(const std::string& name, const char* format,
                             const std::vector<const imImage*>& pages, const Dots* dots = nullptr,
                             const char* compression = nullptr) {
    const std::string path = scratchPath(name);
    const ImFile file(imFileNew(path.c_str(), format, nullptr));
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

/// A loaded page, or what a failed call left; before the call, the size limit.
struct LoadedPage {
    int channels = 0, width = 0, height = 0, result = 0;
    Bytes samples{};
    std::string format{}, compression{};
    int rate = -1;
    double x = -1.0, y = -1.0;

    auto all() const {
        return std::tie(result, width, height, channels, samples, format, compression, rate, x, y);
    }
};

/// Loads the first page by all four calls, which have to agree.
inline LoadedPage loadedPage(const std::string& path, const LoadedPage& limit = {}) {
    Bytes bytes = fileBytes(path);
    LoadedPage pages[4] = {limit, limit, limit, limit};
    for (int i = 0; i < 4; ++i) {
        LoadedPage& p = pages[i];
        unsigned char* samples = nullptr;
        char format[12] = "-", compression[32] = "-";
        const auto load = [&](auto fromPath, auto fromMemory, auto... more) {
            return i % 2 == 0
                       ? fromPath(path.c_str(), &samples, &p.width, &p.height, &p.channels, more...)
                       : fromMemory(bytes.data(), int(bytes.size()), &samples, &p.width, &p.height,
                                    &p.channels, more...);
        };
        p.result = i < 2 ? load(Kel_LoadImageFile2Buffer, Kel_ReadImageFile2Buffer)
                         : load(Kel_LoadImageFile2BufferRParam, Kel_ReadImageFile2BufferRParam,
                                format, compression, &p.rate, &p.x, &p.y);
        p.format = format;
        p.compression = compression;
        if (samples) p.samples.assign(samples, samples + p.width * p.height * p.channels);
        Kel_ReleaseImage(samples);
    }
    EXPECT_EQ(pages[0].samples, pages[2].samples) << path;
    EXPECT_TRUE(pages[0].all() == pages[1].all()) << path;
    EXPECT_TRUE(pages[2].all() == pages[3].all()) << path;
    return pages[2];
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
