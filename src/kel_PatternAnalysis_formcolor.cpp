// The hue range of a form's rules, from strips of the page along its lines.
#include <algorithm>
#include <cstring>
#include <vector>

#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_PatternAnalysis.h"
#include "kel_PatternAnalysis_internal.h"
#include "plane_view.h"
#include "sizes.h"
#include "truncate.h"
#include "work_buffer.h"

using namespace kel::detail;

kelSegInfo::kelSegInfo() : kelSegInfo(0, 0, 0, 0, 1, 0.0) {}

kelSegInfo::kelSegInfo(int left, int top, int columns, int rows, int planes, double number)
    : x(left), y(top), width(columns), height(rows), channels(planes), value(number) {}

kelSegInfo::~kelSegInfo() = default;

void kelSegInfo::setValue(int left, int top, int columns, int rows, int planes, double number) {
    *this = kelSegInfo(left, top, columns, rows, planes, number);
}

void kelSegInfo::copy(kelSegInfo& from) {
    *this = from;
}

void kelSegInfo::printData() {}

namespace {

constexpr int kWorkDpi = 200;
constexpr int kStripRows = 3;

/// Repairs a rectangle against the page; below 0 when that is not possible.
int guard(kelSize size, kelSegInfo& seg) {
    CvRect rect = cvRect(seg.x, seg.y, seg.width, seg.height);
    const int result = KelSegImageProtect1(size, &rect, 2);
    seg.setValue(rect.x, rect.y, rect.width, rect.height, seg.channels, seg.value);
    return result;
}

/// Cuts a rectangle out of a colour image into one of its own size.
void cut(unsigned char* image, kelSize size, const kelSegInfo& seg, unsigned char* part) {
    CvRect rect = cvRect(seg.x, seg.y, seg.width, seg.height);
    KelCopySubImage(image, size, part, {seg.width, seg.height}, 3, &rect);
}

struct Extent {
    int left, right;
};

/// The columns between which strips are taken.
Extent sampledExtent(int width, int smallWidth, const FormLines& lines) {
    if (lines.columnCount < 1)
        return {static_cast<int>(width * 0.4), static_cast<int>(width * 0.6)};
    const int first = lines.columns[0];
    if (lines.columnCount > 1) return {first, lines.columns[lines.columnCount - 1]};
    // A page coordinate against the small page's width: hosts are tuned to it.
    if (first >= smallWidth / 2) return {std::max(first, 200) - 200, first};
    return {first, std::min(first + 200, smallWidth - 1)};
}

SampleBuffer clearedPlanes(kelSize size) {
    SampleBuffer samples(isEmpty(size) ? 0 : planeBytes(size.width, size.height, 3).value_or(0));
    std::memset(samples.data(), 0, samples.size());
    return samples;
}

void askForRange(unsigned char* samples, int count, const HueRequest& r) {
    KelCalHsvRange(samples, count, r.valueLimit, r.chromaLimit, r.blackRate, r.hueLow, r.hueHigh,
                   r.wraps, r.isBlack, r.meanSat, r.meanValue);
}

}  // namespace

int kel::detail::keepInnerLines(int* lines, int count, double factor, int extent) {
    for (int i = 0; i < count; ++i)
        lines[i] = truncated(lines[i] * factor);
    const auto low = std::count_if(lines, lines + count, [](int line) { return line < 20; });
    const auto high =
        std::count_if(lines, lines + count, [extent](int line) { return line >= extent - 19; });
    std::copy(lines + low, lines + count, lines);
    return static_cast<int>(count - low - high);
}

