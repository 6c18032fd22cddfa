// Image files: the public calls over the formats. This is where inner errors become codes.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "bin_file.h"
#include "error.h"
#include "format.h"
#include "image.h"

struct imFile {
    imBinFile source;  ///< outlives reader and writer
    const im::Format* format = nullptr;
    std::unique_ptr<im::Reader> reader;  ///< of a file opened for reading
    std::unique_ptr<im::Writer> writer;  ///< of a file made for writing
    im::Attributes attributes;
    std::string compression;  ///< of the images to write
    int written = 0;          ///< images so far
    bool broken = false;      ///< an image was written in part
};

namespace {

/// Runs `work` and turns what it throws into a code.
template <class Work>
int codeOf(const Work& work) noexcept {
    try {
        work();
        return IM_ERR_NONE;
    } catch (const im::Error& e) {
        return e.code;
    } catch (const std::bad_alloc&) {
        return IM_ERR_MEM;
    } catch (const std::exception&) {  // a length beyond what a container takes
        return IM_ERR_MEM;
    }
}

const im::Format* recognise(im::BinaryFile& file) {
    uint8_t head[im::kHeadBytes];
    file.seek(0);
    const im::Bytes bytes{head, file.read(head, sizeof head)};
    for (const im::Format* const* f = im::kFormats; *f != nullptr; ++f) {
        if ((*f)->probe == nullptr || !(*f)->probe(bytes, file)) continue;
        file.seek(0);
        return *f;
    }
    return nullptr;
}

imFile* handOut(int code, std::unique_ptr<imFile> file, int* error) {
    if (error != nullptr) *error = code;
    return code == IM_ERR_NONE ? file.release() : nullptr;
}

im::PageInfo pageInfoOf(imFile& file, int index) {
    im::require(file.reader != nullptr, IM_ERR_ACCESS);
    im::require(index >= 0 && index < file.reader->pageCount(), IM_ERR_ACCESS);
    return file.reader->pageInfo(index);
}

/// Room for an image in a file, roughly.
uint64_t expectedBytes(const imImage& image, const std::string& compression) {
    const uint64_t samples = static_cast<uint64_t>(image.line_size) *
                             static_cast<uint64_t>(image.height) *
                             static_cast<uint64_t>(image.depth);
    const uint64_t packed = image.color_space == IM_BINARY ? samples / 8 : samples;
    constexpr uint64_t headers = 4096, usualRatio = 8;
    return headers + (compression == "NONE" ? packed + packed / 64 : packed / usualRatio);
}

// Nothing can follow a part of an image. Kinds that a writer does not have are refused before it
// has written anything.
void writePage(imFile& file, const imImage& image) {
    im::require(!file.broken, IM_ERR_ACCESS);
    file.broken = true;
    file.source.bytes->expect(expectedBytes(image, file.compression));
    try {
        file.writer->writePage(image, file.compression, file.attributes);
        file.broken = false;
    } catch (const im::Error& e) {
        file.broken = e.code != IM_ERR_DATA && e.code != IM_ERR_COMPRESS;
        throw;
    }
}

void save(imFile& file, const imImage& image) {
    const int space =
        file.format->storedSpace(image.color_space, image.data_type, file.compression);
    im::require(space >= 0, IM_ERR_DATA);
    im::require(file.written == 0 || file.format->multiple, IM_ERR_DATA);
    if (space == image.color_space) {
        writePage(file, image);
    } else {
        const int type =
            space == IM_MAP || space == IM_BINARY ? static_cast<int>(IM_BYTE) : image.data_type;
        const im::ImageHandle stored = im::makeImage(image.width, image.height, space, type);
        const int code = imConvertColorSpace(&image, stored.get());
        if (code != IM_ERR_NONE) im::fail(static_cast<imErrorCode>(code));
        writePage(file, *stored);
    }
    ++file.written;
}

}  // namespace

imFile* imFileOpen(const char* file_name, int* error) {
    std::unique_ptr<imFile> file;
    const int code = codeOf([&] {
        file = std::make_unique<imFile>();
        file->source.bytes = im::openBinaryFile(file_name);
        im::require(file->source.bytes != nullptr, IM_ERR_OPEN);
        file->format = recognise(*file->source.bytes);
        im::require(file->format != nullptr, IM_ERR_FORMAT);
        file->reader = file->format->open(*file->source.bytes);
        im::require(file->reader->pageCount() > 0, IM_ERR_FORMAT);
    });
    return handOut(code, std::move(file), error);
}

