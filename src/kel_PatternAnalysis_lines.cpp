// The rules of forms: segments by a probabilistic Hough transform, drawn into a mask, and the waves
// of the page's projections through that mask.
#include <opencv2/imgproc/imgproc_c.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cv_handles.h"
#include "highgui_module.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "kel_PatternAnalysis_internal.h"
#include "kel_cv.h"
#include "plane_view.h"
#include "sizes.h"
#include "truncate.h"
#include "wave_list.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr int kMaskLineWidth = 6;

/// End points of a segment, as OpenCV's sequence holds them.
struct Segment {
    CvPoint ends[2];
};

/// The segments of a binary page.
class Segments {
  public:
    Segments(IplImage* image, int threshold, int minLength, int maxGap)
        : storage_(cvCreateMemStorage(0)) {
        CvSeq* const found =
            cvHoughLines2(image, storage_.get(), CV_HOUGH_PROBABILISTIC, 1.0, 0.017453292519943295,
                          threshold, minLength, maxGap, 0.0, 3.141592653589793);
        for (int i = 0; i < found->total; ++i)
            all_.push_back(*reinterpret_cast<Segment*>(cvGetSeqElem(found, i)));
    }

    const std::vector<Segment>& all() const { return all_; }

  private:
    CvStorageHandle storage_;
    std::vector<Segment> all_;
};

/// The plane of the page's foreground that segments cover: 255 there.
///
/// Segments are drawn into the first byte of a pixel, while plane 'R' is the third: the mask that
/// the page is looked at through is empty, and hosts are tuned to getting no lines from it.
WorkPlane coveredPixels(const IplImage& image, const Segments& segments, int lineWidth,
                        bool writesMask) {
    const kelSize size{image.width, image.height};
    const auto plane = static_cast<size_t>(planeStep(size));
    SampleBuffer planes(3 * plane);
    {
        const IplImageHandle mask = makeIplImage(size.width, size.height, 3);
        cvSetZero(mask.get());
        for (const Segment& s : segments.all())
            cvLine(mask.get(), s.ends[0], s.ends[1], cvScalar(255.0, 0, 0, 0), lineWidth, 8, 0);
        if (writesMask) writeImageFile("Mask.bmp", cv::cvarrToMat(mask.get(), false, true, 0));
        KelGetIplImage(mask.get(), planes.data());
    }
    WorkPlane covered(plane);
    KelCopyImage1Channel(planes.data(), size, 3, covered.data(), size, 1, 1, 'R');
    const auto* const samples = reinterpret_cast<const unsigned char*>(image.imageData);
    const PlaneView target = planeOf(covered.data(), size, 0);
    for (int y = 0; y < size.height; ++y) {
        const unsigned char* const ink = samples + ptrdiff_t{y} * image.widthStep;
        unsigned char* const row = target.row(y);
        for (int x = 0; x < size.width; ++x)
            row[x] = ink[x] != 0 && row[x] != 0 ? 255 : 0;
    }
    return covered;
}

/// Covered pixels of each line, a whole line counting as 255.
std::vector<int> shares(WorkPlane& covered, kelSize size, char direction) {
    const bool rows = direction == 'H';
    std::vector<int> counts(static_cast<size_t>(rows ? size.height : size.width));
    KelImageProject1(covered.data(), size, counts.data(), direction);
    const double whole = rows ? size.width : size.height;
    for (int& count : counts)
        count = static_cast<int>(count / whole * 255.0);
    return counts;
}

struct LineRule {
    int maxWidth;
    int minPeak;
    int waveThreshold;
};

/// Writes the middles of the waves that are lines; returns their number.
int linesOf(std::vector<int>& projection, const LineRule& rule, int* lines) {
    int count = 0;
    WaveList(projection.data(), static_cast<int>(projection.size()), rule.waveThreshold)
        .forEach([&](const kelWaveCharacter& wave, bool) {
            if (wave.peakValue > rule.minPeak && wave.length > 0 && wave.length <= rule.maxWidth)
                lines[count++] = (wave.start + wave.end) / 2;
        });
    return count;
}

/// The caller's lists.
struct LineLists {
    int* hLines;
    int* hCount;
    int* vLines;
    int* vCount;
};

void detectLines(const IplImage& image, const Segments& segments, int lineWidth, bool writesMask,
                 const LineRule& horizontal, const LineRule& vertical, const LineLists& lists) {
    const kelSize size{image.width, image.height};
    WorkPlane covered = coveredPixels(image, segments, lineWidth, writesMask);
    std::vector<int> rows = shares(covered, size, 'H');
    std::vector<int> columns = shares(covered, size, 'V');
    if (writesMask) {
        char rowsName[] = "ProjImage_h.bmp", columnsName[] = "ProjImage_v.bmp";
        KelArrayShow(rows.data(), size.height, rowsName, false, 'H');
        KelArrayShow(columns.data(), size.width, columnsName, false, 'V');
    }
    *lists.hCount = linesOf(rows, horizontal, lists.hLines);
    *lists.vCount = linesOf(columns, vertical, lists.vLines);
}

/// Sums of the colours along nearly horizontal segments.
class ColourMean {
  public:
    ColourMean(const unsigned char* image, kelSize size) : image_(image), size_(size) {}

