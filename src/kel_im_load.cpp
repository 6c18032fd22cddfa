// The load pipeline: pages of a file or of a memory block into records.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "kel_ImageFileOper.h"
#include "kel_ImageStorage.h"
#include "kel_ImageStorage_internal.h"
#include "kel_debug.h"
#include "kel_im.h"
#include "kel_im_imagefile_info.h"
#include "kel_im_internal.h"
#include "page_repairs.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr size_t kFormatChars = 20, kCompressionChars = 32, kRateChars = 20;

enum Result {
    kLoaded = 0,
    kNotOpened = 1,
    kBadRange = 3,
    kTooManyPages = 4,
    kNotDecoded = 5,
    kWideCmyk = 6,
    kNotStored = 7,
    kBadOperation = -1,
    kNoBlockOrPage = -2,
    kNoPath = -3,
    kBadLimit = -4,
};

template <class... Values>
void debugLine(const char* format, Values... values) {
    char line[128];
    std::snprintf(line, sizeof line, format, values...);
    OutputDebugStringA(line);
}

/// As much of a text as a field holds, terminated.
template <size_t N>
void storeText(char (&field)[N], const char* text) {
    std::snprintf(field, N, "%s", text);
}

struct Limit {
    bool isOn;
    int width, height;
};

struct Pages {
    int first, last;
};

/// A source that is open as an image file, and given back with its end.
class ImSource {
  public:
    ImSource(const char* fileName, unsigned char* buffer, int bufferLen, int operType)
        : fileName_(fileName), buffer_(buffer), bufferLen_(bufferLen), operType_(operType) {
        if (operType == kFromPath) {
            file_ = imFileOpen(fileName, &error_);
            return;
        }
        // The toolkit gets a copy, never the caller's block.
        block_ = copyOfBlock(buffer, bufferLen);
        oldModule_ = imBinFileSetCurrentModule(IM_MEMORYFILE);
        file_ = imFileOpen(nameOf(block_), &error_);
    }
    ImSource(const ImSource&) = delete;
    ImSource& operator=(const ImSource&) = delete;
    ~ImSource() { kel_ReleaseIM_MemoryFile(file_, block_, oldModule_, operType_); }

    bool isOpen() const { return file_ != nullptr && error_ == IM_ERR_NONE; }
    int error() const { return error_; }
    imFile* file() const { return file_; }

    /// For the test of top-down BMPs.
    FileHead head() const {
        if (operType_ == kFromPath) return headOfFile(fileName_);
        return bufferLen_ > kBmpHeadBytes ? headOfBlock(buffer_, bufferLen_) : FileHead{};
    }

  private:
    const char* fileName_;
    const unsigned char* buffer_;
    int bufferLen_, operType_;
    imBinMemoryFileName block_{nullptr, 0, 1.1F};
    int oldModule_ = IM_FILE;
    int error_ = IM_ERR_NONE;
    imFile* file_ = nullptr;
};

struct FileFacts {
    char format[kFormatChars] = "";
    char compression[kCompressionChars] = "";
    int images = 0;
};

// The quality of a JPEG is known once it is decoded, and then stands in the compression text.
void storeCompression(imFile* file, const FileFacts& facts, char (&text)[kRateChars]) {
    if (std::strcmp(facts.format, "JPEG") == 0 && std::strcmp(facts.compression, "JPEG") == 0) {
        char format[kFormatChars];
        int count = 0;
        imFileGetInfo(file, format, text, &count);
    } else {
        storeText(text, facts.compression);
    }
}

int loadPage(const ImSource& source, const FileFacts& facts, int index, const Limit& limit,
             tagImage& record) {
    int error = IM_ERR_NONE;
    ImImageHandle page(imFileLoadImage(source.file(), index, &error));
    if (page == nullptr) {
        PrintError(error);
        return kNotDecoded;
    }
    char compression[kRateChars] = "";
    storeCompression(source.file(), facts, compression);
    FileHead head = source.head();
    if (head.isKnown) CaliBMPDIBDirect(head.bytes, page.get());
    // The order counts: upright, then smaller, then in colour. A palette is scaled as indexes.
    if (limit.isOn) page = limited(std::move(page), limit.width, limit.height);
    if (page == nullptr) return kNotStored;
    if (isRefusedCmyk(*page)) return kWideCmyk;
    if (page->color_space == IM_CMYK || page->color_space == IM_MAP) page = asRgb(*page);
    if (page == nullptr) return kNotStored;
    kel_GetFileAttributes(source.file(), &record);
    const int result =
        KelAllocAndSetKelImage(&record, page.get(), facts.format, compression, facts.images, index);
    return result == 0 ? kLoaded : kNotStored;
}

// The pages to load, and their number in `*imageNo`.
int selectPages(bool single, int imageCount, int* imageNo, Pages* pages) {
    if (single) {
        *pages = {0, 0};
    } else {
        const int result =
            kel_CalLoadImagePageNo(*imageNo, imageCount, &pages->first, &pages->last);
        if (result != 0) {
            debugLine("[Kel_LoadImageFiles2Buffer_Mult] imageNo! RLT[%d]\n", result);
            return result == -1 ? kTooManyPages : kBadRange;
        }
    }
    *imageNo = pages->last - pages->first + 1;
    return kLoaded;
}

}  // namespace

