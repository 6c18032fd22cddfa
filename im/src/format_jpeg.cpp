// JPEG: everything that the JPEG library reads (sequential and progressive, Huffman and arithmetic
// coding); written sequential with the library's usual sampling.
#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

// The library's headers need <cstdio> before them.
#include <jerror.h>
#include <jpeglib.h>

#include "error.h"
#include "format.h"
#include "image.h"
#include "rows.h"

namespace im {
namespace {

constexpr size_t kBufferBytes = 64 * 1024;

// ---- Errors of the library: a jump out of it, then an exception

struct Trap {
    jpeg_error_mgr manager;  ///< first: the library knows the trap by this address
    std::jmp_buf back;
};

void jumpBack(j_common_ptr codec) {
    std::longjmp(reinterpret_cast<Trap*>(codec->err)->back, 1);
}

jpeg_error_mgr* set(Trap& trap) {
    jpeg_std_error(&trap.manager);
    trap.manager.error_exit = jumpBack;
    trap.manager.output_message = [](j_common_ptr) {};
    trap.manager.emit_message = [](j_common_ptr, int) {};
    return &trap.manager;
}

imErrorCode codeOf(int message) {
    switch (message) {
        case JERR_OUT_OF_MEMORY:
        case JERR_IMAGE_TOO_BIG:
        case JERR_WIDTH_OVERFLOW:
            return IM_ERR_MEM;
        case JERR_NO_SOI:
        case JERR_EMPTY_IMAGE:
        case JERR_INPUT_EMPTY:
            return IM_ERR_FORMAT;
        case JERR_BAD_PRECISION:
        case JERR_COMPONENT_COUNT:
            return IM_ERR_DATA;
        case JERR_SOF_UNSUPPORTED:
        case JERR_ARITH_NOTIMPL:
            return IM_ERR_COMPRESS;
        default:
            return IM_ERR_ACCESS;
    }
}

/// Runs calls of the library. A jump runs no destructors: `work` holds plain data only.
template <class Work>
void run(Trap& trap, const Work& work) {
    if (setjmp(trap.back) != 0) fail(codeOf(trap.manager.msg_code));
    work();
}

// ---- Bytes to and from the library

/// A file in memory is read in place, others through a buffer.
struct Source : jpeg_source_mgr {
    BinaryFile* file;
    uint64_t next;  ///< place in the file behind the buffer
    std::vector<uint8_t> buffer;

    explicit Source(BinaryFile& from) : jpeg_source_mgr(), file(&from), next(0) {
        init_source = [](j_decompress_ptr) {};
        fill_input_buffer = fill;
        skip_input_data = skip;
        resync_to_restart = jpeg_resync_to_restart;
        term_source = [](j_decompress_ptr) {};
        const Bytes whole = file->whole();
        if (whole.data != nullptr) {
            next_input_byte = whole.data;
            bytes_in_buffer = whole.size;
            next = whole.size;
        } else {
            buffer.resize(kBufferBytes);
        }
    }

    /// Behind the end come end markers, so that what is there of a short file is decoded.
    static boolean fill(j_decompress_ptr codec) {
        static constexpr JOCTET end[2] = {0xff, JPEG_EOI};
        auto* const s = static_cast<Source*>(codec->src);
        s->file->seek(s->next);
        const size_t got = s->file->read(s->buffer.data(), s->buffer.size());
        s->next += got;
        s->next_input_byte = got > 0 ? s->buffer.data() : end;
        s->bytes_in_buffer = got > 0 ? got : sizeof end;
        return TRUE;
    }

    static void skip(j_decompress_ptr codec, long count) {
        auto* const s = static_cast<Source*>(codec->src);
        if (count <= 0) return;
        const auto bytes = static_cast<size_t>(count);
        const size_t inside = std::min(bytes, s->bytes_in_buffer);
        s->next_input_byte += inside;
        s->bytes_in_buffer -= inside;
        s->next += bytes - inside;
    }
};

struct Destination : jpeg_destination_mgr {
    BinaryFile* file;
    std::vector<uint8_t> buffer;

    explicit Destination(BinaryFile& to) : jpeg_destination_mgr(), file(&to), buffer(kBufferBytes) {
        init_destination = [](j_compress_ptr) {};
        empty_output_buffer = [](j_compress_ptr codec) -> boolean {
            put(codec, kBufferBytes);
            return TRUE;
        };
        term_destination = [](j_compress_ptr codec) {
            put(codec, kBufferBytes - codec->dest->free_in_buffer);
        };
        restart();
    }

    void restart() {
        next_output_byte = buffer.data();
        free_in_buffer = buffer.size();
    }

