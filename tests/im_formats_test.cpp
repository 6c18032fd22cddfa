// What the formats have in common: round trips, what other programs see and make, several
// images, kinds that are converted or refused, resolution.
#include <map>

#include "im_support.h"

using namespace test;

namespace {

enum : unsigned {
    kBits = 1 << IM_BINARY,
    kGrey = 1 << IM_GRAY,
    kMap = 1 << IM_MAP,
    kRgb = 1 << IM_RGB,
    kInks = 1 << IM_CMYK,
    kWide = 32
};
constexpr unsigned kBytes = kBits | kGrey | kMap | kRgb, kAll = kBytes | kWide | kInks;
constexpr const char* kIconDecoder =
    "winicontopam -quiet @ | pamchannel -tupletype=RGB 0 1 2 | pamtopnm";

/// An image of each kind; palettes of several sizes.
std::vector<Im> imagesOf(unsigned kinds, int width, int height, int mostColors = 256) {
    std::vector<Im> images;
    for (const int space : {IM_BINARY, IM_GRAY, IM_MAP, IM_RGB, IM_CMYK}) {
        if ((kinds >> space & 1) == 0) continue;
        for (const int colors : {1, 2, 3, 16, 17, 200})
            if (space == IM_MAP ? colors <= mostColors : colors == 1)
                images.push_back(randomIm(width, height, space, IM_BYTE, unsigned(width), colors));
        if ((kinds & kWide) != 0 && space != IM_BINARY && space != IM_MAP)
            images.push_back(randomIm(width, height, space, IM_USHORT));
    }
    return images;
}

const struct {
    std::string format;
    std::vector<std::string> compressions;
    unsigned kinds;
    const char* decoder;
    bool fullTables = false;  ///< palettes are filled up
} kFormats[] = {
    {"BMP", {"NONE"}, kBytes, "bmptopnm @"},
    {"BMP", {"RLE"}, kGrey | kMap, "bmptopnm @"},
    {"GIF", {"LZW"}, kBits | kGrey | kMap, "giftopnm @", true},
    {"ICO", {"NONE"}, kBytes, kIconDecoder, true},
    {"JP2", {"JPEG2000"}, kGrey | kRgb | kWide, "jpeg2ktopam @"},
    {"LED", {"NONE"}, kBits | kGrey | kMap, nullptr},
    {"PCX", {"NONE"}, kBytes, nullptr, true},  // others read no such
    {"PCX", {"RLE"}, kBytes, "pcxtoppm @", true},
    {"PNG", {"DEFLATE"}, kBytes | kWide, "pngtopnm @"},
    {"PNM", {"NONE", "ASCII"}, kBits | kGrey | kRgb | kWide, "pnmtopnm @"},
    {"RAS", {"NONE", "RLE"}, kBytes, "rasttopnm @"},
    {"SGI", {"NONE", "RLE"}, kGrey | kRgb | kWide, "sgitopnm @"},
    {"TGA", {"NONE", "RLE"}, kBytes, "tgatoppm @"},
    {"TIFF", {"NONE", "RLE", "LZW", "DEFLATE"}, kAll, "tifftopnm -byrow @", true},
    {"TIFF", {"LZMA", "ZSTD"}, kAll, nullptr, true},
    {"TIFF", {"CCITTRLE", "CCITTFAX3", "CCITTFAX4"}, kBits, "tifftopnm -byrow @"},
};

void expectRoundTrip(const std::string& format, const std::string& compression, const Im& image,
                     bool fullTable, const char* decoder) {
    const Bytes file = encoded({image.get()}, format.c_str(), compression.c_str());
    const Loaded back = loaded(file);
    ASSERT_EQ(back.error, IM_ERR_NONE);
    EXPECT_EQ(back.format, format);
    EXPECT_EQ(back.compression, compression);
    if (fullTable && back.image->palette_count > image->palette_count)
        back.image->palette_count = image->palette_count;
    EXPECT_TRUE(same(back.image.get(), image.get()));
    EXPECT_TRUE(sameColors(loadedFromDisk(file).get(), image.get()));
    if (decoder == nullptr || image->color_space == IM_CMYK) return;
    EXPECT_TRUE(sameColors(seenBy(decoder, file).get(), image.get()));
}

TEST(ImFormats, RoundTripsAsOthersSeeThem) {
    for (const auto& f : kFormats)
        for (const std::string& compression : f.compressions)
            for (const int width : {1, 3, 7, 8, 9, 33, 256, 700}) {
                if (f.format == "ICO" && width > 256) continue;
                const bool shownToOthers = width == 7 || width == 33;
                for (const Im& image : imagesOf(f.kinds, width, width > 256 ? 150 : 9)) {
                    SCOPED_TRACE(f.format + " " + compression + " " + std::to_string(width) + " " +
                                 imColorModeSpaceName(image->color_space));
                    expectRoundTrip(f.format, compression, image, f.fullTables,
                                    shownToOthers ? f.decoder : nullptr);
                }
            }
}

TEST(ImFormats, ReadsWhatOthersWrite) {
    const struct {
        unsigned kinds;
        std::vector<std::string> commands;
        int colors = 256;  ///< at most
    } programs[] = {
        {kBytes, {"ppmtobmp @", "ppmtobmp -os2 @", "ppmtopcx @"}},
        {kBytes, {"pnmtorast -standard @", "pnmtorast -rle @"}},
        {kBytes | kWide, {"pnmtopng @", "pnmtopng -interlace @"}},
        {kBytes | kWide, {"ppmtopgm @ | pnmtopng -force -alpha=- @"}},
        {kBytes | kWide, {"ppmtopgm @ | pnmtopng -force -interlace -alpha=- @"}},
        {kBits | kGrey | kMap, {"pamtogif @", "pamtogif -interlace @"}},
        {kBits | kGrey | kMap, {"pamtogif -nolzw -transparent=black -comment=words @"}},
        {kBits | kGrey, {"pamtotga -mono @"}},
        {kBits | kMap, {"ppmtowinicon @"}},
        {kBits, {"pamtotiff -g3 @", "pamtotiff -g3 -2d -fill @", "pamtotiff -g4 @"}},
        {kBits, {"pamtotiff -minisblack @", "pamtotiff -miniswhite -packbits @"}},
        {kGrey | kRgb | kWide, {"pnmtosgi -verbatim @", "pnmtosgi -rle @"}},
        {kGrey | kRgb, {"pamtojpeg2k @"}},
        {kGrey, {"pamtotga -mono -norle @"}},
        {kRgb, {"ppmtobmp -bpp=24 @", "ppmtopcx -24bit @"}},
        {kRgb, {"pamtotga -rgb @", "pamtotga -rgb -norle @"}},
        {kRgb, {"pamtotiff -truecolor -none @", "pamtotiff -truecolor -packbits @"}},
        {kRgb, {"pamtotiff -truecolor -lzw @", "pamtotiff -truecolor -flate @"}},
        {kRgb, {"pamtotiff -truecolor -lzw -rowsperstrip 600 @"}},
        {kMap, {"ppmtopcx -8bit @", "pamtotga -cmap @", "pamtotga -cmap -norle @"}},
        {kMap, {"ppmtopcx -packed @"}, 16},
    };
    for (const auto& program : programs)
        for (const int size : {2, 40, 200})  // the last is for strips
            for (const Im& image : imagesOf(program.kinds & (size == 200 ? kRgb | kWide : kAll),
                                            size, size + 1, program.colors)) {
                const Bytes pnm = encoded({image.get()}, "PNM");
                for (const std::string& command : program.commands) {
                    // These two lose what doesn't fill a byte.
                    const std::string name = command.substr(0, command.find(' '));
                    if (size < 8 && (name == "pnmtorast" || name == "ppmtowinicon")) continue;
                    EXPECT_TRUE(sameColors(loaded(piped(command, pnm)).image.get(), image.get()))
                        << command << " " << imColorModeSpaceName(image->color_space) << " "
                        << size;
                }
            }
}

TEST(ImFormats, SeveralImages) {
    const Im images[] = {randomIm(20, 30, IM_GRAY), randomIm(50, 10, IM_BINARY),
                         randomIm(33, 40, IM_MAP), randomIm(9, 50, IM_RGB)};
    const char* const compressions[] = {"LZW", "CCITTFAX4", "NONE", "DEFLATE"};  // of TIFF
    for (const auto& [format, indexes] :
         std::map<std::string, std::vector<size_t>>{{"GIF", {0, 1, 2}},
                                                    {"ICO", {0, 1, 2, 3}},
                                                    {"PNM", {0, 1, 3}},
                                                    {"TIFF", {0, 1, 2, 3}}}) {
        SCOPED_TRACE(format);
        imBinMemoryFileName block{nullptr, 64, 1.1F};
        const ImFile file = memoryFile(block, format.c_str());
        Bytes sofar;
        for (size_t i = 0; i < indexes.size(); ++i) {
            if (format == "TIFF") imFileSetInfo(file.get(), compressions[i]);
            EXPECT_EQ(imFileSaveImage(file.get(), images[indexes[i]].get()), IM_ERR_NONE);
            sofar = Bytes(block.buffer, block.buffer + imFileGetWriteImageDataLen(file.get()));
            const Loaded all = loaded(sofar);
            EXPECT_EQ(all.count, int(i + 1));
            for (const size_t page : {i, size_t{0}, i / 2, i / 2}) {  // in any order, and again
                const Im back(imFileLoadImage(all.file.get(), int(page), nullptr));
                EXPECT_TRUE(same(back.get(), images[indexes[page]].get())) << page;
                if (format == "TIFF") {
                    EXPECT_EQ(loaded(sofar, int(page)).compression, compressions[page]);
                }
            }
        }
        if (format == "GIF") {
            EXPECT_TRUE(sameColors(seenBy("giftopnm -image=2 @", sofar).get(), images[1].get()));
            EXPECT_EQ(Bytes(&sofar[6], &sofar[10]), (Bytes{50, 0, 40, 0}));  // holds them all
            EXPECT_EQ(sofar.back(), ';');
        }
        imBinMemoryRelease(block.buffer);
    }
}

TEST(ImFormats, ConvertWhatIsNotTheirs) {
    const struct {
        std::vector<const char*> formats;
        const char* compression;
        std::vector<int> spaces;
        int stored, type = IM_BYTE;
    } rows[] = {
        {{"BMP"}, "RLE", {IM_BINARY}, IM_GRAY},
        {{"TIFF"}, "CCITTFAX4", {IM_GRAY}, IM_BINARY},
        {{"TIFF"}, "JPEG", {IM_BINARY}, IM_GRAY},
        {{"TIFF"}, "JPEG", {IM_MAP}, IM_RGB},
        {{"JP2", "JPEG", "SGI"}, nullptr, {IM_BINARY}, IM_GRAY},
        {{"JP2", "JPEG", "SGI"}, nullptr, {IM_MAP}, IM_RGB},
        {{"BMP", "JP2", "PCX", "PNG", "RAS", "SGI", "TGA"}, nullptr, {IM_CMYK}, IM_RGB},
        {{"GIF", "LED"}, nullptr, {IM_RGB, IM_CMYK}, IM_MAP},
        {{"GIF"}, nullptr, {IM_GRAY, IM_RGB, IM_CMYK}, IM_MAP, IM_USHORT},
    };
    for (const auto& row : rows)
        for (const char* format : row.formats)
            for (const int space : row.spaces) {
                const Im image = randomIm(33, 8, space, row.type);
                EXPECT_EQ(encoded({image.get()}, format, row.compression),
                          encoded({converted(*image, row.stored).get()}, format, row.compression))
                    << format << " " << imColorModeSpaceName(space);
            }
}

TEST(ImFormats, RefuseWhatTheyDoNotHave) {
    const auto errorOf = [](const char* format, const Im& image, const char* compression = nullptr,
                            bool twice = false) {
        int error = -1;
        encoded(std::vector<const imImage*>(twice ? 2 : 1, image.get()), format, compression,
                &error);
        return error;
    };
    const struct {
        const char* format;
        int width, height, space, error;
    } sizes[] = {
        {"GIF", 65536, 1, IM_GRAY, IM_ERR_DATA},   {"ICO", 257, 1, IM_GRAY, IM_ERR_DATA},
        {"JPEG", 65501, 1, IM_GRAY, IM_ERR_DATA},  {"PCX", 65534, 1, IM_GRAY, IM_ERR_NONE},
        {"PCX", 65535, 1, IM_GRAY, IM_ERR_DATA},   {"PCX", 2, 65537, IM_GRAY, IM_ERR_DATA},
        {"PCX", 65536, 2, IM_BINARY, IM_ERR_NONE}, {"PCX", 65537, 2, IM_BINARY, IM_ERR_DATA},
        {"SGI", 65536, 1, IM_BINARY, IM_ERR_DATA}, {"TGA", 65536, 1, IM_BINARY, IM_ERR_DATA},
    };
    for (const auto& s : sizes)
        EXPECT_EQ(errorOf(s.format, randomIm(s.width, s.height, s.space)), s.error)
            << s.format << " " << s.width << "x" << s.height;
    for (const char* format : {"BMP", "JPEG", "PCX", "RAS", "TGA"})
        EXPECT_EQ(errorOf(format, randomIm(3, 3, IM_GRAY, IM_USHORT)), IM_ERR_DATA) << format;
    for (const char* format : {"GIF", "PNG", "SGI"})
        EXPECT_EQ(errorOf(format, randomIm(3, 3, IM_GRAY, IM_FLOAT)), IM_ERR_DATA) << format;
    for (const char* format : {"BMP", "JP2", "JPEG", "LED", "PCX", "PNG", "RAS", "SGI", "TGA"})
        EXPECT_EQ(errorOf(format, randomIm(9, 2, IM_GRAY), nullptr, true), IM_ERR_DATA) << format;
    EXPECT_EQ(errorOf("TIFF", randomIm(8, 8, IM_RGB, IM_USHORT), "JPEG"), IM_ERR_DATA);
    EXPECT_EQ(errorOf("TIFF", randomIm(65501, 1, IM_GRAY), "JPEG"), IM_ERR_DATA);
    EXPECT_EQ(errorOf("BMP", randomIm(3, 3, IM_RGB), "RLE"), IM_ERR_DATA);
    EXPECT_EQ(errorOf("BMP", randomIm(3, 3, IM_GRAY), "LZW"), IM_ERR_COMPRESS);
}

TEST(ImFormats, CarryResolution) {
    const struct {
        const char *format, *unit, *unitBack;
        float x, y, xBack, yBack;
    } rows[] = {
        {"BMP", "DPC", "DPI", 118.11F, 200, 300, 508},
        {"JPEG", "DPI", "DPI", 299.6F, 150, 300, 150},
        {"JPEG", "DPC", "DPC", 299.6F, 150, 300, 150},
        {"JPEG", nullptr, nullptr, 300, 150, 0, 0},
        {"PCX", "DPC", "DPI", 118.11F, 200, 300, 508},
        {"PNG", "DPI", "DPI", 300, 600, 300, 600},
        {"PNG", "DPC", "DPI", 100, 200, 254, 508},
        {"PNG", nullptr, nullptr, 300, 600, 0, 0},
        {"TIFF", "DPI", "DPI", 118.5F, 200.25F, 118.5F, 200.25F},
        {"TIFF", "DPC", "DPC", 118.5F, 200.25F, 118.5F, 200.25F},
        {"TIFF", "none", nullptr, 118.5F, 200.25F, 0, 0},
    };
    for (const auto& r : rows)
        for (const int space : {IM_GRAY, IM_RGB, IM_CMYK}) {
            SCOPED_TRACE(std::string(r.format) + (r.unit == nullptr ? "" : r.unit));
            const Im image = randomIm(8, 8, space);
            const Loaded back = loaded(
                encoded({image.get()}, r.format, nullptr, nullptr, resolution(r.x, r.y, r.unit)));
            const auto value = [&back](const char* name) {
                return imFileGetAttribute(back.file.get(), name, nullptr, nullptr);
            };
            ASSERT_EQ(value("XResolution") == nullptr, r.unitBack == nullptr);
            if (r.unitBack == nullptr) continue;
            EXPECT_NEAR(*static_cast<const float*>(value("XResolution")), r.xBack, 0.02F);
            EXPECT_NEAR(*static_cast<const float*>(value("YResolution")), r.yBack, 0.02F);
            EXPECT_STREQ(static_cast<const char*>(value("ResolutionUnit")), r.unitBack);
        }
}

}  // namespace
