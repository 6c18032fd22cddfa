// Channel image <-> IplImage, whole images and regions, and the region guards.
//
// A colour pixel of an IplImage is B, G, R; the planes of a channel image are R, G, B. Both
// directions walk the image once, row by row; the work is done by row kernels.
#include "kel_cv.h"

#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "rect_guard.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

/// The pixels of an IplImage, or of a region of one.
struct PixelView {
    unsigned char* data;
    kelSize size;
    ptrdiff_t strideBytes;
    int channels;

    unsigned char* row(int y) const { return data + y * strideBytes; }
    PlaneView asPlane() const { return {data, size.width, size.height, strideBytes}; }
};

PixelView viewOf(const IplImage& image) {
    return {reinterpret_cast<unsigned char*>(image.imageData),
            {image.width, image.height},
            image.widthStep,
            image.nChannels};
}

/// Runs of pixels to walk: the rows, or one run where the rows have no padding.
struct PixelRuns {
    explicit PixelRuns(const PixelView& pixels)
        : count(pixels.size.height),
          length(pixels.size.width),
          stream(planeStep(pixels.size) >= kStreamedPixels) {
        if (pixels.strideBytes != ptrdiff_t{pixels.size.width} * pixels.channels) return;
        length = planeStep(pixels.size);
        count = 1;
    }

    /// From here on neither side stays in the cache that the next step would read it from.
    static constexpr ptrdiff_t kStreamedPixels = 1 << 20;

    int count;
    ptrdiff_t length;
    bool stream;
};

void pixelsToPlanes(const PixelView& pixels, unsigned char* image) {
    if (pixels.channels == 1)
        return copyPlane({pixels.data, pixels.size.width, pixels.size.height, pixels.strideBytes},
                         planeOf(image, pixels.size, 0));
    const RowKernels& kernels = rowKernels();
    const ptrdiff_t plane = planeStep(pixels.size);
    const PixelRuns runs(pixels);
    for (int i = 0; i < runs.count; ++i) {
        unsigned char* red = image + i * runs.length;
        kernels.deinterleaveBgr(pixels.row(i), red, red + plane, red + 2 * plane,
                                static_cast<size_t>(runs.length), runs.stream);
    }
}

void planesToPixels(const unsigned char* image, const PixelView& pixels) {
    if (pixels.channels == 1)
        return copyPlane(constPlaneOf(image, pixels.size, 0), pixels.asPlane());
    const RowKernels& kernels = rowKernels();
    const ptrdiff_t plane = planeStep(pixels.size);
    const PixelRuns runs(pixels);
    for (int i = 0; i < runs.count; ++i) {
        const unsigned char* red = image + i * runs.length;
        kernels.interleaveBgr(red, red + plane, red + 2 * plane, pixels.row(i),
                              static_cast<size_t>(runs.length), runs.stream);
    }
}

bool isBridged(int channels) {
    return channels == 1 || channels == 3;
}

/// The pixels that a region call works on, or the result that ends the call.
struct Region {
    int result;
    bool hasPixels;
    PixelView pixels;
};

Region regionOf(const IplImage& image, int x, int y, int w, int h) {
    Region region{1, false, viewOf(image)};
    PixelView& pixels = region.pixels;
    if (int64_t{x} + w > image.width || int64_t{y} + h > image.height) return region;
    if (!isBridged(image.nChannels)) return region;
    region.result = 0;
    if (w < 1 || h < 1) return region;
    // Callers guarantee the origin; one that breaks its word must not make us leave the image.
    if (x < 0 || y < 0) return {1, false, pixels};
    pixels.data = pixels.row(y) + ptrdiff_t{x} * image.nChannels;
    pixels.size = {w, h};
    region.hasPixels = true;
    return region;
}

}  // namespace

int KelGetIplImage(IplImage* src, unsigned char* dst) {
    const PixelView pixels = viewOf(*src);
    if (!isEmpty(pixels.size) && isBridged(pixels.channels)) pixelsToPlanes(pixels, dst);
    return 0;
}

int KelPutIplImage(IplImage* dst, unsigned char* src) {
    const PixelView pixels = viewOf(*dst);
    if (!isEmpty(pixels.size) && isBridged(pixels.channels)) planesToPixels(src, pixels);
    return 0;
}

int KelGetSubIplImage(IplImage* src, unsigned char* dst, int x, int y, int w, int h) {
    const Region region = regionOf(*src, x, y, w, h);
    if (region.hasPixels) pixelsToPlanes(region.pixels, dst);
    return region.result;
}

int KelPutSubIplImage(IplImage* dst, unsigned char* src, int x, int y, int w, int h) {
    const Region region = regionOf(*dst, x, y, w, h);
    if (region.hasPixels) planesToPixels(src, region.pixels);
    return region.result;
}

int Kel_cvSetImageROI_Protect(IplImage* image, CvRect* rect, int mode) {
    return guardRect({image->width, image->height}, *rect, mode, 0);
}

int Kel_cvSetImageROI_Protect1(IplImage* image, int* x, int* y, int* w, int* h, int mode) {
    CvRect rect = cvRect(*x, *y, *w, *h);
    const int result = Kel_cvSetImageROI_Protect(image, &rect, mode);
    *x = rect.x;
    *y = rect.y;
    *w = rect.width;
    *h = rect.height;
    return result;
}
