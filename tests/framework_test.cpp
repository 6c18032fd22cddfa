// Thinning, filling, edges, morphology and counts of binary images against the plain rules and
// OpenCV's legacy calls.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include <limits>

#include "enhance_support.h"
#include "kel_ImageBasicProcess.h"

using namespace test;

namespace {

/// The way of the definition, in which 125 marks what goes at the end of a sub-pass.
Bytes thinned(Bytes p, kelSize s) {
    for (bool removed = true; removed;) {
        removed = false;
        for (const bool first : {true, false}) {
            const Bytes before = p;
            p = eachSample(s, 1, [&](int, int y, int x) {
                const Plain plain(before, s);
                const auto at = [&](int dy, int dx) { return plain.at(0, y + dy, x + dx) != 0; };
                const bool ring[] = {at(-1, 0), at(-1, 1), at(0, 1),   at(1, 1), at(1, 0),
                                     at(1, -1), at(0, -1), at(-1, -1), at(-1, 0)};
                const bool N = ring[0], E = ring[2], S = ring[4], W = ring[6];
                int present = 0, steps = 0;
                for (int k = 0; k < 8; ++k) {
                    present += ring[k];
                    steps += !ring[k] && ring[k + 1];
                }
                const bool sides =
                    first ? (N && E && S) || (E && S && W) : (N && E && W) || (N && S && W);
                const int v = plain.at(0, y, x);
                const bool goes = v == 255 && present >= 2 && present <= 6 && steps == 1 && !sides;
                removed |= goes;
                return goes || v == 125 ? 0 : v;
            });
        }
    }
    return p;
}

Bytes filled(const Bytes& src, kelSize s, Bytes dst) {
    const Plain p(src, s);
    return eachSample(s, 1, [&](int, int y, int x) {
        for (int k = 0; k < 9; ++k)
            if (p.at(0, y + k / 3 - 1, x + k % 3 - 1) == 255) return 255;
        return int(dst[size_t(y) * size_t(s.width) + size_t(x)]);
    });
}

CvMat matOf(Bytes& plane, kelSize s) {
    return cvMat(s.height, s.width, CV_8UC1, plane.data());
}

Bytes contours(Bytes src, kelSize s) {
    Bytes out(src.size());
    CvMat work = matOf(src, s);
    CvMemStorage* storage = cvCreateMemStorage(0);
    CvSeq* contour = nullptr;
    cvFindContours(&work, storage, &contour, 128, CV_RETR_LIST, CV_CHAIN_APPROX_NONE,
                   cvPoint(0, 0));
    for (; contour; contour = contour->h_next)
        for (int i = 0; i < contour->total; ++i) {
            const auto* p = reinterpret_cast<CvPoint*>(cvGetSeqElem(contour, i));
            out[size_t(p->y) * size_t(s.width) + size_t(p->x)] = 255;
        }
    cvReleaseMemStorage(&storage);
    return out;
}

Bytes morphed(Bytes src, kelSize s, int operation, int rx, int ry, int times) {
    if (operation < 1 || operation > 4) return src;
    Bytes result(src.size());
    CvMat in = matOf(src, s), out = matOf(result, s);
    IplConvKernel* k =
        cvCreateStructuringElementEx(2 * rx + 1, 2 * ry + 1, rx, ry, CV_SHAPE_RECT, nullptr);
    if (operation < 3)
        cvMorphologyEx(&in, &out, nullptr, k, operation == 1 ? CV_MOP_CLOSE : CV_MOP_OPEN, times);
    else
        (operation == 3 ? cvDilate : cvErode)(&in, &out, k, times);
    cvReleaseStructuringElement(&k);
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
    Bytes plane(100, 255), out(81);
    for (const int operation : {3, 9})
        EXPECT_ANY_THROW(KelMorphology(plane.data(), out.data(), &size, operation, -1, 1, 1));
    KelMorphology(plane.data(), plane.data() + 7, &size, 4, 1, 1, 1);  // overlapping in part
    EXPECT_EQ(plane, Bytes(100, 255));
    const int most = std::numeric_limits<int>::max();
    plane[40] = 7;
    KelMorphology(plane.data(), out.data(), &size, 4, most, most, most);
    EXPECT_EQ(out, Bytes(81, 7));
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
        int either = 0, both = 0, number = 7;
        for (size_t i = 0; i < a.size(); ++i) {
            either += a[i] == 255 || b[i] == 255;
            both += a[i] == 255 && b[i] == 255;
        }
        EXPECT_EQ(KelCalArea(a.data(), size), std::count(a.begin(), a.end(), 255));
        for (const int value : {200, 256, -1, 255}) {
            EXPECT_EQ(kel_BinImg_EffPointNo(a.data(), size.width, size.height, value, &number), 0);
            EXPECT_EQ(number, std::count(a.begin(), a.end(), value)) << value;
        }
        EXPECT_EQ(kel_cal_total_num(a.data(), b.data(), int(a.size()), 0), either);
        for (const int type : {1, 2, -1})
            EXPECT_EQ(kel_cal_total_num(a.data(), b.data(), int(a.size()), type), both);
    }
    EXPECT_EQ(kel_cal_total_num(nullptr, nullptr, -5, 0), 0);
}

}  // namespace
