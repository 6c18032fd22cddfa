#include "run_labels.h"

#include <cstring>

namespace kel::detail {
namespace {

/// Memory that needs no filling.
template <class Element>
std::unique_ptr<Element[]> uninitialised(size_t count) {
    return std::unique_ptr<Element[]>(new Element[count]);
}

/// The foreground bits of each band, from a word of its own on.
struct BandBits {
    size_t wordsPerBand;
    std::unique_ptr<uint64_t[]> words;

    uint64_t* band(size_t index) const { return &words[index * wordsPerBand]; }
};

BandBits packBands(const BytePlane& plane, PackForeground pack, RunLabels& labels) {
    const auto width = static_cast<size_t>(plane.width), height = static_cast<size_t>(plane.height);
    BandBits bits{(width + 63) / 64, nullptr};
    bits.words = uninitialised<uint64_t>(bits.wordsPerBand * height);
    labels.bandOf.reserve(height);
    labels.bandStart.push_back(0);
    for (int y = 0; y < plane.height; ++y) {
        const size_t next = labels.bandStart.size() - 1;
        const size_t runs = pack(plane.row(y), bits.band(next), width);
        const bool isRepeat =
            y > 0 && std::memcmp(bits.band(next), bits.band(next - 1), 8 * bits.wordsPerBand) == 0;
        if (!isRepeat)
            labels.bandStart.push_back(labels.bandStart.back() + static_cast<uint32_t>(runs));
        labels.bandOf.push_back(static_cast<uint32_t>(isRepeat ? next - 1 : next));
    }
    return bits;
}

/// Names given to runs as they come, some of which turn out to mean the same region. Each knows
/// another such that is no later than itself; the first of a region knows itself.
class Names {
  public:
    uint32_t add(const Region& part) {
        const auto name = static_cast<uint32_t>(parts_.size());
        earlier_.push_back(name);
        parts_.push_back(part);
        return name;
    }

    Region& part(uint32_t name) { return parts_[name]; }

    uint32_t unite(uint32_t a, uint32_t b) {
        a = firstOf(a);
        b = firstOf(b);
        return a < b ? earlier_[b] = a : earlier_[a] = b;
    }

    /// Joins the parts to regions. Returns the region of each name.
    std::vector<uint32_t> join(std::vector<Region>& regions) {
        uint32_t count = 0;
        for (uint32_t name = 0; name < earlier_.size(); ++name) {
            const Region part = parts_[name];
            if (earlier_[name] == name) {
                parts_[count] = part;  // no later than the part itself
                earlier_[name] = count++;
                continue;
            }
            earlier_[name] = earlier_[earlier_[name]];  // of an earlier one, a region already
            Region& region = parts_[earlier_[name]];
            region.pixels += part.pixels;
            region.left = std::min(region.left, part.left);
            region.right = std::max(region.right, part.right);
            region.bottom = std::max(region.bottom, part.bottom);
        }
        parts_.resize(count);
        regions = std::move(parts_);
        return std::move(earlier_);
    }

  private:
    uint32_t firstOf(uint32_t name) {
        while (earlier_[name] != name)
            name = earlier_[name] = earlier_[earlier_[name]];
        return name;
    }

    std::vector<uint32_t> earlier_;
    std::vector<Region> parts_;
};

/// The rows of a band.
struct Rows {
    int32_t first;
    int32_t count;
};

/// Names the runs of one band after the other by those that they touch in the band before.
class Namer {
  public:
    /// `reach` 1 lets corners touch.
    Namer(RunLabels& labels, int reach)
        : runs_(labels.runs.get()), nameOf_(labels.regionOf.get()), reach_(reach) {}

    /// The runs from `run` to `end`; those from `above` to `run` are the band before.
    void nameBand(uint32_t above, uint32_t run, uint32_t end, Rows rows) {
        above_ = above;
        aboveEnd_ = run;
        run_ = run;
        rows_ = rows;
        while (run_ < end) {
            nameLikeAbove(end);
            // Looked for now and then only: noise has nothing to find.
            for (const uint32_t stop = std::min(end, run_ + 16); run_ < stop; ++run_)
                nameOne();
        }
    }

    std::vector<uint32_t> join(std::vector<Region>& regions) { return names_.join(regions); }

