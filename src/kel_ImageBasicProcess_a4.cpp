// A4 calibration: two zones of a scan, each stretched vertically by a factor of its own.
#include <algorithm>
#include <limits>
#include <optional>

#include "kel_ImageBasicProcess.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kLinear = 2;
/// The bottom zone has more rows than this.
constexpr int kTooFewRows = 9;

/// Rows of a zone after stretching; nothing when an `int` can't hold them.
std::optional<int> stretched(int rows, double scale) {
    const double result = rows * scale;
    if (!(result >= 1.0)) return 0;  // also for what is no number
    if (result > std::numeric_limits<int>::max()) return std::nullopt;
    return static_cast<int>(result);
}

/// Stretches `rows` rows of one plane. A zone without rows adds none.
void stretchZone(unsigned char* src, int rows, unsigned char* dst, int dstRows, int width) {
    if (rows > 0 && dstRows > 0)
        KelResizeImage(src, {width, rows}, dst, {width, dstRows}, 1, kLinear);
}

}  // namespace

int KelCalibrationA4(unsigned char* src, kelSize size, unsigned char** dst, kelSize* dstSize,
                     int channels, int splitRow, double topScale, double bottomScale) {
    if (splitRow >= int64_t{size.height} - kTooFewRows) return -1;
    const int topRows = std::max(splitRow, 0), bottomRows = size.height - topRows;
    const std::optional<int> top = stretched(topRows, topScale);
    const std::optional<int> bottom = stretched(bottomRows, bottomScale);
    if (!top || !bottom || *top > std::numeric_limits<int>::max() - *bottom) return -1;
    const kelSize stacked{size.width, *top + *bottom};
    const std::optional<size_t> bytes = planeBytes(stacked.width, stacked.height, channels);
    if (!bytes) return -1;

    SampleBuffer result(*bytes);
    // Planes are stretched one by one, from where they lie to where they belong.
    const bool isImage = (channels == 1 || channels == 3) && !isEmpty(stacked);
    if (!isImage) std::fill_n(result.data(), *bytes, static_cast<unsigned char>(0));
    for (int c = 0; isImage && c < channels; ++c) {
        const PlaneView from = planeOf(src, size, c), to = planeOf(result.data(), stacked, c);
        stretchZone(from.data, topRows, to.data, *top, size.width);
        stretchZone(from.row(topRows), bottomRows, to.row(*top), *bottom, size.width);
    }
    *dstSize = stacked;
    *dst = result.release();
    return 0;
}
