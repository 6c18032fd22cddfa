#include "tiff_layout.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "error.h"
#include "image.h"
#include "palette.h"
#include "rows.h"

namespace im {
namespace {

/// Kind of image that the samples of a page stand for, by its photometric tag.
struct Kind {
    int colorSpace;
    bool inverted;
};

int photometricOf(const TiffHandle& tiff, int scheme, int samples) {
    constexpr uint16_t unknown = 0xffff;
    const uint16_t told = tiff.field<uint16_t>(TIFFTAG_PHOTOMETRIC, unknown);
    if (told != unknown) return told;
    if (isFax(scheme)) return PHOTOMETRIC_MINISWHITE;
    return samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
}

// Nothing for what libtiff has to convert.
std::optional<Kind> kindOf(const TiffHandle& tiff, int photometric, const TiffLayout& layout) {
    switch (photometric) {
        case PHOTOMETRIC_MINISWHITE:
        case PHOTOMETRIC_MINISBLACK:
        case PHOTOMETRIC_MASK:
            return Kind{layout.bits == 1 ? IM_BINARY : IM_GRAY,
                        photometric == PHOTOMETRIC_MINISWHITE};
        case PHOTOMETRIC_RGB:
            return Kind{IM_RGB, false};
        case PHOTOMETRIC_PALETTE:
            return Kind{IM_MAP, false};
        case PHOTOMETRIC_SEPARATED:
            require(tiff.field<uint16_t>(TIFFTAG_INKSET, INKSET_CMYK) == INKSET_CMYK, IM_ERR_DATA);
            return Kind{IM_CMYK, true};
        default:
            return {};
    }
}

// JPEG as usual: its own decoder turns YCbCr into RGB.
bool isJpegOfRgb(const TiffHandle& tiff, const TiffLayout& layout) {
    return layout.scheme == COMPRESSION_JPEG && layout.stride == 3 &&
           tiff.field<uint16_t>(TIFFTAG_PHOTOMETRIC, 0) == PHOTOMETRIC_YCBCR;
}

bool hasAlpha(const TiffHandle& tiff) {
    uint16_t count = 0;
    const uint16_t* extras = nullptr;
    if (TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_EXTRASAMPLES, &count, &extras) != 1) return false;
    return std::any_of(extras, extras + count, [](uint16_t extra) {
        return extra == EXTRASAMPLE_ASSOCALPHA || extra == EXTRASAMPLE_UNASSALPHA;
    });
}

void readSize(const TiffHandle& tiff, TiffLayout& layout) {
    constexpr uint32_t most = std::numeric_limits<int>::max();
    const uint32_t width = tiff.field<uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    const uint32_t height = tiff.field<uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    require(width > 0 && height > 0, IM_ERR_FORMAT);
    require(width <= most && height <= most, IM_ERR_MEM);
    layout.info.width = static_cast<int>(width);
    layout.info.height = static_cast<int>(height);
}

void readArrangement(const TiffHandle& tiff, int samples, TiffLayout& layout) {
    const int planar = tiff.field<uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    layout.planesApart = samples > 1 && planar == PLANARCONFIG_SEPARATE;
    layout.stride = layout.planesApart ? 1 : samples;
    const int orientation = tiff.field<uint16_t>(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    layout.bottomFirst = orientation == ORIENTATION_BOTLEFT || orientation == ORIENTATION_BOTRIGHT;
    layout.mirrored = orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT;
    if (!layout.bottomFirst) layout.info.flags |= IM_TOPDOWN;
    if (layout.stride > 1) layout.info.flags |= IM_PACKED;
    if (hasAlpha(tiff)) layout.info.flags |= IM_ALPHA;
}

void takeSamples(const TiffHandle& tiff, Kind kind, int samples, TiffLayout& layout) {
    PageInfo& info = layout.info;
    const int format = tiff.field<uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    const int mostBits = kind.colorSpace == IM_MAP ? 8 : 16;
    constexpr int mostSamples = 64;  // a row of them is held
    require((format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID) && layout.bits >= 1 &&
                layout.bits <= mostBits && samples >= planesOf(kind.colorSpace) &&
                samples <= mostSamples,
            IM_ERR_DATA);
    info.colorSpace = kind.colorSpace;
    info.dataType = layout.bits > 8 ? IM_USHORT : IM_BYTE;
    layout.inverted = kind.inverted;
    if (kind.colorSpace != IM_MAP) return;
    const TiffPalette palette = readTiffPalette(tiff, layout.bits);
    const PaletteKind stands = kindOfPalette(palette.colors, palette.count);
    if (stands.colorSpace != IM_BINARY) return;
    info.colorSpace = IM_BINARY;
    layout.inverted = stands.flipBit != 0;
}

void takeConverted(const TiffHandle& tiff, TiffLayout& layout) {
    char reason[1024];
    require(TIFFRGBAImageOK(tiff.get(), reason) == 1, IM_ERR_DATA);
    layout.info.colorSpace = IM_RGB;
    layout.converted = true;
    layout.bits = 8;
    layout.stride = 4;
    layout.planesApart = false;
}

// Bytes of packed samples that a byte of the file can become, at the most.
double bestRatio(int scheme, double rowBytes, const PageInfo& info) {
    switch (scheme) {
        case COMPRESSION_NONE:
            return 1;
        case COMPRESSION_PACKBITS:
            return 64;  // a run of 128 in 2 bytes
        case COMPRESSION_THUNDERSCAN:
            return 32;  // a run of 63 half bytes
        case COMPRESSION_LZW:
            return 4096;  // a code for each text, each a byte longer than another
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
        case COMPRESSION_PIXARLOG:
            return 1032;
        case COMPRESSION_LZMA:
            return 8192;  // the likeliest match, of 273 bytes, takes a third of a bit
        case COMPRESSION_ZSTD:
            return 32768;  // a block of 128 KB that repeats one byte takes 4
        case COMPRESSION_JPEG:
        case COMPRESSION_OJPEG:
            return 4096;  // below 2 bits for a block, which upsampling may widen
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4:
            return 8 * rowBytes;  // a bit for a row like the one above
        default:
            return ratioWithoutBound(info);
    }
}

// Tiles may be larger than the image, and are held whole.
void checkTiles(TIFF* tiff) {
    constexpr uint64_t mostTileBytes = 64 << 20;
    if (TIFFIsTiled(tiff) == 0) return;
    const uint64_t bytes = TIFFTileSize64(tiff);
    require(bytes > 0, IM_ERR_FORMAT);
    require(bytes <= mostTileBytes, IM_ERR_MEM);
}

}  // namespace

TiffPalette readTiffPalette(const TiffHandle& tiff, int bits) {
    const uint16_t* maps[3] = {};
    require(TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 1 &&
                maps[0] != nullptr && maps[1] != nullptr && maps[2] != nullptr,
            IM_ERR_FORMAT);
    TiffPalette palette{{}, 1 << bits};
    // Some old writers stored bytes where the format asks for words.
    const bool wide = std::any_of(maps, maps + 3, [&](const uint16_t* map) {
        return std::any_of(map, map + palette.count, [](uint16_t level) { return level > 255; });
    });
    const auto byteOf = [wide](uint16_t level) {
        return static_cast<uint8_t>(wide ? level >> 8 : level);
    };
    for (int i = 0; i < palette.count; ++i)
        palette.colors[i] = {byteOf(maps[0][i]), byteOf(maps[1][i]), byteOf(maps[2][i])};
    return palette;
}

TiffLayout readTiffLayout(TiffHandle& tiff, uint64_t fileBytes) {
    TiffLayout layout;
    readSize(tiff, layout);
    layout.scheme = tiff.field<uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    require(TIFFIsCODECConfigured(static_cast<uint16_t>(layout.scheme)) != 0, IM_ERR_COMPRESS);
    layout.bits = tiff.field<uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    const int samples = tiff.field<uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    readArrangement(tiff, samples, layout);

    std::optional<Kind> kind = kindOf(tiff, photometricOf(tiff, layout.scheme, samples), layout);
    if (isJpegOfRgb(tiff, layout)) {
        tiff.setField(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        kind = Kind{IM_RGB, false};
    }
    if (kind.has_value())
        takeSamples(tiff, *kind, samples, layout);
    else
        takeConverted(tiff, layout);
    checkTiles(tiff.get());
    // What TiffRows checks of JBIG is not checked elsewhere.
    require(
        layout.scheme != COMPRESSION_JBIG || (!layout.converted && TIFFIsTiled(tiff.get()) == 0),
        IM_ERR_DATA);

    const auto rowBytes =
        static_cast<double>(packedBytes(layout.info.width, layout.bits * layout.stride));
    const double ratio = bestRatio(layout.scheme, rowBytes, layout.info);
    // What is converted may have as little as 3 bits for the 3 bytes of a pixel.
    const double imageBytes =
        layout.converted ? 8 : 8.0 * imDataTypeSize(layout.info.dataType) / layout.bits;
    checkPage(layout.info, fileBytes, ratio * imageBytes);
    // Rows are held with all their samples, those too that the image leaves out.
    require(
        layout.converted || rowBytes * layout.info.height <= static_cast<double>(fileBytes) * ratio,
        IM_ERR_ACCESS);
    return layout;
}

bool isFax(int scheme) {
    return scheme == COMPRESSION_CCITTRLE || scheme == COMPRESSION_CCITTRLEW ||
           scheme == COMPRESSION_CCITTFAX3 || scheme == COMPRESSION_CCITTFAX4;
}

}  // namespace im
