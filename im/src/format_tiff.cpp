// TIFF, classic and big, by libtiff: any number of pages, every compression that libtiff decodes.
//
// Samples of 1 to 16 bits are taken as the file stores them; colour spaces that need arithmetic
// (YCbCr, CIE L*a*b*, LogLuv) come as the 8-bit RGB that libtiff makes of them. A strip or tile
// that libtiff cannot decode is an error, as it is for libtiff's own tools; where it only warns
// (damaged rows of faxes, data that end early), what the data don't tell is white.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

#include "error.h"
#include "format.h"
#include "image.h"
#include "palette.h"
#include "rows.h"
#include "tiff_chain.h"
#include "tiff_handle.h"
#include "tiff_layout.h"
#include "tiff_rows.h"

namespace im {
namespace {

struct Scheme {
    uint16_t code;
    const char* name;
};

constexpr Scheme kSchemes[] = {
    {COMPRESSION_NONE, "NONE"},
    {COMPRESSION_PACKBITS, "RLE"},
    {COMPRESSION_LZW, "LZW"},
    {COMPRESSION_ADOBE_DEFLATE, "DEFLATE"},
    {COMPRESSION_DEFLATE, "DEFLATE"},
    {COMPRESSION_JPEG, "JPEG"},
    {COMPRESSION_OJPEG, "OJPEG"},
    {COMPRESSION_CCITTRLE, "CCITTRLE"},
    {COMPRESSION_CCITTRLEW, "CCITTRLEW"},
    {COMPRESSION_CCITTFAX3, "CCITTFAX3"},
    {COMPRESSION_CCITTFAX4, "CCITTFAX4"},
    {COMPRESSION_LZMA, "LZMA"},
    {COMPRESSION_ZSTD, "ZSTD"},
    {COMPRESSION_WEBP, "WEBP"},
    {COMPRESSION_LERC, "LERC"},
    {COMPRESSION_JBIG, "JBIG"},
    {COMPRESSION_T85, "JBIG85"},
    {COMPRESSION_T43, "JBIG43"},
    {COMPRESSION_JP2000, "JPEG2000"},
    {COMPRESSION_NEXT, "NEXT"},
    {COMPRESSION_THUNDERSCAN, "THUNDERSCAN"},
    {COMPRESSION_PIXARLOG, "PIXARLOG"},
    {COMPRESSION_SGILOG, "SGILOG"},
    {COMPRESSION_SGILOG24, "SGILOG24"},
};

class TiffReader : public Reader {
  public:
    explicit TiffReader(BinaryFile& file)
        : file_(file),
          tiff_(std::make_unique<TiffHandle>(file, "r")),
          chain_(readTiffChain(file, kMostPages)) {}

    int pageCount() override { return static_cast<int>(chain_.directories.size()); }

    bool isCutOff() override { return chain_.cutOff; }

    PageInfo pageInfo(int index) override {
        select(index);
        layout_ = readTiffLayout(*tiff_, file_.size());
        return layout_.info;
    }

    void readPage(int, imImage& image) override {
        fresh_ = false;
        if (image.color_space == IM_MAP) {
            const TiffPalette palette = readTiffPalette(*tiff_, layout_.bits);
            setPalette(image, palette.colors, palette.count);
        }
        if (layout_.converted)
            storeRows<TiffConvertedRows>({*tiff_, layout_}, image);
        else
            storeRows<TiffRows>({*tiff_, layout_}, image);
    }

    Attributes attributes() override {
        Attributes found;
        const int unit = tiff_->field<uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        if (unit == RESUNIT_INCH || unit == RESUNIT_CENTIMETER)
            found.setResolution({tiff_->field(TIFFTAG_XRESOLUTION, 0.0F),
                                 tiff_->field(TIFFTAG_YRESOLUTION, 0.0F),
                                 unit == RESUNIT_CENTIMETER});
        return found;
    }

    std::string compression() override {
        const int code = tiff_->field<uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        for (const Scheme& scheme : kSchemes)
            if (scheme.code == code) return scheme.name;
        return "UNKNOWN";
    }

  private:
    static constexpr size_t kMostPages = 65535;

    // Makes libtiff read the page's directory.
    void select(int index) {
        if (index == selected_ && fresh_) return;
        const auto page = static_cast<size_t>(index);
        if (index == selected_ + 1) {
            fresh_ = TIFFReadDirectory(tiff_->get()) == 1;
        } else if (tiff_->wholeFile().size > 0) {
            fresh_ = TIFFSetSubDirectory(tiff_->get(), chain_.directories[page]) == 1;
        } else {
            // On a disk libtiff would read its way along the whole chain.
            std::unique_ptr<BinaryFile> file = startingAt(file_, chain_, page);
            tiff_ = std::make_unique<TiffHandle>(*file, "r");
            restarted_ = std::move(file);
            fresh_ = true;
        }
        selected_ = fresh_ ? index : -2;
        require(fresh_, IM_ERR_FORMAT);
    }

