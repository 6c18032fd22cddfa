// Channel image <-> IplImage, whole and in part, and the region guards.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/core.hpp>

#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"
#include "support.h"

using namespace test;

namespace {

/// An interleaved image with padded rows.
struct Interleaved {
    Interleaved(kelSize size, int channels, int padding, unsigned seed)
        : stride(size.width * channels + padding),
          buffer(randomBytes(size_t(stride * size.height), seed)) {
        cvInitImageHeader(&header, cvSize(size.width, size.height), IPL_DEPTH_8U, channels);
        header.widthStep = stride;
        header.imageData = reinterpret_cast<char*>(buffer.data());
    }
    /// The sample of plane R, G or B, or of the only plane.
    unsigned char& at(int plane, int y, int x) {
        const int channels = header.nChannels;
        return buffer.data()[y * stride + x * channels + (channels == 3 ? 2 - plane : 0)];
    }
    int stride;
    Guarded buffer;
    IplImage header{};
};

// Takes region r out of an image and puts it into another one, by the region calls or, where r is
// the whole image, by the others; everything outside the region has to stay.
void crossBothWays(kelSize size, int channels, int padding, CvRect r, bool whole) {
    Interleaved image(size, channels, padding, 1), target(size, channels, padding, 2);
    Bytes expectedTarget = target.buffer.bytes();
    Guarded planes(size_t(r.width * r.height * channels));
    Bytes expected(planes.bytes());
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < r.height; ++y)
            for (int x = 0; x < r.width; ++x) {
                unsigned char& sample = image.at(c, r.y + y, r.x + x);
                expected[size_t((c * r.height + y) * r.width + x)] = sample;
                expectedTarget[size_t(&sample - image.buffer.data())] = sample;
            }
    EXPECT_EQ(whole ? KelGetIplImage(&image.header, planes.data())
                    : KelGetSubIplImage(&image.header, planes.data(), r.x, r.y, r.width, r.height),
              0);
    EXPECT_EQ(planes.bytes(), expected);
    EXPECT_EQ(whole ? KelPutIplImage(&target.header, planes.data())
                    : KelPutSubIplImage(&target.header, planes.data(), r.x, r.y, r.width, r.height),
              0);
    EXPECT_EQ(target.buffer.bytes(), expectedTarget);
}

TEST(CvBridge, ImagesAndRegionsCrossBothWays) {
    for (int channels : {1, 3}) {
        for (kelSize size : awkwardSizes())
            for (int padding : {0, 5})
                if (area(size) > 0)
                    crossBothWays(size, channels, padding, cvRect(0, 0, size.width, size.height),
                                  true);
        for (CvRect r : {cvRect(0, 0, 37, 9), cvRect(36, 8, 1, 1), cvRect(2, 3, 35, 4)})
            crossBothWays({37, 9}, channels, 3, r, false);
        // Streamed: planes that start lines of memory together, and planes that do not.
        for (int width : {1024, 1025})
            crossBothWays({width, 1025}, channels, 0, cvRect(0, 0, width, 1025), true);
    }
}

TEST(CvBridge, RefusesInOrderAndLeavesOtherImagesAlone) {
    Interleaved image({10, 6}, 1, 0, 31);
    Guarded planes(180);
    const Bytes before = planes.bytes();
    const auto get = [&](int x, int y, int w, int h) {
        return KelGetSubIplImage(&image.header, planes.data(), x, y, w, h);
    };
    EXPECT_EQ((std::vector<int>{get(1, 0, 10, 1), get(0, 1, 1, 6), get(5, 0, 2147483647, 1),
                                get(-1, 0, 4, 4), get(3, 3, 0, 2), get(3, 3, 2, -1)}),
              (std::vector<int>{1, 1, 1, 1, 0, 0}));
    image.header.nChannels = 2;
    EXPECT_EQ(get(0, 0, 0, 2), 1);
    EXPECT_EQ(KelGetIplImage(&image.header, planes.data()), 0);
    EXPECT_EQ(planes.bytes(), before);
}

TEST(RegionGuards, FollowTheirTable) {
    struct Case {
        CvRect rect;
        int mode, result;
        CvRect after;
    };
    const CvRect inside{10, 10, 90, 40}, wide{90, 0, 20, 10}, left{-5, 3, 20, 10},
        right{100, 0, 1, 1}, below{0, 50, 1, 1}, negative{5, 5, -1, 3}, huge{1, 1, 2147483647, 9};
    const Case cases[] = {{inside, 0, 0, inside},
                          {wide, 0, -1, wide},
                          {wide, 1, 1, {90, 0, 10, 10}},
                          {wide, 7, 1, {90, 0, 10, 10}},
                          {left, 3, -1, left},
                          {left, 2, 0, {0, 3, 20, 10}},
                          {{-5, -6, 120, 80}, 2, 1, {0, 0, 100, 50}},
                          {right, 2, -1, right},
                          {below, 2, -1, below},
                          {negative, 2, -1, negative},
                          {huge, 1, 1, {1, 1, 99, 9}}};
    Interleaved image({100, 50}, 1, 0, 1);
    for (const auto& c : cases) {
        CvRect a = c.rect, b = c.rect, d = c.rect;
        EXPECT_EQ((std::vector<int>{Kel_cvSetImageROI_Protect(&image.header, &a, c.mode),
                                    Kel_cvSetImageROI_Protect1(&image.header, &b.x, &b.y, &b.width,
                                                               &b.height, c.mode),
                                    KelSegImageProtect1({100, 50}, &d, c.mode)}),
                  std::vector<int>(3, c.result));
        for (CvRect rect : {a, b, d})
            EXPECT_EQ(cv::Rect(rect), cv::Rect(c.after)) << "mode " << c.mode;
    }
    for (CvRect empty : {cvRect(5, 5, 0, 3), cvRect(5, 5, 3, 0)}) {  // here the guards differ
        EXPECT_EQ(Kel_cvSetImageROI_Protect(&image.header, &empty, 0), 0);
        EXPECT_EQ(KelSegImageProtect1({100, 50}, &empty, 2), -1);
    }
}

}  // namespace
