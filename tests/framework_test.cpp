// Thinning, filling, edges, morphology and counts of binary images against the plain rules and
// OpenCV's legacy calls.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <limits>

#include "enhance_support.h"
#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"

using namespace test;

namespace {

/// The way of the definition, on a padded copy, marking with 125.
Bytes thinned(const Bytes& src, kelSize s) {
    const int w = s.width + 2;
    Bytes p(size_t(w) * size_t(s.height + 2));
    const auto at = [&](int y, int x) -> Sample& { return p[size_t(y + 1) * size_t(w) + x + 1]; };
    const auto each = [&](auto visit) {
        for (int y = 0; y < s.height; ++y)
            for (int x = 0; x < s.width; ++x)
                visit(at(y, x), y, x);
    };
    each([&](Sample& v, int y, int x) { v = src[size_t(y) * size_t(s.width) + size_t(x)]; });
    for (bool removed = true; removed;) {
        removed = false;
        for (const bool first : {true, false}) {
            each([&](Sample& v, int y, int x) {
                const bool N = at(y - 1, x), NE = at(y - 1, x + 1), E = at(y, x + 1),
                           SE = at(y + 1, x + 1), S = at(y + 1, x), SW = at(y + 1, x - 1),
                           W = at(y, x - 1), NW = at(y - 1, x - 1);
                const bool ring[] = {N, NE, E, SE, S, SW, W, NW, N};
                int present = 0, steps = 0;
                for (int k = 0; k < 8; ++k) {
                    present += ring[k];
                    steps += !ring[k] && ring[k + 1];
                }
                const bool sides =
                    first ? (N && E && S) || (E && S && W) : (N && E && W) || (N && S && W);
                if (v != 255 || present < 2 || present > 6 || steps != 1 || sides) return;
                v = 125;
                removed = true;
            });
            each([](Sample& v, int, int) { v = v == 125 ? 0 : v; });
        }
    }
    return eachSample(s, 1, [&](int, int y, int x) { return at(y, x); });
}

Bytes filled(const Bytes& src, kelSize s, Bytes dst) {
    const Plain p(src, s);
    return eachSample(s, 1, [&](int, int y, int x) {
        for (int k = 0; k < 9; ++k)
            if (p.at(0, y + k / 3 - 1, x + k % 3 - 1) == 255) return 255;
        return int(dst[size_t(y) * size_t(s.width) + size_t(x)]);
    });
}

struct LegacyImage {
    explicit LegacyImage(kelSize s)
        : image(cvCreateImage(cvSize(s.width, s.height), IPL_DEPTH_8U, 1)) {}
    LegacyImage(kelSize s, Bytes samples) : LegacyImage(s) {
        KelPutIplImage(image, samples.data());
    }
    LegacyImage(const LegacyImage&) = delete;
    ~LegacyImage() { cvReleaseImage(&image); }
    IplImage* image;
};

Bytes contours(const Bytes& src, kelSize s) {
    LegacyImage work(s, src);
    Bytes out(src.size());
    CvMemStorage* storage = cvCreateMemStorage(0);
    CvSeq* contour = nullptr;
    cvFindContours(work.image, storage, &contour, 128, CV_RETR_LIST, CV_CHAIN_APPROX_NONE,
                   cvPoint(0, 0));
    for (; contour; contour = contour->h_next)
        for (int i = 0; i < contour->total; ++i) {
            const auto* p = reinterpret_cast<CvPoint*>(cvGetSeqElem(contour, i));
            out[size_t(p->y) * size_t(s.width) + size_t(p->x)] = 255;
        }
    cvReleaseMemStorage(&storage);
    return out;
}

Bytes morphed(const Bytes& src, kelSize s, int operation, int rx, int ry, int times) {
    if (operation < 1 || operation > 4) return src;
    LegacyImage in(s, src), out(s);
    IplConvKernel* k =
        cvCreateStructuringElementEx(2 * rx + 1, 2 * ry + 1, rx, ry, CV_SHAPE_RECT, nullptr);
    if (operation < 3)
        cvMorphologyEx(in.image, out.image, nullptr, k, operation == 1 ? CV_MOP_CLOSE : CV_MOP_OPEN,
                       times);
    else
        (operation == 3 ? cvDilate : cvErode)(in.image, out.image, k, times);
    cvReleaseStructuringElement(&k);
    Bytes result(src.size());
    KelGetIplImage(out.image, result.data());
    return result;
}
TEST(Framework, BinaryNeighbourhoods) {
    for (const Content kind : {Content::binary, Content::flagged, Content::noise}) {
        compare(
            "framework", {1, 1, true, kind},
            [](auto s, auto d, auto z) { KelExtractFrameworkMAT(s, z.width, z.height, d); },
            [](const Bytes& s, auto z, auto) { return thinned(s, z); });
        compare(
            "fill", {1, 1, false, kind},
            [](auto s, auto d, auto z) { KelFillFramework(s, z.width, z.height, d); }, filled);
        compare(
            "edges", {1, 1, false, kind},
            [](auto s, auto d, auto z) { kel_Cal_EdgeImage(s, z.width, z.height, d); },
            [](const Bytes& s, auto z, auto) { return contours(s, z); });
        const int radii[][3] = {{1, 1, 1}, {0, 0, 2},  {3, 0, 1},  {0, 2, 3},  {2, 1, 2},
                                {1, 1, 0}, {7, 20, 1}, {40, 6, 2}, {1, 70, -1}};
        for (int operation = 0; operation < 6; ++operation)
            for (const auto& r : radii)
                compare(
                    "morphology", {1, 1, true, kind},
                    [&](auto s, auto d, auto z) {
                        KelMorphology(s, d, &z, operation, r[0], r[1], r[2]);
                    },
                    [&](const Bytes& s, auto z, auto) {
                        return morphed(s, z, operation, r[0], r[1], r[2]);
                    });
    }
    kelSize size{9, 9};
    Bytes plane(100, 255), out(100);
    for (const int operation : {3, 9})
        EXPECT_ANY_THROW(KelMorphology(plane.data(), out.data(), &size, operation, -1, 1, 1));
    const int most = std::numeric_limits<int>::max();
    plane[40] = 7;
    KelMorphology(plane.data(), out.data(), &size, 4, most, most, most);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 81), Bytes(81, 7));
    plane[40] = 255;
    KelMorphology(plane.data(), plane.data() + 7, &size, 4, 1, 1, 1);  // overlapping in part
    EXPECT_EQ(plane, Bytes(100, 255));
}