int Kel_Im_LoadReadFile2Buffer(const char* fileName, unsigned char* buffer, int bufferLen,
                               int operType, bool single, tagImage** arr, int* imageNo,
                               bool limited, int limitWidth, int limitHeight) {
    if (static_cast<unsigned>(operType) > kFromPath) {
        debugLine("Kel_Im_LoadReadFile2Buffer operType[%d] error!\n", operType);
        return kBadOperation;
    }
    if (operType == kFromPath && fileName == nullptr) return kNoPath;
    if (operType == kFromMemory && (buffer == nullptr || bufferLen < 1)) return kNoBlockOrPage;
    if (limited && (limitWidth < 2 || limitHeight < 2)) return kBadLimit;

    const ImSource source(fileName, buffer, bufferLen, operType);
    if (!source.isOpen()) {
        PrintError(source.error());
        return kNotOpened;
    }
    FileFacts facts;
    imFileGetInfo(source.file(), facts.format, facts.compression, &facts.images);
    if (facts.images < 1) {
        debugLine("image_count is[%d] is too small!\n", facts.images);
        return kNoBlockOrPage;
    }
    Pages pages{};
    int result = selectPages(single, facts.images, imageNo, &pages);
    if (result != kLoaded) return result;

    auto records = std::make_unique<tagImage[]>(static_cast<size_t>(*imageNo));
    for (int i = 0; i < *imageNo; ++i)
        KelInitKelImage(&records[static_cast<size_t>(i)]);
    *arr = records.release();
    const Limit limit{limited, limitWidth, limitHeight};
    try {
        for (int i = 0; i < *imageNo && result == kLoaded; ++i)
            result = loadPage(source, facts, pages.first + i, limit, (*arr)[i]);
    } catch (const std::bad_alloc&) {
        result = kNotStored;
    }
    if (result != kLoaded) KelReleaseImageArrs(arr, imageNo);
    return result;
}

int kel_CalLoadImagePageNo(int imageNo, int imageCount, int* first, int* last) {
    if (imageNo == 0) {
        *first = 0;
        *last = std::min(imageCount, KEL_LOADIMG_MULT_MAXNO) - 1;
        return 0;
    }
    const int start = static_cast<int>(imageNo * 0.0001);
    const int end = imageNo - start * 10000;
    *first = start - 1;
    *last = end - 1;
    if (*first < 0 || *last < 0 || *last < *first) return 1;
    if (std::max(*first, *last) >= imageCount) return 2;
    if (*last - *first > 9) return -1;
    return 0;
}

int kel_SetLimitSize(int flag, int width, int height, tagLimitSize* limit) {
    *limit = tagLimitSize{};
    if (flag == -10 && width >= 1 && height >= 1) {
        limit->width = width;
        limit->height = height;
    }
    if (flag == -100) limit->limitEnabled = 0;
    return 0;
}

void kel_GetFileAttributes(imFile* file, tagImage* image) {
    int count = 0;
    imFileGetAttributeList(file, nullptr, &count);
    if (count < 2) return;
    std::vector<char*> names(static_cast<size_t>(count));
    imFileGetAttributeList(file, names.data(), &count);
    bool perCentimetre = false;
    for (const std::string_view name : names) {
        int type = 0, elements = 0;
        const void* const data = imFileGetAttribute(file, name.data(), &type, &elements);
        if (elements == 1 && name.find("Resolution") != name.npos) {
            char* const field = name.front() == 'X' ? image->xResolution : image->yResolution;
            std::memcpy(field, AttribData2Str(data, type), sizeof image->xResolution);
        }
        if (name.find("ResolutionUnit") != name.npos && type == IM_BYTE) {
            const std::string_view unit(static_cast<const char*>(data),
                                        static_cast<size_t>(elements));
            perCentimetre = perCentimetre || unit.find("DPC") != unit.npos;
        }
    }
    if (perCentimetre) TransResolution(image->xResolution, 1);
}

void kel_ReleaseIM_MemoryFile(imFile*& file, imBinMemoryFileName& memFile, int oldModule,
                              int operType) {
    imFileClose(file);
    file = nullptr;
    if (operType != kFromMemory) return;
    imBinMemoryRelease(memFile.buffer);
    memFile.buffer = nullptr;
    imBinFileSetCurrentModule(oldModule);
}

int KelAllocAndSetKelImage(tagImage* dst, imImage* src, const char* format, const char* compression,
                           int imageCount, int pageIndex) {
    dst->width = src->width;
    dst->height = src->height;
    dst->channels = src->depth;
    dst->dataSize = KelCalImImageDataSize(src);
    dst->dataType = src->data_type;
    storeText(dst->format, format);
    storeText(dst->compression, compression);
    std::snprintf(dst->pageInfo, sizeof dst->pageInfo, "%04d%04d", imageCount, pageIndex + 1);
    if (dst->width < 1 || dst->height < 1 || (dst->channels != 1 && dst->channels != 3) ||
        dst->dataSize < 1)
        return 1;
    SampleBuffer samples(static_cast<size_t>(dst->dataSize));
    KelGetIMLibImage(src, samples.data());
    dst->imageData = samples.release();
    return 0;
}