  private:
    uint32_t pixelsOf(Run run) const {
        return static_cast<uint32_t>(run.end - run.begin) * static_cast<uint32_t>(rows_.count);
    }
    int32_t bottom() const { return rows_.first + rows_.count - 1; }

    void skipAbove(Run here) {
        while (above_ < aboveEnd_ && runs_[above_].end + reach_ <= here.begin)
            ++above_;
    }

    /// Runs with the same ends as those above, which touch no others: most of them in shapes of
    /// upright lines.
    void nameLikeAbove(uint32_t end) {
        skipAbove(runs_[run_]);
        for (; run_ < end && above_ < aboveEnd_; ++run_, ++above_) {
            const Run here = runs_[run_];
            if (here.begin != runs_[above_].begin || here.end != runs_[above_].end) return;
            nameOf_[run_] = nameOf_[above_];
            Region& part = names_.part(nameOf_[run_]);
            part.pixels += pixelsOf(here);
            part.bottom = bottom();
        }
    }

    void nameOne() {
        const Run here = runs_[run_];
        skipAbove(here);
        if (above_ == aboveEnd_ || runs_[above_].begin >= here.end + reach_) {
            nameOf_[run_] =
                names_.add({pixelsOf(here), here.begin, rows_.first, here.end - 1, bottom()});
            return;
        }
        uint32_t name = nameOf_[above_];
        // The last one touched may reach the next run too.
        for (; above_ + 1 < aboveEnd_ && runs_[above_ + 1].begin < here.end + reach_; ++above_)
            name = names_.unite(name, nameOf_[above_ + 1]);
        nameOf_[run_] = name;
        Region& part = names_.part(name);
        part.pixels += pixelsOf(here);
        part.left = std::min(part.left, here.begin);
        part.right = std::max(part.right, here.end - 1);
        part.bottom = bottom();
    }

    const Run* runs_;
    uint32_t* nameOf_;
    int reach_;
    Names names_;
    uint32_t above_ = 0, aboveEnd_ = 0, run_ = 0;
    Rows rows_{};
};

}  // namespace

// Runs start and end where bits change, in turn.
Run* extractRuns(const uint64_t* words, size_t count, int width, Run* run) {
    uint64_t before = 0;  // the last bit of the word before
    bool isOpen = false;
    for (size_t i = 0; i < count; ++i) {
        uint64_t changes = words[i] ^ (words[i] << 1 | before);
        before = words[i] >> 63;
        const auto base = static_cast<int32_t>(64 * i);
        if (isOpen && changes != 0) {
            (run++)->end = base + __builtin_ctzll(changes);
            changes &= changes - 1;
            isOpen = false;
        }
        for (; changes != 0; changes &= changes - 1) {
            run->begin = base + __builtin_ctzll(changes);
            changes &= changes - 1;
            isOpen = changes == 0;
            if (isOpen) break;
            (run++)->end = base + __builtin_ctzll(changes);
        }
    }
    if (isOpen) (run++)->end = width;
    return run;
}

RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect) {
    RunLabels labels;
    if (plane.width < 1 || plane.height < 1) return labels;
    const BandBits bits = packBands(plane, pack, labels);
    const size_t count = labels.bandStart.back();
    labels.runs = uninitialised<Run>(count);
    labels.regionOf = uninitialised<uint32_t>(count);
    Namer namer(labels, connect == 8 ? 1 : 0);
    uint32_t above = 0;
    for (int32_t y = 0; y < plane.height;) {
        const uint32_t band = labels.bandOf[static_cast<size_t>(y)];
        Rows rows{y, 0};
        for (; y < plane.height && labels.bandOf[static_cast<size_t>(y)] == band; ++y)
            ++rows.count;
        const uint32_t start = labels.bandStart[band], end = labels.bandStart[band + 1];
        extractRuns(bits.band(band), bits.wordsPerBand, plane.width, &labels.runs[start]);
        namer.nameBand(above, start, end, rows);
        above = start;
    }
    const std::vector<uint32_t> regionOfName = namer.join(labels.regions);
    if (regionOfName.size() != labels.regions.size())
        for (size_t i = 0; i < count; ++i)
            labels.regionOf[i] = regionOfName[labels.regionOf[i]];
    return labels;
}

}  // namespace kel::detail
