#include "methods.h"

#include <algorithm>

#include "kel_ImageBasicProcess.h"

namespace kelpage {

const std::vector<Method>& methods() {
    static const std::vector<Method> all = {
        {KEL_BIN_METHOD_DEFAULT, "default", "the page's own level (same as auto)"},
        {KEL_BIN_METHOD_FIXED, "fixed", "one level that you give"},
        {KEL_BIN_METHOD_AUTO, "auto", "the page's own level, by a two-dimensional Otsu search"},
        {KEL_BIN_METHOD_ADAPTIVE, "adaptive", "the mean round each pixel"},
        {KEL_BIN_METHOD_ADAPTIVE_ALT, "adaptive-alt", "the same image as adaptive"},
        {KEL_BIN_METHOD_ADAPTIVE_SMOOTH, "adaptive-smooth", "the same image as adaptive"},
        {KEL_BIN_METHOD_AUTO_CLAMPED, "auto-clamped", "the page's own level, kept within bounds"}};
    return all;
}

bool isLocal(int method) {
    return method >= KEL_BIN_METHOD_ADAPTIVE && method <= KEL_BIN_METHOD_ADAPTIVE_SMOOTH;
}

Settings usualSettings(int method) {
    Settings settings;
    settings.method = method;
    if (method == KEL_BIN_METHOD_FIXED) settings.thres = 128;
    if (isLocal(method)) {
        settings.blockSize = 31;
        settings.param1 = 15;
    }
    if (method == KEL_BIN_METHOD_AUTO_CLAMPED) {
        settings.blockSize = 80;
        settings.param1 = 180;
    }
    return settings;
}

Page binarize(const Page& source, const Settings& settings) {
    Page result = makePage(source.size, 1);
    // The local methods' polarity runs against that of the global ones.
    const bool isOpp = settings.invert != isLocal(settings.method);
    const int code = KelBinarizeImage(source.samples.get(), source.channels, result.samples.get(),
                                      source.size, isOpp ? 1 : 0, settings.method, settings.thres,
                                      settings.blockSize, settings.param1);
    if (code != 0) throw FileError("cannot be binarized (code " + std::to_string(code) + ")");
    return result;
}

std::string levelText(const Page& source, const Settings& settings) {
    if (settings.method == KEL_BIN_METHOD_FIXED) return std::to_string(settings.thres);
    if (isLocal(settings.method))
        return "mean of " + std::to_string(settings.blockSize) + "\u00d7" +
               std::to_string(settings.blockSize) + " pixels minus " +
               std::to_string(settings.param1);
    if (source.size.width < 4 || source.size.height < 4) return "128 (page too small to estimate)";
    Page grey = makePage(source.size, 1);
    KelColorConvert(source.samples.get(), source.size, source.channels, grey.samples.get(),
                    source.size, 1);
    const int estimate = KelAutoThresholdValue3(grey.samples.get(), nullptr, source.size);
    int level = estimate + settings.thres;
    if (settings.method == KEL_BIN_METHOD_AUTO_CLAMPED) {
        if (settings.blockSize != 0) level = std::max(level, settings.blockSize);
        if (settings.param1 != 0) level = std::min(level, settings.param1);
    }
    return std::to_string(level) +
           (level == estimate ? " (estimated)" : " (estimated " + std::to_string(estimate) + ")");
}

}  // namespace kelpage
