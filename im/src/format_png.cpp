// PNG, by libpng: every colour type and depth, interlaced too; written without interlacing. Samples
// come as stored: gamma, profiles and transparency are left aside.
#include <png.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <vector>

#include "byte_reader.h"
#include "error.h"
#include "format.h"
#include "image.h"
#include "palette.h"
#include "rows.h"

namespace im {
namespace {

constexpr double kMetresPerInch = 0.0254;
constexpr png_uint_32 kMostSize = PNG_UINT_31_MAX;  ///< checkPage knows better than libpng

// libpng leaves by longjmp. It must land in a frame that lives, and cross none that has something
// to destroy: so all its calls that can fail are made by guarded(), in work that owns nothing.
void onError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

template <class Work>
void guarded(png_structp png, const Work& work) {
    if (setjmp(png_jmpbuf(png)) != 0) fail(IM_ERR_ACCESS);
    work();
}

struct Decoder {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);

    Decoder() = default;
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct Encoder {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);

    Encoder() = default;
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
    ~Encoder() { png_destroy_write_struct(&png, &info); }
};

// The reader's `some` throws nothing.
void readBytes(png_structp png, png_bytep to, size_t count) {
    auto& in = *static_cast<ByteReader*>(png_get_io_ptr(png));
    if (in.some(to, count) != count) png_error(png, "short");
}

void writeBytes(png_structp png, png_bytep from, size_t count) {
    if (!static_cast<BinaryFile*>(png_get_io_ptr(png))->write(from, count)) png_error(png, "full");
}

void flushNothing(png_structp) {}

// Leaves libpng behind everything that precedes the samples.
void readHeader(Decoder& decoder, ByteReader& in) {
    require(decoder.info != nullptr, IM_ERR_MEM);
    in.seek(0);
    const png_structp png = decoder.png;
    guarded(png, [&] {
        png_set_read_fn(png, &in, readBytes);
        png_set_user_limits(png, kMostSize, kMostSize);
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION  // a fuzzer cannot guess sums
        png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
        png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
#endif
        // Texts and profiles are skipped, not unpacked; of them all only pHYs is of use.
        png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_AS_DEFAULT,
                                    reinterpret_cast<png_const_bytep>("pHYs"), 1);
        png_set_check_for_invalid_index(png, 0);
        png_read_info(png, decoder.info);
        png_set_strip_alpha(png);
    });
}

/// Seven passes of an interlaced image, one of another: the pixels that each has. Unsigned, as one
/// step beyond the largest image must not overflow.
struct Pass {
    uint32_t firstX, stepX, firstY, stepY;
};

constexpr Pass kWholeImage{0, 1, 0, 1};
constexpr Pass kInterlaced[] = {{0, 8, 0, 8}, {4, 8, 0, 8}, {0, 4, 4, 8}, {2, 4, 0, 4},
                                {0, 2, 2, 4}, {1, 2, 0, 2}, {0, 1, 1, 2}};

