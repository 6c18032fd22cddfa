// Copies and changes by the class of each pixel's label.
#include <opencv2/imgproc.hpp>

#include <cstdint>
#include <vector>

#include "kel_ConnectArea_internal.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

/// Calls visit(x, y) for each pixel that is not 0. A row is read before its first is visited.
template <class Visit>
void forEachNonZero(const PlaneView& plane, Visit visit) {
    if (plane.width < 1) return;
    const auto width = static_cast<size_t>(plane.width);
    std::vector<uint64_t> words((width + 63) / 64);
    for (int y = 0; y < plane.height; ++y) {
        rowKernels().packNonZero(plane.row(y), words.data(), width);
        for (size_t i = 0; i < words.size(); ++i)
            for (uint64_t bits = words[i]; bits != 0; bits &= bits - 1)
                visit(static_cast<int>(64 * i) + __builtin_ctzll(bits), y);
    }
}

/// The class of each pixel. Label buffers have no padding.
struct Classes {
    const int* labelBuf;
    const int* typeArr;
    int width;

    int label(int x, int y) const { return labelBuf[static_cast<ptrdiff_t>(y) * width + x]; }
    int at(int x, int y) const { return typeArr[label(x, y)]; }
};

void copyByClass(const PlaneView& src, const Classes& classes, unsigned char* dst, int typeValue,
                 int mode, bool fromFirstRow) {
    forEachNonZero(src, [&](int x, int y) {
        unsigned char& out = dst[y * src.strideBytes + x];
        if (mode != 0) {
            if (classes.at(x, y) != typeValue) out = 0;
        } else if (classes.at(x, y) == typeValue) {
            out = src.row(fromFirstRow ? 0 : y)[x];
        }
    });
}

}  // namespace

int kel_copy_IplImage_label_eff(IplImage* src, int* labelBuf, int /*caNum*/, int* typeArr,
                                IplImage* dst, int typeValue, int mode) {
    copyByClass(firstBytesOf(*src), {labelBuf, typeArr, src->width},
                reinterpret_cast<unsigned char*>(dst->imageData), typeValue, mode, false);
    return 0;
}

int kel_copy_uc_label_eff(unsigned char* src, int* labelBuf, int /*caNum*/, int* typeArr,
                          unsigned char* dst, int w, int h, int typeValue, int mode) {
    // Row 0 in all rows: hosts know it so.
    copyByClass({src, w, h, w}, {labelBuf, typeArr, w}, dst, typeValue, mode, true);
    return 0;
}

int kel_set_IplImage_label_eff(IplImage* imageA, int* labelA, int /*caNumA*/, int* typeA,
                               int typeValueA, IplImage* imageB, int* labelB, int /*caNumB*/,
                               int* typeB, int typeValueB, int newValue) {
    const PlaneView a = firstBytesOf(*imageA);
    const PlaneView b{reinterpret_cast<unsigned char*>(imageB->imageData), a.width, a.height,
                      a.strideBytes};
    const Classes inA{labelA, typeA, a.width}, inB{labelB, typeB, a.width};
    forEachNonZero(a, [&](int x, int y) {
        if (b.row(y)[x] == 0 || inA.at(x, y) != typeValueA) return;
        int& type = typeB[inB.label(x, y)];
        if (type == typeValueB) type = newValue;
    });
    return 0;
}

int kel_process_IplImage_label_eff(IplImage* imageA, int* labelA, int /*caNumA*/, int* typeA,
                                   int typeValueA, IplImage* imageB, int* labelB, int /*caNumB*/,
                                   int* typeB, int typeValueB, IplImage* out) {
    const kelSize size{imageA->width, imageA->height};
    if (isEmpty(size)) return 0;
    const auto view = [size](IplImage* image) {
        return planeOf(reinterpret_cast<unsigned char*>(image->imageData), size, 0);
    };
    const PlaneView a = view(imageA), b = view(imageB), result = view(out);
    const Classes inA{labelA, typeA, size.width}, inB{labelB, typeB, size.width};

    cv::Mat both = cv::Mat::zeros(size.height, size.width, CV_8UC1), grown;
    forEachNonZero(a, [&](int x, int y) {
        if (b.row(y)[x] != 0 && inA.at(x, y) == typeValueA && inB.at(x, y) == typeValueB)
            both.ptr(y)[x] = 255;
    });
    cv::dilate(both, grown, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3)));
    forEachNonZero({grown.data, size.width, size.height, size.width}, [&](int x, int y) {
        if (a.row(y)[x] != 0 || b.row(y)[x] != 0) result.row(y)[x] = 255;
    });
    return 0;
}