    template <class Rows>
    void storeRows(Rows rows, imImage& image) const {
        TiffRowStore store(layout_, image);
        for (int plane = 0; plane < (layout_.planesApart ? image.depth : 1); ++plane)
            for (int y = 0; y < image.height; ++y)
                store.store(rows.row(y, plane), y, plane);
    }

    BinaryFile& file_;
    std::unique_ptr<BinaryFile> restarted_;
    std::unique_ptr<TiffHandle> tiff_;
    TiffChain chain_;
    TiffLayout layout_;
    int selected_ = 0;   ///< the page whose directory libtiff has
    bool fresh_ = true;  ///< nothing of that page was decoded
};

// -- Writing --

int photometricFor(const imImage& image, int scheme) {
    switch (image.color_space) {
        case IM_BINARY:
            return isFax(scheme) ? PHOTOMETRIC_MINISWHITE : PHOTOMETRIC_MINISBLACK;
        case IM_GRAY:
            return PHOTOMETRIC_MINISBLACK;
        case IM_MAP:
            return PHOTOMETRIC_PALETTE;
        case IM_CMYK:
            return PHOTOMETRIC_SEPARATED;
        default:
            return scheme == COMPRESSION_JPEG ? PHOTOMETRIC_YCBCR : PHOTOMETRIC_RGB;
    }
}

template <class Sample>
void mergePlanes(const imImage& image, int y, uint8_t* packed) {
    auto* const to = reinterpret_cast<Sample*>(packed);
    const auto planes = static_cast<size_t>(image.depth);
    for (size_t p = 0; p < planes; ++p) {
        const auto* const from =
            reinterpret_cast<const Sample*>(rowFromTop(image, static_cast<int>(p), y));
        for (size_t x = 0; x < static_cast<size_t>(image.width); ++x)
            to[x * planes + p] = from[x];
    }
}

class TiffWriter : public Writer {
  public:
    explicit TiffWriter(BinaryFile& file) : tiff_(file, "w") {}

    void writePage(const imImage& image, const std::string& compression,
                   const Attributes& attributes) override {
        const auto* const scheme =
            std::find_if(std::begin(kSchemes), std::end(kSchemes),
                         [&](const Scheme& s) { return compression == s.name; });
        require(scheme != std::end(kSchemes) && TIFFIsCODECConfigured(scheme->code) != 0,
                IM_ERR_COMPRESS);
        constexpr int mostJpegSize = 65500;
        require(scheme->code != COMPRESSION_JPEG ||
                    (image.width <= mostJpegSize && image.height <= mostJpegSize),
                IM_ERR_DATA);
        try {
            describe(image, scheme->code, attributes);
            writeRows(image, scheme->code);
            require(TIFFWriteDirectory(tiff_.get()) == 1, IM_ERR_ACCESS);
        } catch (...) {
            tiff_.refuseWrites();  // the pages before stay what they are
            throw;
        }
    }

