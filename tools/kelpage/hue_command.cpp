// kelpage hue: a configuration block for the colour of a page or of a part of it.
#include <algorithm>
#include <array>
#include <cstdio>
#include <exception>
#include <memory>

#include "commands.h"
#include "kel_ImageBasicProcess.h"
#include "page_files.h"

namespace kelpage {
namespace {

struct Arguments {
    std::string input;
    std::vector<int> region;  ///< x, y, width, height
    int chroma = 24;
};

/// The region's coloured pixels, in three planes one behind the other.
std::vector<unsigned char> colouredSamples(const Page& page, const Arguments& arguments) {
    const std::vector<int>& r = arguments.region;
    int x = 0, y = 0, right = page.size.width, bottom = page.size.height;
    if (!r.empty()) {
        if (r[0] < 0 || r[1] < 0 || r[2] < 1 || r[3] < 1 || r[0] > right - r[2] ||
            r[1] > bottom - r[3])
            throw FileError("the region does not lie on the page");
        x = r[0], y = r[1], right = x + r[2], bottom = y + r[3];
    }
    std::array<std::vector<unsigned char>, 3> planes;
    for (int row = y; row < bottom; ++row)
        for (int column = x; column < right; ++column) {
            const size_t at = static_cast<size_t>(row) * static_cast<size_t>(page.size.width) +
                              static_cast<size_t>(column);
            std::array<unsigned char, 3> rgb{};
            for (size_t c = 0; c < 3; ++c)
                rgb[c] = page.samples[c * page.planeBytes() + at];
            const auto [least, most] = std::minmax_element(rgb.begin(), rgb.end());
            if (*most - *least < arguments.chroma) continue;
            for (size_t c = 0; c < 3; ++c)
                planes[c].push_back(rgb[c]);
        }
    std::vector<unsigned char> all = planes[0];
    for (size_t c = 1; c < 3; ++c)
        all.insert(all.end(), planes[c].begin(), planes[c].end());
    return all;
}

struct HueRange {
    int first, last;
    bool overZero;

    int middle() const { return (first + last + (overZero ? 360 : 0)) / 2 % 360; }
};

HueRange rangeOf(std::vector<unsigned char>& samples) {
    constexpr double kDarkValue = 90, kDarkChroma = 30, kDarkShare = 0.5;
    const int count = static_cast<int>(samples.size() / 3);
    if (count == 0) throw FileError("no coloured pixels; a lower --chroma takes paler ones");
    int low = 0, high = 0;
    unsigned char wraps = 0, isBlack = 0;
    double saturation = 0, value = 0;
    const int result = KelCalHsvRange(samples.data(), count, kDarkValue, kDarkChroma, kDarkShare,
                                      &low, &high, &wraps, &isBlack, &saturation, &value);
    if (isBlack != 0) throw FileError("most of it is black");
    if (result != 0) throw FileError("no single hue; a region with the seal alone may have one");
    std::printf("# %d coloured pixels, mean saturation %.2f, mean value %.0f\n", count, saturation,
                value);
    // A range through 0 comes as the part that it leaves out.
    if (wraps != 0) return {high, low, true};
    return {low, high, false};
}

void print(const HueRange& range) {
    const bool isBlue = range.middle() >= 181 && range.middle() <= 299;
    std::printf(
        "[SEGMENT_%s_PARAMETERS]\nPERCENTAGE = 0.1\nSTAND_MIN = %d\nSTAND_MAX = %d\n"
        "FLAGOVER = %d\nTHRESERROR = 0\nBLOCK_SIZE = 9\nPARAM_01 = 15\nTHRESERROR_01 = 80120\n"
        "GREY_AVER_THRES = 20\nGREY_ERRMAX_THRES = 30\nCOLORMAX_THRES = 100\n"
        "COLORMIN_THRES = 180\nBINARY_THRES_AFF_MIN = 20\nFOCUS_COLOR_THRES = 90\n",
        isBlue ? "BLUE" : "RED", range.first, range.last, range.overZero ? 1 : 0);
}

int run(const Arguments& arguments) {
    try {
        const Page page = loadPage(arguments.input);
        if (page.channels != 3) throw FileError("is a grey page, without colours");
        std::vector<unsigned char> samples = colouredSamples(page, arguments);
        print(rangeOf(samples));
    } catch (const std::exception& error) {
        reportError(arguments.input, reasonOf(error));
        return 1;
    }
    return 0;
}

}  // namespace

void addHue(CLI::App& app, int& status) {
    CLI::App* command = app.add_subcommand(
        "hue", "Suggest settings for a seal's colour, as a block of a configuration file");
    const auto arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->input, "Image file of a colour page")->required();
    command
        ->add_option("--region", arguments->region,
                     "Only this part of the page: x,y,width,height in pixels")
        ->expected(4)
        ->delimiter(',');
    command
        ->add_option("--chroma", arguments->chroma, "Only pixels whose channels differ by so much")
        ->check(CLI::Range(1, 255))
        ->capture_default_str();
    command->callback([arguments, &status] { status = run(*arguments); });
}

}  // namespace kelpage
