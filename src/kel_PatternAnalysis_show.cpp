// Bar charts of arrays, the debug pictures of the analysis.
#include <algorithm>
#include <cstring>

#include "kel_ImageFileOper.h"
#include "kel_PatternAnalysis.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kNormalisedSize = 256;

/// Pixels along the bars, and how long a sample's bar is.
struct BarScale {
    int greatest;
    bool normalise;

    int64_t chartSize() const { return normalise ? kNormalisedSize : int64_t{greatest} + 1; }
    int bar(int sample) const {
        if (sample <= 0) return 0;
        if (!normalise) return std::min(sample, greatest);
        const double length = sample / static_cast<double>(greatest) * kNormalisedSize;
        return std::min(static_cast<int>(length), kNormalisedSize - 1);
    }
};

}  // namespace

int KelArrayShow(int* array, int len, char* fileName, bool normalise, char direction) {
    if (len < 1 || (direction != 'H' && direction != 'V')) return -1;
    const BarScale scale{*std::max_element(array, array + len), normalise};
    if (scale.greatest <= 0 || scale.chartSize() > INT32_MAX) return -1;

    const auto size = static_cast<int>(scale.chartSize());
    const auto count = static_cast<size_t>(len);
    SampleBuffer chart(count * static_cast<size_t>(size));
    std::memset(chart.data(), 0, chart.size());
    for (size_t i = 0; i < count; ++i) {
        const auto bar = static_cast<size_t>(scale.bar(array[i]));
        if (direction == 'H') {
            std::memset(chart.data() + i * static_cast<size_t>(size), 255, bar);
        } else {
            for (size_t y = 0; y < bar; ++y)
                chart[y * count + i] = 255;
        }
    }
    if (direction == 'H') {
        Kel_SaveImage_DT(chart.data(), size, len, 1, fileName, 0);
    } else {
        Kel_SaveImage_DT(chart.data(), len, size, 1, fileName, 0);
    }
    return 0;
}

int KelArrayShow1(int* array, int len, char* fileName, bool normalise, char direction) {
    return KelArrayShow(array, len, fileName, normalise, direction);
}
