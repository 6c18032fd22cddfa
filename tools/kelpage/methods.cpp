#include "methods.h"

#include <algorithm>

#include "kel_ImageBasicProcess.h"
#include "kel_segment.h"

namespace kelpage {
namespace {

/// Methods that the dispatcher has no number for.
enum {
    kOtsu = 100,
    kOtsuMean,
    kIterated,
    kIteratedPart,
    kGrey,  // and the adjustment modes, in their order
    kAfterGrey = kGrey + 5
};

Settings usual(int method, int thres = 0, int blockSize = 0, int param1 = 0, double ratio = 0.0) {
    Settings settings;
    settings.method = method;
    settings.thres = thres;
    settings.blockSize = blockSize;
    settings.param1 = param1;
    settings.ratio = ratio;
    return settings;
}

Settings usualPart() {
    Settings settings = usual(kIteratedPart, 0, 0, 40);
    settings.lowRatio = 1.0;
    settings.highRatio = 0.75;
    return settings;
}

bool isLocal(int method) {
    return method >= KEL_BIN_METHOD_ADAPTIVE && method <= KEL_BIN_METHOD_ADAPTIVE_SMOOTH;
}

bool isGreyAdjust(int method) {
    return method >= kGrey && method < kAfterGrey;
}

Page greyOf(const Page& source) {
    Page grey = makePage(source.size, 1);
    KelColorConvert(source.samples.get(), source.size, source.channels, grey.samples.get(),
                    source.size, 1);
    return grey;
}

/// The iterated level, and the page by it.
Page iterated(const Page& source, const Settings& settings, unsigned char* level) {
    const Page grey = greyOf(source);
    Page result = makePageLike(source, 1);
    const int code =
        settings.method == kIteratedPart
            ? KelBinarize_qifa_WholeAndPart(grey.samples.get(), grey.size, result.samples.get(),
                                            *level, settings.thres, settings.param1,
                                            settings.lowRatio, settings.highRatio)
            : KelBinarize_qifa(grey.samples.get(), grey.size, result.samples.get(), level,
                               settings.thres, settings.param1);
    if (code != 0) throw NoLevel("has no level that iteration finds");
    return result;
}

/// One of the methods with a call of their own; ink is white where `inkIsWhite` says so.
Page byOwnCall(const Page& source, const Settings& settings, bool* inkIsWhite) {
    unsigned char level = 0;
    *inkIsWhite = settings.method == kOtsuMean || isGreyAdjust(settings.method);
    if (settings.method == kIterated || settings.method == kIteratedPart)
        return iterated(source, settings, &level);
    Page result = makePageLike(source, 1);
    if (isGreyAdjust(settings.method)) {
        kel_BinaryImageByGreyAdjust(
            source.samples.get(), source.size.width, source.size.height, source.channels,
            result.samples.get(), settings.thres, settings.blockSize, settings.param1,
            source.channels == 1 ? 0 : settings.method - kGrey, static_cast<float>(settings.ratio));
        return result;
    }
    const Page grey = greyOf(source);
    if (settings.method == kOtsuMean)
        KelAutoThresholdwithOstuAndMeanC1(grey.samples.get(), result.samples.get(), grey.size,
                                          settings.blockSize, settings.param1, settings.ratio);
    else
        KelBinarizeImageOstuTraditional(grey.samples.get(), 1, result.samples.get(), grey.size, 0,
                                        settings.thres);
    return result;
}

std::string windowText(const Settings& settings) {
    const std::string side = std::to_string(settings.blockSize);
    return "mean of " + side + "\u00d7" + side + " pixels minus " + std::to_string(settings.param1);
}

std::string ratioText(double ratio) {
    std::string text = std::to_string(ratio);
    text.erase(std::min(text.size(), text.find('.') + 3));
    return text;
}

std::string estimatedText(const Page& source, const Settings& settings) {
    if (source.size.width < 4 || source.size.height < 4) return "128 (page too small to estimate)";
    const Page grey = greyOf(source);
    const int estimate = KelAutoThresholdValue3(grey.samples.get(), nullptr, source.size);
    int level = estimate + settings.thres;
    if (settings.method == KEL_BIN_METHOD_AUTO_CLAMPED) {
        if (settings.blockSize != 0) level = std::max(level, settings.blockSize);
        if (settings.param1 != 0) level = std::min(level, settings.param1);
    }
    return std::to_string(level) +
           (level == estimate ? " (estimated)" : " (estimated " + std::to_string(estimate) + ")");
}

}  // namespace

std::string Method::title() const {
    return usual.method < kOtsu ? std::to_string(usual.method) + ": " + name : name;
}

const std::vector<Method>& methods() {
    static const std::vector<Method> all = {
        {usual(KEL_BIN_METHOD_DEFAULT), "default", "the page's own level (same as auto)"},
        {usual(KEL_BIN_METHOD_FIXED, 128), "fixed", "one level that you give"},
        {usual(KEL_BIN_METHOD_AUTO), "auto",
         "the page's own level, by a two-dimensional Otsu search"},
        {usual(KEL_BIN_METHOD_ADAPTIVE, 0, 31, 15), "adaptive", "the mean round each pixel"},
        {usual(KEL_BIN_METHOD_ADAPTIVE_ALT, 0, 31, 15), "adaptive-alt",
         "the same image as adaptive"},
        {usual(KEL_BIN_METHOD_ADAPTIVE_SMOOTH, 0, 31, 15), "adaptive-smooth",
         "the same image as adaptive"},
        {usual(KEL_BIN_METHOD_AUTO_CLAMPED, 0, 80, 180), "auto-clamped",
         "the page's own level, kept within bounds"},
        {usual(kOtsu), "otsu", "Otsu's level"},
        {usual(kOtsuMean, 0, 31, 15, 0.9), "otsu-mean",
         "Otsu's level and the mean round each pixel, faint strokes grown from certain ones"},
        {usual(kIterated, 0, 0, 40), "iterated", "halfway between the means of ink and paper"},
        {usualPart(), "iterated-part",
         "two multiples of the iterated level, by the mean round each pixel"},
        {usual(kGrey + KEL_GREY_ADJUST_LUMA, 0, 31, 255), "grey-luma",
         "stretched luminance, by its own level"},
        {usual(kGrey + KEL_GREY_ADJUST_SPREAD, 0, 31, 255, 1.0), "grey-spread",
         "the same with all colours pushed toward white"},
        {usual(kGrey + KEL_GREY_ADJUST_RED, 0, 31, 255, 1.0), "grey-red",
         "the same with red pushed toward white"},
        {usual(kGrey + KEL_GREY_ADJUST_RED_DUAL, 0, 31, 255, 1.0), "grey-red-dual",
         "the same, and the red plane by its own level"},
        {usual(kGrey + KEL_GREY_ADJUST_BLANK_CHECK, 0, 31, 255, 100.0), "grey-blank",
         "grey-luma, or a blank page where there is too little ink"}};
    return all;
}

const Method* findMethod(const std::string& text) {
    for (const Method& method : methods()) {
        const int number = method.usual.method;
        if (text == method.name || (number < kOtsu && text == std::to_string(number)))
            return &method;
    }
    return nullptr;
}

bool hasWindow(int method) {
    return isLocal(method) || method == kOtsuMean || isGreyAdjust(method);
}

Settings usualSettings(int method) {
    for (const Method& known : methods())
        if (known.usual.method == method) return known.usual;
    return usual(method);
}

Page binarize(const Page& source, const Settings& settings) {
    if (settings.method >= kOtsu) {
        bool inkIsWhite = false;
        Page result = byOwnCall(source, settings, &inkIsWhite);
        if (inkIsWhite != settings.invert)
            KelBinarizeThreshold(result.samples.get(), result.samples.get(), result.size, 127, 1);
        return result;
    }
    Page result = makePageLike(source, 1);
    // The local methods' polarity runs against that of the global ones.
    const bool isOpp = settings.invert != isLocal(settings.method);
    const int code = KelBinarizeImage(source.samples.get(), source.channels, result.samples.get(),
                                      source.size, isOpp ? 1 : 0, settings.method, settings.thres,
                                      settings.blockSize, settings.param1);
    if (code != 0) throw FileError("cannot be binarized (code " + std::to_string(code) + ")", code);
    return result;
}

std::string levelText(const Page& source, const Settings& settings) {
    if (settings.method == KEL_BIN_METHOD_FIXED) return "level " + std::to_string(settings.thres);
    if (isLocal(settings.method)) return "level " + windowText(settings);
    if (isGreyAdjust(settings.method))
        return settings.method == kGrey ? "its own level"
                                        : "its own level, ratio " + ratioText(settings.ratio);
    if (settings.method < kOtsu) return "level " + estimatedText(source, settings);
    unsigned char level = 0;
    if (settings.method == kIterated || settings.method == kIteratedPart) {
        iterated(source, settings, &level);
        std::string text = "level " + std::to_string(level);
        if (settings.method == kIterated) return text;
        return text + " times " + ratioText(settings.lowRatio) + " or " +
               ratioText(settings.highRatio);
    }
    const Page grey = greyOf(source);
    const int otsu = KelBinarizeImageOstuTraditionalGetThres(grey.samples.get(), grey.size, 1);
    if (settings.method == kOtsu) return "level " + std::to_string(otsu + settings.thres);
    return "level " + std::to_string(otsu) + " and " + windowText(settings);
}

}  // namespace kelpage
