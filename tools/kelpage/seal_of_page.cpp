#include "seal_of_page.h"

#include <algorithm>
#include <vector>

namespace kelpage {
namespace {

/// Marks within two rows and columns of others.
std::vector<unsigned char> widened(const Page& mask) {
    const int width = mask.size.width, height = mask.size.height;
    std::vector<unsigned char> wide(mask.planeBytes());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (mask.samples[static_cast<size_t>(y) * static_cast<size_t>(width) +
                             static_cast<size_t>(x)] == 0)
                continue;
            for (int row = std::max(y - 2, 0); row <= std::min(y + 2, height - 1); ++row)
                std::fill(wide.begin() + ptrdiff_t{row} * width + std::max(x - 2, 0),
                          wide.begin() + ptrdiff_t{row} * width + std::min(x + 3, width),
                          static_cast<unsigned char>(255));
        }
    return wide;
}

}  // namespace

kelHSVSegConfig sealSettings(const fs::path& file, const std::string& colour) {
    kelHSVSegConfig config{};
    switch (KelReadHSVSegmentConfig(file.c_str(), &config, colour == "blue" ? 1 : 0)) {
        case 0:
            return config;
        case 1:
            throw FileError("no such configuration file");
        default:
            throw FileError("not all keys for a " + colour + " seal");
    }
}

Page withoutSeal(const Page& page, const Page& mask) {
    constexpr int kFaintChroma = 8, kFaintLevel = 120;
    Page out = makePageLike(page, page.channels);
    const size_t bytes = page.planeBytes();
    std::copy_n(page.samples.get(), 3 * bytes, out.samples.get());
    const std::vector<unsigned char> near = widened(mask);
    for (size_t i = 0; i < bytes; ++i) {
        const auto [least, most] =
            std::minmax({out.samples[i], out.samples[bytes + i], out.samples[2 * bytes + i]});
        const bool faint = near[i] != 0 && most - least >= kFaintChroma && least >= kFaintLevel;
        if (mask.samples[i] == 0 && !faint) continue;
        for (size_t c = 0; c < 3; ++c)
            out.samples[c * bytes + i] = 255;
    }
    return out;
}

}  // namespace kelpage
