// TGA, RAS and SGI: round trips, what other programs see and make, the odd forms of each, hostile
// headers.
#include "im_support.h"

using namespace test;

namespace {

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<int> samplesFromTop(const imImage& image) {
    std::vector<int> samples;
    for (int p = 0; p < image.depth; ++p)
        for (int y = image.height - 1; y >= 0; --y)
            for (int x = 0; x < image.width; ++x)
                samples.push_back(static_cast<const unsigned char*>(
                    image.data[p])[size_t(y) * size_t(image.line_size) + size_t(x)]);
    return samples;
}

struct Pixels {
    int error, space, flags;
    std::vector<int> samples;  ///< bytes, planes apart, the top row first
    bool operator==(const Pixels& o) const {
        return error == o.error && space == o.space && flags == o.flags && samples == o.samples;
    }
};

void PrintTo(const Pixels& p, std::ostream* out) {
    *out << "error " << p.error << " space " << p.space << " flags " << std::hex << p.flags
         << std::dec << " " << ::testing::PrintToString(p.samples);
}

Pixels pixelsOf(const Bytes& bytes) {
    const Loaded file = loaded(bytes);
    if (file.image == nullptr) return {file.error, 0, 0, {}};
    int mode = 0;
    imFileReadImageInfo(file.file.get(), 0, nullptr, nullptr, &mode, nullptr);
    return {0, file.image->color_space, mode & ~0xff, samplesFromTop(*file.image)};
}

TEST(ImTgaRasSgi, RoundTripsAndWhatOthersSee) {
    const struct {
        const char *format, *decoder;
        std::vector<int> spaces;
    } formats[] = {{"TGA", "tgatoppm @", {IM_BINARY, IM_GRAY, IM_MAP, IM_RGB}},
                   {"RAS", "rasttopnm @", {IM_BINARY, IM_GRAY, IM_MAP, IM_RGB}},
                   {"SGI", "sgitopnm @", {IM_GRAY, IM_RGB}}};
    for (const auto& f : formats)
        for (const char* compression : {"NONE", "RLE"})
            for (const int space : f.spaces)
                for (const int width : {1, 7, 8, 33, 300}) {
                    SCOPED_TRACE(std::string(f.format) + " " + compression + " " +
                                 imColorModeSpaceName(space) + " " + std::to_string(width));
                    const Im image = randomIm(width, 9, space, IM_BYTE, 1, 200);
                    const Bytes bytes = encoded({image.get()}, f.format, compression);
                    const Loaded back = loaded(bytes);
                    EXPECT_TRUE(same(back.image.get(), image.get()));
                    EXPECT_EQ(back.format, f.format);
                    EXPECT_EQ(back.compression, compression);
                    const Im seen = seenBy(f.decoder, bytes);
                    ASSERT_NE(seen, nullptr);
                    EXPECT_TRUE(same(seen.get(), converted(*image, seen->color_space).get()));
                }
}

TEST(ImTgaRasSgi, LoadsWhatOthersWrite) {
    const struct {
        int space;
        std::vector<const char*> encoders;
    } cases[] = {{IM_BINARY, {"pnmtorast -standard @", "pnmtorast -rle @", "pamtotga -mono @"}},
                 {IM_GRAY,
                  {"pnmtorast -standard @", "pnmtorast -rle @", "pnmtosgi -verbatim @",
                   "pnmtosgi -rle @", "pamtotga -mono @", "pamtotga -mono -norle @"}},
                 {IM_RGB,
                  {"pnmtorast -standard @", "pnmtorast -rle @", "pnmtosgi -verbatim @",
                   "pnmtosgi -rle @", "pamtotga -rgb @", "pamtotga -rgb -norle @"}},
                 {IM_MAP, {"pnmtorast -rle @", "pamtotga -cmap @", "pamtotga -cmap -norle @"}}};
    for (const auto& c : cases)
        for (const char* encoder : c.encoders) {
            SCOPED_TRACE(std::string(imColorModeSpaceName(c.space)) + " " + encoder);
            // A multiple of 8: pnmtorast loses the bits of a byte that it doesn't fill.
            const Im image = randomIm(40, 11, c.space, IM_BYTE, 3, 50);
            const Im shown = converted(*image, c.space == IM_MAP ? IM_RGB : c.space);
            const Loaded file = loaded(piped(encoder, encoded({shown.get()}, "PNM")));
            ASSERT_EQ(file.error, 0);
            EXPECT_TRUE(same(converted(*file.image, shown->color_space).get(), shown.get()));
        }
}

TEST(ImTgaRasSgi, SgiKeepsWideSamples) {
    for (const char* compression : {"NONE", "RLE"})
        for (const int space : {IM_GRAY, IM_RGB}) {
            const Im image = randomIm(301, 3, space, IM_USHORT);
            const Bytes bytes = encoded({image.get()}, "SGI", compression);
            EXPECT_TRUE(same(loaded(bytes).image.get(), image.get())) << compression;
            EXPECT_TRUE(same(seenBy("sgitopnm @", bytes).get(), image.get())) << compression;
        }
}

// A TGA header; the image is 2x2.
Bytes tga(int type, int depth, int descriptor, const Bytes& data,
          const Bytes& map = {0, 0, 0, 0, 0}, int idBytes = 0) {
    const auto byte = [](int value) { return static_cast<unsigned char>(value); };
    return Bytes{byte(idBytes), byte(map[4] > 0), byte(type)} + map +
           Bytes{0, 0, 0, 0, 2, 0, 2, 0, byte(depth), byte(descriptor)} + data;
}

TEST(ImTga, OddForms) {
    const auto grey = [](int flags, std::vector<int> samples) {
        return Pixels{0, IM_GRAY, flags, std::move(samples)};
    };
    // Origins: bottom left, bottom right, top left, top right.
    EXPECT_EQ(pixelsOf(tga(3, 8, 0x00, {1, 2, 3, 4})), grey(0, {3, 4, 1, 2}));
    EXPECT_EQ(pixelsOf(tga(3, 8, 0x10, {1, 2, 3, 4})), grey(0, {4, 3, 2, 1}));
    EXPECT_EQ(pixelsOf(tga(3, 8, 0x20, {1, 2, 3, 4})), grey(IM_TOPDOWN, {1, 2, 3, 4}));
    EXPECT_EQ(pixelsOf(tga(3, 8, 0x30, {1, 2, 3, 4})), grey(IM_TOPDOWN, {2, 1, 4, 3}));
    EXPECT_EQ(pixelsOf(tga(3, 16, 0x28, {1, 9, 2, 9, 3, 9, 4, 9})),
              grey(IM_TOPDOWN | IM_ALPHA, {1, 2, 3, 4}));
    // A run over the end of a row, behind an identification.
    EXPECT_EQ(pixelsOf(tga(11, 8, 0x20, {'i', 'd', 0x82, 7, 0x00, 9}, {0, 0, 0, 0, 0}, 2)),
              grey(IM_TOPDOWN, {7, 7, 7, 9}));

    // White, (8, 8, 16), red and an opaque (255, 255, 0): bits of 5, blue lowest.
    const Bytes colors{0xff, 0x7f, 0x22, 0x04, 0x00, 0x7c, 0xe0, 0xff};
    const std::vector<int> planes{255, 255, 255, 8, 0, 255, 255, 8, 0, 0, 255, 16};
    EXPECT_EQ(pixelsOf(tga(2, 15, 0, colors)), (Pixels{0, IM_RGB, IM_PACKED, planes}));
    EXPECT_EQ(pixelsOf(tga(10, 16, 1, Bytes{3} + colors)),
              (Pixels{0, IM_RGB, IM_PACKED | IM_ALPHA, planes}));
    // A map that starts at index 10, and one that a true-colour image doesn't need.
    const Bytes mapAt10{10, 0, 4, 0, 16};
    const Loaded mapped = loaded(tga(1, 8, 0, colors + Bytes{10, 11, 12, 13}, mapAt10));
    ASSERT_EQ(mapped.error, 0);
    EXPECT_EQ(mapped.image->palette_count, 14);
    EXPECT_EQ(samplesFromTop(*converted(*mapped.image, IM_RGB)), planes);
    EXPECT_EQ(samplesFromTop(*mapped.image), (std::vector<int>{12, 13, 10, 11}));
    EXPECT_EQ(pixelsOf(tga(2, 16, 0, Bytes(8) + colors, mapAt10)).samples, planes);
    // Two entries, white first; an index beyond them is black.
    EXPECT_EQ(pixelsOf(tga(1, 8, 0x20, {255, 255, 255, 0, 0, 0, 0, 1, 2, 0}, {0, 0, 2, 0, 24})),
              (Pixels{0, IM_BINARY, IM_TOPDOWN, {1, 0, 0, 1}}));
    // Opacity; without it the fourth byte means nothing.
    const Bytes deep{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const std::vector<int> deepPlanes{3, 7, 11, 15, 2, 6, 10, 14, 1, 5, 9, 13};
    EXPECT_EQ(pixelsOf(tga(2, 32, 0x28, deep)),
              (Pixels{0, IM_RGB, IM_PACKED | IM_TOPDOWN | IM_ALPHA, deepPlanes}));
    EXPECT_EQ(pixelsOf(tga(2, 32, 0x20, deep)),
              (Pixels{0, IM_RGB, IM_PACKED | IM_TOPDOWN, deepPlanes}));
}

TEST(ImTga, RefusesWhatIsNoneOrDamaged) {
    const Bytes data{1, 2, 3, 4};
    const auto errorOf = [](const Bytes& bytes) { return loaded(bytes).error; };
    EXPECT_EQ(errorOf(tga(4, 8, 0, data)), IM_ERR_FORMAT);                      // no such type
    EXPECT_EQ(errorOf(tga(3, 9, 0, data)), IM_ERR_FORMAT);                      // nor depth
    EXPECT_EQ(errorOf(tga(3, 8, 0x40, data)), IM_ERR_FORMAT);                   // interleaved
    EXPECT_EQ(errorOf(tga(1, 8, 0, data)), IM_ERR_FORMAT);                      // no map
    EXPECT_EQ(errorOf(tga(1, 8, 0, data, {255, 0, 2, 0, 24})), IM_ERR_FORMAT);  // beyond 256
    EXPECT_EQ(errorOf(tga(3, 8, 0, {1, 2, 3})), IM_ERR_ACCESS);
    EXPECT_EQ(errorOf(tga(11, 8, 0, {0x81, 1, 1, 5})), IM_ERR_ACCESS);
    // Numbers of a map that isn't there are trusted with the mark at the end alone.
    Bytes stray = tga(3, 8, 0, data);
    stray[5] = 7;
    EXPECT_EQ(errorOf(stray), IM_ERR_FORMAT);
    const std::string mark("TRUEVISION-XFILE.\0", 18);
    EXPECT_EQ(errorOf(stray + Bytes(8) + Bytes(mark.begin(), mark.end())), 0);
    Bytes large = tga(11, 8, 0, data);
    large[12] = large[14] = 0xff;
    EXPECT_EQ(errorOf(large), IM_ERR_ACCESS);
}

// A RAS header; the image is 2x2.
Bytes ras(int depth, int type, const Bytes& map, const Bytes& data) {
    const auto byte = [](int value) { return static_cast<unsigned char>(value); };
    return Bytes{0x59, 0xA6, 0x6A, 0x95,
                 0,    0,    0,    2,
                 0,    0,    0,    2,
                 0,    0,    0,    byte(depth),
                 0,    0,    0,    0,
                 0,    0,    0,    byte(type),
                 0,    0,    0,    map.empty() ? byte(0) : byte(1),
                 0,    0,    0,    byte(int(map.size()))} +
           map + data;
}

TEST(ImRas, OddForms) {
    const std::vector<int> planes{1, 4, 7, 10, 2, 5, 8, 11, 3, 6, 9, 12};
    const auto color = [&planes] { return Pixels{0, IM_RGB, IM_TOPDOWN | IM_PACKED, planes}; };
    EXPECT_EQ(pixelsOf(ras(24, 0, {}, {3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10})), color());
    EXPECT_EQ(pixelsOf(ras(24, 3, {}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})), color());
    EXPECT_EQ(pixelsOf(ras(32, 1, {}, {0, 3, 2, 1, 0, 6, 5, 4, 0, 9, 8, 7, 0, 12, 11, 10})),
              color());
    EXPECT_EQ(pixelsOf(ras(32, 3, {}, {0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12})),
              color());
    // Bits: 1 is black, unless a map says otherwise.
    const Bytes bits{0x40, 0, 0x80, 0};
    const auto page = [](int space, std::vector<int> samples) {
        return Pixels{0, space, IM_TOPDOWN, std::move(samples)};
    };
    EXPECT_EQ(pixelsOf(ras(1, 1, {}, bits)), page(IM_BINARY, {1, 0, 0, 1}));
    EXPECT_EQ(pixelsOf(ras(1, 1, {0, 255, 0, 255, 0, 255}, bits)), page(IM_BINARY, {0, 1, 1, 0}));
    EXPECT_EQ(pixelsOf(ras(1, 1, {9, 8, 7, 6, 5, 4}, bits)), page(IM_MAP, {0, 1, 1, 0}));
    EXPECT_EQ(loaded(ras(1, 1, {9, 8, 7, 6, 5, 4}, bits)).image->palette[1].green, 6);
    // A run over the end of a row, the escape as a sample, alone and in a run.
    EXPECT_EQ(pixelsOf(ras(8, 2, {}, {0x80, 2, 7, 0x80, 0})), page(IM_GRAY, {7, 7, 7, 128}));
    EXPECT_EQ(pixelsOf(ras(8, 2, {}, {0x80, 3, 0x80})), page(IM_GRAY, {128, 128, 128, 128}));
}

TEST(ImRas, RefusesWhatIsDamaged) {
    const auto errorOf = [](const Bytes& bytes) { return loaded(bytes).error; };
    EXPECT_EQ(errorOf(ras(8, 1, {}, {1, 2, 3})), IM_ERR_ACCESS);
    EXPECT_EQ(errorOf(ras(8, 2, {}, {0x80, 2})), IM_ERR_ACCESS);
    EXPECT_EQ(errorOf(ras(16, 1, {}, Bytes(8))), IM_ERR_DATA);
    EXPECT_EQ(errorOf(ras(8, 4, {}, Bytes(4))), IM_ERR_COMPRESS);
    Bytes large = ras(8, 2, {}, {0x80, 3, 1});
    large[6] = large[10] = 0x40;  // 2^14 each way
    EXPECT_EQ(errorOf(large), IM_ERR_ACCESS);
    large[4] = large[8] = 0x7f;
    EXPECT_EQ(errorOf(large), IM_ERR_MEM);
    Bytes map = ras(8, 1, {1, 2, 3}, Bytes(4));
    map[28] = 0xff;
    EXPECT_EQ(errorOf(map), IM_ERR_ACCESS);
}

// An SGI header; the image is 2x2.
Bytes sgi(int storage, int sampleBytes, int dimension, int channels, const Bytes& data) {
    const auto byte = [](int value) { return static_cast<unsigned char>(value); };
    Bytes header{1, 0xda, byte(storage), byte(sampleBytes), 0, byte(dimension), 0, 2, 0,
                 2, 0,    byte(channels)};
    header.resize(512);
    return header + data;
}

TEST(ImSgi, OddForms) {
    EXPECT_EQ(pixelsOf(sgi(0, 1, 1, 9, {1, 2})), (Pixels{0, IM_GRAY, 0, {1, 2}}));
    EXPECT_EQ(pixelsOf(sgi(0, 1, 3, 2, {1, 2, 3, 4, 5, 6, 7, 8})),
              (Pixels{0, IM_GRAY, IM_ALPHA, {3, 4, 1, 2}}));
    EXPECT_EQ(pixelsOf(sgi(0, 1, 3, 4, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 0, 0})),
              (Pixels{0, IM_RGB, IM_ALPHA, {3, 4, 1, 2, 7, 8, 5, 6, 11, 12, 9, 10}}));
    // Both rows share their data, which has no end mark.
    EXPECT_EQ(pixelsOf(sgi(1, 1, 2, 1, {0, 0, 2, 16, 0, 0, 2, 16, 0, 0, 0, 2, 0, 0, 0, 2, 2, 5})),
              (Pixels{0, IM_GRAY, 0, {5, 5, 5, 5}}));
}

