// Planes <-> interleaved pixels beside OpenCV's split and merge.
#include <opencv2/core/core_c.h>
#include <opencv2/core.hpp>

#include <algorithm>
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
        // Both sides write to the same memory: where a buffer lies is worth several per cent here.
        auto planes = std::make_shared<Bytes>(page.colour);
        auto split = std::make_shared<Bytes>(planes->size());
        auto planeMats = std::make_shared<std::vector<cv::Mat>>(planesBgr(*planes, size));
        auto splitMats = std::make_shared<std::vector<cv::Mat>>(planesBgr(*split, size));
        auto mat = std::make_shared<cv::Mat>();
        auto merged = std::make_shared<cv::Mat>(size.height, size.width, CV_8UC3);
        cv::merge(*planeMats, *mat);

        const auto get = [=] {
            IplImage header = cvIplImage(*mat);
            KelGetIplImage(&header, split->data());
        };
        const auto put = [=] {
            IplImage header = cvIplImage(*merged);
            KelPutIplImage(&header, planes->data());
        };
        addRow({"KelGetIplImage", page.name + " colour", get, "OpenCV split",
                [=] { cv::split(*mat, *splitMats); }, 1.0,
                [=] {
                    std::fill(split->begin(), split->end(), static_cast<unsigned char>(0));
                    get();
                    return *split == *planes;
                }});
        addRow({"KelPutIplImage", page.name + " colour", put, "OpenCV merge",
                [=] { cv::merge(*planeMats, *merged); }, 1.0,
                [=] {
                    merged->setTo(0);
                    put();
                    return std::memcmp(merged->data, mat->data, planes->size()) == 0;
                }});
    }
}

}  // namespace bench
