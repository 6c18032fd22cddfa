// The cells of a bill's amount field, from the waves of its projections.
#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>
#include <vector>

#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "plane_view.h"
#include "sizes.h"
#include "wave_list.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kWaveThreshold = 10;
constexpr int kMargin = 10;  // columns from an outer mark to its position

bool isBetween(int value, int lowest, int highest) {
    return value >= lowest && value <= highest;
}

/// Projects a plane and draws the projection into a file in the working directory.
std::vector<int> shownProjection(unsigned char* plane, kelSize size, char direction) {
    std::vector<int> projection(
        static_cast<size_t>(std::max(direction == 'H' ? size.height : size.width, 0)));
    KelImageProjcet(plane, size, projection.data(), direction);
    char name[] = "proj_h.bmp";
    if (direction == 'V') name[5] = 'v';
    KelArrayShow(projection.data(), static_cast<int>(projection.size()), name, true, direction);
    return projection;
}

WaveList wavesOf(std::vector<int>& projection, int threshold) {
    return WaveList(projection.data(), static_cast<int>(projection.size()), threshold);
}

struct FlagWave {
    int start, length;
};

/// What the column projection says about the field's vertical structure.
struct Marks {
    Marks(std::vector<int>& columns, int minPeak) {
        wavesOf(columns, kWaveThreshold).forEach([&](const kelWaveCharacter& wave, bool isFirst) {
            if (wave.peakValue > minPeak) {
                middles.push_back((wave.start + wave.end) / 2);
            } else if (isFirst && isBetween(wave.peakValue, 12, 16) &&
                       isBetween(wave.length, 15, 19)) {
                flag = FlagWave{wave.start, wave.length};
            }
        });
    }

    std::vector<int> middles;
    std::optional<FlagWave> flag;
};

/// The field's positions from at least three marks: five for three, otherwise two more than marks.
std::vector<int> positionsOf(const std::vector<int>& marks) {
    const size_t n = marks.size();
    const auto between = [&](size_t i) { return (marks[i - 1] + marks[i]) / 2; };
    if (n == 3)
        return {marks[0] - kMargin, marks[0] + kMargin, marks[1] - kMargin, between(2),
                marks[2] + kMargin};
    std::vector<int> positions = {marks[0] - kMargin};
    for (size_t i = 1; i < n; ++i) {
        positions.push_back(i == n - 2 ? marks[i] - kMargin : between(i));
        if (i == n - 3 || i == n - 1) positions.push_back(marks[i] + kMargin);
    }
    return positions;
}

/// Moves a position by up to two columns: to an empty one, or to the one with the least ink.
int lightestNear(const std::vector<int>& columns, int p) {
    // Columns beyond the edge never win.
    const auto ink = [&](int offset) {
        const int64_t at = int64_t{p} + offset;
        return at < 0 || at >= static_cast<int64_t>(columns.size())
                   ? INT_MAX
                   : columns[static_cast<size_t>(at)];
    };
    int best = 0;
    for (int offset : {0, -2, -1, 1, 2}) {  // the first of equals; the first empty one ends it
        if (ink(offset) == 0) return p + offset;
        if (ink(offset) < ink(best)) best = offset;
    }
    return p + best;
}

/// A cut-out of a plane, and the size that lies in the plane.
struct Part {
    /// Where the plane doesn't reach, and wherever it is refused, the part is 0.
    Part(WorkPlane& plane, kelSize size, CvRect rect)
        : samples(planeBytes(rect.width, rect.height).value_or(0)) {
        std::memset(samples.data(), 0, samples.size());
        const kelSize whole{rect.width, rect.height};
        KelCopySubImage(plane.data(), size, samples.data(), whole, 1, &rect);
        inside = {rect.width, rect.height};
    }

    WorkPlane samples;
    kelSize inside{};
};

struct Band {
    int top, bottom;
};

/// The rows of the figures: the last wave of their height, or all, with one row too many.
Band figureBand(std::vector<int>& rows) {
    Band band{0, static_cast<int>(rows.size())};
    wavesOf(rows, kWaveThreshold).forEach([&](const kelWaveCharacter& wave, bool) {
        if (isBetween(wave.length, 30, 36)) band = {wave.start, wave.end};
    });
    return band;
}

}  // namespace

int KelRecognitionOppFlag(unsigned char* image, kelSize size) {
    std::vector<int> rows = shownProjection(image, size, 'H');
    const int half = size.height / 2;
    int found = 0;
    wavesOf(rows, 0).forEach([&](const kelWaveCharacter& wave, bool) {
        if (isBetween(wave.start, half - 5, half - 1) && isBetween(wave.length, 2, 5) &&
            wave.peakValue >= 201)
            found = 1;
    });
    return found;
}

int KelDetectAmountPos(unsigned char* image, int channels, kelSize size, int* positions, int* count,
                       int* top, int* bottom, int /*reserved*/, int minPeak) {
    WorkPlane plane(planeBytes(size.width, size.height).value_or(0));
    std::memset(plane.data(), 0, plane.size());
    KelBinarizeImage(image, channels, plane.data(), size, 1, KEL_BIN_METHOD_AUTO, 0, 0, 0);
    std::vector<int> columns = shownProjection(plane.data(), size, 'V');
    const Marks marks(columns, minPeak);
    if (marks.middles.size() < 3) return -1;

    std::vector<int> found = positionsOf(marks.middles);
    for (int& position : found)
        position = lightestNear(columns, std::clamp(position, 0, size.width - 1));
    std::copy(found.begin(), found.end(), positions);
    *count = static_cast<int>(found.size());

    const int stripWidth = found.back() - found.front() + 1;
    Part strip(plane, size, cvRect(found.front(), 0, stripWidth, size.height));
    std::vector<int> rows = shownProjection(strip.samples.data(), {stripWidth, size.height}, 'H');
    const Band band = figureBand(rows);
    *top = band.top;
    *bottom = band.bottom;

    if (marks.flag) {  // only the picture of its projection is left behind
        Part flag(
            plane, size,
            cvRect(marks.flag->start, band.top, marks.flag->length, band.bottom - band.top + 1));
        KelRecognitionOppFlag(flag.samples.data(), flag.inside);
    }
    return 0;
}