TEST(ImSgi, RefusesWhatIsDamaged) {
    const auto coded = [](unsigned char place, const Bytes& row) {
        const Bytes table{0, 0, 2, place, 0, 0, 2, place, 0, 0, 0, 4, 0, 0, 0, 4};
        return loaded(sgi(1, 1, 2, 1, table + row)).error;
    };
    EXPECT_EQ(coded(16, {0x82, 1, 2, 0}), 0);
    EXPECT_EQ(coded(16, {0x81, 1, 0, 0}), IM_ERR_ACCESS);  // ends early
    EXPECT_EQ(coded(16, {0x83, 1, 2, 3}), IM_ERR_ACCESS);  // too long
    EXPECT_EQ(coded(19, {0x82, 1, 2, 2}), IM_ERR_ACCESS);  // leaves the file
    EXPECT_EQ(coded(99, {0x82, 1, 2, 0}), IM_ERR_ACCESS);  // beyond it
    EXPECT_EQ(loaded(sgi(1, 1, 2, 1, Bytes(15))).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(sgi(0, 1, 2, 1, Bytes(3))).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(sgi(0, 1, 3, 5, Bytes(20))).error, IM_ERR_DATA);
    Bytes mapped = sgi(0, 1, 2, 1, Bytes(4));
    mapped[107] = 2;
    EXPECT_EQ(loaded(mapped).error, IM_ERR_DATA);
}

