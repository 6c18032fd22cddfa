// JP2: JPEG 2000, in the boxes of a JP2 file or as a codestream alone; written lossless.
#include <openjpeg.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "error.h"
#include "format.h"
#include "image.h"
#include "jp2_header.h"

namespace im {
namespace {

template <auto destroy>
struct With {
    template <class T>
    void operator()(T* object) const {
        destroy(object);
    }
};
using CodecHandle = std::unique_ptr<opj_codec_t, With<opj_destroy_codec>>;
using StreamHandle = std::unique_ptr<opj_stream_t, With<opj_stream_destroy>>;
using CodecImage = std::unique_ptr<opj_image_t, With<opj_image_destroy>>;

void ignore(const char*, void*) {}

void silence(opj_codec_t* codec) {
    opj_set_info_handler(codec, ignore, nullptr);
    opj_set_warning_handler(codec, ignore, nullptr);
    opj_set_error_handler(codec, ignore, nullptr);
}

// ---- Streams: the position is the file's own, which nobody else moves meanwhile

constexpr OPJ_SIZE_T kStreamBytes = 256 * 1024;

BinaryFile& fileBehind(void* user) {
    return *static_cast<BinaryFile*>(user);
}

OPJ_BOOL seekFile(OPJ_OFF_T position, void* user) {
    if (position < 0) return OPJ_FALSE;
    fileBehind(user).seek(static_cast<uint64_t>(position));
    return OPJ_TRUE;
}

StreamHandle streamOver(BinaryFile& file, bool isInput) {
    StreamHandle stream(opj_stream_create(kStreamBytes, isInput ? OPJ_TRUE : OPJ_FALSE));
    require(stream != nullptr, IM_ERR_MEM);
    file.seek(0);
    opj_stream_set_user_data(stream.get(), &file, nullptr);
    opj_stream_set_user_data_length(stream.get(), file.size());
    opj_stream_set_seek_function(stream.get(), seekFile);
    return stream;
}

StreamHandle inputFrom(BinaryFile& file) {
    StreamHandle stream = streamOver(file, true);
    opj_stream_set_read_function(stream.get(), [](void* to, OPJ_SIZE_T count, void* user) {
        const size_t got = fileBehind(user).read(to, count);
        return got > 0 ? got : static_cast<OPJ_SIZE_T>(-1);
    });
    // Skips what there is; -1 at the end.
    opj_stream_set_skip_function(stream.get(), [](OPJ_OFF_T count, void* user) -> OPJ_OFF_T {
        BinaryFile& f = fileBehind(user);
        if (count < 0 || f.tell() >= f.size()) return -1;
        const auto skipped = std::min(static_cast<uint64_t>(count), f.size() - f.tell());
        f.seek(f.tell() + skipped);
        return static_cast<OPJ_OFF_T>(skipped);
    });
    return stream;
}

StreamHandle outputTo(BinaryFile& file) {
    StreamHandle stream = streamOver(file, false);
    opj_stream_set_write_function(stream.get(), [](void* from, OPJ_SIZE_T count, void* user) {
        return fileBehind(user).write(from, count) ? count : static_cast<OPJ_SIZE_T>(-1);
    });
    opj_stream_set_skip_function(stream.get(), [](OPJ_OFF_T count, void* user) -> OPJ_OFF_T {
        if (count < 0) return -1;
        fileBehind(user).seek(fileBehind(user).tell() + static_cast<uint64_t>(count));
        return count;
    });
    return stream;
}

// ---- Reading

/// What every sample of a component becomes in the image.
struct Levels {
    std::vector<uint16_t> values;
    int offset = 0;  ///< added to a sample to find its value

