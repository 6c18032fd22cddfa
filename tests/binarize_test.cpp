// The binarization dispatcher: global methods against their plain form, local methods against the
// steps through OpenCV's legacy calls that define them.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "estimate_twin.h"
#include "guarded.h"
#include "kel_ImageBasicProcess.h"
#include "kel_cv.h"

using test::area;
using test::Bytes;
using test::Guarded;

namespace {

Bytes greyOf(const Bytes& src, int channels, kelSize size) {
    Bytes grey(area(size));
    for (size_t i = 0; i < grey.size(); ++i)
        grey[i] = channels == 1
                      ? src[i]
                      : static_cast<unsigned char>((0.299 * src[i] + 0.587 * src[area(size) + i]) +
                                                   0.114 * src[2 * area(size) + i]);
    return grey;
}

Bytes globally(const Bytes& src, int channels, kelSize size, int isOpp, int method, int thres,
               int lower, int upper) {
    Bytes grey = greyOf(src, channels, size);
    int level = thres;
    if (method != 1) {
        if (size.width <= 3 || size.height <= 3) {
            level = 128;
        } else {
            level = test::estimatedLevel(grey.data(), nullptr, size) + thres;
            if (method == 6 && lower != 0 && level < lower) level = lower;
            if (method == 6 && upper != 0 && level > upper) level = upper;
        }
    }
    for (auto& s : grey)
        s = (s > level) != (isOpp != 0) ? 255 : 0;
    return grey;
}

Bytes locally(Bytes src, int channels, kelSize size, int isOpp, int method, int block, int c) {
    IplImage* image = cvCreateImage(cvSize(size.width, size.height), IPL_DEPTH_8U, channels);
    KelPutIplImage(image, src.data());
    IplImage* grey = nullptr;
    IplImage* work = image;
    if (channels == 3) {
        work = grey = cvCreateImage(cvSize(size.width, size.height), IPL_DEPTH_8U, 1);
        cvCvtColor(image, grey, CV_BGR2GRAY);
        if (method == 5) cvSmooth(image, image, CV_MEDIAN, 3, 3, 0.0, 0.0);
    }
    cvAdaptiveThreshold(work, work, 255.0, CV_ADAPTIVE_THRESH_GAUSSIAN_C, isOpp ^ 1, block, c);
    Bytes out(area(size));
    KelGetIplImage(work, out.data());
    if (grey) cvReleaseImage(&grey);
    cvReleaseImage(&image);
    return out;
}

Bytes page(kelSize size, int channels) {
    Bytes planes = test::textPage(size, 41);
    for (int c = 1; c < channels; ++c) {
        const Bytes plane = test::textPage(size, 41 + static_cast<unsigned>(c));
        planes.insert(planes.end(), plane.begin(), plane.end());
    }
    return planes;
}

struct Parameters {
    int method, thres, block, param1;
};

TEST(Binarize, GlobalMethodsEqualTheirPlainForm) {
    const Parameters cases[] = {
        {1, 128, 7, 9},   {1, -5, 0, 0},  {2, 0, 99, 1},  {2, -30, 0, 0},       {0, 15, 0, 0},
        {7, 0, 0, 0},     {-1, 0, 0, 0},  {6, 0, 0, 0},   {6, 0, 230, 0},       {6, 0, 0, 90},
        {6, 0, 120, 100}, {6, 5, -1, -4}, {6, 400, 0, 0}, {1, 2147483647, 0, 0}};
    for (kelSize size : {kelSize{0, 3}, kelSize{3, 100}, kelSize{4, 3}, kelSize{4, 4},
                         kelSize{61, 45}, kelSize{131, 80}}) {
        for (int channels : {1, 3}) {
            const Bytes src = page(size, channels);
            for (const auto& p : cases) {
                for (int isOpp : {0, 1, 200}) {
                    Bytes input = src;
                    Guarded out(area(size));
                    ASSERT_EQ(KelBinarizeImage(input.data(), channels, out.data(), size,
                                               static_cast<unsigned char>(isOpp), p.method, p.thres,
                                               p.block, p.param1),
                              0);
                    EXPECT_EQ(out.content(), globally(src, channels, size, isOpp, p.method, p.thres,
                                                      p.block, p.param1))
                        << size.width << "x" << size.height << " method " << p.method;
                    EXPECT_EQ(input, src);
                    EXPECT_TRUE(out.intact());
                }
            }
        }
    }
}

TEST(Binarize, LocalMethodsEqualTheLegacyCalls) {
    const Parameters cases[] = {
        {3, 1, 3, 0}, {4, 0, 15, 10}, {5, 0, 15, 10}, {5, 0, 51, -7}, {3, 99, 101, 200}};
    for (kelSize size : {kelSize{1, 1}, kelSize{3, 2}, kelSize{40, 1}, kelSize{1, 33},
                         kelSize{61, 45}, kelSize{131, 80}}) {
        for (int channels : {1, 3}) {
            const Bytes src = page(size, channels);
            for (const auto& p : cases) {
                for (int isOpp : {0, 1}) {
                    Bytes input = src;
                    Guarded out(area(size));
                    ASSERT_EQ(KelBinarizeImage(input.data(), channels, out.data(), size,
                                               static_cast<unsigned char>(isOpp), p.method, p.thres,
                                               p.block, p.param1),
                              0);
                    EXPECT_EQ(out.content(),
                              locally(src, channels, size, isOpp, p.method, p.block, p.param1))
                        << size.width << "x" << size.height << " method " << p.method;
                    EXPECT_EQ(input, src);
                    EXPECT_TRUE(out.intact());
                }
            }
        }
    }
}

TEST(Binarize, WorksInPlace) {
    const kelSize size{61, 45};
    for (int channels : {1, 3}) {
        const Bytes src = page(size, channels);
        for (int method : {1, 2, 3, 6}) {
            Bytes input = src;
            Bytes apart(area(size));
            KelBinarizeImage(input.data(), channels, apart.data(), size, 0, method, 20, 15, 0);
            // For a colour page the first plane serves as the target.
            KelBinarizeImage(input.data(), channels, input.data(), size, 0, method, 20, 15, 0);
            input.resize(area(size));
            EXPECT_EQ(input, apart) << "method " << method << " channels " << channels;
        }
    }
}

TEST(Binarize, LocalMethodsReadTheWholeSourceFirst) {
    const kelSize size{40, 30};
    const Bytes src = page(size, 1);
    for (size_t shift : {size_t{1}, size_t{40}, size_t{77}}) {
        Bytes buffer = src;
        buffer.resize(area(size) + shift);
        KelBinarizeImage(buffer.data(), 1, buffer.data() + shift, size, 1, 3, 0, 15, 5);
        const Bytes result(buffer.begin() + static_cast<ptrdiff_t>(shift), buffer.end());
        EXPECT_EQ(result, locally(src, 1, size, 1, 3, 15, 5)) << shift;
    }
}

TEST(Binarize, PolarityOfLocalMethodsRunsTheOtherWay) {
    const kelSize size{40, 40};
    Bytes src(area(size), 200);
    src[20 * 40 + 20] = 20;  // one ink pixel
    Bytes out(area(size));
    KelBinarizeImage(src.data(), 1, out.data(), size, 0, KEL_BIN_METHOD_FIXED, 128, 0, 0);
    EXPECT_EQ(out[20 * 40 + 20], 0);
    EXPECT_EQ(out[0], 255);
    KelBinarizeImage(src.data(), 1, out.data(), size, 0, KEL_BIN_METHOD_ADAPTIVE, 0, 15, 10);
    EXPECT_EQ(out[20 * 40 + 20], 255);
    EXPECT_EQ(out[0], 0);
}

TEST(Binarize, RefusalsLeaveTheTargetAlone) {
    const kelSize size{20, 20};
    Bytes src = page(size, 3);
    Guarded out(area(size));
    const Bytes before = out.content();
    for (int method = -1; method <= 7; ++method)
        for (int channels : {2, 0, 4, -1})
            EXPECT_EQ(KelBinarizeImage(src.data(), channels, out.data(), size, 0, method, 1, 15, 1),
                      -1);
    for (int channels : {1, 3}) {
        for (int block : {14, 1, 0, -3})
            EXPECT_THROW(
                KelBinarizeImage(src.data(), channels, out.data(), size, 0, 4, 0, block, 1),
                std::exception);
        EXPECT_THROW(KelBinarizeImage(src.data(), channels, out.data(), size, 7, 3, 0, 15, 1),
                     std::exception);
        for (kelSize none : {kelSize{0, 5}, kelSize{5, 0}, kelSize{-2, 5}})
            EXPECT_THROW(KelBinarizeImage(src.data(), channels, out.data(), none, 0, 5, 0, 15, 1),
                         std::exception);
    }
    EXPECT_EQ(out.content(), before);
}

}  // namespace
