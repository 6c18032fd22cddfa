// Projections beside OpenCV's reduction.
#include <opencv2/imgproc.hpp>

#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_PatternAnalysis.h"

namespace bench {
namespace {

using kel::detail::planeMat;

Bytes binaryOf(const PageSet& page) {
    Bytes binary(page.area());
    for (size_t i = 0; i < binary.size(); ++i)
        binary[i] = page.grey[i] < 150 ? 255 : 0;
    return binary;
}

void addProjectionRows(const PageSet& page, const std::shared_ptr<Bytes>& binary) {
    const kelSize size = page.size;
    for (const char direction : {'H', 'V'}) {
        const bool rows = direction == 'H';
        auto ours = std::make_shared<std::vector<int>>(
            static_cast<size_t>(rows ? size.height : size.width));
        auto theirs = std::make_shared<cv::Mat>();
        const auto call = [=] {
            cv::reduce(planeMat(binary->data(), size), *theirs, rows ? 1 : 0, cv::REDUCE_SUM,
                       CV_32S);
        };
        const int length = rows ? size.width : size.height;
        const auto equal = [=](int (*ourCall)(unsigned char*, kelSize, int*, char), int divisor) {
            ourCall(binary->data(), size, ours->data(), direction);
            call();
            for (size_t i = 0; i < ours->size(); ++i)
                if ((*ours)[i] != theirs->ptr<int>()[i] / divisor) return false;
            return true;
        };
        addRow({std::string("KelImageProjcet ") + direction, page.name + " binary",
                [=] { KelImageProjcet(binary->data(), size, ours->data(), direction); },
                "OpenCV reduce", call, 1.0, [=] { return equal(KelImageProjcet, length); }});
        addRow({std::string("KelImageProject1 ") + direction, page.name + " binary",
                [=] { KelImageProject1(binary->data(), size, ours->data(), direction); },
                "OpenCV reduce", call, 1.0, [=] { return equal(KelImageProject1, 255); }});
    }
}

}  // namespace

void addAnalysisRows() {
    for (const PageSet& page : pages()) {
        const auto binary = std::make_shared<Bytes>(binaryOf(page));
        addProjectionRows(page, binary);
    }
}

}  // namespace bench
