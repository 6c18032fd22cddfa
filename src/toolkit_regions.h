// Regions as the toolkit numbers them in a record of 16-bit numbers, without such a record: rows
// from the bottom up, which is how records keep them, and no more than the numbers hold.
#pragma once

#include <algorithm>

#include "kernels/run_labels.h"

namespace kel::detail {

class ToolkitRegions {
  public:
    /// `plane` is top-down.
    ToolkitRegions(const BytePlane& plane, PackForeground pack)
        : width_(plane.width),
          height_(plane.height),
          labels_(plane.width < 1 || plane.height < 1
                      ? RunLabels()
                      : labelRuns({plane.row(height_ - 1), -plane.step, width_, height_}, pack, 8)),
          regions_(labels_.regions()) {}

    int count() const { return static_cast<int>(std::min(labels_.regionCount, kMost)); }

    /// The box is upside down.
    const Region& operator[](int index) const { return regions_[static_cast<size_t>(index)]; }

    /// Calls visit(row, run, index) for every run of a numbered region; rows count from the top.
    template <class Visit>
    void forEachRun(Visit visit) const {
        labels_.forEachRun([&](int y, Run run, uint32_t region) {
            if (region < kMost) visit(height_ - 1 - y, run, static_cast<int>(region));
        });
    }

    /// Calls visit(row, run) for those of the regions that touch the border.
    template <class Visit>
    void forEachBorderRun(Visit visit) const {
        forEachRun([&](int y, Run run, int region) {
            if ((*this)[region].touchesBorder(width_, height_)) visit(y, run);
        });
    }

  private:
    static constexpr uint32_t kMost = 65535;

    int width_;
    int height_;
    RunLabels labels_;
    std::vector<Region> regions_;
};

}  // namespace kel::detail
