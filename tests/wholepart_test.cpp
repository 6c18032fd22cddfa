// Whole-and-part binarization against its plain form, and what the settings' functions print.
#include <cmath>

#include "colour_twin.h"
#include "estimate_twin.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"

using Params = kelBinrizeWholeAndPartParams;
using namespace test;

namespace {

Bytes judged(const Bytes& grey, const Bytes& part, int level, int lower, int upper) {
    Bytes out(grey.size());
    for (size_t i = 0; i < grey.size(); ++i) {
        const int g = grey[i], b = part[i];
        out[i] =
            g < level ? (b != 255 && g >= lower ? 0 : 255) : (b == 255 && g <= upper ? 255 : 0);
    }
    return out;
}

Bytes partOf(Bytes src, int channels, kelSize size, const Params& p) {
    Bytes part(area(size));
    KelBinarizeImage(src.data(), channels, part.data(), size, p.isOpp, p.method, p.thres,
                     p.block_size, p.param1);
    return part;
}

int plainLevel(Bytes grey, kelSize size, int below, const Params& p) {
    int hist[256] = {}, n = 0, low = 0, high = 255;
    for (int g : grey)
        if (g < below) ++hist[g], ++n;
    const int cut = static_cast<int>(n * 0.1);
    for (int i = 255, sum = 0; i >= 0 && (sum += hist[i]) <= cut; --i)
        high = i - 1;
    for (int i = 0, sum = 0; i < 256 && (sum += hist[i]) <= cut; ++i)
        low = i + 1;
    if (n == 0) low = 0, high = 255;
    unsigned char t = 0;
    if (KelGetThreshold(hist, 0, 0, 0, static_cast<unsigned char>((low + high) >> 1), &t, 255) == 0)
        t = static_cast<unsigned char>(estimatedLevel(grey, nullptr, size));
    if (p.isToJudge != 0) {
        double sum = 0, used = 0;
        for (int i = 0; i < 256; ++i)
            if (hist[i] > 0) sum += std::abs(i - t) * hist[i], ++used;
        if ((n > 0 ? sum / (n * used) : 0.0) < p.err_aver_thres)
            t = static_cast<unsigned char>(t + p.thres_whole_err);
    }
    return static_cast<unsigned char>(t + p.thres_err);
}

std::vector<Params> manyParams() {
    const Params base{20, 200, 30, 40, -5, 1, 0.8, 12, 1, 5, 15, 3, 0};
    std::vector<Params> all(8, base);
    all[1].method = 2, all[1].isOpp = 0, all[1].isToJudge = 0;
    all[2].up = all[2].down = 0, all[2].isOpp = 0;
    all[3].thres_err = -300, all[3].err_aver_thres = 1e9, all[3].thres_whole_err = 1000,
    all[3].isToJudge = 2;
    all[4].up = 2000, all[4].down = 2000, all[4].method = 1, all[4].thres = 200;
    all[5].thres_err = 120, all[5].grey_thres = -7, all[5].up = -10, all[5].down = -20;
    all[6].thres_err = 2147483647, all[6].down = -2147483647 - 1, all[6].up = 2147483647;
    all[7].err_red_thres = 2147483647, all[7].grey_thres = 999;
    return all;
}

TEST(WholeAndPart, EqualsItsPlainForm) {
    for (kelSize size : {kelSize{1, 1}, kelSize{3, 90}, kelSize{97, 61}, kelSize{64, 33}})
        for (int channels : {1, 3})
            for (int kind : {0, 1, 2})
                for (Params p : manyParams()) {
                    Bytes src = channels == 3 ? stampedPage(size).samples : page(size, 1).samples;
                    if (kind > 0) src.assign(src.size(), kind == 1 ? 252 : 90);
                    const Bytes before = src;
                    const Bytes grey = greyOf(src, channels);
                    const Bytes part = partOf(grey, 1, size, p);
                    Guarded out(area(size));
                    const auto wrap = [](int64_t v) { return static_cast<int32_t>(v); };
                    const auto banded = [&](int level, const Bytes& g, const Bytes& b, auto cut) {
                        return judged(g, b, cut(level), cut(wrap(level - int64_t{p.down})),
                                      cut(wrap(level + int64_t{p.up})));
                    };
                    const auto uncut = [](int level) { return level; };
                    for (auto [low, high] : {std::pair{0, 255}, {60, 150}, {200, 100}, {-9, 700}}) {
                        const auto cut = [l = low, h = high](int level) {
                            return std::max(std::min(level, h), l) & 255;
                        };
                        KelBinarizeImage0(src.data(), size, channels, out.data(), &p, low, high);
                        ASSERT_EQ(out.bytes(),
                                  banded(plainLevel(grey, size, 250, p), grey, part, cut));
                    }
                    KelBinarizeImage0_BLACK(src.data(), size, channels, out.data(), &p);
                    ASSERT_EQ(out.bytes(),
                              banded(plainLevel(grey, size, p.grey_thres, p), grey, part, uncut));

                    for (unsigned char red : {0, 7}) {
                        Bytes work = src;
                        const size_t n = area(size);
                        for (size_t i = 0; channels == 3 && red != 0 && i < n; ++i)
                            if (2 * work[i] - (work[n + i] + work[2 * n + i]) >
                                2 * int64_t{p.err_red_thres})
                                work[i] = work[n + i] = work[2 * n + i] = 255;
                        Bytes workGrey = greyOf(work, channels);
                        const int sum =
                            wrap(int64_t{p.thres_err} +
                                 KelAutoThresholdValue3(workGrey.data(), nullptr, size));
                        const int level = sum < 210 ? sum & 255 : 210;
                        KelBinarizeImageWhole1(src.data(), size, channels, out.data(), &p, red);
                        ASSERT_EQ(out.bytes(),
                                  banded(level, workGrey, partOf(work, channels, size, p), uncut));
                    }
                    ASSERT_EQ(src, before);
                }
}

TEST(WholeAndPart, UnknownPlaneCountsAndNoPixels) {
    const kelSize size{31, 20};
    Bytes src = page(size, 3).samples;
    const Bytes plane(src.begin(), src.begin() + 31 * 20);
    Params p = manyParams()[1];
    Guarded out(area(size)), one(area(size));
    KelBinarizeImage0(src.data(), size, 2, out.data(), &p, 0, 255);
    KelBinarizeImage0(src.data(), size, 1, one.data(), &p, 0, 255);
    EXPECT_EQ(out.bytes(), one.bytes());
    KelBinarizeImageWhole1(src.data(), size, 2, out.data(), &p, 1);
    const int level = KelAutoThresholdValue3(src.data(), nullptr, size) + p.thres_err;
    EXPECT_EQ(out.bytes(), judged(plane, Bytes(plane.size()), std::min(level, 210), level - p.down,
                                  level + p.up));
    kelHSVSegConfig config{};
    for (kelSize none : {kelSize{0, 9}, kelSize{9, 0}, kelSize{-3, -3}})
        EXPECT_EQ(KelBinarizeImage0(src.data(), none, 1, nullptr, &p, 0, 255) +
                      KelBinarizeImage0_BLACK(src.data(), none, 3, nullptr, &p) +
                      KelBinarizeImageWhole1(src.data(), none, 3, nullptr, &p, 1) +
                      KelBinarizeImageHSVPart(src.data(), none, nullptr, &config, &p),
                  0);
}

TEST(WholeAndPart, OfWhatHasAHue) {
    const kelSize size{97, 61};
    Bytes image = stampedPage(size).samples;
    Params p = manyParams()[0];
    for (int flag : {1, 0, 256, 257}) {
        kelHSVSegConfig c{0.1, 340, 20, flag, 0, 9, 5, -10, 20, 30, 100, 200, 99, 90};
        Bytes mask(area(size)), grey = greyOf(image, 3), expected(area(size));
        unsigned char level = 0;
        KelSegementImage_hsv(image.data(), size, mask.data(), 0.1, 340, 20, flag % 256 != 0, 0,
                             &level, 9, 5, -10, 3, 3, 10);
        for (size_t i = 0; i < grey.size(); ++i)
            if (mask[i] != 255) grey[i] = 255;
        KelBinarizeImage0(grey.data(), size, 1, expected.data(), &p, 0, 255);
        Guarded out(area(size));
        EXPECT_EQ(KelBinarizeImageHSVPart(image.data(), size, out.data(), &c, &p), 0);
        EXPECT_EQ(out.bytes(), expected);
    }
}

TEST(WholeAndPartParams, PrintedComparedAndCopied) {
    Params a{1, 2, 3, 4, 5, 1, 0.5, 6, 0, 2, 7, 8, 9}, b{},
        other{11, 12, 13, 14, 15, 1, 1.5, 16, 1, 12, 17, 18, 19};
    ::testing::internal::CaptureStdout();
    KelPrintKelBinrizeWholeAndPartParams(&a);
    KelCopyKelBinrizeWholeAndPartParams(&b, &a);
    EXPECT_EQ(KelCompareKelBinrizeWholeAndPartParams(&a, &b), 0);
    b.isToJudge = 0;
    EXPECT_EQ(KelCompareKelBinrizeWholeAndPartParams(&a, &b), -1);
    EXPECT_EQ(KelCompareKelBinrizeWholeAndPartParams(&other, &a), -1);
    std::fflush(stdout);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "KelPrintKelBinrizeWholeAndPartParams:\n"
              "err_red_thres = 1    grey_thres = 2\n"
              "up = 3  down = 4   thres_err = 5\n"
              "isToJudge = 1   err_aver_thres = 0.500000   thres_whole_err = 6\n"
              "isOpp = 0  method = 2  block_size = 7  param1 = 8   thres = 9\n"
              "compare result...............\nbpp0 is same of bpp1.............\n"
              "compare result...............\n"
              "isToJudge error![0]1 [1]0\nisToJudge error![0]1 [1]0\n.............\n"
              "compare result...............\n"
              "err_read_thres error![0]11 [1]1\ngrey_thres error![0]12 [1]2\n"
              "up error![0]13 [1]3\ndown error![0]14 [1]4\nthres_err error![0]15 [1]5\n"
              "err_aver_thres error![0]1.500000 [1]0.500000\nisToJudge error![0]16 [1]6\n"
              "isOpp error![0]1 [1]0\nmethod error![0]12 [1]2\nblock_size error![0]17 [1]7\n"
              "param1 error![0]18 [1]8\nthres error![0]19 [1]9\n.............\n");
}

}  // namespace
