// Settings of seal segmentation from a configuration file.
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <optional>

#include "ConfigFile.h"
#include "kel_segment.h"

namespace {

constexpr const char* kBlocks[] = {"SEGMENT_RED_PARAMETERS", "SEGMENT_BLUE_PARAMETERS"};

constexpr const char* kPercentage = "PERCENTAGE";

constexpr struct {
    const char* key;
    int32_t kelHSVSegConfig::*field;
} kIntegers[] = {{"STAND_MIN", &kelHSVSegConfig::standMin},
                 {"STAND_MAX", &kelHSVSegConfig::standMax},
                 {"FLAGOVER", &kelHSVSegConfig::flagOver},
                 {"THRESERROR", &kelHSVSegConfig::thresError},
                 {"BLOCK_SIZE", &kelHSVSegConfig::blockSize},
                 {"PARAM_01", &kelHSVSegConfig::param01},
                 {"THRESERROR_01", &kelHSVSegConfig::thresError01},
                 {"GREY_AVER_THRES", &kelHSVSegConfig::greyAverThres},
                 {"GREY_ERRMAX_THRES", &kelHSVSegConfig::greyErrMaxThres},
                 {"COLORMAX_THRES", &kelHSVSegConfig::colorMaxThres},
                 {"COLORMIN_THRES", &kelHSVSegConfig::colorMinThres},
                 {"BINARY_THRES_AFF_MIN", &kelHSVSegConfig::binaryThresAffMin},
                 {"FOCUS_COLOR_THRES", &kelHSVSegConfig::focusColorThres}};

/// What `atoi` gives for every number that fits, without its undefined results.
int32_t integerOf(const char* text) {
    return static_cast<int32_t>(std::strtol(text, nullptr, 10));
}

}  // namespace

int KelReadHSVSegmentConfig(const char* path, kelHSVSegConfig* config, int colorType) {
    if (colorType != 0 && colorType != 1) return 2;
    const char* const block = kBlocks[colorType];
    std::optional<kel::detail::Config> file;
    const char* percentage = nullptr;
    const char* integers[std::size(kIntegers)] = {};
    const char* missing = nullptr;
    try {
        file.emplace(path, 1);
        const auto textOf = [&](const char* key) {
            const char* const text = file->value(block, key, 1);
            if (text == nullptr && missing == nullptr) missing = key;
            return text;
        };
        percentage = textOf(kPercentage);
        for (size_t i = 0; i < std::size(kIntegers); ++i)
            integers[i] = textOf(kIntegers[i].key);
    } catch (...) {
        std::fprintf(stderr, "config file <%s>, could not be found.\n",
                     path != nullptr ? path : "(null)");
        return 1;
    }
    if (missing != nullptr) {
        std::fprintf(stderr, "config file <%s>: block %s has no key %s.\n", path, block, missing);
        return 3;
    }
    config->percentage = std::strtod(percentage, nullptr);
    for (size_t i = 0; i < std::size(kIntegers); ++i)
        config->*kIntegers[i].field = integerOf(integers[i]);
    return 0;
}
