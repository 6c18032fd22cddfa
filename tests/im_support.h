// What the tests of the toolkit share: images to write, files in memory, and other programs' view
// of a file.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
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

inline Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// Bytes of hexadecimal digits; blanks count for nothing.
inline Bytes hex(const std::string& digits) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < digits.size(); i += digits[i] == ' ' ? 1 : 2)
        if (digits[i] != ' ')
            bytes.push_back(
                static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

inline Bytes number(size_t size, long long value, bool big = false) {
    Bytes bytes;
    for (size_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> 8 * (big ? size - 1 - i : i)));
    return bytes;
}

inline Bytes changed(Bytes bytes, size_t at, const Bytes& values) {
    std::copy(values.begin(), values.end(), &bytes.at(at));
    return bytes;
}

inline Bytes cut(Bytes bytes, size_t size) {
    bytes.resize(size);
    return bytes;
}

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
        std::fill_n(image->palette, 256, imPaletteColor{0, 0, 0});
        const auto byte = [&random] { return static_cast<unsigned char>(random()); };
        for (int c = 0; c < colors; ++c)
            image->palette[c] = {byte(), byte(), byte()};
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

/// A new file in memory.
inline ImFile memoryFile(imBinMemoryFileName& block, const char* format) {
    return inMemory(
        [&] { return ImFile(imFileNew(reinterpret_cast<const char*>(&block), format, nullptr)); });
}

/// Saves images into one file in memory. `error` gets the first error, 0 for none.
inline Bytes encoded(const std::vector<const imImage*>& images, const char* format,
                     const char* compression = nullptr, int* error = nullptr,
                     const std::function<void(imFile*)>& prepare = nullptr) {
    imBinMemoryFileName block{nullptr, 64, 1.1F};
    const ImFile file = memoryFile(block, format);
    int code = compression == nullptr ? IM_ERR_NONE : imFileSetInfo(file.get(), compression);
    if (prepare) prepare(file.get());
    for (size_t i = 0; code == IM_ERR_NONE && i < images.size(); ++i)
        code = imFileSaveImage(file.get(), images[i]);
    if (error != nullptr)
        *error = code;
    else
        EXPECT_EQ(code, IM_ERR_NONE) << format;
    // The whole file is there before it is closed.
    const Bytes bytes(block.buffer, block.buffer + imFileGetWriteImageDataLen(file.get()));
    imBinMemoryRelease(block.buffer);
    return bytes;
}

inline std::function<void(imFile*)> quality(int q) {
    return [q](imFile* file) { imFileSetAttribute(file, "JPEGQuality", IM_INT, 1, &q); };
}

inline std::function<void(imFile*)> resolution(float x, float y, const char* unit) {
    return [=](imFile* file) {
        imFileSetAttribute(file, "XResolution", IM_FLOAT, 1, &x);
        imFileSetAttribute(file, "YResolution", IM_FLOAT, 1, &y);
        imFileSetAttribute(file, "ResolutionUnit", IM_BYTE, 4, unit);
    };
}

struct Loaded {
    Bytes bytes;
    Im image;
    int error = -1, count = 0, mode = -1;
    std::string format, compression;
    ImFile file;  ///< open still, for its attributes
};

/// Opens a file in memory; `bytes` outlive it.
inline ImFile openedInMemory(Bytes& bytes, int* error = nullptr) {
    imBinMemoryFileName block{bytes.data(), int(bytes.size()), 1.1F};
    return inMemory(
        [&] { return ImFile(imFileOpen(reinterpret_cast<const char*>(&block), error)); });
}

/// Loads image `index` of a file in memory.
inline Loaded loaded(Bytes bytes, int index = 0) {
    Loaded result;
    result.bytes = std::move(bytes);
    result.file = openedInMemory(result.bytes, &result.error);
    if (result.file == nullptr) return result;
    char format[12], compression[20];
    result.image.reset(imFileLoadImage(result.file.get(), index, &result.error));
    imFileGetInfo(result.file.get(), format, compression, &result.count);
    imFileReadImageInfo(result.file.get(), index, nullptr, nullptr, &result.mode, nullptr);
    result.format = format;
    result.compression = compression;
    return result;
}

/// What a file holds, in words: the error; or the colour space, of A(lpha), P(acked), T(opdown) and
/// W(ide samples) what is so, and the samples from the top row down, planes apart by "/". Palette
/// indexes go with their colours.
inline std::string shown(const Loaded& file) {
    const char* const errors[] = {"NONE", "OPEN", "ACCESS", "FORMAT", "DATA", "COMPRESS", "MEM"};
    if (file.image == nullptr) return errors[file.error];
    const imImage& image = *file.image;
    std::string text = imColorModeSpaceName(image.color_space), flags;
    if ((file.mode & IM_ALPHA) != 0) flags += 'A';
    if ((file.mode & IM_PACKED) != 0) flags += 'P';
    if ((file.mode & IM_TOPDOWN) != 0) flags += 'T';
    if (image.data_type == IM_USHORT) flags += 'W';
    if (!flags.empty()) text += ' ' + flags;
    for (int p = 0; p < image.depth; ++p, text += p < image.depth ? " /" : "")
        for (int y = image.height; y-- > 0;)
            for (int i = y * image.width; i < (y + 1) * image.width; ++i) {
                const int sample = image.data_type == IM_USHORT
                                       ? static_cast<const unsigned short*>(image.data[p])[i]
                                       : static_cast<const unsigned char*>(image.data[p])[i];
                text += ' ' + std::to_string(sample);
                if (image.color_space != IM_MAP) continue;
                const imPaletteColor& c = image.palette[sample];
                char color[8];
                std::snprintf(color, sizeof color, ":%02x%02x%02x", c.red, c.green, c.blue);
                text += color;
            }
    return text;
}

inline std::string shown(const Bytes& bytes) {
    return shown(loaded(bytes));
}

/// Same kind, size, samples (bytes but for `tolerance`) and, for IM_MAP, palette.
inline ::testing::AssertionResult same(const imImage* a, const imImage* b, int tolerance = 0) {
    if (a == nullptr || b == nullptr) return ::testing::AssertionFailure() << "no image";
    const auto kind = [](const imImage* image) {
        return std::to_string(image->width) + "x" + std::to_string(image->height) + " " +
               imColorModeSpaceName(image->color_space) + " " + imDataTypeName(image->data_type);
    };
    if (kind(a) != kind(b))
        return ::testing::AssertionFailure() << kind(a) << " against " << kind(b);
    const auto* const x = static_cast<const unsigned char*>(a->data[0]);
    const auto* const y = static_cast<const unsigned char*>(b->data[0]);
    for (size_t i = 0; i < imBytes(*a); ++i)
        if (std::abs(x[i] - y[i]) > tolerance)
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

inline bool sameColors(const imImage* a, const imImage* b) {
    return a != nullptr && b != nullptr &&
           same(converted(*a, IM_RGB).get(), converted(*b, IM_RGB).get());
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

/// Loads the first image of the same bytes in a file on the disk, whose name means nothing.
inline Im loadedFromDisk(const Bytes& bytes) {
    const ImFile file(imFileOpen(writeBytes("loaded.jpg", bytes).c_str(), nullptr));
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
