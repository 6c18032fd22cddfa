// Hue maps, seals, coloured print and whole-and-part binarization beside OpenCV's conversion to
// HSV, its adaptive threshold, and memcpy.
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "kel_segment_internal.h"
#include "kernels/row_kernels.h"

namespace bench {
namespace {

using kel::detail::CpuLevel;
using kel::detail::limitCpuLevel;
using Shared = std::shared_ptr<Bytes>;

/// One colour page and the calls that rows on it stand beside.
struct ColourPage {
    std::string name;
    kelSize size;
    Shared src;
    Call toHsv, toMemory;

    ColourPage(const PageSet& page, const Bytes& colour, const std::string& kind)
        : name(page.name + kind), size(page.size), src(std::make_shared<Bytes>(colour)) {
        std::vector<cv::Mat> planes;
        for (size_t c = 3; c-- > 0;)
            planes.push_back(kel::detail::planeMat(src->data() + c * page.area(), size));
        auto mat = std::make_shared<cv::Mat>(), hsv = std::make_shared<cv::Mat>();
        cv::merge(planes, *mat);
        toHsv = [=] { cv::cvtColor(*mat, *hsv, cv::COLOR_BGR2HSV); };
        auto copy = std::make_shared<Bytes>(colour.size());
        toMemory = [copy, from = src] { std::memcpy(copy->data(), from->data(), copy->size()); };
    }

