// The image record: making, giving back, sizes and names.
#include "image.h"

#include <cstdlib>
#include <initializer_list>
#include <limits>
#include <new>

#include "error.h"
#include "kernels/large_blocks.h"
#include "palette.h"

namespace im {
namespace {

constexpr int kMostPlanes = 4;

struct Free {
    void operator()(void* block) const { std::free(block); }  // NOLINT(cppcoreguidelines-no-malloc)
};

/// What imImageCreate hands out: the record with all that it points to.
struct OwnedImage : imImage {
    std::unique_ptr<void, Free> samples;
    void* planes[kMostPlanes];
    imPaletteColor colors[256];
};

bool isKind(int colorSpace, int dataType) {
    if (colorSpace < IM_RGB || colorSpace > IM_CMYK) return false;
    if (colorSpace == IM_MAP || colorSpace == IM_BINARY) return dataType == IM_BYTE;
    return dataType >= IM_BYTE && dataType <= IM_CDOUBLE;
}

ImageHandle create(int width, int height, int colorSpace, int dataType, bool clear) {
    require(width > 0 && height > 0 && isKind(colorSpace, dataType), IM_ERR_DATA);
    const int planes = planesOf(colorSpace);
    const int bytes = checkedImageBytes(width, height, planes, dataType);
    require(bytes > 0, IM_ERR_MEM);

    auto image = std::make_unique<OwnedImage>();
    // calloc and not new: large blocks come cleared from the system, at no cost.
    const auto size = static_cast<size_t>(bytes);
    image->samples.reset(clear ? std::calloc(size, 1) : std::malloc(size));  // NOLINT
    require(image->samples != nullptr, IM_ERR_MEM);
    kel::detail::preferLargePages(image->samples.get(), size);
    image->width = width;
    image->height = height;
    image->color_space = colorSpace;
    image->data_type = dataType;
    image->depth = planes;
    image->line_size = width * imDataTypeSize(dataType);
    image->data = image->planes;
    for (int p = 0; p < planes; ++p)
        image->planes[p] = static_cast<uint8_t*>(image->samples.get()) +
                           size / static_cast<size_t>(planes) * static_cast<size_t>(p);
    if (colorSpace == IM_MAP) {
        image->palette = image->colors;
        image->palette_count = 256;
        setGreys(image->colors, 256);
    }
    return ImageHandle(image.release());
}

}  // namespace

ImageHandle makeImage(int width, int height, int colorSpace, int dataType) {
    return create(width, height, colorSpace, dataType, false);
}

ImageHandle makeClearImage(int width, int height, int colorSpace, int dataType) {
    return create(width, height, colorSpace, dataType, true);
}

int planesOf(int colorSpace) {
    switch (colorSpace) {
        case IM_RGB:
            return 3;
        case IM_MAP:
        case IM_GRAY:
        case IM_BINARY:
            return 1;
        case IM_CMYK:
            return 4;
        default:
            return 0;
    }
}

int checkedImageBytes(int width, int height, int planes, int dataType) {
    constexpr int64_t most = std::numeric_limits<int>::max();
    int64_t bytes = imDataTypeSize(dataType);
    for (const int factor : {width, height, planes}) {
        if (factor < 1 || bytes > most / factor) return 0;
        bytes *= factor;
    }
    return static_cast<int>(bytes);
}

}  // namespace im

imImage* imImageCreate(int width, int height, int color_space, int data_type) try {
    return im::makeClearImage(width, height, color_space, data_type).release();
} catch (const im::Error&) {
    return nullptr;
} catch (const std::bad_alloc&) {
    return nullptr;
}

void imImageDestroy(imImage* image) {
    const std::unique_ptr<im::OwnedImage> owned(static_cast<im::OwnedImage*>(image));
}

int imImageDataSize(int width, int height, int color_mode, int data_type) {
    const int planes = im::planesOf(color_mode & 0xff);
    const int alpha = (color_mode & IM_ALPHA) != 0 ? 1 : 0;
    return planes == 0 ? 0 : im::checkedImageBytes(width, height, planes + alpha, data_type);
}

const char* imColorModeSpaceName(int color_mode) {
    constexpr const char* names[] = {"RGB", "MAP", "GRAY", "BINARY", "CMYK"};
    const int space = color_mode & 0xff;
    return im::planesOf(space) == 0 ? nullptr : names[space];
}

const char* imDataTypeName(int data_type) {
    constexpr const char* names[] = {"byte",  "short",  "ushort", "int",
                                     "float", "double", "cfloat", "cdouble"};
    return imDataTypeSize(data_type) == 0 ? nullptr : names[data_type];
}

int imDataTypeSize(int data_type) {
    switch (data_type) {
        case IM_BYTE:
            return 1;
        case IM_SHORT:
        case IM_USHORT:
            return 2;
        case IM_INT:
        case IM_FLOAT:
            return 4;
        case IM_DOUBLE:
        case IM_CFLOAT:
            return 8;
        case IM_CDOUBLE:
            return 16;
        default:
            return 0;
    }
}
