// The toolkit's processing beside OpenCV's.
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

#include "bench_pages.h"
#include "bench_rows.h"
#include "im_process.h"
#include "kernels/row_kernels.h"

namespace bench {
namespace {

using Image = std::shared_ptr<imImage>;

Image makeImage(int width, int height, int space, int type) {
    return Image(imImageCreate(width, height, space, type), imImageDestroy);
}

/// The same samples as OpenCV sees them.
cv::Mat matOf(const Image& image, int cvType) {
    return cv::Mat(image->height, image->width, cvType, image->data[0]);
}

Image greyImage(const PageSet& page) {
    Image image = makeImage(page.size.width, page.size.height, IM_GRAY, IM_BYTE);
    std::copy(page.grey.begin(), page.grey.end(), static_cast<unsigned char*>(image->data[0]));
    return image;
}

/// The ink of a page as 1, and specks of one pixel.
Image inkWithSpecks(const PageSet& page) {
    Image image = makeImage(page.size.width, page.size.height, IM_BINARY, IM_BYTE);
    auto* out = static_cast<unsigned char*>(image->data[0]);
    std::mt19937 random(17);
    for (const unsigned char sample : page.grey)
        *out++ = sample < 128 || random() % 256 == 0;
    return image;
}

void addResizeRow(const PageSet& page, const char* name, double scale) {
    const Image src = greyImage(page);
    const auto scaled = [&](int size) { return static_cast<int>(std::lround(size * scale)); };
    const Image dst = makeImage(scaled(src->width), scaled(src->height), IM_GRAY, IM_BYTE);
    auto theirs = std::make_shared<cv::Mat>(dst->height, dst->width, CV_8UC1);
    addRow({name, page.name + " grey", [=] { imProcessResize(src.get(), dst.get(), 2); },
            "OpenCV resize, INTER_AREA",
            [=] { cv::resize(matOf(src, CV_8UC1), *theirs, theirs->size(), 0, 0, cv::INTER_AREA); },
            1.0,
            [=] {  // theirs weighs in floats, and may round otherwise
                const cv::Mat ours = matOf(dst, CV_8UC1);
                if (cv::norm(ours, *theirs, cv::NORM_INF) > 1) return false;
                const cv::Mat best = ours.clone();
                kel::detail::limitCpuLevel(kel::detail::CpuLevel::plain);
                imProcessResize(src.get(), dst.get(), 2);
                kel::detail::limitCpuLevel(kel::detail::CpuLevel::best);
                return cv::norm(ours, best, cv::NORM_INF) == 0;
            }});
}

void addOtsuRow(const PageSet& page) {
    const Image src = greyImage(page);
    const Image dst = makeImage(src->width, src->height, IM_BINARY, IM_BYTE);
    auto theirs = std::make_shared<cv::Mat>(dst->height, dst->width, CV_8UC1);
    addRow({"imProcessOtsuThreshold", page.name + " grey",
            [=] { imProcessOtsuThreshold(src.get(), dst.get()); }, "OpenCV threshold, OTSU",
            [=] {
                cv::threshold(matOf(src, CV_8UC1), *theirs, 0, 1,
                              cv::THRESH_BINARY | cv::THRESH_OTSU);
            },
            1.0, [=] { return cv::norm(matOf(dst, CV_8UC1), *theirs, cv::NORM_INF) == 0; }});
}

/// Whether two images of `count` labels each split the page alike, however they number.
template <class Label>
bool splitAlike(const cv::Mat& ours, const cv::Mat& theirs, size_t count) {
    std::vector<Label> nameOf(count, 0), nameBack(count, 0);
    for (int y = 0; y < ours.rows; ++y)
        for (int x = 0; x < ours.cols; ++x) {
            const Label a = ours.at<Label>(y, x), b = theirs.at<Label>(y, x);
            if ((a == 0) != (b == 0)) return false;
            const auto i = static_cast<size_t>(a), j = static_cast<size_t>(b);
            if (nameOf.at(i) == 0 && nameBack.at(j) == 0) {
                nameOf[i] = b;
                nameBack[j] = a;
            }
            if (nameOf[i] != b || nameBack[j] != a) return false;
        }
    return true;
}

template <class Label>
void addRegionsRow(const PageSet& page, int type, int cvType, const std::string& name) {
    const Image src = inkWithSpecks(page);
    const Image dst = makeImage(src->width, src->height, IM_GRAY, type);
    auto theirs = std::make_shared<cv::Mat>();
    auto counts = std::make_shared<std::pair<int, int>>();
    addRow(
        {"imAnalyzeFindRegions, " + name, page.name + " binary, specks",
         [=] { counts->first = imAnalyzeFindRegions(src.get(), dst.get(), 8, 1); },
         "OpenCV connectedComponents",
         [=] { counts->second = cv::connectedComponents(matOf(src, CV_8UC1), *theirs, 8, cvType); },
         1.0,
         [=] {
             const auto count = static_cast<size_t>(counts->second);
             return counts->first + 1 == counts->second &&
                    splitAlike<Label>(matOf(dst, cvType), *theirs, count);
         }});
}

/// Beside statistics of all components, and a table of what stays.
void addRemoveRow(const PageSet& page) {
    const Image src = inkWithSpecks(page);
    const Image dst = makeImage(src->width, src->height, IM_BINARY, IM_BYTE);
    auto theirs = std::make_shared<cv::Mat>(src->height, src->width, CV_8UC1);
    addRow({"imProcessRemoveByArea, specks", page.name + " binary, specks",
            [=] { imProcessRemoveByArea(src.get(), dst.get(), 8, 1, 4, 1); },
            "OpenCV components with statistics, table",
            [=] {
                cv::Mat labels, areas, centres;
                const int count = cv::connectedComponentsWithStats(matOf(src, CV_8UC1), labels,
                                                                   areas, centres, 8, CV_32S);
                Bytes stays(static_cast<size_t>(count));
                for (int i = 1; i < count; ++i)
                    stays[static_cast<size_t>(i)] = areas.at<int>(i, cv::CC_STAT_AREA) > 4;
                for (int y = 0; y < labels.rows; ++y) {
                    const int* const label = labels.ptr<int>(y);
                    unsigned char* const out = theirs->ptr(y);
                    for (int x = 0; x < labels.cols; ++x)
                        out[x] = stays[static_cast<size_t>(label[x])];
                }
            },
            1.0, [=] { return cv::norm(matOf(dst, CV_8UC1), *theirs, cv::NORM_INF) == 0; }});
}

}  // namespace

void addImProcessRows() {
    for (const PageSet& page : pages()) {
        addResizeRow(page, "imProcessResize, area, to 0.8", 0.8);
        addResizeRow(page, "imProcessResize, area, to 0.5", 0.5);
        addOtsuRow(page);
        addRegionsRow<uint16_t>(page, IM_USHORT, CV_16U, "16 bits");
        addRegionsRow<int32_t>(page, IM_INT, CV_32S, "32 bits");
        addRemoveRow(page);
    }
}

}  // namespace bench
