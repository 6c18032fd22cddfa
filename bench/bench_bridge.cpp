// Planes <-> interleaved pixels beside OpenCV's split and merge.
#include <opencv2/core/core_c.h>
#include <opencv2/core.hpp>

#include <cstring>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_cv.h"

namespace bench {
namespace {

/// The planes of a channel image in OpenCV's order, without copying.
std::vector<cv::Mat> planesBgr(Bytes& image, kelSize size) {
    const ptrdiff_t step = static_cast<ptrdiff_t>(size.width) * size.height;
    std::vector<cv::Mat> planes;
    for (ptrdiff_t c = 2; c >= 0; --c)
        planes.push_back(kel::detail::planeMat(image.data() + c * step, size));
    return planes;
}

}  // namespace

void addBridgeRows() {
    for (const PageSet& page : pages()) {
        const kelSize size = page.size;
        auto planes = std::make_shared<Bytes>(page.colour);
        auto ours = std::make_shared<Bytes>(planes->size());
        auto theirs = std::make_shared<Bytes>(planes->size());
        auto mat = std::make_shared<cv::Mat>();
        cv::merge(planesBgr(*planes, size), *mat);
        auto merged = std::make_shared<cv::Mat>(mat->size(), CV_8UC3);
        auto mergedByUs = std::make_shared<cv::Mat>(mat->size(), CV_8UC3);
        auto theirPlanes = std::make_shared<std::vector<cv::Mat>>(planesBgr(*theirs, size));
        auto ourSource = std::make_shared<std::vector<cv::Mat>>(planesBgr(*planes, size));

        addRow({"KelGetIplImage", page.name + " colour",
                [=] {
                    IplImage header = cvIplImage(*mat);
                    KelGetIplImage(&header, ours->data());
                },
                "OpenCV split", [=] { cv::split(*mat, *theirPlanes); }, 1.0,
                [=] { return *ours == *theirs && *ours == *planes; }});
        addRow({"KelPutIplImage", page.name + " colour",
                [=] {
                    IplImage header = cvIplImage(*mergedByUs);
                    KelPutIplImage(&header, planes->data());
                },
                "OpenCV merge", [=] { cv::merge(*ourSource, *merged); }, 1.0,
                [=] { return std::memcmp(merged->data, mergedByUs->data, planes->size()) == 0; }});
    }
}

}  // namespace bench
