// Seal segmentation and its configuration: against their steps, one plane for each.
#include <fstream>
#include <numeric>
#include <optional>

#include "colour_twin.h"
#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"
#include "loaded_image.h"

using test::area;
using test::Bytes;
using test::Guarded;
using test::Rgb;

namespace {

struct Settings {
    double ratio;
    int first, last;
    bool over;
    int offset, blockWidth, blockHeight, add, binThres;
};

using Binarizer = std::function<bool(Bytes& grey, Bytes& mask)>;

/// The passes and the fallback; the latest good map, or nothing when the fallback has filled `dst`.
std::optional<Bytes> passes(const Bytes& image, kelSize size, const Settings& s, Bytes& dst,
                            const Binarizer& binarize) {
    int middle = static_cast<int>((s.first + s.last + (s.over ? 360 : 0)) * 0.5 + 0.5);
    if (s.over && middle > 359) middle -= 360;
    std::vector<int> hues = {s.first};
    if (s.first != s.last) hues.push_back(s.last);
    if (s.last - s.first > 1) hues.push_back(middle);
    std::vector<Bytes> maps;
    std::optional<Bytes> best;
    for (int hue : hues) {
        maps.push_back(
            test::eachPixel(image, [&](Rgb p) { return test::affinity(p, s.ratio, hue); }));
        Bytes mask(area(size)), grey = maps.back();
        if (!binarize(grey, mask)) continue;
        best = maps.back();
        for (size_t i = 0; i < mask.size(); ++i)
            dst[i] = dst[i] | mask[i];
    }
    if (best) return best;
    Bytes& map = s.last - s.first > 1 ? maps[2] : maps[0];
    const int low = s.binThres > 245 ? 255 : std::max(s.binThres, -10) + 10;
    KelBinarizeImage(map.data(), 1, dst.data(), size, 0, 6, 0, low,
                     std::clamp(245 - s.binThres, 0, 255));
    return best;
}

Bytes plainSeal(const Bytes& image, kelSize size, const Settings& s, unsigned char& thres) {
    Bytes dst(area(size));
    auto best = passes(image, size, s, dst, [&](Bytes& grey, Bytes& mask) {
        return KelBinarize_qifa(grey.data(), size, mask.data(), &thres, s.offset, s.binThres) == 0;
    });
    if (!best || (s.blockHeight >= size.height && s.blockWidth >= size.width)) return dst;
    for (auto& g : *best)
        if (g < thres + s.offset + s.add) g = 0;
    Bytes part(area(size));
    KelBinarizeImage(best->data(), 1, part.data(), size, 1, 5, s.blockWidth, s.blockHeight, 0);
    for (size_t i = 0; i < dst.size(); ++i)
        dst[i] = dst[i] != 0 || part[i] != 0 ? 255 : 0;
    return dst;
}

TEST(Seal, EqualsItsStepsForEverySetting) {
    const Settings cases[] = {
        {0.1, 350, 10, true, 0, 9, 5, 0, 10},      {0.1, 340, 380, false, 3, 9, 7, -20, 60},
        {0.5, 200, 250, false, -5, 500, 3, 5, 30}, {0.001, 250, 310, false, 0, 9, 5, 0, 10},
        {0.2, 120, 120, false, 0, 500, 500, 0, 0}, {0.2, 120, 121, false, 0, 500, 500, 0, 0},
        {0.2, 121, 119, false, 9, 500, 31, 0, 90}, {0.3, 330, 30, true, 0, 9, 5, -300, 200},
        {0.3, 5, 50, false, -255, 9, 11, 0, -40},  {0.3, -30, 30, false, 0, 9, 5, 400, 20}};
    for (kelSize size : {kelSize{97, 61}, kelSize{64, 40}, kelSize{5, 4}, kelSize{2, 2}})
        for (bool neutral : {false, true})
            for (Settings s : cases) {
                Bytes image = test::stampedPage(size).samples;
                for (size_t i = area(size); neutral && i < image.size(); ++i)
                    image[i] = image[i - area(size)];
                for (int binThres : {s.binThres, 255, -300}) {
                    s.binThres = binThres;
                    unsigned char expectedLevel = 77, level = 77;
                    const Bytes expected = plainSeal(image, size, s, expectedLevel);
                    Guarded dst(area(size)), src(image);
                    KelSegementImage_hsv(src.data(), size, dst.data(), s.ratio, s.first, s.last,
                                         s.over, s.offset, &level, s.blockWidth, s.blockHeight,
                                         s.add, 3, 3, s.binThres);
                    ASSERT_EQ(dst.bytes(), expected) << s.first << " " << neutral;
                    ASSERT_EQ(level, expectedLevel);
                    ASSERT_EQ(src.bytes(), image);
                }
            }
    KelSegementImage_hsv(nullptr, {-2, -1}, nullptr, 0.1, 0, 9, false, 0, nullptr, 9, 5, 0, 3, 3,
                         10);
}

kelHSVSegConfig redSeal() {
    return {0.1, 340, 20, 1, 0, 19, 19, 80120, 20, 30, 100, 200, 10, 90};
}

TEST(SealByConfiguration, EqualsItsStepsForEverySetting) {
    std::vector<kelHSVSegConfig> cases(12, redSeal());
    cases[1] = {0.3, 200, 250, 0, 5, 19, 19, 90110, 25, 40, 80, 190, 30, 60};
    cases[2].flagOver = 256;  // set, as the whole number counts
    cases[3].flagOver = 0;    // middle at 180: red is the focus
    cases[4].standMax = 22;   // the middle stays at 1
    cases[5] = cases[1], cases[5].standMin = cases[5].standMax = 181;
    cases[6].greyAverThres = 0, cases[6].focusColorThres = -1;
    cases[7].greyAverThres = 23, cases[7].greyErrMaxThres = 256, cases[7].colorMinThres = -1;
    cases[8].colorMaxThres = 256, cases[8].focusColorThres = 200;
    cases[9].focusColorThres = 255;
    cases[10].colorMinThres = 300, cases[10].thresError01 = 500;
    cases[11] = cases[1], cases[11].standMin = 299, cases[11].standMax = 301;
    for (kelSize size : {kelSize{97, 61}, kelSize{33, 20}, kelSize{2, 2}})
        for (const kelHSVSegConfig& c : cases) {
            Bytes image = test::stampedPage(size).samples;
            for (size_t i = 0; i < area(size) / 3; ++i)  // some neutral pixels
                image[3 * i % area(size)] = image[area(size) + 3 * i % area(size)];
            const Settings s{c.percentage,       c.standMin, c.standMax, c.flagOver != 0,
                             c.thresError,       0,          0,          0,
                             c.binaryThresAffMin};
            Bytes expected(area(size));
            const auto binarize = [&](Bytes& grey, Bytes& mask) {
                unsigned char level = 0;
                return KelBinarize_qifa_WholeAndPart(
                           grey.data(), size, mask.data(), level, c.thresError, c.binaryThresAffMin,
                           c.thresError01 / 1000 * 0.01, c.thresError01 % 1000 * 0.01) == 0;
            };
            const bool good = passes(image, size, s, expected, binarize).has_value();
            int middle = c.flagOver ? (c.standMin + c.standMax + 361) / 2 % 360
                                    : (c.standMin + c.standMax + 1) / 2;
            const Bytes keep = test::eachPixel(image, [&](Rgb p) {
                const int sum = std::abs(p.r - p.g) + std::abs(p.r - p.b) + std::abs(p.g - p.b);
                const bool neutral =
                    sum / 3.0 < c.greyAverThres && p.chroma() < c.greyErrMaxThres &&
                    (p.most() - p.chroma() > c.colorMinThres || p.most() < c.colorMaxThres);
                const int focus = middle > 180 && middle < 300 ? p.b : p.r;
                return !neutral && focus > c.focusColorThres;
            });
            for (size_t i = 0; good && i < keep.size(); ++i)
                if (!keep[i]) expected[i] = 0;
            Guarded dst(area(size));
            kelHSVSegConfig settings = c;
            KelSegementImage_hsv_param(image.data(), size, dst.data(), &settings);
            ASSERT_EQ(dst.bytes(), expected) << &c - cases.data();
        }
}

/// A block whose values count up from `first`.
std::string withKeys(const std::string& block, int first, const std::string& without = "") {
    std::string text = "[" + block + "]\n";
    for (const char* key :
         {"PERCENTAGE", "STAND_MIN", "STAND_MAX", "FLAGOVER", "THRESERROR", "BLOCK_SIZE",
          "PARAM_01", "THRESERROR_01", "GREY_AVER_THRES", "GREY_ERRMAX_THRES", "COLORMAX_THRES",
          "COLORMIN_THRES", "BINARY_THRES_AFF_MIN", "FOCUS_COLOR_THRES"})
        if (key != without) text += key + (" = " + std::to_string(first++)) + ".75 # ...\n";
    return text;
}

TEST(SealConfiguration, ReadsTheBlockOfAColour) {
    const std::string name = test::scratchPath("seal.cfg");
    const std::string red = "SEGMENT_RED_PARAMETERS", blue = "SEGMENT_BLUE_PARAMETERS";
    const std::string noPercentage = " has no key PERCENTAGE.\n";
    const struct {
        std::string content;
        int colour, result, first;
        std::string message;
    } cases[] = {
        {withKeys(red, 1) + withKeys(blue, 101), 0, 0, 1, ""},
        {withKeys(red, 1) + withKeys(blue, 101), 1, 0, 101, ""},
        {withKeys(red, 1) + withKeys(red, 50), 0, 0, 1, ""},
        {"", 2, 2, 0, ""},
        {withKeys(red, 1), 1, 3, 0, "block " + blue + noPercentage},
        {withKeys(red, 1, "FOCUS_COLOR_THRES") + "[" + blue + "]", 0, 3, 0,
         "block " + red + " has no key FOCUS_COLOR_THRES.\n"},
        {std::string("\0\xff[\x01=\n\n=]#\"", 12), 0, 3, 0, "block " + red + noPercentage}};
    for (const auto& c : cases) {
        std::ofstream(name, std::ios::binary) << c.content;
        kelHSVSegConfig config = redSeal();
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(KelReadHSVSegmentConfig(name.c_str(), &config, c.colour), c.result);
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  c.message.empty() ? "" : "config file <" + name + ">: " + c.message);
        std::vector<int> expected(13, c.first);
        std::iota(expected.begin(), expected.end(), c.first + 1);
        const kelHSVSegConfig before = redSeal();
        const int32_t *const fields = &config.standMin, *const untouched = &before.standMin;
        if (c.result != 0) expected.assign(untouched, untouched + 13);
        EXPECT_EQ(config.percentage, c.result != 0 ? 0.1 : c.first + 0.75);
        EXPECT_EQ(std::vector<int>(fields, fields + 13), expected);
    }
    std::ofstream(name) << withKeys(red, 1, "STAND_MIN") << "STAND_MIN = 12abc\nFLAGOVER = no\n"
                        << "[" << blue << "]\n";
    kelHSVSegConfig config{};
    EXPECT_EQ(KelReadHSVSegmentConfig(name.c_str(), &config, 0), 0);
    EXPECT_EQ(std::tuple(config.standMin, config.flagOver), std::tuple(12, 3));
    for (const char* none : {"/nonexistent/x.cfg", static_cast<const char*>(nullptr)}) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(KelReadHSVSegmentConfig(none, &config, 0), 1);
        EXPECT_EQ(
            ::testing::internal::GetCapturedStderr(),
            "config file <" + std::string(none ? none : "(null)") + ">, could not be found.\n");
    }
}

// What the masks show is in docs/seals.md. OpenCV's local means may differ in a last bit between
// processors, so a few pixels may go either way.
TEST(SealByConfiguration, MasksOfRealPages) {
    const std::string samples = KEL_SAMPLES;
    const std::tuple<const char*, const char*, int, int> pages[] = {
        {"/stamped/form-red-seal.png", "/seal.cfg", 0, 19866},
        {"/stamped/page-blue-stamp.png", "/seal-pale.cfg", 1, 1127}};
    for (const auto& [name, settings, colour, marked] : pages) {
        kelHSVSegConfig config{};
        ASSERT_EQ(KelReadHSVSegmentConfig((samples + settings).c_str(), &config, colour), 0);
        test::LoadedImage page(samples + name);
        Bytes mask(area(page.size));
        KelSegementImage_hsv_param(page.samples.data(), page.size, mask.data(), &config);
        EXPECT_NEAR(std::count(mask.begin(), mask.end(), 255), marked, 20) << name;
    }
}

}  // namespace
