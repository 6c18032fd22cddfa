// Reading and writing whole pages in memory: the toolkit with its planes beside the bare codecs
// with their own buffers.
#include <algorithm>
#include <functional>
#include <memory>

#include <tiff.h>

#include "bench_pages.h"
#include "bench_rows.h"
#include "codec_peers.h"
#include "im.h"

namespace bench {
namespace {

struct Destroy {
    void operator()(imImage* image) const { imImageDestroy(image); }
    void operator()(imFile* file) const { imFileClose(file); }
};
using Record = std::unique_ptr<imImage, Destroy>;
using File = std::unique_ptr<imFile, Destroy>;

/// Runs `work` with the memory module current.
template <class Work>
auto inMemory(const Work& work) {
    const int before = imBinFileSetCurrentModule(IM_MEMORYFILE);
    auto result = work();
    imBinFileSetCurrentModule(before);
    return result;
}

Record load(Bytes& bytes) {
    imBinMemoryFileName block{bytes.data(), static_cast<int>(bytes.size()), 1.1F};
    return inMemory([&] {
        const File file(imFileOpen(reinterpret_cast<const char*>(&block), nullptr));
        return Record(file == nullptr ? nullptr : imFileLoadImage(file.get(), 0, nullptr));
    });
}

/// Hands the file to `take` while it is there.
template <class Take>
void save(const imImage& image, const char* format, const char* compression, const Take& take) {
    imBinMemoryFileName block{nullptr, 2048, 1.1F};
    inMemory([&] {
        const File file(imFileNew(reinterpret_cast<const char*>(&block), format, nullptr));
        const int quality = 90;
        imFileSetAttribute(file.get(), "JPEGQuality", IM_INT, 1, &quality);
        imFileSetInfo(file.get(), compression);
        imFileSaveImage(file.get(), &image);
        take(block.buffer, block.buffer + imFileGetWriteImageDataLen(file.get()));
        return 0;
    });
    imBinMemoryRelease(block.buffer);
}

void saveOnly(const imImage& image, const char* format, const char* compression) {
    save(image, format, compression, [](const unsigned char*, const unsigned char*) {});
}

/// The page of a record as the codecs have it.
peers::Page pageOf(const imImage& image) {
    return {image.width, image.height, image.depth, image.color_space == IM_BINARY ? 1 : 8};
}

Bytes pixelsOf(const imImage& image, bool whiteIsZero) {
    const peers::Page page = pageOf(image);
    Bytes pixels(page.rowBytes() * static_cast<size_t>(page.height));
    for (int p = 0; p < image.depth; ++p)
        for (int y = 0; y < image.height; ++y) {
            const auto* const row =
                static_cast<const unsigned char*>(image.data[p]) +
                static_cast<size_t>(image.height - 1 - y) * static_cast<size_t>(image.width);
            unsigned char* const out = pixels.data() + static_cast<size_t>(y) * page.rowBytes();
            for (size_t x = 0; x < static_cast<size_t>(image.width); ++x)
                if (page.bits == 8)
                    out[x * static_cast<size_t>(page.samples) + static_cast<size_t>(p)] = row[x];
                else if ((row[x] != 0) != whiteIsZero)
                    out[x / 8] = static_cast<unsigned char>(out[x / 8] | 128 >> x % 8);
        }
    return pixels;
}

Record recordOf(const PageSet& page, int space) {
    Record image(imImageCreate(page.size.width, page.size.height, space, IM_BYTE));
    const Bytes& samples = space == IM_RGB ? page.colour : page.grey;
    auto* const to = static_cast<unsigned char*>(image->data[0]);
    std::transform(samples.begin(), samples.end(), to, [space](unsigned char v) {
        return space == IM_BINARY ? static_cast<unsigned char>(v > 128) : v;
    });
    return image;
}

struct Codec {
    const char* format;
    const char* compression;
    const char* peer;
    int space;
    bool whiteIsZero;
    std::function<void(const Bytes&, Bytes&)> decode;
    std::function<void(peers::Page, const Bytes&, Bytes&)> encode;
};

void addRowsOf(const PageSet& page, const Codec& codec) {
    const std::shared_ptr<imImage> image = recordOf(page, codec.space);
    const auto pixels = std::make_shared<Bytes>(pixelsOf(*image, codec.whiteIsZero));
    const auto file = std::make_shared<Bytes>();
    save(*image, codec.format, codec.compression,
         [&](const unsigned char* from, const unsigned char* to) { file->assign(from, to); });
    const auto decoded = std::make_shared<Bytes>(pixels->size());
    const std::string name = std::string(codec.format) + " " + codec.compression;
    const std::string kind = page.name + " " + imColorModeSpaceName(codec.space);
    const peers::Page shape = pageOf(*image);
    addRow({"read " + name, kind, [=] { load(*file); }, codec.peer,
            [=] { codec.decode(*file, *decoded); }, 1.15,
            [=] {
                const Record ours = load(*file);
                return ours != nullptr && pixelsOf(*ours, codec.whiteIsZero) == *decoded;
            }});
    addRow({"write " + name, kind, [=] { saveOnly(*image, codec.format, codec.compression); },
            codec.peer,
            [=] {
                Bytes encoded;
                codec.encode(shape, *pixels, encoded);
            },
            1.15,
            [=] {  // what each wrote, decoded by the peer, is the same picture
                Bytes encoded, ours(pixels->size()), theirs(pixels->size());
                codec.encode(shape, *pixels, encoded);
                codec.decode(*file, ours);
                codec.decode(encoded, theirs);
                return ours == theirs;
            }});
}

}  // namespace

void addImFileRows() {
    const auto jpeg = [](peers::Page p, const Bytes& from, Bytes& to) {
        peers::encodeJpeg(p, from, 90, to);
    };
    const auto tiff = [](int compression) {
        return [compression](peers::Page p, const Bytes& from, Bytes& to) {
            peers::encodeTiff(p, from, compression, to);
        };
    };
    const PageSet& page = pages().back();
    for (const Codec& codec : {
             Codec{"JPEG", "JPEG", "libjpeg-turbo", IM_RGB, false, peers::decodeJpeg, jpeg},
             Codec{"JPEG", "JPEG", "libjpeg-turbo", IM_GRAY, false, peers::decodeJpeg, jpeg},
             Codec{"PNG", "DEFLATE", "libpng", IM_GRAY, false, peers::decodePng, peers::encodePng},
             Codec{"PNG", "DEFLATE", "libpng", IM_BINARY, false, peers::decodePng,
                   peers::encodePng},
             Codec{"TIFF", "CCITTFAX4", "libtiff", IM_BINARY, true, peers::decodeTiff,
                   tiff(COMPRESSION_CCITTFAX4)},
             Codec{"TIFF", "LZW", "libtiff", IM_GRAY, false, peers::decodeTiff,
                   tiff(COMPRESSION_LZW)},
             Codec{"TIFF", "NONE", "libtiff", IM_GRAY, false, peers::decodeTiff,
                   tiff(COMPRESSION_NONE)},
         })
        addRowsOf(page, codec);
}

}  // namespace bench
