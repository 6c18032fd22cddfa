#include "areas_of_page.h"

#include <algorithm>

#include "methods.h"
#include "upright_page.h"

namespace kelpage {

Page inkOf(const Page& page) {
    if (isBlackAndWhite(page)) return blackOnWhite(page);  // the same turn
    Settings settings;
    settings.invert = true;
    return binarize(page, settings);
}

Page blackOnWhite(const Page& ink) {
    Page page = makePageLike(ink, 1);
    std::transform(ink.samples.get(), ink.samples.get() + ink.planeBytes(), page.samples.get(),
                   [](unsigned char sample) { return static_cast<unsigned char>(255 - sample); });
    return page;
}

Areas areasOf(const Page& ink) {
    Areas areas;
    const int w = ink.size.width, h = ink.size.height;
    areas.labels.resize(ink.planeBytes());
    const int count = KC_GenerateCALabelBuf(ink.samples.get(), w, h, areas.labels.data());
    areas.records.resize(static_cast<size_t>(count) + 1);
    kel_set_caArr_value(areas.labels.data(), w, h, count + 1, areas.records.data());
    return areas;
}

std::string countText(const Areas& areas, int small) {
    const auto few = std::count_if(areas.records.begin() + 1, areas.records.end(),
                                   [=](const kelConnectArea& ca) { return ca.area <= small; });
    return std::to_string(areas.count()) + (areas.count() == 1 ? " area, " : " areas, ") +
           std::to_string(few) + " of them up to " + std::to_string(small) +
           (small == 1 ? " pixel" : " pixels");
}

}  // namespace kelpage
