// Histogram equalisation that shows its result.
#include "cv_handles.h"
#include "highgui_module.h"
#include "histogram.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

void KelHistAver(unsigned char* src, unsigned char* dst, kelSize size) {
    if (isEmpty(size)) return;
    const auto count = static_cast<size_t>(planeStep(size));
    const Histogram histogram = histogramOf(constPlaneOf(src, size, 0));
    unsigned char table[256];
    double sum = 0.0;
    for (size_t i = 0; i < histogram.size(); ++i) {
        sum += static_cast<double>(static_cast<float>(histogram[i]));  // bins are single-precision
        table[i] = static_cast<unsigned char>(sum * 255.0 / static_cast<double>(count));
    }
    const cv::Mat source = planeMat(src, size).clone();
    rowKernels().lookUp(source.data, table, dst, count);
    showUntilKey({{"source", source}, {"result", planeMat(dst, size)}});
}
