#include "codec_peers.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <jpeglib.h>
#include <png.h>
#include <tiffio.h>

namespace bench::peers {
namespace {

/// A file in memory, with the callbacks that libpng and libtiff ask for.
struct MemoryFile {
    Bytes* bytes;
    size_t at = 0;

    size_t read(void* to, size_t count) {
        const size_t got = at < bytes->size() ? std::min(count, bytes->size() - at) : 0;
        std::memcpy(to, bytes->data() + at, got);
        at += got;
        return got;
    }
    size_t write(const void* from, size_t count) {
        if (at + count > bytes->size()) bytes->resize(at + count);
        std::memcpy(bytes->data() + at, from, count);
        at += count;
        return count;
    }
};

Bytes& writable(const Bytes& bytes) {
    return const_cast<Bytes&>(bytes);  // NOLINT: only read
}

TIFF* openTiff(MemoryFile& file, const char* mode) {
    return TIFFClientOpen(
        "memory", mode, &file,
        [](thandle_t h, void* to, tmsize_t n) {
            return static_cast<tmsize_t>(
                static_cast<MemoryFile*>(h)->read(to, static_cast<size_t>(n)));
        },
        [](thandle_t h, void* from, tmsize_t n) {
            return static_cast<tmsize_t>(
                static_cast<MemoryFile*>(h)->write(from, static_cast<size_t>(n)));
        },
        [](thandle_t h, toff_t offset, int whence) -> toff_t {
            auto& f = *static_cast<MemoryFile*>(h);
            f.at = static_cast<size_t>(offset) + (whence == SEEK_CUR   ? f.at
                                                  : whence == SEEK_END ? f.bytes->size()
                                                                       : 0);
            return f.at;
        },
        [](thandle_t) { return 0; },
        [](thandle_t h) -> toff_t { return static_cast<MemoryFile*>(h)->bytes->size(); },
        [](thandle_t h, void** base, toff_t* size) {
            auto& f = *static_cast<MemoryFile*>(h);
            *base = f.bytes->data();
            *size = f.bytes->size();
            return 1;
        },
        [](thandle_t, void*, toff_t) {});
}

}  // namespace

void decodeJpeg(const Bytes& file, Bytes& pixels) {
    jpeg_decompress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, file.data(), file.size());
    jpeg_read_header(&codec, TRUE);
    jpeg_start_decompress(&codec);
    const size_t rowBytes =
        size_t{codec.output_width} * static_cast<size_t>(codec.output_components);
    while (codec.output_scanline < codec.output_height) {
        JSAMPROW row = pixels.data() + codec.output_scanline * rowBytes;
        jpeg_read_scanlines(&codec, &row, 1);
    }
    jpeg_finish_decompress(&codec);
    jpeg_destroy_decompress(&codec);
}

void encodeJpeg(Page page, const Bytes& pixels, int quality, Bytes& file) {
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    unsigned char* block = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&codec, &block, &size);
    codec.image_width = static_cast<JDIMENSION>(page.width);
    codec.image_height = static_cast<JDIMENSION>(page.height);
    codec.input_components = page.samples;
    codec.in_color_space = page.samples == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, quality, TRUE);
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW row = writable(pixels).data() + codec.next_scanline * page.rowBytes();
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    file.assign(block, block + size);
    std::free(block);  // NOLINT: the codec's malloc
}

void decodePng(const Bytes& file, Bytes& pixels) {
    png_structp codec = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(codec);
    MemoryFile source{&writable(file)};
    png_set_read_fn(codec, &source, [](png_structp p, png_bytep to, png_size_t n) {
        static_cast<MemoryFile*>(png_get_io_ptr(p))->read(to, n);
    });
    png_read_info(codec, info);
    const size_t rowBytes = png_get_rowbytes(codec, info);
    const png_uint_32 height = png_get_image_height(codec, info);
    for (png_uint_32 y = 0; y < height; ++y)
        png_read_row(codec, pixels.data() + y * rowBytes, nullptr);
    png_read_end(codec, nullptr);
    png_destroy_read_struct(&codec, &info, nullptr);
}

void encodePng(Page page, const Bytes& pixels, Bytes& file) {
    png_structp codec = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(codec);
    file.clear();
    MemoryFile sink{&file};
    png_set_write_fn(
        codec, &sink,
        [](png_structp p, png_bytep from, png_size_t n) {
            static_cast<MemoryFile*>(png_get_io_ptr(p))->write(from, n);
        },
        nullptr);
    png_set_IHDR(codec, info, static_cast<png_uint_32>(page.width),
                 static_cast<png_uint_32>(page.height), page.bits,
                 page.samples == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(codec, info);
    for (int y = 0; y < page.height; ++y)
        png_write_row(codec, pixels.data() + static_cast<size_t>(y) * page.rowBytes());
    png_write_end(codec, nullptr);
    png_destroy_write_struct(&codec, &info);
}

void decodeTiff(const Bytes& file, Bytes& pixels) {
    MemoryFile source{&writable(file)};
    TIFF* const tiff = openTiff(source, "r");
    unsigned char* to = pixels.data();
    for (tstrip_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip)
        to += TIFFReadEncodedStrip(tiff, strip, to, -1);
    TIFFClose(tiff);
}

void encodeTiff(Page page, const Bytes& pixels, int compression, Bytes& file) {
    file.clear();
    MemoryFile sink{&file};
    TIFF* const tiff = openTiff(sink, "w");
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, page.samples);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
                 page.samples == 3 ? PHOTOMETRIC_RGB
                 : page.bits == 1  ? PHOTOMETRIC_MINISWHITE
                                   : PHOTOMETRIC_MINISBLACK);
    const int rowsPerStrip =
        page.bits == 1 ? page.height : static_cast<int>(TIFFDefaultStripSize(tiff, 0));
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
    tstrip_t strip = 0;
    for (int y = 0; y < page.height; y += rowsPerStrip, ++strip) {
        const auto rows = static_cast<size_t>(std::min(rowsPerStrip, page.height - y));
        TIFFWriteEncodedStrip(tiff, strip,
                              writable(pixels).data() + static_cast<size_t>(y) * page.rowBytes(),
                              static_cast<tmsize_t>(rows * page.rowBytes()));
    }
    TIFFClose(tiff);
}

}  // namespace bench::peers
