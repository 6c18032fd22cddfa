#include "run_result.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <numeric>

#include "plain_text.h"

namespace kelpage {
namespace {

constexpr const char* kStepNames[kSteps] = {"load",  "binary", "skew",  "turn", "edges",
                                            "holes", "seal",   "spots", "save", "pictures"};
constexpr const char* kFateNames[] = {"done", "blank", "dropped", "failed"};

std::string exactly(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

double numberOf(const std::string& text) {
    return std::strtod(text.c_str(), nullptr);
}

int wholeOf(const std::string& text) {
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

Fate fateOf(const std::string& name) {
    for (int i = 0; i < 4; ++i)
        if (name == kFateNames[i]) return static_cast<Fate>(i);
    return Fate::failed;
}

std::string rounded(double value, int digits) {
    char text[40];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

void takeNumber(PageResult& result, const std::string& name, const std::string& text) {
    const std::pair<const char*, double*> numbers[] = {
        {"skew", &result.skew}, {"sureness", &result.sureness}, {"edges", &result.edges},
        {"seal", &result.seal}, {"ink", &result.ink},
    };
    for (const auto& [known, value] : numbers)
        if (name == known) *value = numberOf(text);
    for (size_t i = 0; i < kSteps; ++i)
        if (name == std::string("ms.") + kStepNames[i]) result.times[i] = numberOf(text);
    const std::pair<const char*, int*> whole[] = {{"width", &result.size.width},
                                                  {"height", &result.size.height},
                                                  {"channels", &result.channels}};
    for (const auto& [known, value] : whole)
        if (name == known) *value = wholeOf(text);
}

std::string jsonOfOutputs(const std::vector<Written>& outputs) {
    std::string text;
    for (const Written& output : outputs) {
        if (!text.empty()) text += ',';
        text += "{\"name\":" + quotedForJson(output.name) +
                ",\"bytes\":" + std::to_string(output.bytes) + "}";
    }
    return "[" + text + "]";
}

std::string jsonOfTimes(const StepTimes& times) {
    std::string text;
    for (size_t i = 0; i < kSteps; ++i) {
        if (i > 0) text += ',';
        text += quotedForJson(kStepNames[i]) + ":" + rounded(times[i], 3);
    }
    return "{" + text + "}";
}

}  // namespace

const char* nameOf(Step step) {
    return kStepNames[static_cast<size_t>(step)];
}

const char* nameOf(Fate fate) {
    return kFateNames[static_cast<size_t>(fate)];
}

double PageResult::milliseconds() const {
    return std::accumulate(times.begin(), times.end(), 0.0);
}

Fields fieldsOf(const PageResult& result) {
    Fields fields = {{"fate", nameOf(result.fate)},
                     {"width", std::to_string(result.size.width)},
                     {"height", std::to_string(result.size.height)},
                     {"channels", std::to_string(result.channels)},
                     {"skew", exactly(result.skew)},
                     {"sureness", exactly(result.sureness)},
                     {"turned", result.isTurned ? "1" : "0"},
                     {"level", result.level},
                     {"edges", exactly(result.edges)},
                     {"seal", exactly(result.seal)},
                     {"ink", exactly(result.ink)},
                     {"holes", std::to_string(result.holes)},
                     {"spots", std::to_string(result.spots)}};
    for (size_t i = 0; i < kSteps; ++i)
        fields.emplace_back(std::string("ms.") + kStepNames[i], exactly(result.times[i]));
    for (const Written& output : result.outputs) {
        fields.emplace_back("output", output.name);
        fields.emplace_back("bytes", std::to_string(output.bytes));
    }
    return fields;
}

PageResult resultOf(const Fields& fields) {
    PageResult result;
    for (const auto& [name, text] : fields) {
        takeNumber(result, name, text);
        if (name == "fate") result.fate = fateOf(text);
        if (name == "turned") result.isTurned = text == "1";
        if (name == "level") result.level = text;
        if (name == "holes") result.holes = static_cast<size_t>(wholeOf(text));
        if (name == "spots") result.spots = static_cast<size_t>(wholeOf(text));
        if (name == "output") result.outputs.push_back({text, 0});
        if (name == "bytes" && !result.outputs.empty())
            result.outputs.back().bytes = std::strtoumax(text.c_str(), nullptr, 10);
    }
    return result;
}

std::string jsonOf(const PageResult& result, const std::string& file, int number,
                   const std::string& name, bool isResumed) {
    std::string text = "{\"file\":" + quotedForJson(file) + ",\"page\":" + std::to_string(number) +
                       ",\"name\":" + quotedForJson(name) + ",\"fate\":\"" + nameOf(result.fate) +
                       "\",\"resumed\":" + (isResumed ? "true" : "false");
    if (result.fate == Fate::failed)
        return text + ",\"step\":\"" + nameOf(result.failedAt) +
               "\",\"code\":" + std::to_string(result.code) +
               ",\"reason\":" + quotedForJson(result.reason) + "}";
    return text + ",\"width\":" + std::to_string(result.size.width) +
           ",\"height\":" + std::to_string(result.size.height) +
           ",\"channels\":" + std::to_string(result.channels) +
           ",\"skew\":" + rounded(result.skew, 3) + ",\"sureness\":" + rounded(result.sureness, 2) +
           ",\"turned\":" + (result.isTurned ? "true" : "false") +
           ",\"level\":" + quotedForJson(result.level) + ",\"edges\":" + rounded(result.edges, 6) +
           ",\"holes\":" + std::to_string(result.holes) + ",\"seal\":" + rounded(result.seal, 6) +
           ",\"spots\":" + std::to_string(result.spots) + ",\"ink\":" + rounded(result.ink, 6) +
           ",\"outputs\":" + jsonOfOutputs(result.outputs) +
           ",\"ms\":" + jsonOfTimes(result.times) + "}";
}

}  // namespace kelpage