class PngReader : public Reader {
  public:
    explicit PngReader(BinaryFile& file) : in_(file) {
        Decoder decoder;
        try {
            readHeader(decoder, in_);
        } catch (const Error&) {
            if (in_.left() > 0) fail(IM_ERR_FORMAT);
            throw;
        }
        takeHeader(decoder);
    }

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        // No byte inflates to more than 1032.
        const int wide = imDataTypeSize(info_.dataType) * planesOf(info_.colorSpace) * 8;
        checkPage(info_, in_.size(), 1032.0 * wide / storedBits_);
        return info_;
    }

    void readPage(int, imImage& image) override {
        if (image.color_space == IM_MAP) setPalette(image, colors_, colorCount_);
        Decoder decoder;
        readHeader(decoder, in_);
        row_.resize(packedBytes(image.width, storedBits_));
        if (!interlaced_) return readPass(decoder.png, image, kWholeImage);
        for (const Pass& pass : kInterlaced)
            if (pass.firstX < width(image) && pass.firstY < height(image))
                readPass(decoder.png, image, pass);
    }

    Attributes attributes() override { return attributes_; }
    std::string compression() override { return "DEFLATE"; }

  private:
    static uint32_t width(const imImage& image) { return static_cast<uint32_t>(image.width); }
    static uint32_t height(const imImage& image) { return static_cast<uint32_t>(image.height); }

    void takeHeader(const Decoder& decoder) {
        const png_structp png = decoder.png;
        const png_infop info = decoder.info;
        const int type = png_get_color_type(png, info);
        bits_ = png_get_bit_depth(png, info);
        storedBits_ = bits_ * png_get_channels(png, info);
        interlaced_ = png_get_interlace_type(png, info) != PNG_INTERLACE_NONE;

        info_.width = static_cast<int>(png_get_image_width(png, info));
        info_.height = static_cast<int>(png_get_image_height(png, info));
        info_.dataType = bits_ == 16 ? IM_USHORT : IM_BYTE;
        info_.flags = IM_TOPDOWN;
        if (storedBits_ > bits_) info_.flags |= IM_PACKED;
        if ((type & PNG_COLOR_MASK_ALPHA) != 0) info_.flags |= IM_ALPHA;
        if (type == PNG_COLOR_TYPE_PALETTE) {
            takePalette(decoder);
        } else if ((type & PNG_COLOR_MASK_COLOR) != 0) {
            info_.colorSpace = IM_RGB;
        } else {
            info_.colorSpace = bits_ == 1 ? IM_BINARY : IM_GRAY;
            if (bits_ == 2 || bits_ == 4) scale_ = static_cast<uint8_t>(255 / ((1 << bits_) - 1));
        }

        png_uint_32 x = 0, y = 0;
        int unit = PNG_RESOLUTION_UNKNOWN;
        png_get_pHYs(png, info, &x, &y, &unit);
        if (unit == PNG_RESOLUTION_METER)
            attributes_.setResolution({static_cast<float>(x * kMetresPerInch),
                                       static_cast<float>(y * kMetresPerInch), false});
    }

    void takePalette(const Decoder& decoder) {
        png_colorp stored = nullptr;
        png_get_PLTE(decoder.png, decoder.info, &stored, &colorCount_);
        require(stored != nullptr && colorCount_ > 0 && colorCount_ <= 256, IM_ERR_FORMAT);
        for (int i = 0; i < colorCount_; ++i)
            colors_[i] = {stored[i].red, stored[i].green, stored[i].blue};
        const PaletteKind kind = kindOfPalette(colors_, colorCount_);
        const bool binary = bits_ == 1 && kind.colorSpace == IM_BINARY;
        info_.colorSpace = binary ? IM_BINARY : IM_MAP;
        if (binary) flip_ = kind.flipBit;
    }

    // As libpng isn't asked to undo the interlacing, it gives the rows of each pass as they are,
    // their pixels side by side.
    void readPass(png_structp png, imImage& image, const Pass& pass) {
        guarded(png, [&] {
            for (uint32_t y = pass.firstY; y < height(image); y += pass.stepY)
                readRow(png, image, static_cast<int>(y), pass);
        });
    }

    // Runs under guarded(): owns nothing.
    void readRow(png_structp png, imImage& image, int y, const Pass& pass) {
        if (pass.stepX == 1 && image.depth == 1 && bits_ >= 8) {
            png_read_row(png, rowFromTop(image, 0, y), nullptr);
            if (bits_ == 16)
                wideFromBigEndian(rowFromTop(image, 0, y), wideRowFromTop(image, 0, y),
                                  static_cast<size_t>(image.width));
            return;
        }
        png_read_row(png, row_.data(), nullptr);
        if (bits_ < 8)
            placeBits(image, y, pass);
        else if (bits_ == 16)
            placeWide(image, y, pass);
        else if (pass.stepX == 1)
            splitPixels(row_.data(), 3, kRgb, image, y);
        else
            placeBytes(image, y, pass);
    }

    void placeBits(imImage& image, int y, const Pass& pass) {
        uint8_t* const samples = rowFromTop(image, 0, y);
        if (pass.stepX == 1) {
            foreseeRows(image, 0, y);
            unpackSamples(row_.data(), samples, image.width, bits_, flip_);
            if (scale_ == 1) return;
        } else {
            for (uint32_t x = pass.firstX; x < width(image); x += pass.stepX) {
                const uint64_t bit = uint64_t{x / pass.stepX} * static_cast<unsigned>(bits_);
                const unsigned low = 8 - static_cast<unsigned>(bits_) - bit % 8;
                const int sample = row_[bit / 8] >> low & ((1 << bits_) - 1);
                samples[x] = static_cast<uint8_t>(sample ^ flip_);
            }
        }
        if (scale_ == 1) return;
        for (uint32_t x = pass.firstX; x < width(image); x += pass.stepX)
            samples[x] = static_cast<uint8_t>(samples[x] * scale_);
    }

    void placeBytes(imImage& image, int y, const Pass& pass) {
        for (int p = 0; p < image.depth; ++p) {
            uint8_t* const samples = rowFromTop(image, p, y);
            const uint8_t* from = &row_[static_cast<size_t>(p)];
            for (uint32_t x = pass.firstX; x < width(image); x += pass.stepX, from += image.depth)
                samples[x] = *from;
        }
    }

    void placeWide(imImage& image, int y, const Pass& pass) {
        for (int p = 0; p < image.depth; ++p) {
            uint16_t* const samples = wideRowFromTop(image, p, y);
            const uint8_t* from = &row_[2 * static_cast<size_t>(p)];
            const size_t step = 2 * static_cast<size_t>(image.depth);
            for (uint32_t x = pass.firstX; x < width(image); x += pass.stepX, from += step)
                samples[x] = static_cast<uint16_t>(from[0] << 8 | from[1]);
        }
    }

    ByteReader in_;
    PageInfo info_;
    Attributes attributes_;
    int bits_ = 0;        ///< of a sample
    int storedBits_ = 0;  ///< of a pixel, its alpha with it
    bool interlaced_ = false;
    uint8_t scale_ = 1, flip_ = 0;  ///< what makes samples below 8 bits the image's
    imPaletteColor colors_[256] = {};
    int colorCount_ = 0;
    std::vector<uint8_t> row_;
};