    static void put(j_compress_ptr codec, size_t count) {
        auto* const d = static_cast<Destination*>(codec->dest);
        if (!d->file->write(d->buffer.data(), count)) ERREXIT(codec, JERR_FILE_WRITE);
        d->restart();
    }
};

// ---- Reading

/// Every pass over a progressive image costs time but hardly bytes; encoders make about ten. The
/// bound falls with the size of the image, so that all passes together stay within seconds.
int mostScans(const jpeg_decompress_struct& codec) {
    constexpr uint64_t mostSamples = uint64_t{1} << 34;
    const uint64_t samples = static_cast<uint64_t>(codec.image_width) * codec.image_height *
                             static_cast<uint64_t>(codec.num_components);
    return static_cast<int>(std::clamp<uint64_t>(mostSamples / samples, 32, 500));
}

void boundScans(j_common_ptr codec) {
    auto* const decoder = reinterpret_cast<j_decompress_ptr>(codec);
    if (decoder->input_scan_number > mostScans(*decoder)) ERREXIT(decoder, JERR_BAD_PROGRESSION);
}

class Decoder {
  public:
    /// Reads the header.
    explicit Decoder(BinaryFile& file) : source_(file) {
        codec_.err = set(trap_);
        run(trap_, [this] {
            jpeg_create_decompress(&codec_);
            codec_.src = &source_;
            jpeg_read_header(&codec_, TRUE);
        });
        monitor_.progress_monitor = boundScans;
        codec_.progress = &monitor_;
        codec_.out_color_space = codec_.num_components == 1   ? JCS_GRAYSCALE
                                 : codec_.num_components == 3 ? JCS_RGB
                                                              : JCS_CMYK;
    }

    PageInfo info() const {
        PageInfo info;
        info.width = static_cast<int>(codec_.image_width);
        info.height = static_cast<int>(codec_.image_height);
        info.flags = IM_TOPDOWN;
        if (codec_.num_components == 1) return info;
        require(codec_.num_components == 3 || codec_.num_components == 4, IM_ERR_DATA);
        info.colorSpace = codec_.num_components == 3 ? IM_RGB : IM_CMYK;
        info.flags |= IM_PACKED;
        return info;
    }

    Attributes attributes() const {
        Attributes result;
        if (codec_.density_unit == 1 || codec_.density_unit == 2)
            result.setResolution({static_cast<float>(codec_.X_density),
                                  static_cast<float>(codec_.Y_density), codec_.density_unit == 2});
        return result;
    }

    bool isArithmetic() const { return codec_.arith_code != FALSE; }

    void readRows(imImage& image) {
        std::vector<uint8_t> pixels(image.depth == 1 ? 0 : packedBytes(image.width, 8 * 4));
        run(trap_, [&] {
            jpeg_start_decompress(&codec_);
            for (int y = 0; y < image.height; ++y) {
                uint8_t* row = image.depth == 1 ? rowFromTop(image, 0, y) : pixels.data();
                jpeg_read_scanlines(&codec_, &row, 1);
                if (image.depth == 3) splitPixels(row, 3, kRgb, image, y);
                if (image.depth == 4) splitInks(row, image, y);
            }
        });
    }

    /// Of the first component, after decoding; null when the file has none.
    const JQUANT_TBL* quantisation() const { return codec_.comp_info[0].quant_table; }

  private:
    struct Codec : jpeg_decompress_struct {
        Codec() : jpeg_decompress_struct() {}
        Codec(const Codec&) = delete;
        Codec& operator=(const Codec&) = delete;
        ~Codec() { jpeg_destroy_decompress(this); }
    };

    // Files of four components have inverted inks by common practice, marked or not: as images do.
    static void splitInks(const uint8_t* pixels, imImage& image, int y) {
        for (int p = 0; p < 4; ++p) {
            uint8_t* const to = rowFromTop(image, p, y);
            for (int x = 0; x < image.width; ++x)
                to[x] = pixels[4 * x + p];
        }
    }

    Trap trap_{};
    Source source_;
    jpeg_progress_mgr monitor_{};
    Codec codec_;
};

/// The quality whose luminance table, made as jpeg_set_quality makes it, is nearest.
int nearestQuality(const JQUANT_TBL& table) {
    static constexpr int base[DCTSIZE2] = {
        16, 11, 10, 16, 24,  40,  51,  61,   // the table of the JPEG standard's annex K
        12, 12, 14, 19, 26,  58,  60,  55,   //
        14, 13, 16, 24, 40,  57,  69,  56,   //
        14, 17, 22, 29, 51,  87,  80,  62,   //
        18, 22, 37, 56, 68,  109, 103, 77,   //
        24, 35, 55, 64, 81,  104, 113, 92,   //
        49, 64, 78, 87, 103, 121, 120, 101,  //
        72, 92, 95, 98, 112, 100, 103, 99};
    const int most =
        *std::max_element(table.quantval, table.quantval + DCTSIZE2) > 255 ? 32767 : 255;
    int nearest = 0, least = 0;
    for (int quality = 1; quality <= 100; ++quality) {
        const int scale = jpeg_quality_scaling(quality);
        int distance = 0;
        for (int i = 0; i < DCTSIZE2; ++i)
            distance += std::abs(std::clamp((base[i] * scale + 50) / 100, 1, most) -
                                 static_cast<int>(table.quantval[i]));
        if (nearest == 0 || distance < least) {
            nearest = quality;
            least = distance;
        }
    }
    return nearest;
}

class JpegReader : public Reader {
  public:
    explicit JpegReader(BinaryFile& file) : file_(file) {
        const Decoder decoder(file);
        info_ = decoder.info();
        attributes_ = decoder.attributes();
        arithmetic_ = decoder.isArithmetic();
    }

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        // With Huffman coding a block of 8x8 costs a bit at least, and subsampled fourfold it
        // stands for up to 1024 samples: about 3300 a byte with all components. Arithmetic coding
        // has no such floor: an A4 page of a single colour reaches 125000.
        checkPage(info_, file_.size(), arithmetic_ ? ratioWithoutBound(info_) : 4096.0);
        return info_;
    }

