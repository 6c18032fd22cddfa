// Repairs of what the toolkit decodes: BMPs that stand on their heads, pages beyond the size limit,
// CMYK. And the older loaders that hand out toolkit records.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "im_process.h"
#include "kel_im.h"
#include "kel_im_imagefile_info.h"
#include "kel_im_internal.h"
#include "page_repairs.h"
#include "work_buffer.h"

namespace kel::detail {

static_assert(sizeof(FileHead::bytes) == kBmpHeadBytes);

FileHead headOfFile(const char* fileName) {
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    FileHead head;
    const std::unique_ptr<std::FILE, Close> file(std::fopen(fileName, "rb"));
    if (file == nullptr) return head;
    head.isKnown = std::fread(head.bytes, 1, sizeof head.bytes, file.get()) > 0;
    return head;
}

FileHead headOfBlock(const unsigned char* buffer, int bufferLen) {
    FileHead head;
    const int count = std::min(bufferLen, kBmpHeadBytes);
    if (buffer != nullptr && count > 0) {
        std::memcpy(head.bytes, buffer, static_cast<size_t>(count));
        head.isKnown = true;
    }
    return head;
}

ImImageHandle limited(ImImageHandle page, int limitWidth, int limitHeight) {
    const double ratio = std::min(limitWidth / static_cast<double>(page->width),
                                  limitHeight / static_cast<double>(page->height));
    if (!(ratio < 1.0)) return page;
    ImImageHandle smaller =
        makeImImage(static_cast<int>(page->width * ratio), static_cast<int>(page->height * ratio),
                    page->color_space, page->data_type);
    if (smaller != nullptr && imProcessResize(page.get(), smaller.get(), 2) != IM_ERR_NONE)
        smaller.reset();
    return smaller;
}

bool isRefusedCmyk(const imImage& page) {
    if (page.color_space != IM_CMYK || page.data_type == IM_BYTE) return false;
    std::fputs("This CMYK format not support!\n", stderr);
    return true;
}

ImImageHandle asRgb(const imImage& page) {
    ImImageHandle rgb = makeImImageLike(page, IM_RGB);
    if (rgb != nullptr && imConvertColorSpace(&page, rgb.get()) != IM_ERR_NONE) rgb.reset();
    return rgb;
}

}  // namespace kel::detail

using namespace kel::detail;

namespace {

// A negative height has this bit in its highest byte.
bool isTopDownBmp(const unsigned char* header) {
    return header[0] == 'B' && header[1] == 'M' && (header[25] & 1) != 0;
}

void repairDirection(FileHead head, imImage& image) {
    if (head.isKnown) CaliBMPDIBDirect(head.bytes, &image);
}

// The older entry points convert CMYK by their own rule. Null for wide samples.
ImImageHandle withoutCmyk(ImImageHandle page) {
    if (page->color_space != IM_CMYK) return page;
    if (isRefusedCmyk(*page)) return nullptr;
    ImImageHandle rgb = makeImImageLike(*page, IM_RGB);
    if (rgb != nullptr) KelConverAdobeCMYK2RGB(page.get(), rgb.get());
    return rgb;
}

}  // namespace

int CaliBMPDIBDirect(unsigned char* header, imImage* image) {
    if (!isTopDownBmp(header)) return 0;
    const auto width = static_cast<size_t>(image->width);  // bytes, whatever the samples are
    WorkPlane row(width);
    for (int p = 0; p < image->depth; ++p) {
        auto* const plane = static_cast<unsigned char*>(image->data[p]);
        for (int i = 0; i < image->height / 2; ++i) {
            unsigned char* const low = plane + static_cast<size_t>(i) * width;
            unsigned char* const high = plane + static_cast<size_t>(image->height - 1 - i) * width;
            std::memcpy(row.data(), low, width);
            std::memcpy(low, high, width);
            std::memcpy(high, row.data(), width);
        }
    }
    return 0;
}

int KelConverAdobeCMYK2RGB(imImage* src, imImage* dst) {
    if (src->color_space != IM_CMYK || dst->color_space != IM_RGB) {
        std::fputs("KelConverAdobeCMYK2RGB Error!\n", stderr);
        return 1;
    }
    const size_t count = static_cast<size_t>(src->width) * static_cast<size_t>(src->height);
    const auto* const black = static_cast<const unsigned char*>(src->data[3]);
    for (int p = 0; p < 3; ++p) {
        const auto* const ink = static_cast<const unsigned char*>(src->data[p]);
        auto* const out = static_cast<unsigned char*>(dst->data[p]);
        for (size_t i = 0; i < count; ++i)
            out[i] = static_cast<unsigned char>(ink[i] * black[i] / 255);
    }
    return 0;
}

void FixImImageBug(const char* fileName, imImage** image) {
    if (*image == nullptr) return;
    repairDirection(headOfFile(fileName), **image);
    *image = withoutCmyk(ImImageHandle(*image)).release();
}

int FixImImageBug2Input(const char* fileName, unsigned char* buffer, int bufferLen, int operType,
                        imImage** image, bool isLimited, int limitWidth, int limitHeight) {
    if (*image == nullptr) return 0;
    ImImageHandle page(std::exchange(*image, nullptr));
    if (operType != kFromMemory)
        repairDirection(headOfFile(fileName), *page);
    else if (bufferLen > kBmpHeadBytes)
        repairDirection(headOfBlock(buffer, bufferLen), *page);
    if (isLimited) page = limited(std::move(page), limitWidth, limitHeight);
    if (page == nullptr) return 0;
    if (isRefusedCmyk(*page)) return 1;
    if (page->color_space == IM_CMYK || page->color_space == IM_MAP) page = asRgb(*page);
    *image = page.release();
    return 0;
}

imImage* im_LoadImage(const char* fileName, char* info) {
    int error = IM_ERR_NONE;
    imFile* opened = imFileOpen(fileName, &error);
    if (opened == nullptr) {
        std::fprintf(stderr, "FileOpen error[%d]\n", error);
        PrintError(error);
        return nullptr;
    }
    if (info != nullptr) {
        PrintImageInfo(opened);
        if (opened != nullptr) kel_GenerateIMFileInfo(opened, info);
    }
    const ImFileHandle file(opened);  // the reports close a file that they can't look into
    ImImageHandle page(imFileLoadImage(file.get(), 0, &error));
    if (page == nullptr) {
        PrintError(error);
        return nullptr;
    }
    repairDirection(headOfFile(fileName), *page);
    return withoutCmyk(std::move(page)).release();
}

int ReadImageFile2Buffer(unsigned char* buffer, int bufferLen, imImage** image, char* info) {
    int error = IM_ERR_NONE;
    imBinMemoryFileName block = copyOfBlock(buffer, bufferLen);
    const int oldModule = imBinFileSetCurrentModule(IM_MEMORYFILE);
    imFile* file = imFileOpen(nameOf(block), &error);
    if (error == IM_ERR_NONE) {
        if (info != nullptr) kel_GenerateIMFileInfo(file, info);
        *image = imFileLoadImage(file, 0, &error);
        if (error != IM_ERR_NONE) error = 2;
    } else {
        error = 1;
    }
    kel_ReleaseIM_MemoryFile(file, block, oldModule, kFromMemory);
    if (error != IM_ERR_NONE) return error;
    repairDirection(headOfBlock(buffer, bufferLen), **image);
    *image = withoutCmyk(ImImageHandle(*image)).release();
    return 0;
}
