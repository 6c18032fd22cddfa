// Connected areas and what is built on them (spots, dark edges, binding holes) beside OpenCV and
// Leptonica.
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <memory>
#include <random>
#include <utility>

#include "bench_pages.h"
#include "bench_rows.h"
#include "cv_handles.h"
#include "kel_ConnectArea.h"
#include "kel_ImageBasicProcess.h"
#include "leptonica_pages.h"

namespace bench {
namespace {

using kel::detail::planeMat;
using Plane = std::shared_ptr<Bytes>;
using Labels = std::shared_ptr<std::vector<int>>;

template <class IsInk>
Plane drawn(kelSize size, IsInk isInk) {
    auto plane = std::make_shared<Bytes>();
    plane->reserve(static_cast<size_t>(size.width) * static_cast<size_t>(size.height));
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            plane->push_back(isInk(x, y) ? 255 : 0);
    return plane;
}

/// The ink of a page, with specks of a pixel or two.
Plane inkOf(const PageSet& page, unsigned specksIn1024) {
    std::mt19937 random(17);
    const unsigned char* sample = page.grey.data();
    return drawn(page.size, [&](int, int) {
        return *sample++ < 128 || (specksIn1024 > 0 && random() % 1024 < specksIn1024);
    });
}

/// Teeth from top to bottom, joined there.
Plane comb(kelSize size, int tooth) {
    return drawn(size, [=](int x, int y) { return x / tooth % 2 == 0 || y == size.height - 1; });
}

/// One line that winds inward from the left edge.
Plane spiral(kelSize size, int pitch) {
    return drawn(size, [=](int x, int y) {
        const int ring = std::min({x, y, size.width - 1 - x, size.height - 1 - y}) / pitch;
        const bool isDoor = y / pitch == ring + 1 && x / pitch == ring;
        return (ring % 2 == 0) != (isDoor && ring < std::min(size.width, size.height) / 2 / pitch);
    });
}

void addLabelRows(const PageSet& page, const char* name, const Plane& ink) {
    const kelSize size = page.size;
    auto labels = std::make_shared<std::vector<int>>(page.area());
    auto theirs = std::make_shared<cv::Mat>();
    auto count = std::make_shared<int>();
    auto records = std::make_shared<std::vector<kelConnectArea>>();
    const auto label = [=] {
        *count = KC_GenerateCALabelBuf(ink->data(), size.width, size.height, labels->data());
    };
    // Of OpenCV's algorithms this one numbers in raster order.
    const auto equal = [=] {
        cv::Mat plain;
        return cv::connectedComponents(planeMat(ink->data(), size), plain, 8, CV_32S, cv::CCL_WU) ==
                   *count + 1 &&
               std::equal(labels->begin(), labels->end(), plain.ptr<int>());
    };
    addRow({"KC_GenerateCALabelBuf", page.name + name, label, "OpenCV connectedComponents",
            [=] {
                cv::connectedComponents(planeMat(ink->data(), size), *theirs, 8, CV_32S,
                                        cv::CCL_SPAGHETTI);
            },
            1.0, equal});
    auto stats = std::make_shared<std::pair<cv::Mat, cv::Mat>>();
    addRow({"labels and kel_set_caArr_value", page.name + name,
            [=] {
                label();
                records->resize(static_cast<size_t>(*count) + 1);
                kel_set_caArr_value(labels->data(), size.width, size.height, *count + 1,
                                    records->data());
            },
            "OpenCV connectedComponentsWithStats",
            [=] {
                cv::connectedComponentsWithStats(planeMat(ink->data(), size), *theirs, stats->first,
                                                 stats->second, 8, CV_32S, cv::CCL_WU);
            },
            0.5,
            [=] {
                cv::connectedComponentsWithStats(planeMat(ink->data(), size), *theirs, stats->first,
                                                 stats->second, 8, CV_32S, cv::CCL_WU);
                for (int i = 1; i <= *count; ++i) {
                    const kelConnectArea& ca = (*records)[static_cast<size_t>(i)];
                    const int* const stat = stats->first.ptr<int>(i);
                    if (ca.area != stat[cv::CC_STAT_AREA] || ca.x0 != stat[cv::CC_STAT_LEFT] ||
                        ca.y0 != stat[cv::CC_STAT_TOP] ||
                        ca.x1 - ca.x0 + 1 != stat[cv::CC_STAT_WIDTH] ||
                        ca.y1 - ca.y0 + 1 != stat[cv::CC_STAT_HEIGHT])
                        return false;
                }
                return equal();
            }});
}

/// Labels of a shape that makes naive labellers slow, beside those of the text page.
void addShapeRow(const PageSet& page, const char* name, const Plane& shape, const Plane& text) {
    const kelSize size = page.size;
    auto labels = std::make_shared<std::vector<int>>(page.area());
    auto count = std::make_shared<int>();
    const auto label = [=](const Plane& plane) {
        *count = KC_GenerateCALabelBuf(plane->data(), size.width, size.height, labels->data());
    };
    addRow({std::string("KC_GenerateCALabelBuf, ") + name, page.name + " binary",
            [=] { label(shape); }, "the same on text", [=] { label(text); }, 3.0,
            [=] {
                label(shape);
                cv::Mat plain;
                return cv::connectedComponents(planeMat(shape->data(), size), plain, 8, CV_32S,
                                               cv::CCL_WU) == *count + 1 &&
                       std::equal(labels->begin(), labels->end(), plain.ptr<int>());
            }});
}

/// Each starts from a page of its own: ours, which works in place, copies it first.
void addRemovalRows(const PageSet& page, const char* name, const Plane& ink) {
    constexpr int kLeast = 9;
    const kelSize size = page.size;
    auto ours = std::make_shared<Bytes>(page.area());
    auto theirs = std::make_shared<cv::Mat>(size.height, size.width, CV_8UC1);
    const auto call = [=] {
        std::copy(ink->begin(), ink->end(), ours->begin());
        kel_del_smallspot_uc(ours->data(), size.width, size.height, kLeast);
    };
    const auto cvCall = [=] {
        cv::Mat labels, areas, centres;
        const int count = cv::connectedComponentsWithStats(planeMat(ink->data(), size), labels,
                                                           areas, centres, 8, CV_32S);
        Bytes stays(static_cast<size_t>(count));
        for (int i = 1; i < count; ++i)
            stays[static_cast<size_t>(i)] = areas.at<int>(i, cv::CC_STAT_AREA) > kLeast ? 255 : 0;
        for (int y = 0; y < labels.rows; ++y)
            for (int x = 0; x < labels.cols; ++x)
                theirs->ptr(y)[x] = stays[static_cast<size_t>(labels.ptr<int>(y)[x])];
    };
    const auto equal = [=] {
        cvCall();
        return std::equal(ours->begin(), ours->end(), theirs->ptr());
    };
    addRow({"kel_del_smallspot_uc", page.name + name, call, "OpenCV statistics, table", cvCall, 0.2,
            equal});
    const PixHandle pix = pixOf(*ink, size);
    addRow({"kel_del_smallspot_uc", page.name + name, call, "Leptonica, by bounding boxes",
            [=] {  // it selects by the sides of boxes, which costs as much
                const PixHandle bits = owned(pixThresholdToBinary(pix.get(), 128));
                int changed = 0;
                const PixHandle kept = owned(pixSelectBySize(
                    bits.get(), 3, 3, 8, L_SELECT_IF_EITHER, L_SELECT_IF_GT, &changed));
                const PixHandle back = owned(pixConvert1To8(nullptr, kept.get(), 0, 255));
            },
            1.0, equal});
    auto pruned = std::make_shared<Bytes>(page.area());
    addRow({"PruneSmallSpot", page.name + name,
            [=] {
                std::copy(ink->begin(), ink->end(), pruned->begin());
                PruneSmallSpot(pruned->data(), size.width, size.height, kLeast + 1);
            },
            "OpenCV statistics, table", cvCall, 0.2,
            [=] {
                cvCall();
                return std::equal(pruned->begin(), pruned->end(), theirs->ptr());
            }});
}

/// A scanned page with ragged dark bands of a sixth of an inch along its edges.
Plane darkEdged(const PageSet& page) {
    auto image = std::make_shared<Bytes>(page.colour);
    const int w = page.size.width, h = page.size.height;
    for (size_t i = 0; i < image->size(); ++i) {
        const int x = static_cast<int>(i % static_cast<size_t>(w));
        const int y = static_cast<int>(i % page.area() / static_cast<size_t>(w));
        if (std::min({x, y, w - 1 - x, h - 1 - y}) < 40 + (x + y) / 7 % 20) (*image)[i] /= 8;
    }
    return image;
}

void addEdgeRows(const PageSet& page) {
    const kelSize size = page.size;
    const Plane src = darkEdged(page);
    auto dst = std::make_shared<Bytes>(src->size());
    auto grey = std::make_shared<Bytes>(page.area());
    addRow({"KelSubBlackEdge", page.name + " colour",
            [=] { KelSubBlackEdge(src->data(), dst->data(), size, 3, false, 0, 0); },
            "the grey conversion and the opening in it",
            [=] {
                KelColorConvert(src->data(), size, 3, grey->data(), size, 1);
                kelSize opened = size;
                KelMorphology(grey->data(), grey->data(), &opened, 2, 2, 2, 1);
            },
            2.5, [=] {  // the bands are gone, save for some rags
                const auto dark = [&](const Bytes& image) {
                    return std::count_if(image.begin(), image.end(),
                                         [](unsigned char v) { return v < 40; });
                };
                return dark(*src) > 500 * dark(*dst);
            }});
    auto holes = std::make_shared<Bytes>(*src);
    addRow({"KelDetectAndFixBindingHole", page.name + " colour",
            [=] {
                KelDetectAndFixBindingHole(holes->data(), size.width, size.height, 3, 0, 300, 35,
                                           50, 0, 0, 255, 255, 255);
            },
            "the grey conversion of the page",
            [=] { KelColorConvert(src->data(), size, 3, grey->data(), size, 1); }, 1.5,
            [=] { return *holes == *src; }});
}

/// In place, on a copy of the page.
void addEdgeNoiseRows(const PageSet& page, const Plane& text) {
    const kelSize size = page.size;
    auto work = std::make_shared<Bytes>(page.area());
    const auto remove = [=](const Plane& plane) {
        std::copy(plane->begin(), plane->end(), work->begin());
        Kel_RemoveEdgeNoise(work->data(), size.width, size.height, 0);
    };
    const Plane framed = drawn(size, [&](int x, int y) {
        const bool isEdge = std::min(x, size.width - 1 - x) < 30 || y < 20;
        return isEdge || (*text)[static_cast<size_t>(y) * static_cast<size_t>(size.width) +
                                 static_cast<size_t>(x)] != 0;
    });
    const PixHandle pix = pixOf(*framed, size);
    auto theirs = std::make_shared<PixHandle>();
    addRow({"Kel_RemoveEdgeNoise", page.name + " text", [=] { remove(framed); },
            "Leptonica, from bytes and back",
            [=] {
                const PixHandle bits = owned(pixThresholdToBinary(pix.get(), 128));
                const PixHandle kept = owned(pixRemoveBorderConnComps(bits.get(), 8));
                *theirs = owned(pixConvert1To8(nullptr, kept.get(), 0, 255));
            },
            1.0,
            [=] {
                remove(framed);
                for (int y = 0; y < size.height; ++y)
                    for (int x = 0; x < size.width; ++x)
                        if (GET_DATA_BYTE(pixGetData(theirs->get()) + y * pixGetWpl(theirs->get()),
                                          x) !=
                            (*work)[static_cast<size_t>(y) * static_cast<size_t>(size.width) +
                                    static_cast<size_t>(x)])
                            return false;
                return true;
            }});
    const Plane many =
        drawn(size, [&](int x, int y) { return x % 12 < 3 && (y < 900 || y > 1500); });
    addRow({"Kel_RemoveEdgeNoise, 414 regions", page.name + " binary", [=] { remove(many); },
            "the same on text", [=] { remove(framed); }, 1.5,
            [=] {
                remove(many);
                return std::all_of(work->begin(), work->end(),
                                   [](unsigned char v) { return v == 0; });
            }});
}

}  // namespace

void addAreaRows() {
    const PageSet& page = pages().back();
    const Plane text = inkOf(page, 0);
    for (const auto& [name, specks] : {std::pair{" text", 0U}, {" text, noisy", 8U}}) {
        const Plane ink = inkOf(page, specks);
        addLabelRows(page, name, ink);
        addRemovalRows(page, name, ink);
    }
    addEdgeRows(page);
    addEdgeNoiseRows(page, text);
    addShapeRow(page, "comb of 4", comb(page.size, 4), text);
    addShapeRow(page, "comb of 1", comb(page.size, 1), text);
    addShapeRow(page, "spiral of 4", spiral(page.size, 4), text);
    addShapeRow(page, "spiral of 1", spiral(page.size, 1), text);
}

}  // namespace bench
