// Channel image <-> IplImage, against OpenCV's own split and merge, and the region guards.
#include <gtest/gtest.h>
#include <opencv2/core/core_c.h>
#include <opencv2/core.hpp>

#include "guarded.h"
#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

/// An interleaved image with padded rows, guarded like every other buffer.
struct Interleaved {
    Interleaved(kelSize size, int channels, int padding, unsigned seed)
        : stride(size.width * channels + padding),
          buffer(test::randomBytes(static_cast<size_t>(stride * size.height), seed)) {
        cvInitImageHeader(&header, cvSize(size.width, size.height), IPL_DEPTH_8U, channels);
        header.widthStep = stride;
        header.imageData = reinterpret_cast<char*>(buffer.data());
    }
    unsigned char& at(int y, int x, int plane) {
        const int channels = header.nChannels;
        return buffer.data()[y * stride + x * channels + (channels == 3 ? 2 - plane : 0)];
    }
    int stride;
    Guarded buffer;
    IplImage header{};
};

TEST(CvBridge, WholeImagesCrossBothWays) {
    for (int channels : {1, 3}) {
        for (kelSize size : test::awkwardSizes()) {
            if (size.width < 1 || size.height < 1) continue;
            Interleaved image(size, channels, 5, 11);
            Guarded planes(area(size) * static_cast<size_t>(channels));
            ASSERT_EQ(KelGetIplImage(&image.header, planes.data()), 0);
            for (int c = 0; c < channels; ++c)
                for (int y = 0; y < size.height; ++y)
                    for (int x = 0; x < size.width; ++x)
                        ASSERT_EQ(planes.data()[(c * size.height + y) * size.width + x],
                                  image.at(y, x, c))
                            << size.width << "x" << size.height << " at " << x << "," << y;

            Interleaved back(size, channels, 5, 12);
            const Bytes before = back.buffer.content();
            ASSERT_EQ(KelPutIplImage(&back.header, planes.data()), 0);
            for (int y = 0; y < size.height; ++y) {
                for (int x = 0; x < back.stride; ++x) {
                    const auto i = static_cast<size_t>(y * back.stride + x);
                    const Bytes& expected =
                        x < size.width * channels ? image.buffer.content() : before;
                    ASSERT_EQ(back.buffer.content()[i], expected[i]) << "padding stays";
                }
                if (size.width > 40) break;
            }
            EXPECT_TRUE(planes.intact() && back.buffer.intact());
        }
    }
}

TEST(CvBridge, OtherChannelCountsAndEmptyImagesAreLeftAlone) {
    Interleaved image({6, 4}, 2, 0, 1);
    Guarded planes(48);
    const Bytes before = planes.content();
    EXPECT_EQ(KelGetIplImage(&image.header, planes.data()), 0);
    EXPECT_EQ(planes.content(), before);
    EXPECT_EQ(KelGetSubIplImage(&image.header, planes.data(), 0, 0, 2, 2), 1);
    EXPECT_EQ(KelPutSubIplImage(&image.header, planes.data(), 0, 0, 0, 2), 1);
    image.header.nChannels = 3;
    image.header.width = 0;
    EXPECT_EQ(KelGetIplImage(&image.header, planes.data()), 0);
    EXPECT_EQ(planes.content(), before);
}

TEST(CvBridge, RegionsCrossBothWays) {
    const kelSize size{37, 9};
    for (int channels : {1, 3}) {
        Interleaved image(size, channels, 3, 21);
        for (CvRect r :
             {cvRect(0, 0, 37, 9), cvRect(36, 8, 1, 1), cvRect(2, 3, 35, 4), cvRect(5, 0, 1, 9)}) {
            Guarded planes(static_cast<size_t>(r.width * r.height * channels));
            ASSERT_EQ(KelGetSubIplImage(&image.header, planes.data(), r.x, r.y, r.width, r.height),
                      0);
            Interleaved target(size, channels, 3, 22);
            Interleaved untouched(size, channels, 3, 22);
            ASSERT_EQ(KelPutSubIplImage(&target.header, planes.data(), r.x, r.y, r.width, r.height),
                      0);
            for (int c = 0; c < channels; ++c)
                for (int y = 0; y < size.height; ++y)
                    for (int x = 0; x < size.width; ++x) {
                        const bool inside =
                            x >= r.x && x < r.x + r.width && y >= r.y && y < r.y + r.height;
                        ASSERT_EQ(target.at(y, x, c), (inside ? image : untouched).at(y, x, c));
                        if (inside) {
                            const int i = (c * r.height + y - r.y) * r.width + x - r.x;
                            ASSERT_EQ(planes.data()[i], image.at(y, x, c));
                        }
                    }
            EXPECT_TRUE(planes.intact() && target.buffer.intact());
        }
    }
}