    void addSegment(const Segment& s, const int* lines, int lineCount) {
        const bool leftFirst = s.ends[0].x < s.ends[1].x;
        const CvPoint left = s.ends[leftFirst ? 0 : 1], right = s.ends[leftFirst ? 1 : 0];
        const int dx = right.x - left.x, ady = std::abs(left.y - right.y);
        const bool level = ady == 0 || (dx != 0 && ady < 4 && static_cast<double>(ady) / dx < 0.05);
        if (!level) return;
        const int middle = static_cast<int>((left.y + right.y) * 0.5);
        if (std::none_of(lines, lines + lineCount,
                         [middle](int line) { return std::abs(middle - line) <= 3; }))
            return;
        if (ady == 0) {
            for (int x = left.x; x < right.x; ++x)
                add(x, left.y);
            return;
        }
        // The inverse of the slope: the walk leaves the page soon, and what lies outside is left
        // out.
        const double slope = static_cast<double>(dx) / ady;
        for (int x = left.x; x <= right.x; ++x)
            add(x, truncated(x * slope + (right.y - right.x * slope)));
    }

    void store(int* red, int* green, int* blue, int* grey) const {
        if (count_ == 0.0) return;
        *red = truncated(sums_[0] / count_);
        *green = truncated(sums_[1] / count_);
        *blue = truncated(sums_[2] / count_);
        *grey = truncated(grey_ / count_);
    }

  private:
    void add(int x, int y) {
        if (x < 0 || x >= size_.width || y < 0 || y >= size_.height) return;
        int samples[3];
        for (int c = 0; c < 3; ++c) {
            samples[c] = constPlaneOf(image_, size_, c).row(y)[x];
            sums_[c] += samples[c];
        }
        grey_ += 0.299 * samples[0] + 0.587 * samples[1] + 0.114 * samples[2];
        ++count_;
    }

    const unsigned char* image_;
    kelSize size_;
    double sums_[3] = {0.0, 0.0, 0.0}, grey_ = 0.0, count_ = 0.0;
};

/// Fills row `line` of a plane; the row behind the last is there to be filled.
void fillRow(PlaneView plane, int line, unsigned char value) {
    if (line < 0 || line > plane.height || plane.width < 1) return;
    std::memset(plane.row(line), value, static_cast<size_t>(plane.width));
}

void fillColumn(PlaneView plane, int line, unsigned char value) {
    if (line < 0 || line >= plane.width) return;
    for (int y = 0; y < plane.height; ++y)
        plane.row(y)[line] = value;
}

}  // namespace

int KelDetectLines(IplImage* image, int* hLines, int* hCount, int* vLines, int* vCount,
                   int houghThreshold, int minLength, int maxGap, int hMaxWidth, int hMinPeak,
                   int hWaveThreshold, int vMaxWidth, int vMinPeak, int vWaveThreshold, int debug) {
    return KelDetectLinesWithParam(image, hLines, hCount, vLines, vCount, houghThreshold, minLength,
                                   maxGap, hMaxWidth, hMinPeak, hWaveThreshold, vMaxWidth, vMinPeak,
                                   vWaveThreshold, debug, kMaskLineWidth);
}

int KelDetectLinesWithParam(IplImage* image, int* hLines, int* hCount, int* vLines, int* vCount,
                            int houghThreshold, int minLength, int maxGap, int hMaxWidth,
                            int hMinPeak, int hWaveThreshold, int vMaxWidth, int vMinPeak,
                            int vWaveThreshold, int debug, int maskLineWidth) {
    const Segments segments(image, houghThreshold, minLength, maxGap);
    detectLines(*image, segments, maskLineWidth, debug > 0, {hMaxWidth, hMinPeak, hWaveThreshold},
                {vMaxWidth, vMinPeak, vWaveThreshold}, {hLines, hCount, vLines, vCount});
    return 0;
}

int KelDetectLinesAndColor(IplImage* image, int* hLines, int* hCount, int* vLines, int* vCount,
                           int houghThreshold, int minLength, int maxGap, int hMaxWidth,
                           int hMinPeak, int hWaveThreshold, int vMaxWidth, int vMinPeak,
                           int vWaveThreshold, int debug, unsigned char* colourImage, int* red,
                           int* green, int* blue, int* grey) {
    const Segments segments(image, houghThreshold, minLength, maxGap);
    detectLines(*image, segments, kMaskLineWidth, debug > 0, {hMaxWidth, hMinPeak, hWaveThreshold},
                {vMaxWidth, vMinPeak, vWaveThreshold}, {hLines, hCount, vLines, vCount});
    ColourMean mean(colourImage, {image->width, image->height});
    for (const Segment& segment : segments.all())
        mean.addSegment(segment, hLines, *hCount);
    mean.store(red, green, blue, grey);
    return 0;
}

int KelShowLines(unsigned char* image, kelSize size, int channels, int* lines, int lineCount,
                 char direction, unsigned char* colour, char* fileName) {
    if (direction != 'H' && direction != 'V') return -1;
    const int planes = std::max(channels, 1);
    const size_t bytes = planeBytes(size.width, size.height, planes).value_or(0);
    // One row more: a line just below the last plane is accepted.
    SampleBuffer copy(bytes + static_cast<size_t>(std::max(size.width, 0)));
    std::memset(copy.data(), 0, copy.size());
    if (channels > 0 && bytes > 0) std::memcpy(copy.data(), image, bytes);
    const int drawn = isEmpty(size) ? 0 : channels == 3 ? 3 : 1;
    for (int i = 0; i < lineCount; ++i)
        for (int c = 0; c < drawn; ++c) {
            const PlaneView plane = planeOf(copy.data(), size, c);
            if (direction == 'H') {
                fillRow(plane, lines[i], colour[c]);
            } else {
                fillColumn(plane, lines[i], colour[c]);
            }
        }
    KelSaveImage(copy.data(), channels, size, fileName);
    return 0;
}