    /// A row whose result must be that of the plain kernels. `run` fills what it is given.
    void add(const std::string& operation, const std::function<void(Bytes&)>& run,
             const std::string& peerName, const Call& peer, double bar, size_t bytes = 0) const {
        auto out = std::make_shared<Bytes>(bytes != 0 ? bytes : src->size() / 3);
        addRow({operation, name, [=] { run(*out); }, peerName, peer, bar,
                [=] {
                    Bytes plain(out->size());
                    limitCpuLevel(CpuLevel::plain);
                    run(plain);
                    limitCpuLevel(CpuLevel::best);
                    return *out == plain;
                }});
    }
};

constexpr const char* kToHsv = "OpenCV cvtColor to HSV";
constexpr const char* kToMemory = "memcpy of the planes";

void addSealRows(const ColourPage& page) {
    const auto seal = [&](double bar, const std::string& colour, kelHSVSegConfig config) {
        page.add(
            "KelSegementImage_hsv_param, " + colour,
            [=, src = page.src, size = page.size](Bytes& out) mutable {
                KelSegementImage_hsv_param(src->data(), size, out.data(), &config);
            },
            kToHsv, page.toHsv, bar);
    };
    // Two passes, and three; then three on a page where nothing has the hue, and the level is so
    // low that every row has samples round it.
    seal(6.0, "red", {0.1, 330, 20, 1, 0, 9, 15, 80120, 20, 30, 100, 180, 20, 90});
    seal(6.0, "red, three passes", {0.1, 330, 380, 0, 0, 9, 15, 80120, 20, 30, 100, 180, 20, 90});
    seal(6.0, "blue, there is none", {0.1, 200, 260, 0, 0, 9, 15, 80120, 20, 30, 100, 180, 15, 90});
    const auto src = page.src;
    const kelSize size = page.size;
    page.add(
        "KelSegementImage_hsv",
        [=](Bytes& out) {
            unsigned char level = 0;
            KelSegementImage_hsv(src->data(), size, out.data(), 0.1, 330, 30, true, 0, &level, 9, 5,
                                 0, 3, 3, 15);
        },
        kToHsv, page.toHsv, 6.0);
}

void addPrintRows(const ColourPage& page) {
    const auto src = page.src;
    const kelSize size = page.size;
    page.add(
        "Kel_GenerateBlackWhiteMask",
        [=](Bytes& out) {
            Kel_GenerateBlackWhiteMask(src->data(), size, out.data(), 25, 40, 100, 180);
        },
        kToMemory, page.toMemory, 2.0);
    page.add(
        "KelEliminateRed", [=](Bytes& out) { KelEliminateRed(src->data(), out.data(), size); },
        kToMemory, page.toMemory, 2.0, src->size());
    for (int smooth : {0, 1})
        page.add(
            smooth != 0 ? "KelSegNumImageHSV, smooth" : "KelSegNumImageHSV",
            [=](Bytes& out) {
                KelSegNumImageHSV(src->data(), size, out.data(), 0, 0, 20, smooth, 0);
            },
            kToHsv, page.toHsv, 6.0);
    page.add(
        "KelSegBlackInfoByColor",
        [=](Bytes& out) {
            out = *src;
            KelSegBlackInfoByColor(out.data(), size, 3, 20, 20, 20, 15);
        },
        kToHsv, page.toHsv, 1.0, src->size());
    page.add(
        "KelSegImageReserveColor",
        [=](Bytes& out) { KelSegImageReserveColor(src->data(), size, out.data(), 1.0); }, kToHsv,
        page.toHsv, 2.0);
    page.add(
        "KelBinarizeColor",
        [=](Bytes& out) {
            int params[] = {0, 20, 100, 60};
            KelBinarizeColor(src->data(), size.width, size.height, 3, out.data(), params);
        },
        kToHsv, page.toHsv, 4.0);
}

/// The drivers beside the local threshold that they contain.
void addDriverRows(const ColourPage& page, int block) {
    const auto src = page.src;
    const kelSize size = page.size;
    kelBinrizeWholeAndPartParams params{20, 250, 20, 20, 0, 1, 0.1, 5, 1, 5, block, 5, 0};
    auto grey = std::make_shared<Bytes>(src->size() / 3), part = std::make_shared<Bytes>(*grey);
    KelColorConvert(src->data(), size, 3, grey->data(), size, 1);
    const Call local = [=] {
        cv::Mat target = kel::detail::planeMat(part->data(), size);
        cv::adaptiveThreshold(kel::detail::planeMat(grey->data(), size), target, 255,
                              cv::ADAPTIVE_THRESH_GAUSSIAN_C, cv::THRESH_BINARY, block, 5);
    };
    const std::string name = ", block " + std::to_string(block), peer = "OpenCV adaptiveThreshold";
    page.add(
        "KelBinarizeImageWhole1" + name,
        [=](Bytes& out) mutable {
            KelBinarizeImageWhole1(src->data(), size, 3, out.data(), &params, 0);
        },
        peer, local, 1.3);
    page.add(
        "KelBinarizeImage0" + name,
        [=](Bytes& out) mutable {
            KelBinarizeImage0(src->data(), size, 3, out.data(), &params, 0, 255);
        },
        peer, local, 1.3);
    page.add(
        "KelBinarizeImage0_BLACK" + name,
        [=](Bytes& out) mutable {
            KelBinarizeImage0_BLACK(src->data(), size, 3, out.data(), &params);
        },
        peer, local, 1.3);
    kelHSVSegConfig config{0.1, 330, 20, 1, 0, 9, block, 0, 25, 40, 100, 180, 15, 90};
    page.add(
        "KelBinarizeImageHSVPart" + name,
        [=](Bytes& out) mutable {
            KelBinarizeImageHSVPart(src->data(), size, out.data(), &config, &params);
        },
        "its segmentation + adaptiveThreshold",
        [=] {
            unsigned char level = 0;
            KelSegementImage_hsv(src->data(), size, part->data(), 0.1, 330, 20, true, 0, &level, 9,
                                 block, 0, 3, 3, 10);
            local();
        },
        1.3);
}

}  // namespace

void addColourRows() {
    for (const PageSet& set : pages()) {
        const ColourPage page(set, set.colour, " colour");
        Bytes equalPlanes = set.grey;
        for (int c = 1; c < 3; ++c)
            equalPlanes.insert(equalPlanes.end(), set.grey.begin(), set.grey.end());
        const ColourPage neutral(set, equalPlanes, " neutral");
        for (const ColourPage* p : {&page, &neutral})
            p->add(
                "KelRgb2Grey_Hsv",
                [src = p->src, size = p->size](Bytes& out) {
                    KelRgb2Grey_Hsv(src->data(), size, out.data(), 0.1, 350);
                },
                kToHsv, p->toHsv, p == &page ? 1.0 : 0.2);
        addSealRows(page);
        addPrintRows(page);
        addDriverRows(page, 15);
        addDriverRows(page, 51);
    }
}

}  // namespace bench