TEST(CvBridge, RegionsThatDoNotFitAreRefused) {
    Interleaved image({10, 6}, 1, 0, 31);
    Guarded planes(60);
    const Bytes before = planes.content();
    const auto get = [&](int x, int y, int w, int h) {
        return KelGetSubIplImage(&image.header, planes.data(), x, y, w, h);
    };
    EXPECT_EQ(get(1, 0, 10, 1), 1);
    EXPECT_EQ(get(0, 1, 1, 6), 1);
    EXPECT_EQ(get(5, 0, 2147483647, 1), 1);
    EXPECT_EQ(get(3, 3, 0, 2), 0);
    EXPECT_EQ(get(3, 3, 2, -1), 0);
    EXPECT_EQ(get(-1, 0, 4, 4), 1);
    EXPECT_EQ(planes.content(), before);
}

// x, y, w, h and mode on an image of 100 by 50; result and rectangle after it.
struct GuardCase {
    CvRect rect;
    int mode, result;
    CvRect after;
};

TEST(RegionGuards, FollowTheirTable) {
    const CvRect inside = cvRect(10, 10, 90, 40);
    const CvRect wide = cvRect(90, 0, 20, 10);
    const CvRect left = cvRect(-5, 3, 20, 10);
    const CvRect all = cvRect(-5, -6, 120, 80);
    const CvRect huge = cvRect(1, 1, 2147483647, 2147483647);
    const GuardCase cases[] = {
        {inside, 0, 0, inside},
        {wide, 0, -1, wide},
        {wide, 1, 1, cvRect(90, 0, 10, 10)},
        {wide, 7, 1, cvRect(90, 0, 10, 10)},
        {left, 0, -1, left},
        {left, 1, -1, left},
        {left, 3, -1, left},
        {left, 2, 0, cvRect(0, 3, 20, 10)},
        {cvRect(-5, 3, 120, 10), 2, 1, cvRect(0, 3, 100, 10)},
        {all, 2, 1, cvRect(0, 0, 100, 50)},
        {cvRect(100, 0, 1, 1), 2, -1, cvRect(100, 0, 1, 1)},
        {cvRect(0, 50, 1, 1), 2, -1, cvRect(0, 50, 1, 1)},
        {cvRect(5, 5, -1, 3), 2, -1, cvRect(5, 5, -1, 3)},
        {huge, 1, 1, cvRect(1, 1, 99, 49)},
    };
    Interleaved image({100, 50}, 1, 0, 1);
    for (const auto& c : cases) {
        CvRect rect = c.rect;
        EXPECT_EQ(Kel_cvSetImageROI_Protect(&image.header, &rect, c.mode), c.result);
        EXPECT_EQ(cv::Rect(rect), cv::Rect(c.after)) << "mode " << c.mode;
        rect = c.rect;
        EXPECT_EQ(Kel_cvSetImageROI_Protect1(&image.header, &rect.x, &rect.y, &rect.width,
                                             &rect.height, c.mode),
                  c.result);
        EXPECT_EQ(cv::Rect(rect), cv::Rect(c.after)) << "mode " << c.mode;
        rect = c.rect;
        EXPECT_EQ(KelSegImageProtect1({100, 50}, &rect, c.mode), c.result);
        EXPECT_EQ(cv::Rect(rect), cv::Rect(c.after)) << "mode " << c.mode;
    }
}

TEST(RegionGuards, DifferOnEmptyRectangles) {
    Interleaved image({100, 50}, 1, 0, 1);
    for (CvRect empty : {cvRect(5, 5, 0, 3), cvRect(5, 5, 3, 0)}) {
        CvRect rect = empty;
        EXPECT_EQ(Kel_cvSetImageROI_Protect(&image.header, &rect, 0), 0);
        EXPECT_EQ(KelSegImageProtect1({100, 50}, &rect, 2), -1);
        EXPECT_EQ(cv::Rect(rect), cv::Rect(empty));
    }
}

}  // namespace
