// Luminance, thresholds, the estimator and the dispatcher's methods beside OpenCV and memcpy.
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"

namespace bench {
namespace {

using kel::detail::planeMat;

Bytes plainLuminance(const Bytes& colour, size_t n) {
    Bytes grey(n);
    kel::detail::rowKernels(kel::detail::CpuLevel::plain)
        .luminance(colour.data(), colour.data() + n, colour.data() + 2 * n, grey.data(), n);
    return grey;
}

/// A colour page whose three planes are equal: what a grey scan saved as colour looks like.
Bytes neutralPage(const PageSet& page) {
    Bytes planes = page.grey;
    for (int c = 1; c < 3; ++c)
        planes.insert(planes.end(), page.grey.begin(), page.grey.end());
    return planes;
}

void addLuminanceRows(const PageSet& page, const Bytes& colour, const std::string& name) {
    const kelSize size = page.size;
    const size_t n = page.area();
    auto src = std::make_shared<Bytes>(colour);
    auto grey = std::make_shared<Bytes>(n);
    auto mat = std::make_shared<cv::Mat>();
    auto planes = std::make_shared<std::vector<cv::Mat>>();
    for (size_t c = 3; c-- > 0;)
        planes->push_back(planeMat(src->data() + c * n, size));
    cv::merge(*planes, *mat);
    auto cvGrey = std::make_shared<cv::Mat>(size.height, size.width, CV_8UC1);
    const auto ours = [=] { KelColorConvert(src->data(), size, 3, grey->data(), size, 1); };
    const auto equal = [=] { return *grey == plainLuminance(*src, n); };
    addRow({"luminance, exact", page.name + name, ours, "OpenCV cvtColor",
            [=] { cv::cvtColor(*mat, *cvGrey, cv::COLOR_BGR2GRAY); }, 1.0, equal});
    auto merged = std::make_shared<cv::Mat>(mat->size(), CV_8UC3);
    addRow({"luminance, exact", page.name + name, ours, "OpenCV merge + cvtColor",
            [=] {
                cv::merge(*planes, *merged);
                cv::cvtColor(*merged, *cvGrey, cv::COLOR_BGR2GRAY);
            },
            1.0, equal});
}

void addThresholdRows(const PageSet& page) {
    const kelSize size = page.size;
    const size_t n = page.area();
    auto src = std::make_shared<Bytes>(page.grey);
    auto ours = std::make_shared<Bytes>(n);
    auto theirs = std::make_shared<Bytes>(n);
    const auto call = [=] { KelBinarizeThreshold(src->data(), ours->data(), size, 150, 0); };
    const auto cvCall = [=] {
        cv::Mat target = planeMat(theirs->data(), size);
        cv::threshold(planeMat(src->data(), size), target, 150, 255, cv::THRESH_BINARY);
    };
    const auto equal = [=] {
        cvCall();
        return *ours == *theirs;
    };
    addRow({"KelBinarizeThreshold", page.name + " grey", call, "memcpy",
            [=] { std::memcpy(theirs->data(), src->data(), n); }, 1.5, equal});
    addRow({"KelBinarizeThreshold", page.name + " grey", call, "OpenCV threshold", cvCall, 1.0,
            equal});
    auto level = std::make_shared<int>();
    addRow({"KelAutoThresholdValue3", page.name + " grey",
            [=] { *level = KelAutoThresholdValue3(src->data(), nullptr, size); },
            "OpenCV Otsu level",
            [=] {
                cv::Mat target = planeMat(theirs->data(), size);
                cv::threshold(planeMat(src->data(), size), target, 0, 255,
                              cv::THRESH_BINARY | cv::THRESH_OTSU);
            },
            3.0,
            [=] {
                kel::detail::limitCpuLevel(kel::detail::CpuLevel::plain);
                const int plain = KelAutoThresholdValue3(src->data(), nullptr, size);
                kel::detail::limitCpuLevel(kel::detail::CpuLevel::best);
                return *level == plain;
            }});
}

/// Method 3 on a colour page beside the bare call on a grey plane that is there already.
void addLocalRow(const PageSet& page, int block) {
    const kelSize size = page.size;
    const size_t n = page.area();
    auto src = std::make_shared<Bytes>(page.colour);
    auto ours = std::make_shared<Bytes>(n);
    auto theirs = std::make_shared<Bytes>(n);
    auto grey = std::make_shared<cv::Mat>();
    std::vector<cv::Mat> planes;
    for (size_t c = 3; c-- > 0;)
        planes.push_back(planeMat(src->data() + c * n, size));
    cv::Mat mat;
    cv::merge(planes, mat);
    cv::cvtColor(mat, *grey, cv::COLOR_BGR2GRAY);
    addRow({"KelBinarizeImage method 3, block " + std::to_string(block), page.name + " colour",
            [=] { KelBinarizeImage(src->data(), 3, ours->data(), size, 1, 3, 0, block, 10); },
            "OpenCV adaptiveThreshold",
            [=] {
                cv::Mat target = planeMat(theirs->data(), size);
                cv::adaptiveThreshold(*grey, target, 255, cv::ADAPTIVE_THRESH_GAUSSIAN_C,
                                      cv::THRESH_BINARY, block, 10);
            },
            1.15, [=] { return *ours == *theirs; }});
}

void addAutoRow(const PageSet& page) {
    const kelSize size = page.size;
    auto src = std::make_shared<Bytes>(page.colour);
    auto ours = std::make_shared<Bytes>(page.area());
    auto work = std::make_shared<Bytes>(page.area());
    auto target = std::make_shared<Bytes>(page.area());
    addRow({"KelBinarizeImage method 2", page.name + " colour",
            [=] { KelBinarizeImage(src->data(), 3, ours->data(), size, 0, 2, 0, 0, 0); },
            "its three steps alone",
            [=] {
                KelColorConvert(src->data(), size, 3, work->data(), size, 1);
                const int level = KelAutoThresholdValue3(work->data(), nullptr, size);
                KelBinarizeThreshold(work->data(), target->data(), size, level, 0);
            },
            1.05, [=] { return *ours == *target; }});
}

}  // namespace

void addBinarizeRows() {
    for (const PageSet& page : pages()) {
        addLuminanceRows(page, page.colour, " colour");
        addLuminanceRows(page, neutralPage(page), " neutral");
        addThresholdRows(page);
        addAutoRow(page);
        addLocalRow(page, 15);
        addLocalRow(page, 51);
    }
}

}  // namespace bench
