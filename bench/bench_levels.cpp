// Histograms, levels, and the binarizations that stand on them, beside OpenCV's calls.
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "kernels/row_kernels.h"

namespace bench {
namespace {

using kel::detail::CpuLevel;
using kel::detail::planeMat;
using kel::detail::RowKernels;
using kel::detail::rowKernels;

/// A page with room for our result and the peer's.
struct Planes {
    Planes(kelSize pageSize, Bytes samples)
        : size(pageSize),
          src(std::move(samples)),
          n(static_cast<size_t>(size.width) * static_cast<size_t>(size.height)),
          ours(n),
          theirs(n) {}
    cv::Mat source() { return planeMat(src.data(), size); }
    cv::Mat target() { return planeMat(theirs.data(), size); }
    kelSize size;
    Bytes src;
    size_t n;
    Bytes ours, theirs;
};

using Shared = std::shared_ptr<Planes>;

Shared greyOf(const PageSet& page) {
    return std::make_shared<Planes>(page.size, page.grey);
}

void adaptive(const Shared& p, int method, int block, double offset) {
    cv::Mat target = p->target();
    cv::adaptiveThreshold(p->source(), target, 255, method, cv::THRESH_BINARY, block, offset);
}

void otsu(const Shared& p, int type) {
    cv::Mat target = p->target();
    cv::threshold(p->source(), target, 0, 255, type | cv::THRESH_OTSU);
}

/// Whether a call has the same result with the kernels of every processor.
bool sameOnEveryLevel(const Shared& p, const Call& call) {
    call();
    const Bytes best = p->ours;
    kel::detail::limitCpuLevel(CpuLevel::plain);
    call();
    kel::detail::limitCpuLevel(CpuLevel::best);
    return best == p->ours;
}

void addHistogramRows(const PageSet& page) {
    const Shared p = greyOf(page);
    const std::string name = page.name + " grey";
    auto counts = std::make_shared<std::vector<int>>(256);
    auto theirs = std::make_shared<cv::Mat>();
    addRow({"KelCalHist", name, [=] { KelCalHist(p->src.data(), p->size, counts->data()); },
            "OpenCV calcHist",
            [=] {
                const int channel = 0, bins = 256;
                const float range[] = {0, 256};
                const float* ranges = range;
                const cv::Mat source = p->source();
                cv::calcHist(&source, 1, &channel, cv::Mat(), *theirs, 1, &bins, &ranges);
            },
            1.0,
            [=] {
                return std::equal(
                    counts->begin(), counts->end(), theirs->ptr<float>(),
                    [](int ours, float bin) { return ours == static_cast<int>(bin); });
            }});
    auto table = std::make_shared<Bytes>(256);
    const Call levels = [=] {
        KelColorLeversAdjust1D(p->src.data(), p->ours.data(), p->size, 0.01, 0.01);
    };
    addRow({"KelColorLeversAdjust1D", name, levels, "OpenCV LUT",
            [=] {
                cv::Mat target = p->target();
                cv::LUT(p->source(), planeMat(table->data(), {256, 1}), target);
            },
            2.0, [=] { return sameOnEveryLevel(p, levels); }});
}

void addGlobalRows(const PageSet& page) {
    const Shared p = greyOf(page);
    const std::string name = page.name + " grey";
    addRow(
        {"KelBinarizeImageOstuTraditional", name,
         [=] { KelBinarizeImageOstuTraditional(p->src.data(), 1, p->ours.data(), p->size, 0, 0); },
         "OpenCV threshold, OTSU", [=] { otsu(p, cv::THRESH_BINARY); }, 1.0,
         [=] { return p->ours == p->theirs; }});
    const Call iterated = [=] {
        unsigned char level = 0;
        KelBinarize_qifa(p->src.data(), p->size, p->ours.data(), &level, 0, 0);
    };
    addRow({"KelBinarize_qifa", name, iterated, "OpenCV threshold, OTSU",
            [=] { otsu(p, cv::THRESH_BINARY); }, 1.0,
            [=] { return sameOnEveryLevel(p, iterated); }});
    const Call both = [=] {
        KelBinarizeThreshold_WholeAndPart(p->src.data(), p->ours.data(), p->size, 150, 0.8, 1.2);
    };
    addRow({"KelBinarizeThreshold_WholeAndPart", name, both, "its adaptiveThreshold",
            [=] { adaptive(p, cv::ADAPTIVE_THRESH_GAUSSIAN_C, 19, 0); }, 1.15,
            [=] { return sameOnEveryLevel(p, both); }});
}

/// Faint rules across white paper, each with a dot of ink at one end, from which it grows.
Shared ruledPage(const PageSet& page, bool inkAtRight) {
    Shared p = std::make_shared<Planes>(page.size, Bytes(page.area(), 240));
    const auto width = static_cast<size_t>(page.size.width);
    for (size_t y = 20; y + 20 < static_cast<size_t>(page.size.height); y += 20) {
        unsigned char* const row = &p->src[y * width];
        std::fill(row + 1, row + width - 1, 215);
        std::fill_n(inkAtRight ? row + width - 9 : row + 1, 8, 20);
    }
    return p;
}

void addGrowthRows(const PageSet& page) {
    const auto callOn = [](const Shared& p) -> Call {
        return [=] {
            KelAutoThresholdwithOstuAndMeanC(p->src.data(), p->ours.data(), p->size, 15, 5);
        };
    };
    const Shared p = greyOf(page);
    addRow({"KelAutoThresholdwithOstuAndMeanC", page.name + " grey", callOn(p),
            "adaptiveThreshold, mean, and OTSU",
            [=] {
                adaptive(p, cv::ADAPTIVE_THRESH_MEAN_C, 15, 5);
                otsu(p, cv::THRESH_BINARY_INV);
            },
            1.2, [=] { return sameOnEveryLevel(p, callOn(p)); }});
    const Shared leftward = ruledPage(page, true), rightward = ruledPage(page, false);
    addRow({"the same, rules growing leftward", page.name + " ruled", callOn(leftward),
            "growing rightward", callOn(rightward), 1.0, [=] {
                const auto marks = [](const Bytes& b) {
                    return std::count(b.begin(), b.end(), 255);
                };
                return marks(leftward->ours) == marks(rightward->ours) &&
                       marks(leftward->ours) > static_cast<ptrdiff_t>(leftward->n / 25);
            }});
}

/// A fold of three planes into one, by the kernels of one level.
using Fold = void (*)(const RowKernels&, const Planes&, unsigned char*);

void addFoldRow(const PageSet& page, const std::string& name, Fold fold) {
    const Shared p = std::make_shared<Planes>(page.size, page.colour);
    addRow({"fold of grey adjustment, " + name, page.name + " colour",
            [=] { fold(rowKernels(), *p, p->ours.data()); }, "exact luminance",
            [=] { KelColorConvert(p->src.data(), p->size, 3, p->theirs.data(), p->size, 1); }, 1.5,
            [=] {
                Bytes plain(p->n);
                fold(rowKernels(CpuLevel::plain), *p, plain.data());
                return plain == p->ours;
            }});
}

void addGreyAdjustRows(const PageSet& page) {
    addFoldRow(page, "spread", [](const RowKernels& k, const Planes& p, unsigned char* out) {
        const unsigned char* const r = p.src.data();
        k.greySpread(r, r + p.n, r + 2 * p.n, out, p.n, 1.0);
    });
    addFoldRow(page, "red lift", [](const RowKernels& k, const Planes& p, unsigned char* out) {
        const unsigned char* const r = p.src.data();
        k.greyRedLift(r, r + p.n, r + 2 * p.n, out, p.n, 1.0);
    });
    const Shared p = std::make_shared<Planes>(page.size, page.colour);
    auto work = std::make_shared<Bytes>(p->n);
    addRow({"kel_BinaryImageByGreyAdjust, mode 0", page.name + " colour",
            [=] {
                kel_BinaryImageByGreyAdjust(p->src.data(), p->size.width, p->size.height, 3,
                                            p->ours.data(), 0, 31, 10, 0, 0.0F);
            },
            "its four steps alone",
            [=] {
                KelColorConvert(p->src.data(), p->size, 3, work->data(), p->size, 1);
                KelColorLeversAdjust1D(work->data(), work->data(), p->size, 0.01, 0.01);
                KelBinarizeImage(work->data(), 1, p->theirs.data(), p->size, 1, 3, 0, 31, 10);
                const int level = KelAutoThresholdValue3(work->data(), nullptr, p->size);
                cv::Mat target = p->target();
                target.setTo(0, planeMat(work->data(), p->size) > level);
            },
            1.05, [=] { return p->ours == p->theirs; }});
    const auto mark = [=](unsigned char* marks) {
        const int w = p->size.width, h = p->size.height;
        KelBinarizePartArea(p->src.data(), marks, w, h, 3, w, h, 60);
    };
    addRow({"KelBinarizePartArea, whole page", page.name + " colour", [=] { mark(p->ours.data()); },
            "exact luminance",
            [=] { KelColorConvert(p->src.data(), p->size, 3, p->theirs.data(), p->size, 1); }, 2.0,
            [=] {
                Bytes marks(p->n);
                mark(marks.data());
                int atEdges = 0;  // each row may have two marks more
                for (size_t i = 0; i < p->n; ++i) {
                    const unsigned char* const s = &p->src[i];
                    const int grey = (3098 * s[0] + 4186 * s[p->n] + 2496 * s[2 * p->n]) / 10000;
                    atEdges += (marks[i] == 255) != (grey < 60);
                }
                return atEdges <= 2 * p->size.height;
            }});
}

}  // namespace

void addLevelRows() {
    for (const PageSet& page : pages()) {
        addHistogramRows(page);
        addGlobalRows(page);
        addGrowthRows(page);
        addGreyAdjustRows(page);
    }
}

}  // namespace bench