    void readPage(int, imImage& image) override {
        Decoder decoder(file_);
        decoder.readRows(image);
        if (decoder.quantisation() != nullptr) quality_ = nearestQuality(*decoder.quantisation());
    }

    Attributes attributes() override { return attributes_; }

    std::string compression() override { return quality_ == 0 ? "JPEG" : std::to_string(quality_); }

  private:
    BinaryFile& file_;
    PageInfo info_;
    Attributes attributes_;
    bool arithmetic_ = false;
    int quality_ = 0;  ///< unknown before decoding
};

// ---- Writing

class Encoder {
  public:
    explicit Encoder(BinaryFile& file) : destination_(file) {
        codec_.err = set(trap_);
        run(trap_, [this] { jpeg_create_compress(&codec_); });
        codec_.dest = &destination_;
    }

    void write(const imImage& image, const Attributes& attributes) {
        Resolution resolution{};
        const bool hasResolution = attributes.resolution(resolution);
        const int quality = std::clamp(attributes.intOr("JPEGQuality", 75), 1, 100);
        std::vector<uint8_t> pixels(packedBytes(image.width, 8 * image.depth));
        run(trap_, [&] {
            codec_.image_width = static_cast<JDIMENSION>(image.width);
            codec_.image_height = static_cast<JDIMENSION>(image.height);
            codec_.input_components = image.depth;
            codec_.in_color_space = image.depth == 1   ? JCS_GRAYSCALE
                                    : image.depth == 3 ? JCS_RGB
                                                       : JCS_CMYK;
            jpeg_set_defaults(&codec_);
            jpeg_set_quality(&codec_, quality, TRUE);
            if (hasResolution) setDensity(resolution);
            jpeg_start_compress(&codec_, TRUE);
            for (int y = 0; y < image.height; ++y) {
                mergeRow(image, y, pixels.data());
                uint8_t* row = pixels.data();
                jpeg_write_scanlines(&codec_, &row, 1);
            }
            jpeg_finish_compress(&codec_);
        });
    }

  private:
    struct Codec : jpeg_compress_struct {
        Codec() : jpeg_compress_struct() {}
        Codec(const Codec&) = delete;
        Codec& operator=(const Codec&) = delete;
        ~Codec() { jpeg_destroy_compress(this); }
    };

    void setDensity(const Resolution& resolution) {
        const float x = std::round(resolution.x), y = std::round(resolution.y);
        if (x < 1.0F || x > 65535.0F || y < 1.0F || y > 65535.0F) return;
        codec_.write_JFIF_header = TRUE;  // by default not with four components
        codec_.density_unit = resolution.perCentimetre ? 2 : 1;
        codec_.X_density = static_cast<UINT16>(x);
        codec_.Y_density = static_cast<UINT16>(y);
    }

    static void mergeRow(const imImage& image, int y, uint8_t* pixels) {
        if (image.depth == 1) {
            std::memcpy(pixels, rowFromTop(image, 0, y), lineBytes(image));
        } else if (image.depth == 3) {
            mergePixels(image, y, kRgb, pixels);
        } else {
            for (int p = 0; p < 4; ++p) {
                const uint8_t* const from = rowFromTop(image, p, y);
                for (int x = 0; x < image.width; ++x)
                    pixels[4 * x + p] = from[x];
            }
        }
    }

    Trap trap_{};
    Destination destination_;
    Codec codec_;
};

class JpegWriter : public Writer {
  public:
    explicit JpegWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string&,
                   const Attributes& attributes) override {
        require(image.width <= JPEG_MAX_DIMENSION && image.height <= JPEG_MAX_DIMENSION,
                IM_ERR_DATA);
        file_.seek(0);
        Encoder(file_).write(image, attributes);
    }

  private:
    BinaryFile& file_;
};

bool probe(Bytes head, BinaryFile&) {
    return head.size > 3 && head.data[0] == 0xff && head.data[1] == 0xd8 && head.data[2] == 0xff;
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE) return -1;
    if (colorSpace == IM_BINARY) return IM_GRAY;
    return colorSpace == IM_MAP ? static_cast<int>(IM_RGB) : colorSpace;
}

}  // namespace

const Format kJpeg = {
    "JPEG",
    "JPEG File Interchange Format",
    "*.jpg;*.jpeg",
    {"JPEG"},
    false,
    probe,
    openAs<JpegReader>,
    createAs<JpegWriter>,
    storedSpace,
};

}  // namespace im