  private:
    void describe(const imImage& image, int scheme, const Attributes& attributes) {
        const int sampleBits =
            image.color_space == IM_BINARY ? 1 : 8 * imDataTypeSize(image.data_type);
        rowBytes_ = packedBytes(image.width, sampleBits * image.depth);
        tiff_.setField(TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(image.width));
        tiff_.setField(TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(image.height));
        tiff_.setField(TIFFTAG_BITSPERSAMPLE, sampleBits);
        tiff_.setField(TIFFTAG_SAMPLESPERPIXEL, image.depth);
        tiff_.setField(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        tiff_.setField(TIFFTAG_COMPRESSION, scheme);
        tiff_.setField(TIFFTAG_PHOTOMETRIC, photometricFor(image, scheme));
        if (image.color_space == IM_BINARY) tiff_.setField(TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
        if (image.color_space == IM_MAP) describePalette(image);
        if (scheme == COMPRESSION_JPEG) {
            const int quality = attributes.intOr("JPEGQuality", 75);
            tiff_.setField(TIFFTAG_JPEGQUALITY, std::min(std::max(quality, 1), 100));
            if (image.color_space == IM_RGB)
                tiff_.setField(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        }
        const bool predicts = scheme == COMPRESSION_LZW || scheme == COMPRESSION_ADOBE_DEFLATE ||
                              scheme == COMPRESSION_LZMA || scheme == COMPRESSION_ZSTD;
        if (predicts && image.color_space != IM_BINARY && image.color_space != IM_MAP)
            tiff_.setField(TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        stripRows_ = stripRows(image.height, scheme);
        tiff_.setField(TIFFTAG_ROWSPERSTRIP, static_cast<uint32_t>(stripRows_));
        Resolution resolution{};
        if (attributes.resolution(resolution)) {
            tiff_.setField(TIFFTAG_XRESOLUTION, static_cast<double>(resolution.x));
            tiff_.setField(TIFFTAG_YRESOLUTION, static_cast<double>(resolution.y));
            tiff_.setField(TIFFTAG_RESOLUTIONUNIT,
                           resolution.perCentimetre ? RESUNIT_CENTIMETER : RESUNIT_INCH);
        }
    }

    void describePalette(const imImage& image) {
        uint16_t red[256], green[256], blue[256];
        for (int i = 0; i < 256; ++i) {
            red[i] = static_cast<uint16_t>(image.palette[i].red * 257);
            green[i] = static_cast<uint16_t>(image.palette[i].green * 257);
            blue[i] = static_cast<uint16_t>(image.palette[i].blue * 257);
        }
        const uint16_t *const r = red, *const g = green, *const b = blue;
        tiff_.setField(TIFFTAG_COLORMAP, r, g, b);
    }

    // A fax page is one strip: every strip costs a row coded without its neighbour.
    int stripRows(int height, int scheme) const {
        constexpr size_t usualStripBytes = 64 << 10;
        if (isFax(scheme)) return height;
        auto rows = (usualStripBytes + rowBytes_ - 1) / rowBytes_;
        if (scheme == COMPRESSION_JPEG) rows = (rows + 15) / 16 * 16;  // whole blocks
        return static_cast<int>(std::min(rows, static_cast<size_t>(height)));
    }

    void writeRows(const imImage& image, int scheme) {
        strip_.resize(static_cast<size_t>(stripRows_) * rowBytes_);
        uint32_t strip = 0;
        for (int y = 0; y < image.height; y += std::min(stripRows_, image.height - y)) {
            const int rows = std::min(stripRows_, image.height - y);
            for (int r = 0; r < rows; ++r)
                packRow(image, y + r, scheme, &strip_[static_cast<size_t>(r) * rowBytes_]);
            const size_t bytes = static_cast<size_t>(rows) * rowBytes_;
            if (image.color_space == IM_CMYK) invertBytes(strip_.data(), bytes);
            require(TIFFWriteEncodedStrip(tiff_.get(), strip++, strip_.data(),
                                          static_cast<tmsize_t>(bytes)) >= 0,
                    IM_ERR_ACCESS);
        }
    }

    static void packRow(const imImage& image, int y, int scheme, uint8_t* packed) {
        foreseeRows(image, 0, y);
        if (image.color_space == IM_BINARY)
            packSamples(rowFromTop(image, 0, y), packed, image.width, 1, isFax(scheme) ? 1 : 0);
        else if (image.depth == 1)
            std::memcpy(packed, rowFromTop(image, 0, y), lineBytes(image));
        else if (image.data_type == IM_USHORT)
            mergePlanes<uint16_t>(image, y, packed);
        else if (image.depth == 3)
            mergePixels(image, y, kRgb, packed);
        else
            mergePlanes<uint8_t>(image, y, packed);
    }

    TiffHandle tiff_;
    std::vector<uint8_t> strip_;
    size_t rowBytes_ = 0;
    int stripRows_ = 0;
};

bool probe(Bytes head, BinaryFile&) {
    if (head.size < 8) return false;
    const uint8_t* const h = head.data;
    const bool little = h[0] == 'I' && h[1] == 'I' && (h[2] == 42 || h[2] == 43) && h[3] == 0;
    const bool big = h[0] == 'M' && h[1] == 'M' && h[2] == 0 && (h[3] == 42 || h[3] == 43);
    return little || big;
}

int storedSpace(int colorSpace, int dataType, const std::string& compression) {
    if (dataType != IM_BYTE && dataType != IM_USHORT) return -1;
    if (compression.rfind("CCITT", 0) == 0) return IM_BINARY;
    if (compression != "JPEG") return colorSpace;
    if (dataType != IM_BYTE) return -1;
    return colorSpace == IM_GRAY || colorSpace == IM_BINARY ? IM_GRAY : IM_RGB;
}

}  // namespace

const Format kTiff = {
    "TIFF",
    "Tagged Image File Format",
    "*.tif;*.tiff",
    {"NONE", "RLE", "LZW", "DEFLATE", "JPEG", "CCITTRLE", "CCITTFAX3", "CCITTFAX4", "LZMA", "ZSTD"},
    true,
    probe,
    openAs<TiffReader>,
    createAs<TiffWriter>,
    storedSpace,
};

}  // namespace im
