// Labels of connected areas, by runs.
#include <cstddef>

#include "kel_ConnectArea.h"
#include "kernels/row_kernels.h"
#include "kernels/run_labels.h"

using namespace kel::detail;

namespace {

int labelPlane(const BytePlane& plane, PackForeground pack, int* labelBuf) {
    const RunLabels labels = labelRuns(plane, pack, 8);
    labels.writeNumbers(labelBuf, plane.width, plane.width,
                        [](uint32_t region) { return region + 1; });
    return static_cast<int>(labels.regionCount);
}

}  // namespace

int KC_GenerateCALabelBuf(unsigned char* image, int w, int h, int* labelBuf) {
    return labelPlane({image, w, w, h}, rowKernels().area.packFull, labelBuf);
}

int KC_GenerateCALabelBuf_IplImage(IplImage* image, int* labelBuf) {
    return labelPlane({reinterpret_cast<const uint8_t*>(image->imageData), image->widthStep,
                       image->width, image->height},
                      rowKernels().packNonZero, labelBuf);
}