TEST(ImTgaRasSgi, WritersConvertOrRefuse) {
    const Im binary = randomIm(9, 2, IM_BINARY), map = randomIm(9, 2, IM_MAP),
             inks = randomIm(9, 2, IM_CMYK), wide = randomIm(9, 2, IM_GRAY, IM_USHORT),
             real = randomIm(9, 2, IM_GRAY, IM_FLOAT), huge = randomIm(65536, 1, IM_BINARY);
    const auto stored = [](const Im& image, const char* format, int space) {
        return same(loaded(encoded({image.get()}, format)).image.get(),
                    converted(*image, space).get());
    };
    EXPECT_TRUE(stored(binary, "SGI", IM_GRAY));
    EXPECT_TRUE(stored(map, "SGI", IM_RGB));
    for (const char* format : {"TGA", "RAS", "SGI"})
        EXPECT_TRUE(stored(inks, format, IM_RGB)) << format;
    const auto errorOf = [](const std::vector<const imImage*>& images, const char* format) {
        int error = 0;
        encoded(images, format, nullptr, &error);
        return error;
    };
    EXPECT_EQ(errorOf({wide.get()}, "TGA"), IM_ERR_DATA);
    EXPECT_EQ(errorOf({wide.get()}, "RAS"), IM_ERR_DATA);
    EXPECT_EQ(errorOf({real.get()}, "SGI"), IM_ERR_DATA);
    EXPECT_EQ(errorOf({huge.get()}, "TGA"), IM_ERR_DATA);
    EXPECT_EQ(errorOf({huge.get()}, "SGI"), IM_ERR_DATA);
    EXPECT_EQ(errorOf({map.get(), map.get()}, "RAS"), IM_ERR_DATA);
}

}  // namespace
