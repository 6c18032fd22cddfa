// Binding holes: round dark regions in a strip along each side of the page.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "kel_ConnectArea.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "threshold_plane.h"
#include "toolkit_regions.h"

using namespace kel::detail;

namespace {

constexpr int kDarkLevel = 90;
constexpr int kBinaryMode = 3;

/// Both strips in one plane of twice their width. The right one starts so late that it lands in the
/// row below: regions are found across the two as they then lie, and hosts are tuned to it.
class StripPlane {
  public:
    StripPlane(int stripWidth, int height, unsigned char background)
        : strip(stripWidth),
          size{2 * stripWidth, height},
          samples(static_cast<size_t>(planeStep(size)) + rightOffset(0), background) {}

    unsigned char* left(int y) { return &samples[leftOffset(y)]; }
    /// That of the last row lies behind the plane, where nothing is labelled.
    unsigned char* right(int y) { return &samples[rightOffset(y)]; }

    int strip;
    kelSize size;

  private:
    size_t leftOffset(int y) const {
        return static_cast<size_t>(y) * static_cast<size_t>(size.width);
    }
    size_t rightOffset(int y) const {
        return leftOffset(y) + static_cast<size_t>(3 * int64_t{strip} - 1);
    }

    std::vector<unsigned char> samples;
};

/// The page, of which two strips are looked at.
struct Page {
    unsigned char* samples;
    kelSize size;
    int channels;

    unsigned char* at(int plane, int x, int y) const {
        return planeOf(samples, size, plane).row(y) + x;
    }

    void copyGrey(int x, int y, unsigned char* to, size_t count) const {
        if (channels == 3)
            rowKernels().luminance(at(0, x, y), at(1, x, y), at(2, x, y), to, count);
        else
            std::memcpy(to, at(0, x, y), count);
    }
};

/// Rows from the top, left before right: where they meet, the left strip of the next row counts.
StripPlane stripsOf(const Page& page, int strip, bool isBinary) {
    StripPlane strips(strip, page.size.height, isBinary ? 0 : 255);
    const Page first{page.samples, page.size, isBinary ? 1 : page.channels};
    for (int y = 0; y < page.size.height; ++y) {
        first.copyGrey(0, y, strips.left(y), static_cast<size_t>(strip));
        first.copyGrey(page.size.width - 1 - strip, y, strips.right(y), static_cast<size_t>(strip));
    }
    if (!isBinary)
        thresholdSamples(strips.left(0), strips.left(0),
                         static_cast<size_t>(planeStep(strips.size)), kDarkLevel, 1);
    return strips;
}

/// A number of pixels, as far as an int reaches.
int truncated(double pixels) {
    return pixels < 2147483647.0 ? static_cast<int>(pixels) : 2147483647;
}

bool isHole(const Region& region, double circle) {
    const int area = static_cast<int>(region.pixels);
    if (area <= truncated(0.5 * circle) || area >= truncated(circle * 1.2)) return false;
    kelConnectArea record{area, region.left, region.top, region.right, region.bottom, 0};
    KelCAShape(&record);
    return record.shape == 1;
}

/// Turns the plane into marks of what belongs to a hole. False when there is none.
bool markHoles(StripPlane& strips, int radius) {
    const BytePlane plane{strips.left(0), strips.size.width, strips.size.width, strips.size.height};
    const ToolkitRegions regions(plane, rowKernels().packNonZero);
    if (regions.count() < 5) return false;
    const double circle = truncated(3.1415926 * radius * radius);
    std::vector<char> holes(static_cast<size_t>(regions.count()));
    for (int i = 0; i < regions.count(); ++i)
        holes[static_cast<size_t>(i)] = isHole(regions[i], circle) ? 1 : 0;
    strips = StripPlane(strips.strip, strips.size.height, 0);
    regions.forEachRun([&](int y, Run run, int region) {
        if (holes[static_cast<size_t>(region)] != 0)
            std::memset(strips.left(y) + run.begin, 1, static_cast<size_t>(run.end - run.begin));
    });
    return std::count(holes.begin(), holes.end(), 1) > 0;
}

void paintStrip(const Page& page, int left, int y, const unsigned char* marks, int strip,
                const unsigned char paint[3]) {
    if (std::memchr(marks, 1, static_cast<size_t>(strip)) == nullptr) return;
    for (int i = 0; i < strip; ++i)
        for (int c = 0; marks[i] != 0 && c < (page.channels == 1 ? 1 : 3); ++c)
            *page.at(c, left + i, y) = paint[c];
}

}  // namespace

int KelDetectAndFixBindingHole(unsigned char* image, int w, int h, int channels, int mode,
                               int stripWidth, int radius, int margin, int /*reserved1*/,
                               int /*reserved2*/, int red, int green, int blue) {
    if ((int64_t{margin} + radius) * 2 + 10 > w || h < 300 || int64_t{stripWidth} * 2 + 100 > w)
        return 0;
    const bool isBinary = mode == kBinaryMode;
    // Without a strip, or a grey to look at, there are no regions.
    if (stripWidth < 1 || w < 1 || (!isBinary && channels != 1 && channels != 3)) return 0;
    const Page page{image, {w, h}, channels};
    StripPlane strips = stripsOf(page, stripWidth, isBinary);
    if (!markHoles(strips, radius)) return 0;
    const unsigned char paint[3] = {static_cast<unsigned char>(red),
                                    static_cast<unsigned char>(green),
                                    static_cast<unsigned char>(blue)};
    for (int y = 0; y < h; ++y) {
        paintStrip(page, 0, y, strips.left(y), stripWidth, paint);
        // What would lie behind the plane has no label.
        if (y < h - 1) paintStrip(page, w - 1 - stripWidth, y, strips.right(y), stripWidth, paint);
    }
    return 0;
}

int kel_GetLabel(unsigned char* plane, int w, int h, unsigned short* labels) {
    const size_t count = planeBytes(w, h).value_or(0);
    std::fill_n(labels, count, static_cast<unsigned short>(0));
    const ToolkitRegions regions({plane, w, w, h}, rowKernels().packNonZero);
    regions.forEachRun([&](int y, Run run, int region) {
        unsigned short* const row = labels + static_cast<ptrdiff_t>(y) * w;
        std::fill(row + run.begin, row + run.end, static_cast<unsigned short>(region + 1));
    });
    return regions.count();
}