    uint16_t of(int sample) const {
        const int last = static_cast<int>(values.size()) - 1;
        const int at = std::clamp(sample, -offset, last - offset) + offset;
        return values[static_cast<size_t>(at)];
    }
};

Levels levelsOf(const Jp2Channel& channel, const Jp2Component& component, const PageInfo& info) {
    const unsigned highest = (1U << channel.bits) - 1;
    const unsigned full = info.colorSpace == IM_BINARY ? 1
                          : info.dataType == IM_USHORT ? 65535
                                                       : 255;
    Levels levels;
    if (component.isSigned) levels.offset = 1 << (component.bits - 1);
    levels.values = channel.palette;
    if (levels.values.empty()) {
        levels.values.resize(size_t{1} << component.bits);
        for (size_t i = 0; i < levels.values.size(); ++i)
            levels.values[i] = static_cast<uint16_t>(i);
    }
    for (uint16_t& value : levels.values) {
        const unsigned scaled = (std::min<unsigned>(value, highest) * full + highest / 2) / highest;
        value = static_cast<uint16_t>(info.colorSpace == IM_CMYK ? full - scaled : scaled);
    }
    return levels;
}

// For each place of an axis of the page the nearest sample at or before it of a component.
// `start` is where the image begins on the grid, `step` and `own` tell how far apart the samples of
// page and component are.
std::vector<size_t> placesOf(int count, uint32_t start, uint32_t step, uint32_t own, int samples) {
    std::vector<size_t> places(static_cast<size_t>(count));
    const uint64_t first = (uint64_t{start} + step - 1) / step * step;
    const uint64_t firstOwn = (uint64_t{start} + own - 1) / own;
    for (size_t i = 0; i < places.size(); ++i) {
        const uint64_t at = (first + i * step) / own;
        places[i] = static_cast<size_t>(
            std::min(at < firstOwn ? 0 : at - firstOwn, static_cast<uint64_t>(samples) - 1));
    }
    return places;
}

template <class Sample>
void fillPlane(const Jp2Header& header, size_t plane, const opj_image_comp_t& decoded,
               imImage& image) {
    const Jp2Channel& channel = header.planes[plane];
    const Jp2Component& own = header.components[channel.component];
    const Jp2Component& page = header.components[header.planes[0].component];
    const Levels levels = levelsOf(channel, own, header.info);
    const auto columns = placesOf(image.width, header.grid.left, page.stepX, own.stepX, own.width);
    const auto rows = placesOf(image.height, header.grid.top, page.stepY, own.stepY, own.height);
    for (int y = 0; y < image.height; ++y) {
        const OPJ_INT32* const from =
            decoded.data + rows[static_cast<size_t>(y)] * static_cast<size_t>(own.width);
        auto* const to = reinterpret_cast<Sample*>(rowFromTop(image, static_cast<int>(plane), y));
        for (size_t x = 0; x < columns.size(); ++x)
            to[x] = static_cast<Sample>(levels.of(from[columns[x]]));
    }
}

// From luma and chromas to R, G, B, by the factors of ITU-R BT.601.
template <class Sample>
void convertYcc(imImage& image) {
    const int highest = sizeof(Sample) == 1 ? 255 : 65535;
    auto* const first = static_cast<Sample*>(image.data[0]);
    auto* const second = static_cast<Sample*>(image.data[1]);
    auto* const third = static_cast<Sample*>(image.data[2]);
    const auto stored = [highest](int value) {
        return static_cast<Sample>(std::clamp(value, 0, highest));
    };
    for (size_t i = 0; i < planeSamples(image); ++i) {
        const int y = first[i], cb = second[i] - (highest / 2 + 1),
                  cr = third[i] - (highest / 2 + 1);
        first[i] = stored(y + static_cast<int>(1.402 * cr));
        second[i] = stored(y - static_cast<int>(0.344 * cb + 0.714 * cr));
        third[i] = stored(y + static_cast<int>(1.772 * cb));
    }
}

class Jp2Reader : public Reader {
  public:
    explicit Jp2Reader(BinaryFile& file)
        : header_(readJp2Header(file)),
          codestream_(partOf(file, header_.codestreamAt, header_.codestreamSize)) {}

    int pageCount() override { return 1; }

    PageInfo pageInfo(int) override {
        // A page of a single colour takes some 250 bytes at any size, so that the first bytes
        // cannot be held against it.
        checkPage(header_.info, header_.codestreamSize + 2048, 65536.0);
        // The codec holds all samples as four bytes each.
        constexpr uint64_t mostSamples = uint64_t{1} << 29;
        uint64_t samples = 0;
        for (const Jp2Component& c : header_.components) {
            require(static_cast<uint64_t>(c.width) <=
                        (mostSamples - samples) / static_cast<uint64_t>(c.height),
                    IM_ERR_MEM);
            samples += static_cast<uint64_t>(c.width) * static_cast<uint64_t>(c.height);
        }
        return header_.info;
    }

    void readPage(int, imImage& image) override {
        checkJp2Work(*codestream_, header_);
        const CodecImage decoded = decode();
        for (size_t p = 0; p < header_.planes.size(); ++p) {
            const opj_image_comp_t& component = decoded->comps[header_.planes[p].component];
            if (image.data_type == IM_BYTE)
                fillPlane<uint8_t>(header_, p, component, image);
            else
                fillPlane<uint16_t>(header_, p, component, image);
        }
        if (!header_.isYcc) return;
        if (image.data_type == IM_BYTE)
            convertYcc<uint8_t>(image);
        else
            convertYcc<uint16_t>(image);
    }

    std::string compression() override { return "JPEG2000"; }