// All binary images of 4 by 4 in a frame, each both alone and joined to its neighbours: what is
// read off four neighbours is what the contour followers visit.
TEST(Framework, EdgesAreTheContoursOfEveryPattern) {
    const kelSize tiles{32 * 5 + 1, 32 * 5 + 1};
    for (const int step : {5, 4})
        for (int block = 0; block < 64; ++block) {
            Bytes image(area(tiles)), ours(area(tiles));
            for (int t = 0; t < 1024; ++t)
                for (int bit = 0; bit < 16; ++bit) {
                    const int x = 1 + t % 32 * step + bit % 4, y = 1 + t / 32 * step + bit / 4;
                    image[size_t(y * tiles.width + x)] = (block * 1024 + t) >> bit & 1;
                }
            kel_Cal_EdgeImage(image.data(), tiles.width, tiles.height, ours.data());
            ASSERT_EQ(ours, contours(image, tiles)) << block;
        }
}
TEST(Framework, Counts) {
    for (kelSize size : {kelSize{0, 4}, kelSize{7, 5}, kelSize{31, 33}, kelSize{300, 301}}) {
        Bytes a = content(Content::flagged, size, 1), b = content(Content::binary, size, 1);
        std::reverse(b.begin(), b.end());
        int whites = 0, twos = 0, either = 0, both = 0, count = 7;
        for (size_t i = 0; i < a.size(); ++i) {
            whites += a[i] == 255;
            twos += a[i] == 200;
            either += a[i] == 255 || b[i] == 255;
            both += a[i] == 255 && b[i] == 255;
        }
        EXPECT_EQ(KelCalArea(a.data(), size), whites);
        for (const auto& [value, expected] :
             {std::pair{200, twos}, {256, 0}, {-1, 0}, {255, whites}}) {
            EXPECT_EQ(kel_BinImg_EffPointNo(a.data(), size.width, size.height, value, &count), 0);
            EXPECT_EQ(count, expected) << value;
        }
        EXPECT_EQ(kel_cal_total_num(a.data(), b.data(), int(a.size()), 0), either);
        for (const int type : {1, 2, -1})
            EXPECT_EQ(kel_cal_total_num(a.data(), b.data(), int(a.size()), type), both);
    }
    EXPECT_EQ(kel_cal_total_num(nullptr, nullptr, -5, 0), 0);
}

}  // namespace
