// What the lossless formats have in common: round trips, what other programs see and make, several
// images, kinds that are converted or refused, resolution.
#include <map>

#include "im_support.h"

using namespace test;

namespace {

enum : unsigned { kBits = 1, kGrey = 2, kMap = 4, kRgb = 8, kWide = 16, kInks = 32 };
constexpr unsigned kBytes = kBits | kGrey | kMap | kRgb, kAll = kBytes | kWide | kInks;
constexpr const char* kIconDecoder =
    "winicontopam -quiet @ | pamchannel -tupletype=RGB 0 1 2 | pamtopnm";

const struct {
    unsigned kinds;
    int space, type, colors;
} kKinds[] = {
    {kBits, IM_BINARY, IM_BYTE, 0},
    {kGrey, IM_GRAY, IM_BYTE, 0},
    {kRgb, IM_RGB, IM_BYTE, 0},
    {kInks, IM_CMYK, IM_BYTE, 0},
    {kGrey | kWide, IM_GRAY, IM_USHORT, 0},
    {kRgb | kWide, IM_RGB, IM_USHORT, 0},
    {kInks | kWide, IM_CMYK, IM_USHORT, 0},
    {kMap, IM_MAP, IM_BYTE, 1},
    {kMap, IM_MAP, IM_BYTE, 2},
    {kMap, IM_MAP, IM_BYTE, 3},
    {kMap, IM_MAP, IM_BYTE, 16},
    {kMap, IM_MAP, IM_BYTE, 17},
    {kMap, IM_MAP, IM_BYTE, 200},
};

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
            for (const auto& kind : kKinds)
                for (const int width : {1, 3, 7, 8, 9, 33, 256, 700}) {
                    if ((kind.kinds & ~f.kinds) != 0 || (f.format == "ICO" && width > 256))
                        continue;
                    SCOPED_TRACE(f.format + " " + compression + " " + std::to_string(width) + " " +
                                 imColorModeSpaceName(kind.space));
                    const Im image = randomIm(width, width > 256 ? 150 : 9, kind.space, kind.type,
                                              unsigned(width), kind.colors);
                    const bool shownToOthers = width == 7 || width == 33;
                    expectRoundTrip(f.format, compression, image, f.fullTables,
                                    shownToOthers ? f.decoder : nullptr);
                }
}

TEST(ImFormats, ReadsWhatOthersWrite) {
    const struct {
        std::string command;
        unsigned kinds;
        int colors = 256;  ///< at most
    } programs[] = {
        {"ppmtobmp @", kBytes},
        {"ppmtobmp -os2 @", kBytes},
        {"ppmtobmp -bpp=24 @", kRgb},
        {"pamtogif @", kBits | kGrey | kMap},
        {"pamtogif -interlace @", kBits | kGrey | kMap},
        {"pamtogif -nolzw -transparent=black -comment=words @", kBits | kGrey | kMap},
        {"ppmtowinicon @", kBits | kMap},
        {"pamtojpeg2k @", kGrey | kRgb},
        {"ppmtopcx @", kBytes},
        {"ppmtopcx -packed @", kMap, 16},
        {"ppmtopcx -8bit @", kMap},
        {"ppmtopcx -24bit @", kRgb},
        {"pnmtopng @", kBytes | kWide},
        {"pnmtopng -interlace @", kBytes | kWide},
        {"ppmtopgm @ | pnmtopng -force -alpha=- @", kBytes | kWide},
        {"ppmtopgm @ | pnmtopng -force -interlace -alpha=- @", kBytes | kWide},
        {"pnmtorast -standard @", kBytes},
        {"pnmtorast -rle @", kBytes},
        {"pnmtosgi -verbatim @", kGrey | kRgb | kWide},
        {"pnmtosgi -rle @", kGrey | kRgb | kWide},
        {"pamtotga -mono @", kBits | kGrey},
        {"pamtotga -mono -norle @", kGrey},
        {"pamtotga -rgb @", kRgb},
        {"pamtotga -rgb -norle @", kRgb},
        {"pamtotga -cmap @", kMap},
        {"pamtotga -cmap -norle @", kMap},
        {"pamtotiff -truecolor -none @", kRgb},
        {"pamtotiff -truecolor -packbits @", kRgb},
        {"pamtotiff -truecolor -lzw @", kRgb},
        {"pamtotiff -truecolor -flate @", kRgb},
        {"pamtotiff -truecolor -lzw -rowsperstrip 600 @", kRgb},
        {"pamtotiff -g3 @", kBits},
        {"pamtotiff -g3 -2d -fill @", kBits},
        {"pamtotiff -g4 @", kBits},
        {"pamtotiff -minisblack @", kBits},
        {"pamtotiff -miniswhite -packbits @", kBits},
    };
    for (const auto& program : programs)
        for (const auto& kind : kKinds)
            for (const int size : {2, 40, 200}) {
                if ((kind.kinds & ~program.kinds) != 0 || kind.colors > program.colors) continue;
                if (size == 200 && kind.space != IM_RGB) continue;  // the size is for strips
                // These two lose what doesn't fill a byte.
                if (size < 8 && (program.command.rfind("pnmtorast", 0) == 0 ||
                                 program.command == "ppmtowinicon @"))
                    continue;
                const Im image = randomIm(size, size + 1, kind.space, kind.type, 5, kind.colors);
                const Bytes file = piped(program.command, encoded({image.get()}, "PNM"));
                EXPECT_TRUE(sameColors(loaded(file).image.get(), image.get()))
                    << program.command << " " << imColorModeSpaceName(kind.space) << " " << size;
            }
}

