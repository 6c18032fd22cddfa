// Spot removal: areas are found as runs and erased as runs; no label is written anywhere.
#include <opencv2/core/core_c.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "im_handles.h"
#include "im_process.h"
#include "kel_ConnectArea_internal.h"
#include "kernels/row_kernels.h"
#include "kernels/run_labels.h"
#include "plane_view.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

/// The areas of an image, and which of them stay.
struct Spots {
    Spots(const PlaneView& image, PackForeground pack)
        : labels(labelRuns({image.data, image.strideBytes, image.width, image.height}, pack, 8)) {}

    /// Tests every area as kel_set_caType_value does.
    void keep(int type, int value, int value2 = 0) {
        std::vector<kelConnectArea> records{{}};
        records.reserve(labels.regionCount + size_t{1});
        for (const Region& r : labels.regions())
            records.push_back({static_cast<int>(r.pixels), r.left, r.top, r.right, r.bottom, 0});
        stays.assign(records.size(), 0);
        kept = kel_set_caType_value(records.data(), caNum(), stays.data(), type, value, value2);
    }

    int caNum() const { return static_cast<int>(labels.regionCount) + 1; }
    bool stay(uint32_t region) const { return stays[region + 1] != 0; }

    RunLabels labels;
    std::vector<int> stays;
    int kept = 0;
};

Spots spotsOf(const IplImage& image) {
    return {firstBytesOf(image), rowKernels().packNonZero};
}

void eraseOthers(const Spots& spots, const PlaneView& image) {
    spots.labels.forEachRun([&](int y, Run run, uint32_t region) {
        if (!spots.stay(region))
            std::memset(image.row(y) + run.begin, 0, static_cast<size_t>(run.end - run.begin));
    });
}

/// Erases what was not kept, or the whole image when nothing was.
void eraseOrClear(const Spots& spots, IplImage* image) {
    if (spots.kept > 0)
        eraseOthers(spots, firstBytesOf(*image));
    else
        cvSetZero(image);
}

void printCounts(const Spots& spots) {
    std::printf("labelNo = %d, setCNo = %d\n", spots.caNum(), spots.kept);
}

int removeQuietly(IplImage* image, int type, int value) {
    Spots spots = spotsOf(*image);
    if (spots.labels.regionCount == 0) return 0;
    spots.keep(type, value);
    eraseOrClear(spots, image);
    return 0;
}

/// Everything but the runs that stay becomes 0: samples outside all areas too.
void keepRunsOnly(const Spots& spots, const PlaneView& image) {
    for (int y = 0; y < image.height; ++y) {
        unsigned char* const row = image.row(y);
        int done = 0;
        const auto clearTo = [&](int end) {
            std::memset(row + done, 0, static_cast<size_t>(end - done));
        };
        spots.labels.forEachRunOfRow(y, [&](Run run, uint32_t region) {
            if (!spots.stay(region)) return;
            clearTo(run.begin);
            done = run.end;
        });
        clearTo(image.width);
    }
}

}  // namespace

int kel_del_smallspot_IplImage(IplImage* image, int minArea) {
    Spots spots = spotsOf(*image);
    if (spots.labels.regionCount == 0) return 0;
    spots.keep(5, minArea);
    printCounts(spots);
    eraseOrClear(spots, image);
    return 0;
}

int kel_del_smallspot_IplImage_bill(IplImage* image, int minArea, int maxArea) {
    std::printf("len = %d, w = %d, h = %d\n", wrapMul(image->width, image->height), image->width,
                image->height);
    Spots spots = spotsOf(*image);
    if (spots.labels.regionCount == 0) return 0;
    spots.keep(8, minArea, maxArea);
    printCounts(spots);
    if (spots.kept == 0) {
        std::printf("setCNo = %d\n", spots.kept);
        return -1;
    }
    eraseOthers(spots, firstBytesOf(*image));
    return 0;
}

int kel_del_smallspot_IplImage1(IplImage* image) {
    return removeQuietly(image, 7, 0);
}

int kel_del_small_big_spot_IplImage(IplImage* image, int minArea) {
    return removeQuietly(image, 6, minArea);
}

int kel_del_smallspot_uc(unsigned char* image, int w, int h, int minArea) {
    const PlaneView plane{image, w, h, w};
    Spots spots(plane, rowKernels().area.packFull);
    if (spots.labels.regionCount == 0) return 0;
    spots.keep(5, minArea);
    keepRunsOnly(spots, plane);
    return 0;
}

int PruneSmallSpot(unsigned char* image, int w, int h, int area) {
    const ImImageHandle work = makeImImage(w, h, IM_GRAY);
    if (work == nullptr) return 0;
    const auto bytes = static_cast<size_t>(planeStep({w, h}));
    std::memcpy(work->data[0], image, bytes);
    if (imProcessRemoveByArea(work.get(), work.get(), 8, area, 0, 0) == IM_ERR_NONE)
        std::memcpy(image, work->data[0], bytes);  // samples are kept or 0
    return 0;
}