imFile* imFileNew(const char* file_name, const char* format, int* error) {
    std::unique_ptr<imFile> file;
    const int code = codeOf([&] {
        file = std::make_unique<imFile>();
        file->format = im::findFormat(format);
        im::require(file->format != nullptr && file->format->create != nullptr, IM_ERR_FORMAT);
        file->source.bytes = im::createBinaryFile(file_name);
        im::require(file->source.bytes != nullptr, IM_ERR_OPEN);
        file->compression = file->format->compressions[0];
        file->writer = file->format->create(*file->source.bytes);
    });
    return handOut(code, std::move(file), error);
}

int imFileFinish(imFile* file) {
    if (file == nullptr || file->writer == nullptr) return IM_ERR_NONE;
    file->writer.reset();
    const bool whole = file->written > 0 && !file->broken;
    return whole && file->source.bytes->finish() ? IM_ERR_NONE : IM_ERR_ACCESS;
}

void imFileAbandon(imFile* file) {
    if (file != nullptr) file->broken = true;
}

void imFileClose(imFile* file) {
    const std::unique_ptr<imFile> owned(file);
    imFileFinish(file);
}

void imFileGetInfo(imFile* file, char* format, char* compression, int* image_count) {
    if (file == nullptr) return;
    if (format != nullptr) std::strcpy(format, file->format->name);
    std::string text = file->compression;
    int count = file->written;
    if (file->reader != nullptr)
        codeOf([&] {
            count = file->reader->pageCount();
            text = file->reader->compression();
        });
    if (compression != nullptr) std::strcpy(compression, text.substr(0, 19).c_str());
    if (image_count != nullptr) *image_count = count;
}

int imFileIsCutOff(imFile* file) {
    return file != nullptr && file->reader != nullptr && file->reader->isCutOff() ? 1 : 0;
}

int imFileSetInfo(imFile* file, const char* compression) {
    if (file == nullptr || file->writer == nullptr) return IM_ERR_COMPRESS;
    const char* const* names = file->format->compressions;
    if (compression != nullptr)
        while (*names != nullptr && !im::sameName(*names, compression))
            ++names;
    if (*names == nullptr) return IM_ERR_COMPRESS;
    return codeOf([&] { file->compression = *names; });
}

int imFileReadImageInfo(imFile* file, int index, int* width, int* height, int* color_mode,
                        int* data_type) {
    if (file == nullptr) return IM_ERR_ACCESS;
    return codeOf([&] {
        const im::PageInfo info = pageInfoOf(*file, index);
        file->attributes = file->reader->attributes();
        if (width != nullptr) *width = info.width;
        if (height != nullptr) *height = info.height;
        if (color_mode != nullptr) *color_mode = info.colorSpace | info.flags;
        if (data_type != nullptr) *data_type = info.dataType;
    });
}

imImage* imFileLoadImage(imFile* file, int index, int* error) {
    im::ImageHandle image;
    const int code = file == nullptr ? static_cast<int>(IM_ERR_ACCESS) : codeOf([&] {
        const im::PageInfo info = pageInfoOf(*file, index);
        file->attributes = file->reader->attributes();
        im::ImageHandle page =
            im::makeImage(info.width, info.height, info.colorSpace, info.dataType);
        file->reader->readPage(index, *page);
        image = std::move(page);
    });
    if (error != nullptr) *error = code;
    return image.release();
}

int imFileSaveImage(imFile* file, const imImage* image) {
    if (file == nullptr || file->writer == nullptr) return IM_ERR_ACCESS;
    if (image == nullptr) return IM_ERR_DATA;
    return codeOf([&] { save(*file, *image); });
}

void imFileGetAttributeList(imFile* file, char** names, int* count) {
    if (count == nullptr) return;
    int available = 0;
    if (file != nullptr)
        for (const im::Attribute& a : file->attributes.all()) {
            if (names != nullptr && (*count < 1 || available < *count))
                names[available] = const_cast<char*>(a.name.c_str());  // NOLINT: C-style face
            ++available;
        }
    *count = available;
}

const void* imFileGetAttribute(imFile* file, const char* name, int* data_type, int* count) {
    const im::Attribute* const found =
        file == nullptr || name == nullptr ? nullptr : file->attributes.find(name);
    if (found == nullptr) return nullptr;
    if (data_type != nullptr) *data_type = found->dataType;
    if (count != nullptr) *count = found->count;
    return found->bytes.data();
}

void imFileSetAttribute(imFile* file, const char* name, int data_type, int count,
                        const void* data) {
    if (file == nullptr || name == nullptr) return;
    codeOf([&] { file->attributes.set(name, data_type, count, data); });
}

int imFileGetWriteImageDataLen(imFile* file) {
    return file == nullptr || file->writer == nullptr ? 0 : imBinFileSize(&file->source);
}

imBinFile* imFileHandle(imFile* file) {
    return file == nullptr ? nullptr : &file->source;
}