class PngWriter : public Writer {
  public:
    explicit PngWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string&,
                   const Attributes& attributes) override {
        Encoder encoder;
        require(encoder.info != nullptr, IM_ERR_MEM);
        const png_structp png = encoder.png;
        const png_infop info = encoder.info;
        const bool map = image.color_space == IM_MAP;
        const int colors = map ? colorsInUse(image) : 0;
        const int bits = bitsOf(image, colors);
        row_.resize(packedBytes(image.width, image.depth * bits));
        guarded(png, [&] {
            png_set_write_fn(png, &file_, writeBytes, flushNothing);
            png_set_user_limits(png, kMostSize, kMostSize);
            png_set_compression_buffer_size(png, kChunkBytes);
            const int type = map                ? PNG_COLOR_TYPE_PALETTE
                             : image.depth == 3 ? PNG_COLOR_TYPE_RGB
                                                : PNG_COLOR_TYPE_GRAY;
            png_set_IHDR(png, info, static_cast<png_uint_32>(image.width),
                         static_cast<png_uint_32>(image.height), bits, type, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
            if (map) storePalette(png, info, image, colors);
            storeResolution(png, info, attributes);
            png_write_info(png, info);
            for (int y = 0; y < image.height; ++y)
                png_write_row(png, storedRow(image, y, bits));
            png_write_end(png, nullptr);
        });
    }

  private:
    static constexpr size_t kChunkBytes = 64 * 1024;  ///< of compressed samples written at once

    static int bitsOf(const imImage& image, int colors) {
        if (image.data_type == IM_USHORT) return 16;
        if (image.color_space == IM_BINARY) return 1;
        if (image.color_space != IM_MAP) return 8;
        return colors <= 2 ? 1 : colors <= 4 ? 2 : colors <= 16 ? 4 : 8;
    }

    // What follows runs under guarded(): it owns nothing.

    static void storePalette(png_structp png, png_infop info, const imImage& image, int count) {
        png_color colors[256];
        for (int i = 0; i < count; ++i)
            colors[i] = {image.palette[i].red, image.palette[i].green, image.palette[i].blue};
        png_set_PLTE(png, info, colors, count);
    }

    static void storeResolution(png_structp png, png_infop info, const Attributes& attributes) {
        float x = 0.0F, y = 0.0F;
        if (!attributes.dotsPerInch(x, y)) return;
        const auto perMetre = [](float dots) {
            const double exact = static_cast<double>(dots) / kMetresPerInch;
            return static_cast<png_uint_32>(std::lround(std::min<double>(exact, kMostSize)));
        };
        png_set_pHYs(png, info, perMetre(x), perMetre(y), PNG_RESOLUTION_METER);
    }

    const uint8_t* storedRow(const imImage& image, int y, int bits) {
        foreseeRows(image, 0, y);
        if (bits == 8 && image.depth == 1) return rowFromTop(image, 0, y);
        if (bits < 8) {
            packSamples(rowFromTop(image, 0, y), row_.data(), image.width, bits);
        } else if (bits == 8) {
            mergePixels(image, y, kRgb, row_.data());
        } else {
            mergeWidePixels(image, y, row_.data());
        }
        return row_.data();
    }

    BinaryFile& file_;
    std::vector<uint8_t> row_;
};

bool probe(Bytes head, BinaryFile&) {
    return head.size >= 8 && png_sig_cmp(head.data, 0, 8) == 0;
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE && dataType != IM_USHORT) return -1;
    return colorSpace == IM_CMYK ? static_cast<int>(IM_RGB) : colorSpace;
}

}  // namespace

const Format kPng = {
    "PNG",
    "Portable Network Graphics",
    "*.png",
    {"DEFLATE"},
    false,
    probe,
    openAs<PngReader>,
    createAs<PngWriter>,
    storedSpace,
};

}  // namespace im