  private:
    // The boxes are read already: the codec gets the codestream alone.
    CodecImage decode() {
        const CodecHandle codec(opj_create_decompress(OPJ_CODEC_J2K));
        require(codec != nullptr, IM_ERR_MEM);
        silence(codec.get());
        opj_dparameters_t parameters;
        opj_set_default_decoder_parameters(&parameters);
        require(opj_setup_decoder(codec.get(), &parameters) != OPJ_FALSE, IM_ERR_MEM);
        const StreamHandle stream = inputFrom(*codestream_);
        opj_image_t* made = nullptr;
        const bool hasHeader = opj_read_header(stream.get(), codec.get(), &made) != OPJ_FALSE;
        CodecImage image(made);
        require(hasHeader && fits(*image), IM_ERR_ACCESS);
        require(opj_decode(codec.get(), stream.get(), image.get()) != OPJ_FALSE, IM_ERR_ACCESS);
        require(fits(*image), IM_ERR_ACCESS);
        for (const Jp2Channel& channel : header_.planes)
            require(image->comps[channel.component].data != nullptr, IM_ERR_ACCESS);
        return image;
    }

    // Whether the codec has understood the same sizes.
    bool fits(const opj_image_t& image) const {
        if (image.numcomps != header_.components.size()) return false;
        for (size_t i = 0; i < image.numcomps; ++i)
            if (image.comps[i].w != static_cast<OPJ_UINT32>(header_.components[i].width) ||
                image.comps[i].h != static_cast<OPJ_UINT32>(header_.components[i].height))
                return false;
        return true;
    }

    Jp2Header header_;
    std::unique_ptr<BinaryFile> codestream_;
};

// ---- Writing

CodecImage codecImageOf(const imImage& image) {
    opj_image_cmptparm_t parameters[3] = {};
    for (opj_image_cmptparm_t& p : parameters) {
        p.dx = p.dy = 1;
        p.w = static_cast<OPJ_UINT32>(image.width);
        p.h = static_cast<OPJ_UINT32>(image.height);
        p.prec = image.data_type == IM_BYTE ? 8 : 16;
    }
    CodecImage result(opj_image_create(static_cast<OPJ_UINT32>(image.depth), parameters,
                                       image.depth == 1 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB));
    require(result != nullptr, IM_ERR_MEM);
    result->x1 = parameters[0].w;
    result->y1 = parameters[0].h;
    for (int p = 0; p < image.depth; ++p) {
        OPJ_INT32* to = result->comps[p].data;
        for (int y = 0; y < image.height; ++y, to += image.width)
            if (image.data_type == IM_BYTE)
                std::copy_n(rowFromTop(image, p, y), image.width, to);
            else
                std::copy_n(wideRowFromTop(image, p, y), image.width, to);
    }
    return result;
}

class Jp2Writer : public Writer {
  public:
    explicit Jp2Writer(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string&, const Attributes&) override {
        const CodecImage samples = codecImageOf(image);
        const CodecHandle codec(opj_create_compress(OPJ_CODEC_JP2));
        require(codec != nullptr, IM_ERR_MEM);
        silence(codec.get());
        opj_cparameters_t parameters;
        opj_set_default_encoder_parameters(&parameters);
        parameters.tcp_numlayers = 1;  // of rate 0: lossless
        parameters.cp_disto_alloc = 1;
        parameters.tcp_mct = image.depth == 3 ? 1 : 0;
        // A tiny image cannot be halved so often.
        const int shorter = std::min(image.width, image.height);
        while (parameters.numresolution > 1 && shorter >> (parameters.numresolution - 1) == 0)
            --parameters.numresolution;
        require(opj_setup_encoder(codec.get(), &parameters, samples.get()) != OPJ_FALSE,
                IM_ERR_DATA);
        const StreamHandle stream = outputTo(file_);
        require(opj_start_compress(codec.get(), samples.get(), stream.get()) != OPJ_FALSE &&
                    opj_encode(codec.get(), stream.get()) != OPJ_FALSE &&
                    opj_end_compress(codec.get(), stream.get()) != OPJ_FALSE,
                IM_ERR_ACCESS);
    }

  private:
    BinaryFile& file_;
};

bool probe(Bytes head, BinaryFile&) {
    static constexpr uint8_t box[12] = {0, 0, 0, 12, 'j', 'P', ' ', ' ', 0x0d, 0x0a, 0x87, 0x0a};
    static constexpr uint8_t codestream[4] = {0xff, 0x4f, 0xff, 0x51};
    const auto startsWith = [head](const uint8_t* mark, size_t size) {
        return head.size >= size && std::memcmp(head.data, mark, size) == 0;
    };
    return startsWith(box, sizeof box) || startsWith(codestream, sizeof codestream);
}

int storedSpace(int colorSpace, int dataType, const std::string&) {
    if (dataType != IM_BYTE && dataType != IM_USHORT) return -1;
    return colorSpace == IM_GRAY || colorSpace == IM_BINARY ? IM_GRAY : IM_RGB;
}

}  // namespace

const Format kJp2 = {
    "JP2",       "JPEG 2000", "*.jp2",           {"JPEG2000"},
    false,       probe,       openAs<Jp2Reader>, createAs<Jp2Writer>,
    storedSpace,
};

}  // namespace im