TEST(ImFormats, SeveralImages) {
    const Im images[] = {randomIm(20, 30, IM_GRAY), randomIm(50, 10, IM_BINARY),
                         randomIm(33, 3, IM_MAP), randomIm(9, 50, IM_RGB)};
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
            EXPECT_EQ(Bytes(&sofar[6], &sofar[10]), (Bytes{50, 0, 30, 0}));  // holds them all
            EXPECT_EQ(sofar.back(), ';');
        }
        imBinMemoryRelease(block.buffer);
    }
}

TEST(ImFormats, ConvertsOrRefusesWhatIsNotTheirs) {
    const struct {
        const char *format, *compression;
        int width, height, space, type;
        int stored;  ///< colour space of what is saved; or the error below 0
    } rows[] = {
        {"BMP", "RLE", 33, 3, IM_BINARY, IM_BYTE, IM_GRAY},
        {"BMP", "RLE", 3, 3, IM_RGB, IM_BYTE, -IM_ERR_DATA},
        {"BMP", "LZW", 3, 3, IM_GRAY, IM_BYTE, -IM_ERR_COMPRESS},
        {"BMP", nullptr, 3, 3, IM_GRAY, IM_USHORT, -IM_ERR_DATA},
        {"GIF", nullptr, 30, 8, IM_RGB, IM_BYTE, IM_MAP},
        {"GIF", nullptr, 30, 20, IM_GRAY, IM_USHORT, IM_MAP},
        {"GIF", nullptr, 30, 20, IM_CMYK, IM_USHORT, IM_MAP},
        {"GIF", nullptr, 2, 2, IM_GRAY, IM_FLOAT, -IM_ERR_DATA},
        {"GIF", nullptr, 65536, 1, IM_GRAY, IM_BYTE, -IM_ERR_DATA},
        {"ICO", nullptr, 257, 1, IM_GRAY, IM_BYTE, -IM_ERR_DATA},
        {"JP2", nullptr, 33, 9, IM_BINARY, IM_BYTE, IM_GRAY},
        {"JP2", nullptr, 33, 9, IM_MAP, IM_BYTE, IM_RGB},
        {"JP2", nullptr, 33, 9, IM_CMYK, IM_BYTE, IM_RGB},
        {"JPEG", nullptr, 33, 9, IM_BINARY, IM_BYTE, IM_GRAY},
        {"JPEG", nullptr, 33, 9, IM_MAP, IM_BYTE, IM_RGB},
        {"JPEG", nullptr, 4, 4, IM_GRAY, IM_USHORT, -IM_ERR_DATA},
        {"JPEG", nullptr, 65501, 1, IM_GRAY, IM_BYTE, -IM_ERR_DATA},
        {"LED", nullptr, 6, 2, IM_RGB, IM_BYTE, IM_MAP},
        {"LED", nullptr, 6, 2, IM_CMYK, IM_BYTE, IM_MAP},
        {"PCX", nullptr, 65534, 1, IM_GRAY, IM_BYTE, IM_GRAY},
        {"PCX", nullptr, 65535, 1, IM_GRAY, IM_BYTE, -IM_ERR_DATA},
        {"PCX", nullptr, 2, 65537, IM_GRAY, IM_BYTE, -IM_ERR_DATA},
        {"PCX", nullptr, 65536, 2, IM_BINARY, IM_BYTE, IM_BINARY},
        {"PCX", nullptr, 65537, 2, IM_BINARY, IM_BYTE, -IM_ERR_DATA},
        {"PCX", nullptr, 2, 2, IM_RGB, IM_USHORT, -IM_ERR_DATA},
        {"PNG", nullptr, 9, 4, IM_CMYK, IM_BYTE, IM_RGB},
        {"PNG", nullptr, 2, 2, IM_GRAY, IM_FLOAT, -IM_ERR_DATA},
        {"RAS", nullptr, 9, 2, IM_CMYK, IM_BYTE, IM_RGB},
        {"RAS", nullptr, 9, 2, IM_GRAY, IM_USHORT, -IM_ERR_DATA},
        {"SGI", nullptr, 9, 2, IM_BINARY, IM_BYTE, IM_GRAY},
        {"SGI", nullptr, 9, 2, IM_MAP, IM_BYTE, IM_RGB},
        {"SGI", nullptr, 9, 2, IM_CMYK, IM_BYTE, IM_RGB},
        {"SGI", nullptr, 9, 2, IM_GRAY, IM_FLOAT, -IM_ERR_DATA},
        {"SGI", nullptr, 65536, 1, IM_BINARY, IM_BYTE, -IM_ERR_DATA},
        {"TGA", nullptr, 9, 2, IM_CMYK, IM_BYTE, IM_RGB},
        {"TGA", nullptr, 9, 2, IM_GRAY, IM_USHORT, -IM_ERR_DATA},
        {"TGA", nullptr, 65536, 1, IM_BINARY, IM_BYTE, -IM_ERR_DATA},
        {"TIFF", "CCITTFAX4", 33, 40, IM_GRAY, IM_BYTE, IM_BINARY},
        {"TIFF", "JPEG", 9, 9, IM_BINARY, IM_BYTE, IM_GRAY},
        {"TIFF", "JPEG", 9, 9, IM_MAP, IM_BYTE, IM_RGB},
        {"TIFF", "JPEG", 8, 8, IM_RGB, IM_USHORT, -IM_ERR_DATA},
        {"TIFF", "JPEG", 65501, 1, IM_GRAY, IM_BYTE, -IM_ERR_DATA},
    };
    for (const auto& r : rows) {
        const Im image = randomIm(r.width, r.height, r.space, r.type);
        int error = -1;
        const Bytes file = encoded({image.get()}, r.format, r.compression, &error);
        EXPECT_EQ(error, r.stored < 0 ? -r.stored : 0) << r.format << " row " << (&r - rows);
        if (r.stored < 0) continue;
        EXPECT_EQ(file, encoded({converted(*image, r.stored).get()}, r.format, r.compression))
            << r.format << " row " << (&r - rows);
    }
    // Formats of one image refuse a second.
    const Im image = randomIm(9, 2, IM_GRAY);
    for (const char* format : {"BMP", "JP2", "JPEG", "LED", "PCX", "PNG", "RAS", "SGI", "TGA"}) {
        int error = -1;
        encoded({image.get(), image.get()}, format, nullptr, &error);
        EXPECT_EQ(error, IM_ERR_DATA) << format;
    }
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