int kel::detail::formColourAlong(unsigned char* image, kelSize size, int smallWidth,
                                 const FormLines& lines, const HueRequest& request) {
    const auto [left, right] = sampledExtent(size.width, smallWidth, lines);
    const int sampleWidth = static_cast<int>((right - left + 1) * 0.5);
    kelSegInfo seg(static_cast<int>(sampleWidth * 0.4 + left), 0, sampleWidth, 0, 3, 0.0);

    const kelSize stackedSize{sampleWidth, kStripRows * lines.rowCount};
    SampleBuffer strip = clearedPlanes({sampleWidth, kStripRows});
    SampleBuffer stacked = clearedPlanes(stackedSize);
    int row = 0;
    for (int i = 0; i < lines.rowCount; ++i) {
        seg.y = lines.rows[i] - 1;
        seg.height = kStripRows;
        if (guard(size, seg) < 0) break;
        cut(image, size, seg, strip.data());
        KelCopyImageClip(strip.data(), {seg.width, seg.height}, stacked.data(), stackedSize, 3, 0,
                         row);
        row += seg.height;
    }
    if (row < 1) return -3;
    if (row == stackedSize.height) {
        askForRange(stacked.data(), wrapMul(sampleWidth, row), request);
        return 0;
    }

    const kelSegInfo filled(0, 0, seg.width, row, 3, 0.0);
    if (guard(size, seg) < 0) return -3;  // the last strip once more, not what is filled
    SampleBuffer part = clearedPlanes({filled.width, filled.height});
    cut(stacked.data(), stackedSize, filled, part.data());
    askForRange(part.data(), wrapMul(filled.width, filled.height), request);
    return 0;
}

int KelCalFormColor(unsigned char* image, kelSize size, int channels, int dpi, double valueLimit,
                    double chromaLimit, double blackRate, unsigned char* isBlack, int* hueLow,
                    int* hueHigh, unsigned char* wraps, double* meanSat, double* meanValue,
                    const char* /*name*/) {
    *isBlack = channels != 3 || dpi < 30 ? 1 : 0;
    if (*isBlack != 0) return 0;

    const double scale = 200.0 / dpi;
    const kelSize smallSize{truncated(size.width * scale), truncated(size.height * scale)};
    std::vector<int> rows(static_cast<size_t>(std::max(smallSize.height, 0)));
    std::vector<int> columns(static_cast<size_t>(std::max(smallSize.width, 0)));
    int rowCount = 0, columnCount = 0;
    {
        SampleBuffer small = clearedPlanes(dpi == kWorkDpi ? kelSize{0, 0} : smallSize);
        unsigned char* page = image;
        if (dpi != kWorkDpi) {
            page = small.data();
            KelResizeImage(image, size, page, smallSize, 3, 2);
        }
        WorkPlane plane(isEmpty(smallSize) ? 0 : static_cast<size_t>(planeStep(smallSize)));
        KelBinarizeImage(page, 3, plane.data(), smallSize, 1, KEL_BIN_METHOD_AUTO, 0, 15, 15);
        IplImage header = cvIplImage(planeMat(plane.data(), smallSize));
        KelDetectLines(&header, rows.data(), &rowCount, columns.data(), &columnCount, 100, 60, 5,
                       15, 80, 10, 15, 60, 16, 0);
    }
    const double factor = dpi == kWorkDpi ? 1.0 : 1.0 / scale;
    rowCount = keepInnerLines(rows.data(), rowCount, factor, size.height);
    columnCount = keepInnerLines(columns.data(), columnCount, factor, size.width);
    if (rowCount <= 0) return -4;
    return formColourAlong(
        image, size, smallSize.width, {rows.data(), rowCount, columns.data(), columnCount},
        {valueLimit, chromaLimit, blackRate, hueLow, hueHigh, wraps, isBlack, meanSat, meanValue});
}

void overOper(int low1, int high1, char wrap1, int low2, int high2, char wrap2, int* outLow,
              int* outHigh, unsigned char* outWrap) {
    if (wrap1 == wrap2) {
        *outWrap = static_cast<unsigned char>(wrap1);
        *outLow = std::min(low1, low2);
        *outHigh = std::max(high1, high2);
        return;
    }
    *outWrap = 1;
    if (wrap1 == 0) {
        *outLow = high1 > 179 ? low2 : std::max(low2, high2);
        *outHigh = high1 > 179 ? std::min(high2, low1) : high2;
    } else {
        *outLow = high2 > 179 ? low1 : std::max(low1, high2);
        *outHigh = high2 > 179 ? std::min(high1, low2) : high1;
    }
}
