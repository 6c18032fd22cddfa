// The binarization dispatcher: global methods against their plain form, local methods against the
// steps through OpenCV's legacy calls that define them. And the estimator of their levels.
#include <gtest/gtest.h>
#include <opencv2/imgproc/imgproc_c.h>

#include "estimate_twin.h"
#include "kel_ImageBasicProcess.h"
#include "kel_ImageStorage.h"
#include "kel_cv.h"

using namespace test;

namespace {

struct Parameters {
    int method, thres, block, param1;
};

Bytes globally(const Bytes& src, int channels, kelSize size, int isOpp, const Parameters& p) {
    Bytes grey = greyOf(src, channels);
    int level = p.thres;
    if (p.method != 1 && (size.width <= 3 || size.height <= 3)) {
        level = 128;
    } else if (p.method != 1) {
        level += estimatedLevel(grey, nullptr, size);
        if (p.method == 6 && p.block != 0 && level < p.block) level = p.block;
        if (p.method == 6 && p.param1 != 0 && level > p.param1) level = p.param1;
    }
    for (auto& s : grey)
        s = compared(s, level, isOpp);
    return grey;
}

Bytes locally(Bytes src, int channels, kelSize size, int isOpp, const Parameters& p) {
    IplImage* image = cvCreateImage(cvSize(size.width, size.height), IPL_DEPTH_8U, channels);
    IplImage* grey = cvCreateImage(cvSize(size.width, size.height), IPL_DEPTH_8U, 1);
    KelPutIplImage(image, src.data());
    if (channels == 3) cvCvtColor(image, grey, CV_BGR2GRAY);
    if (channels == 3 && p.method == 5) cvSmooth(image, image, CV_MEDIAN, 3, 3, 0.0, 0.0);
    IplImage* work = channels == 3 ? grey : image;
    cvAdaptiveThreshold(work, work, 255.0, CV_ADAPTIVE_THRESH_GAUSSIAN_C, isOpp ^ 1, p.block,
                        p.param1);
    Bytes out(area(size));
    KelGetIplImage(work, out.data());
    cvReleaseImage(&grey);
    cvReleaseImage(&image);
    return out;
}

int call(Bytes& src, int channels, unsigned char* dst, kelSize size, int isOpp,
         const Parameters& p) {
    return KelBinarizeImage(src.data(), channels, dst, size, static_cast<unsigned char>(isOpp),
                            p.method, p.thres, p.block, p.param1);
}

TEST(Binarize, EveryMethodEqualsItsPlainForm) {
    const Parameters cases[] = {
        {1, 128, 7, 9}, {1, -5, 0, 0},   {2, 0, 99, 1},     {2, -30, 0, 0},       {0, 15, 0, 0},
        {7, 0, 0, 0},   {-1, 0, 0, 0},   {6, 0, 0, 0},      {6, 0, 230, 0},       {6, 0, 0, 90},
        {6, 5, -1, -4}, {6, 0, 120, 99}, {6, 400, 0, 0},    {3, 1, 3, 0},         {4, 0, 15, 10},
        {5, 0, 15, 10}, {5, 0, 51, -7},  {3, 99, 101, 200}, {1, 2147483647, 0, 0}};
    for (kelSize size : {kelSize{1, 1}, kelSize{3, 100}, kelSize{4, 3}, kelSize{4, 4},
                         kelSize{61, 45}, kelSize{131, 80}, kelSize{9, 700}}) {
        for (int channels : {1, 3}) {
            const Bytes src = page(size, channels).samples;
            for (const auto& p : cases) {
                const bool local = p.method >= 3 && p.method <= 5;
                for (int isOpp : {0, 1, 200}) {
                    if (local && isOpp == 200) continue;
                    const Bytes expected = local ? locally(src, channels, size, isOpp, p)
                                                 : globally(src, channels, size, isOpp, p);
                    Bytes input = src;
                    Guarded out(area(size));
                    ASSERT_EQ(call(input, channels, out.data(), size, isOpp, p), 0);
                    ASSERT_EQ(out.bytes(), expected) << size << " method " << p.method;
                    EXPECT_EQ(input, src);
                    // The target may be the source, or overlap one that is read as a whole.
                    for (int shift : {0, 5}) {
                        if (shift > 0 && channels == 1 && !local) continue;
                        Bytes both = src;
                        both.resize(2 * src.size() + 5);
                        call(both, channels, both.data() + shift, size, isOpp, p);
                        ASSERT_TRUE(
                            std::equal(expected.begin(), expected.end(), both.begin() + shift));
                    }
                }
            }
        }
    }
}

TEST(Binarize, RefusalsLeaveTheTargetAlone) {
    const kelSize size{20, 20};
    Bytes src = page(size, 3).samples;
    Guarded out(area(size));
    for (int method = -1; method <= 7; ++method)
        for (int channels : {2, 0, 4, -1})
            EXPECT_EQ(call(src, channels, out.data(), size, 0, {method, 1, 15, 1}), -1);
    EXPECT_EQ(call(src, 3, out.data(), {0, 3}, 0, {2, 1, 0, 1}), 0);
    for (int channels : {1, 3}) {  // what OpenCV refuses, by an error of its own
        for (int block : {14, 1, 0, -3})
            EXPECT_ANY_THROW(call(src, channels, out.data(), size, 0, {4, 0, block, 1}));
        EXPECT_ANY_THROW(call(src, channels, out.data(), size, 7, {3, 0, 15, 1}));
        for (kelSize none : {kelSize{0, 5}, kelSize{5, 0}, kelSize{-2, 5}})
            EXPECT_ANY_THROW(call(src, channels, out.data(), none, 0, {5, 0, 15, 1}));
    }
    EXPECT_EQ(out.bytes(), Bytes(area(size), 0xAB));
}

// FNV-1a.
uint64_t hashOf(const Bytes& bytes) {
    uint64_t hash = 14695981039346656037ULL;
    for (const unsigned char b : bytes)
        hash = (hash ^ b) * 1099511628211ULL;
    return hash;
}

// Results on a real page must not change between releases, processors and compilers.
TEST(Binarize, ARealPageKeepsItsRecordedResults) {
    kelSize size{};
    int channels = 0;
    unsigned char* page = nullptr;
    ASSERT_EQ(KelLoadImageFiles(KEL_SAMPLES "/form-ruled.png", &size.width, &size.height, &page,
                                &channels, 1),
              0);
    Bytes plane(area(size));
    const std::pair<Parameters, uint64_t> recorded[] = {{{1, 128, 0, 0}, 16332605530238785938ULL},
                                                        {{2, 25, 0, 0}, 11764679797069583087ULL},
                                                        {{6, 0, 0, 100}, 1093316617863374670ULL}};
    for (const auto& [p, hash] : recorded) {
        KelBinarizeImage(page, 3, plane.data(), size, 0, p.method, p.thres, p.block, p.param1);
        EXPECT_EQ(hashOf(plane), hash) << "method " << p.method;
    }
    Kel_ReleaseImage(page);
}

TEST(Estimate, EqualsThePlainForm) {
    const auto check = [](Bytes page, Bytes* guide, kelSize size) {
        ASSERT_EQ(KelAutoThresholdValue3(page.data(), guide ? guide->data() : nullptr, size),
                  estimatedLevel(page, guide, size))
            << size << " guide " << !!guide;
    };
    for (kelSize size : {kelSize{3, 3}, kelSize{5, 3}, kelSize{17, 4}, kelSize{34, 35},
                         kelSize{130, 7}, kelSize{200, 311}})
        for (unsigned seed = 1; seed <= 8; ++seed) {
            Bytes guide = randomBytes(area(size), seed + 100);
            for (Bytes* g : {static_cast<Bytes*>(nullptr), &guide})
                check(seed % 3 == 0 ? page(size, 1).samples
                                    : randomBytes(area(size), seed, seed % 4 * 60, 76),
                      g, size);
        }
    // 12 million bright pixels, whose sum exceeds 32 bits.
    const auto sample = [](size_t i) { return i % 5 == 0 ? 30 + i % 7 : 230 + i % 11; };
    check(eachByte(4002 * 3002, sample), nullptr, {4002, 3002});
    // Nothing to split: one level (the frame alone does not count), or nothing inside a frame.
    Bytes flat(100, 77);
    flat[0] = flat[9] = 0;
    for (kelSize size :
         {kelSize{10, 10}, kelSize{2, 40}, kelSize{40, 2}, kelSize{0, 0}, kelSize{-5, 9}})
        EXPECT_EQ(KelAutoThresholdValue3(flat.data(), nullptr, size), 190);
}

}  // namespace
