#include "page_road.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "areas_of_page.h"
#include "blank_page.h"
#include "holes_of_page.h"
#include "kel_ConnectArea.h"
#include "kel_ImageBasicProcess.h"
#include "page_work.h"
#include "seal_of_page.h"
#include "upright_page.h"

namespace kelpage {
namespace {

/// Where more of a page is dark up to the border, it is a dark page.
constexpr double kMostEdge = 0.5;

/// A spot is smaller than 10 pixels of 300 dpi; at low resolutions that would be a full stop.
int usualLeast(const Page& page) {
    const double scale = dpiOf(page) / 300.0;
    return std::clamp(static_cast<int>(std::lround(10.0 * scale * scale)), 2, 100);
}

/// A page on its way. The steps stand in their order.
class Road {
  public:
    Road(const RoadOptions& options, StepClock& clock, PageResult& result)
        : options_(options), clock_(clock), result_(result) {}

    RoadPage take(const fs::path& file, int number) {
        clock_.run(Step::load, [&] { load(file, number); });
        clock_.run(Step::binary, [&] { binarizePage(); });
        if (options_.isDeskewed) {
            clock_.run(Step::skew, [&] { findSkew(); });
            if (result_.isTurned) clock_.run(Step::turn, [&] { turn(); });
        }
        if (options_.edges != EdgeWork::none) clock_.run(Step::edges, [&] { paintEdges(); });
        if (options_.holes) clock_.run(Step::holes, [&] { repairHoles(); });
        if (options_.seal && page_.colour.channels == 3)
            clock_.run(Step::seal, [&] { separateSeal(); });
        if (isChanged_) clock_.run(Step::binary, [&] { binarizePage(); });
        clock_.run(Step::spots, [&] { removeSpots(); });
        return std::move(page_);
    }

  private:
    void load(const fs::path& file, int number) {
        page_.colour = PageFile(file).load(number, options_.limit);
        result_.size = page_.colour.size;
        result_.channels = page_.colour.channels;
        isBilevel_ = isBlackAndWhite(page_.colour);
    }

    /// White ink on black, of the page as it is now.
    void binarizePage() {
        const Page& source = withoutSeal_.samples ? withoutSeal_ : page_.colour;
        isChanged_ = false;
        if (isBilevel_) {
            ink_ = blackOnWhite(source);  // the same turn
            result_.level = "black and white already";
            return;
        }
        Settings settings = options_.method;
        try {
            const std::string text = levelText(source, settings);
            result_.level = text.substr(text.rfind("level ", 0) == 0 ? 6 : 0);
            settings.invert = true;
            ink_ = binarize(source, settings);
        } catch (const NoLevel&) {
            ink_ = makePageLike(source, 1);
            std::memset(ink_.samples.get(), 255, ink_.planeBytes());
            if (inkShare(ink_, source) >= options_.blankInk) throw;
            std::memset(ink_.samples.get(), 0, ink_.planeBytes());
            result_.level = "none: the page is empty";
        }
    }

    void findSkew() {
        const Skew skew = skewOf(ink_, options_.search);
        result_.skew = skew.angle;
        result_.sureness = skew.sureness;
        result_.isTurned = skew.isSure && skew.angle != 0.0;
    }

    void turn() { change(turned(page_.colour, -result_.skew)); }

    void paintEdges() {
        Page painted = copyOf(page_.colour);
        KelSubBlackEdge(page_.colour.samples.get(), painted.samples.get(), painted.size,
                        painted.channels, false, 0, 0);
        if (isSame(painted, page_.colour)) return;
        const double share = shareOf(changesBetween(page_.colour, painted));
        if (share > kMostEdge) return;
        result_.edges = share;
        // The paint is the page's own mean, not its paper.
        if (isBilevel_)
            KelBinarizeThreshold(painted.samples.get(), painted.samples.get(), painted.size, 0, 0);
        change(std::move(painted));
    }

    void repairHoles() {
        Holes holes = usualHoles(page_.colour);
        for (int c = 0; c < page_.colour.channels; ++c)
            holes.paint[static_cast<size_t>(c)] = paperLevel(
                page_.colour.samples.get() + static_cast<size_t>(c) * page_.colour.planeBytes(),
                page_.colour.size);
        Page repaired = copyOf(page_.colour);
        result_.holes = fillHoles(repaired, holes);
        if (result_.holes > 0) change(std::move(repaired));
    }

    void separateSeal() {
        kelHSVSegConfig config = *options_.seal;
        Page mask = makePageLike(page_.colour, 1);
        KelSegementImage_hsv_param(page_.colour.samples.get(), page_.colour.size,
                                   mask.samples.get(), &config);
        result_.seal = shareOf(mask);
        withoutSeal_ = withoutSeal(page_.colour, mask);
        page_.seal = blackOnWhite(mask);
        isChanged_ = true;
    }

    void removeSpots() {
        unsigned char* const ink = ink_.samples.get();
        const int w = ink_.size.width, h = ink_.size.height;
        const int least = options_.least.value_or(usualLeast(page_.colour));
        const Areas areas = areasOf(ink_);
        result_.spots = static_cast<size_t>(
            std::count_if(areas.records.begin() + 1, areas.records.end(),
                          [&](const kelConnectArea& area) { return area.area < least; }));
        if (result_.spots > 0) kel_del_smallspot_uc(ink, w, h, least - 1);
        result_.ink = inkShare(ink_, page_.colour);
        if (result_.ink < options_.blankInk) result_.fate = Fate::blank;
        // Only now: a picture that touches the border is not a blank page.
        if (options_.edges == EdgeWork::clear) Kel_RemoveEdgeNoise(ink, w, h, 0);
        page_.binary = blackOnWhite(ink_);
    }

    void change(Page page) {
        if (!page_.before.samples)
            page_.before = std::exchange(page_.colour, std::move(page));
        else
            page_.colour = std::move(page);
        isChanged_ = true;
    }

    static double shareOf(const Page& mask) {
        return KelCalArea(mask.samples.get(), mask.size) / static_cast<double>(mask.planeBytes());
    }

    const RoadOptions& options_;
    StepClock& clock_;
    PageResult& result_;
    RoadPage page_;
    Page ink_, withoutSeal_;
    bool isBilevel_ = false;
    bool isChanged_ = false;  ///< since it was binarized
};

}  // namespace

RoadPage takeAlong(const fs::path& file, int number, const RoadOptions& options, StepClock& clock,
                   PageResult& result) {
    return Road(options, clock, result).take(file, number);
}

}  // namespace kelpage
