// What the tests of the toolkit share: images to write, files in memory, and other programs' view
// of a file.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "im.h"
#include "scratch.h"

namespace test {

using Bytes = std::vector<unsigned char>;

struct ImDeleter {
    void operator()(imImage* image) const { imImageDestroy(image); }
    void operator()(imFile* file) const { imFileClose(file); }
};
using Im = std::unique_ptr<imImage, ImDeleter>;
using ImFile = std::unique_ptr<imFile, ImDeleter>;

inline size_t imBytes(const imImage& image) {
    return size_t(image.line_size) * size_t(image.height) * size_t(image.depth);
}

inline unsigned char* samplesOf(imImage& image) {
    return static_cast<unsigned char*>(image.data[0]);
}

/// Runs of random samples, so that run-length coders meet both runs and noise; IM_MAP with `colors`
/// palette entries.
inline Im randomIm(int width, int height, int space, int type = IM_BYTE, unsigned seed = 1,
                   int colors = 256) {
    Im image(imImageCreate(width, height, space, type));
    if (image == nullptr) {
        ADD_FAILURE() << width << "x" << height;
        return image;
    }
    std::mt19937 random(seed);
    unsigned char* const samples = samplesOf(*image);
    const unsigned range = space == IM_BINARY ? 2U : space == IM_MAP ? unsigned(colors) : 256U;
    for (size_t i = 0, run = 0; i<imBytes(*image); ++i, run -= run> 0)
        if (run > 0 && i > 0) {
            samples[i] = samples[i - 1];
        } else {
            samples[i] = static_cast<unsigned char>(random() % range);
            if (random() % 8 == 0) run = random() % 300;
        }
    if (space == IM_MAP) {
        image->palette_count = colors;
        for (int c = 0; c < 256; ++c)
            image->palette[c] = {
                c < colors ? static_cast<unsigned char>(random()) : (unsigned char)0,
                c < colors ? static_cast<unsigned char>(random()) : (unsigned char)0,
                c < colors ? static_cast<unsigned char>(random()) : (unsigned char)0};
    }
    return image;
}

/// Runs `work` with the memory module current.
template <class Work>
auto inMemory(const Work& work) {
    struct Restore {
        int before = imBinFileSetCurrentModule(IM_MEMORYFILE);
        ~Restore() { imBinFileSetCurrentModule(before); }
    } restore;
    return work();
}

/// Saves images into one file in memory. `error` gets the first error, 0 for none.
inline Bytes encoded(const std::vector<const imImage*>& images, const char* format,
                     const char* compression = nullptr, int* error = nullptr,
                     const std::function<void(imFile*)>& prepare = nullptr) {
    imBinMemoryFileName block{nullptr, 64, 1.1F};
    const Bytes bytes = inMemory([&] {
        int code = IM_ERR_NONE;
        ImFile file(imFileNew(reinterpret_cast<const char*>(&block), format, &code));
        if (file != nullptr && compression != nullptr)
            code = imFileSetInfo(file.get(), compression);
        if (file != nullptr && prepare) prepare(file.get());
        for (size_t i = 0; code == IM_ERR_NONE && i < images.size(); ++i)
            code = imFileSaveImage(file.get(), images[i]);
        if (error != nullptr)
            *error = code;
        else
            EXPECT_EQ(code, IM_ERR_NONE) << format;
        // The whole file is there before it is closed.
        return Bytes(block.buffer, block.buffer + imFileGetWriteImageDataLen(file.get()));
    });
    imBinMemoryRelease(block.buffer);
    return bytes;
}

struct Loaded {
    Im image;
    int error = -1;
    int count = 0;
    std::string format, compression;
    ImFile file;  ///< open still, for its attributes
};

/// Loads image `index` of a file in memory; `bytes` outlives what it returns.
inline Loaded loaded(const Bytes& bytes, int index = 0) {
    imBinMemoryFileName block{const_cast<unsigned char*>(bytes.data()), int(bytes.size()), 1.1F};
    Loaded result;
    inMemory([&] {
        result.file.reset(imFileOpen(reinterpret_cast<const char*>(&block), &result.error));
        if (result.file == nullptr) return 0;
        char format[12], compression[20];
        result.image.reset(imFileLoadImage(result.file.get(), index, &result.error));
        imFileGetInfo(result.file.get(), format, compression, &result.count);
        result.format = format;
        result.compression = compression;
        return 0;
    });
    return result;
}

/// Same kind, size, samples and, for IM_MAP, palette.
inline ::testing::AssertionResult same(const imImage* a, const imImage* b) {
    if (a == nullptr || b == nullptr) return ::testing::AssertionFailure() << "no image";
    if (a->width != b->width || a->height != b->height || a->color_space != b->color_space ||
        a->data_type != b->data_type)
        return ::testing::AssertionFailure()
               << a->width << "x" << a->height << " " << imColorModeSpaceName(a->color_space) << " "
               << imDataTypeName(a->data_type) << " against " << b->width << "x" << b->height << " "
               << imColorModeSpaceName(b->color_space) << " " << imDataTypeName(b->data_type);
    const auto* const x = static_cast<const unsigned char*>(a->data[0]);
    const auto* const y = static_cast<const unsigned char*>(b->data[0]);
    for (size_t i = 0; i < imBytes(*a); ++i)
        if (x[i] != y[i])
            return ::testing::AssertionFailure()
                   << "byte " << i << ": " << int(x[i]) << " against " << int(y[i]);
    if (a->color_space == IM_MAP &&
        (a->palette_count != b->palette_count ||
         std::memcmp(a->palette, b->palette, size_t(a->palette_count) * 3) != 0))
        return ::testing::AssertionFailure() << "other palettes";
    return ::testing::AssertionSuccess();
}

/// `image` in another colour space.
inline Im converted(const imImage& image, int space) {
    const bool bytes = space == IM_MAP || space == IM_BINARY;
    Im result(imImageCreate(image.width, image.height, space,
                            bytes ? static_cast<int>(IM_BYTE) : image.data_type));
    EXPECT_EQ(imConvertColorSpace(&image, result.get()), IM_ERR_NONE);
    return result;
}

inline std::string writeBytes(const std::string& name, const Bytes& bytes) {
    const std::string path = scratchPath(name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
    return path;
}

inline Bytes fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << path;
    return Bytes{std::istreambuf_iterator<char>(in), {}};
}

/// Loads the first image of the same bytes in a file on the disk.
inline Im loadedFromDisk(const Bytes& bytes) {
    const ImFile file(imFileOpen(writeBytes("loaded", bytes).c_str(), nullptr));
    return Im(imFileLoadImage(file.get(), 0, nullptr));
}

/// What another program writes to its standard output when it gets `input`; in its command, "@"
/// stands for a file that holds the input.
inline Bytes piped(std::string command, const Bytes& input) {
    const std::string name = writeBytes("piped", input);
    for (size_t at; (at = command.find('@')) != std::string::npos;)
        command.replace(at, 1, name);
    Bytes output;
    FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
    unsigned char block[4096];
    for (size_t got; pipe != nullptr && (got = fread(block, 1, sizeof block, pipe)) > 0;)
        output.insert(output.end(), block, block + got);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/// A file as another program decodes it, by way of PNM.
inline Im seenBy(const std::string& command, const Bytes& input) {
    return std::move(loaded(piped(command, input)).image);
}

}  // namespace test
