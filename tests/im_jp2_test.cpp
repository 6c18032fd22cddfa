// JPEG 2000: lossless round trips, what another program sees, the kinds that boxes tell, hostile
// headers.
#include <algorithm>
#include <utility>

#include "im_support.h"

using namespace test;

namespace {

using Numbers = std::vector<int>;

void append(Bytes& to, const Bytes& more) {
    to.insert(to.end(), more.begin(), more.end());
}

/// A box of the named type.
Bytes box(const std::string& type, const Bytes& contents) {
    const size_t size = contents.size() + 8;
    Bytes result(size);
    result[2] = static_cast<unsigned char>(size >> 8);
    result[3] = static_cast<unsigned char>(size);
    std::copy(type.begin(), type.end(), result.begin() + 4);
    std::copy(contents.begin(), contents.end(), result.begin() + 8);
    return result;
}

/// The codestream of `components` components, by another encoder. `samples` hold plane after plane,
/// 16-bit ones the low byte first. `how` gives bits, sign and, behind a %, sampling.
Bytes codestream(int width, int height, int components, const std::string& how,
                 const Bytes& samples, const std::string& options = "") {
    std::string format = std::to_string(width) + "," + std::to_string(height) + "," +
                         std::to_string(components) + "," + how;
    if (const size_t at = format.find('%'); at != std::string::npos)
        format.replace(at, 1, "$(printf '\\100')");  // the sign that stands for files here
    return piped("{ cp @ @.rawl && opj_compress -i @.rawl -o @.j2k -n 1 -mct 0 -F " + format + " " +
                     options + " >/dev/null && cat @.j2k; rm -f @.rawl @.j2k; }",
                 samples);
}

Bytes colours(unsigned char number) {
    return box("colr", {1, 0, 0, 0, 0, 0, number});
}

Bytes jp2(const std::vector<Bytes>& headerBoxes, const Bytes& stream) {
    Bytes inner, result{0, 0, 0, 12, 'j', 'P', ' ', ' ', 13, 10, 0x87, 10};
    for (const Bytes& b : headerBoxes)
        append(inner, b);
    append(result, box("jp2h", inner));
    append(result, box("jp2c", stream));
    return result;
}

/// Samples from the top row down, plane after plane.
Numbers samplesOf(const Loaded& l) {
    Numbers result;
    if (l.image == nullptr) return result;
    for (int p = 0; p < l.image->depth; ++p)
        for (int y = l.image->height - 1; y >= 0; --y)
            for (int x = 0; x < l.image->width; ++x) {
                const int i = y * l.image->width + x;
                result.push_back(l.image->data_type == IM_USHORT
                                     ? static_cast<const uint16_t*>(l.image->data[p])[i]
                                     : static_cast<const uint8_t*>(l.image->data[p])[i]);
            }
    return result;
}

TEST(ImJp2, RoundTripsAndIsWhatOthersSee) {
    for (const int space : {IM_GRAY, IM_RGB})
        for (const int type : {IM_BYTE, IM_USHORT})
            for (const auto& [width, height] : {std::pair(1, 1), {3, 1}, {2, 40}, {67, 33}}) {
                const Im image = randomIm(width, height, space, type);
                const Bytes bytes = encoded({image.get()}, "JP2");
                const Loaded back = loaded(bytes);
                EXPECT_TRUE(same(back.image.get(), image.get())) << width << "x" << height;
                EXPECT_EQ(back.format, "JP2");
                EXPECT_EQ(back.compression, "JPEG2000");
                EXPECT_TRUE(same(seenBy("jpeg2ktopam @", bytes).get(), image.get()))
                    << width << "x" << height;
            }
    for (const int space : {IM_BINARY, IM_MAP, IM_CMYK}) {
        const Im image = randomIm(33, 9, space);
        const Im stored = converted(*image, space == IM_BINARY ? IM_GRAY : IM_RGB);
        EXPECT_TRUE(same(loaded(encoded({image.get()}, "JP2")).image.get(), stored.get()));
    }
    const Im large = randomIm(500, 400, IM_RGB, IM_USHORT);  // more than a buffer of the file
    EXPECT_TRUE(same(loadedFromDisk(encoded({large.get()}, "JP2")).get(), large.get()));
    const Im image = randomIm(50, 40, IM_RGB);
    const Bytes pnm = encoded({image.get()}, "PNM");
    EXPECT_TRUE(same(loaded(piped("pamtojpeg2k @", pnm)).image.get(), image.get()));
}

TEST(ImJp2, TellsKindsByDepthAndBoxes) {
    const struct {
        const char* name;
        Bytes file;
        int space, type, flags;
        Numbers samples;
    } cases[] = {
        {"1 bit", codestream(2, 1, 1, "1,u", {0, 1}), IM_BINARY, IM_BYTE, 0, {0, 1}},
        {"4 bits", codestream(2, 1, 1, "4,u", {1, 15}), IM_GRAY, IM_BYTE, 0, {17, 255}},
        {"signed", codestream(2, 1, 1, "8,s", {0x80, 5}), IM_GRAY, IM_BYTE, 0, {0, 133}},
        {"12 bits",
         codestream(2, 1, 1, "12,u", {0xff, 0x0f, 1, 0}),
         IM_GRAY,
         IM_USHORT,
         0,
         {65535, 16}},
        {"grey and alpha", codestream(1, 1, 2, "8,u", {7, 9}), IM_GRAY, IM_BYTE, IM_ALPHA, {7}},
        {"inks",
         jp2({colours(12)}, codestream(1, 1, 4, "8,u", {0, 1, 2, 255})),
         IM_CMYK,
         IM_BYTE,
         0,
         {255, 254, 253, 0}},
        {"alpha first, blue before red",
         jp2({colours(16), box("cdef", {0, 4, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0,
                                        3, 0, 2, 0, 0, 0, 2, 0, 3, 0, 0, 0, 1})},
             codestream(1, 1, 4, "8,u", {9, 3, 2, 1})),
         IM_RGB,
         IM_BYTE,
         IM_ALPHA,
         {1, 2, 3}},
        {"palette of 3 columns",
         jp2({colours(16), box("pclr", {0, 2, 3, 7, 7, 7, 10, 20, 30, 40, 50, 60}),
              box("cmap", {0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 1, 2})},
             codestream(3, 1, 1, "2,u", {1, 0, 3})),
         IM_RGB,
         IM_BYTE,
         0,
         {40, 10, 40, 50, 20, 50, 60, 30, 60}},
        {"luma with subsampled chroma",
         jp2({colours(18)},
             codestream(4, 1, 3, "8,u%1x1:2x1:2x1", {100, 110, 120, 130, 128, 128, 128, 228})),
         IM_RGB,
         IM_BYTE,
         0,
         {100, 110, 255, 255, 100, 110, 49, 59, 100, 110, 120, 130}},
    };
    for (const auto& c : cases) {
        const Loaded l = loaded(c.file);
        ASSERT_EQ(l.error, 0) << c.name;
        int mode = -1;
        imFileReadImageInfo(l.file.get(), 0, nullptr, nullptr, &mode, nullptr);
        EXPECT_EQ(mode, c.space | c.flags | IM_TOPDOWN) << c.name;
        EXPECT_EQ(l.image->data_type, c.type) << c.name;
        EXPECT_EQ(samplesOf(l), c.samples) << c.name;
    }
}

TEST(ImJp2, ReadsTilesLayersAndOffsets) {
    const Im image = randomIm(90, 70, IM_GRAY);
    Bytes samples;
    for (const int v : samplesOf(loaded(encoded({image.get()}, "PNM"))))
        samples.push_back(static_cast<unsigned char>(v));
    for (const char* options : {"-t 32,32 -TP R", "-c [8,8] -b 4,4", "-r 20,1", "-p CPRL -n 3",
                                "-d 5,7 -t 33,40 -T 3,2", "-SOP -EPH -PLT -TLM"}) {
        const Loaded l = loaded(codestream(90, 70, 1, "8,u", samples, options));
        EXPECT_TRUE(same(l.image.get(), image.get())) << options;
    }
}

TEST(ImJp2, RefusesWhatItCannotHold) {
    const Bytes good = codestream(40, 40, 1, "8,u", Bytes(1600, 77));
    const auto errorWith = [&good](size_t at, const Bytes& values) {
        Bytes bytes = good;
        std::copy(values.begin(), values.end(), bytes.begin() + std::ptrdiff_t(at));
        return loaded(bytes).error;
    };
    EXPECT_EQ(errorWith(0, {}), IM_ERR_NONE);
    EXPECT_EQ(errorWith(8, {0, 0, 0, 0}), IM_ERR_FORMAT);               // no columns
    EXPECT_EQ(errorWith(8, {0, 0x20, 0, 0}), IM_ERR_ACCESS);            // tiles for 2^21 columns
    EXPECT_EQ(errorWith(8, {0x40, 0, 0, 0, 0x40}), IM_ERR_MEM);         // 2^30 x 2^30
    EXPECT_EQ(errorWith(24, {0, 0, 0, 0}), IM_ERR_FORMAT);              // no tile width
    EXPECT_EQ(errorWith(24, {0, 0, 0, 1, 0, 0, 0, 1}), IM_ERR_ACCESS);  // 1600 tiles
    EXPECT_EQ(errorWith(40, {0x40, 0}), IM_ERR_DATA);                   // 16384 components
    EXPECT_EQ(errorWith(42, {16}), IM_ERR_DATA);                        // 17 bits
    EXPECT_EQ(errorWith(43, {0}), IM_ERR_FORMAT);                       // no sampling
    EXPECT_EQ(errorWith(45, {0xff, 0x50}), IM_ERR_DATA);                // an extension
    EXPECT_EQ(errorWith(51, {0xff, 0xff}), IM_ERR_ACCESS);              // 65535 layers
    EXPECT_EQ(errorWith(57, {0x40}), IM_ERR_COMPRESS);                  // another coder
    // Precincts of one sample make too many packets, thin ones too many code blocks.
    for (const auto& [precinct, error] : {std::pair(0x00, IM_ERR_ACCESS), {0xf0, IM_ERR_MEM}}) {
        Bytes fine = good;
        for (const size_t side : {8U, 12U, 24U, 28U})  // 4000 x 4000 in one tile
            std::copy_n(Bytes{0, 0, 0x0f, 0xa0}.begin(), 4, fine.begin() + std::ptrdiff_t(side));
        fine[48] = 13;  // length of the coding marker
        fine[49] |= 1;
        fine[56] = 0;  // code blocks of four rows
        fine.insert(fine.begin() + 59, static_cast<unsigned char>(precinct));
        fine.resize(5000);
        EXPECT_EQ(loaded(fine).error, error);
    }

    const Bytes cut(good.begin(), good.end() - 20);
    EXPECT_EQ(loaded(cut).error, IM_ERR_ACCESS);
    EXPECT_EQ(loaded(jp2({}, {1, 2, 3, 4})).error, IM_ERR_FORMAT);
    EXPECT_EQ(loaded(jp2({colours(14)}, good)).error, IM_ERR_DATA);
    EXPECT_EQ(loaded(jp2({box("pclr", {0, 1, 1, 7, 0}), box("cmap", {0, 1, 1, 0})}, good)).error,
              IM_ERR_FORMAT);
}

}  // namespace
