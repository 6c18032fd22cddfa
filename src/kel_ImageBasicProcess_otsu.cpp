// Otsu's global level, alone and together with a local mean.
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <optional>

#include "cv_handles.h"
#include "histogram.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/otsu_level.h"
#include "kernels/row_kernels.h"
#include "mark_growth.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr double kCertainShare = 0.9;

/// The level of the first plane, which is that of the image whatever the other planes hold.
int levelOf(const unsigned char* src, kelSize size) {
    return otsuLevel(histogramOf(constPlaneOf(src, size, 0)).data(),
                     static_cast<uint64_t>(planeStep(size)));
}

bool isUsable(kelSize size, int channels) {
    return !isEmpty(size) && (channels == 1 || channels == 3);
}

/// Samples below the cut are marked whatever their surroundings: 0 for none, 256 for all.
int cutOf(int level, double ratio) {
    const double cut = level * ratio;
    if (!(cut >= 1.0)) return 0;
    return cut >= 256.0 ? 256 : static_cast<int>(cut);
}

}  // namespace

int KelBinarizeImageOstuTraditional(unsigned char* src, int channels, unsigned char* dst,
                                    kelSize size, unsigned char isOpp, int thresOffset) {
    if (!isUsable(size, channels)) return 0;
    KelBinarizeThreshold(src, dst, size, wrapAdd(levelOf(src, size), thresOffset), isOpp);
    return 0;
}

int KelBinarizeImageOstuTraditionalGetThres(unsigned char* src, kelSize size, int channels) {
    return isUsable(size, channels) ? levelOf(src, size) : 0;
}

int KelAutoThresholdwithOstuAndMeanC(unsigned char* src, unsigned char* dst, kelSize size,
                                     int block_size, int param1) {
    return KelAutoThresholdwithOstuAndMeanC1(src, dst, size, block_size, param1, kCertainShare);
}

int KelAutoThresholdwithOstuAndMeanC1(unsigned char* src, unsigned char* dst, kelSize size,
                                      int block_size, int param1, double ratio) {
    if (isEmpty(size)) return 0;
    const auto bytes = static_cast<size_t>(planeStep(size));
    // The local plane is made where the result goes, unless that would change `src`.
    std::optional<WorkPlane> own;
    if (overlaps(src, bytes, dst, bytes)) own.emplace(bytes);
    unsigned char* const local = own ? own->data() : dst;
    cv::Mat localMat = planeMat(local, size);
    cv::adaptiveThreshold(planeMat(src, size), localMat, 255.0, cv::ADAPTIVE_THRESH_MEAN_C,
                          cv::THRESH_BINARY_INV, block_size, static_cast<double>(param1));

    const int level = levelOf(src, size);
    const int cut = cutOf(level, ratio);
    if (cut > 255) {
        std::memset(dst, 255, bytes);
        return 0;
    }
    const RowKernels& kernels = rowKernels();
    const PlaneView target = planeOf(dst, size, 0);
    MarkGrowth growth(size.width, size.height);
    for (int y = 0; y < size.height; ++y)
        kernels.markCertain(constPlaneOf(src, size, 0).row(y), constPlaneOf(local, size, 0).row(y),
                            target.row(y), growth.marksOf(y), growth.candidatesOf(y),
                            static_cast<size_t>(size.width), static_cast<unsigned char>(cut),
                            static_cast<unsigned char>(level));
    growth.grow(target);
    return 0;
}
