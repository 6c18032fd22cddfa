// OpenCV's Gaussian adaptive threshold, in bands of rows. The result is that of the call on the
// whole plane, since its filters work row by row; but its planes of floating point numbers stay
// small, which saves up to half of the time.
#pragma once

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstring>

#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

namespace kel::detail {

/// The threshold of a plane; arguments as OpenCV's, whose errors pass through.
class LocalThreshold {
  public:
    LocalThreshold(unsigned char* src, kelSize size, int type, int blockSize, double offset);

    /// A good number of rows to do at once.
    int bandRows() const;

    /// Rows `first` to `end`-1 of the result, packed.
    void compute(int first, int end, unsigned char* out);

  private:
    cv::Mat source_, result_;
    int type_;
    int blockSize_;
    double offset_;
};

/// Fills a plane by bands: `make(first, end, out)` makes rows `first` to `end`-1, packed. With
/// `inPlace` it may read the plane itself, up to a band's height round its rows: each band is
/// written when the next has been made.
template <class Make>
void fillByBands(kelSize size, int bandRows, unsigned char* dst, bool inPlace, const Make& make) {
    const auto width = static_cast<size_t>(std::max(size.width, 0));
    const auto rowsAt = [&](int y) { return dst + static_cast<size_t>(y) * width; };
    WorkPlane band(inPlace ? 2 * width * static_cast<size_t>(std::min(bandRows, size.height)) : 0);
    const auto buffer = [&](int index) {
        return band.data() + (index % 2 != 0 ? band.size() / 2 : 0);
    };
    int made = 0;
    for (int first = 0; first < size.height; first += bandRows, ++made) {
        const int rows = std::min(bandRows, size.height - first);
        make(first, first + rows, inPlace ? buffer(made) : rowsAt(first));
        if (inPlace && made > 0)
            std::memcpy(rowsAt(first - bandRows), buffer(made - 1),
                        width * static_cast<size_t>(bandRows));
    }
    if (!inPlace || made == 0) return;
    const int last = (made - 1) * bandRows;
    std::memcpy(rowsAt(last), buffer(made - 1), width * static_cast<size_t>(size.height - last));
}

}  // namespace kel::detail
