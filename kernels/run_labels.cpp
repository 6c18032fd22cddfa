#include "run_labels.h"

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

/// Rows as bands; the runs that they share with the band before are not known yet.
BandBits packBands(const BytePlane& plane, PackForeground pack, RunLabels& labels) {
    const auto width = static_cast<size_t>(plane.width), height = static_cast<size_t>(plane.height);
    BandBits bits{(width + 63) / 64, nullptr};
    bits.words = uninitialised<uint64_t>(bits.wordsPerBand * height);
    labels.bandOf.reserve(height);
    uint32_t runs = 0;
    for (int y = 0; y < plane.height; ++y) {
        const size_t next = labels.bands.size();
        const uint64_t* const words = bits.band(next);
        const size_t added = pack(plane.row(y), bits.band(next), width);
        Band band{runs, 0, 0, 0, 0};
        if (y > 0) {
            const uint64_t* const above = words - bits.wordsPerBand;
            size_t head = 0, tail = 0;
            while (head < bits.wordsPerBand && words[head] == above[head])
                ++head;
            if (head == bits.wordsPerBand) {
                labels.bandOf.push_back(static_cast<uint32_t>(next - 1));
                continue;
            }
            while (words[bits.wordsPerBand - 1 - tail] == above[bits.wordsPerBand - 1 - tail])
                ++tail;
            band.headWords = static_cast<uint32_t>(head);
            band.tailWords = static_cast<uint32_t>(tail);
        }
        labels.bandOf.push_back(static_cast<uint32_t>(next));
        labels.bands.push_back(band);
        runs += static_cast<uint32_t>(added);
    }
    labels.bands.push_back({runs, 0, 0, 0, 0});
    return bits;
}

/// Names given to runs as they come, some of which turn out to mean the same region. Each knows
/// another such that is no later than itself; the first of a region knows itself.
class Names {
  public:
    uint32_t add() {
        earlier_.push_back(static_cast<uint32_t>(earlier_.size()));
        return earlier_.back();
    }

    uint32_t unite(uint32_t a, uint32_t b) {
        if (a == b) return a;
        a = firstOf(a);
        b = firstOf(b);
        return a < b ? earlier_[b] = a : earlier_[a] = b;
    }

    /// Numbers the regions, in the order of their first names. Returns the region of each name.
    std::vector<uint32_t> join(uint32_t& regions) {
        regions = 0;
        for (uint32_t name = 0; name < earlier_.size(); ++name)
            earlier_[name] = earlier_[name] == name ? regions++ : earlier_[earlier_[name]];
        return std::move(earlier_);
    }

  private:
    uint32_t firstOf(uint32_t name) {
        while (earlier_[name] != name)
            name = earlier_[name] = earlier_[earlier_[name]];
        return name;
    }

    std::vector<uint32_t> earlier_;
};

/// Writes runs as words of bits come, from left to right. They start and end where bits change, in
/// turn.
struct RunWriter {
    Run* run;
    uint64_t before;  ///< the last bit of the word before; 1 leaves `run` open, begun already

    bool isOpen() const { return before != 0; }

    void add(uint64_t word, int32_t base) {
        uint64_t changes = word ^ (word << 1 | before);
        const bool wasOpen = isOpen();
        before = word >> 63;
        if (changes == 0) return;
        if (wasOpen) {
            (run++)->end = base + __builtin_ctzll(changes);
            changes &= changes - 1;
        }
        while (changes != 0) {
            run->begin = base + __builtin_ctzll(changes);
            changes &= changes - 1;
            if (changes == 0) return;
            (run++)->end = base + __builtin_ctzll(changes);
            changes &= changes - 1;
        }
    }
};

/// Finds the runs of one band after the other, and names them by those that they touch in the band
/// before.
class Namer {
  public:
    /// `reach` 1 lets corners touch.
    Namer(RunLabels& labels, const BandBits& bits, int reach)
        : labels_(labels),
          bits_(bits),
          runs_(labels.runs.get()),
          nameOf_(labels.nameOf.get()),
          reach_(reach) {}

    void nameBand(size_t index, int32_t width) {
        Band& band = labels_.bands[index];
        const uint32_t end = labels_.bands[index + 1].firstRun;
        above_ = index > 0 ? labels_.bands[index - 1].firstRun : 0;
        aboveEnd_ = band.firstRun;
        countSharedRuns(band);
        copyFromAbove(above_, band.firstRun, band.headRuns);
        copyFromAbove(aboveEnd_ - band.tailRuns, end - band.tailRuns, band.tailRuns);
        above_ += band.headRuns;
        extract(band, bits_.band(index), width);
        for (uint32_t run = band.firstRun + band.headRuns; run < end - band.tailRuns; ++run)
            nameOf_[run] = nameFor(runs_[run]);
    }

    std::vector<uint32_t> join(uint32_t& regions) { return names_.join(regions); }

  private:
    int32_t headEnd(const Band& band) const { return 64 * static_cast<int32_t>(band.headWords); }
    int32_t tailBegin(const Band& band) const {
        return 64 * static_cast<int32_t>(bits_.wordsPerBand - band.tailWords);
    }

    /// The runs within the words that are as above. One that ends with them may reach on, or touch
    /// more than its like.
    void countSharedRuns(Band& band) const {
        const Run* const first = runs_ + above_;
        const Run* const last = runs_ + aboveEnd_;
        const int32_t left = headEnd(band), right = tailBegin(band);
        if (first == last) return;
        if (first->end < left)
            band.headRuns = static_cast<uint32_t>(
                std::partition_point(first, last, [=](Run run) { return run.end < left; }) - first);
        if (last[-1].begin > right)
            band.tailRuns = static_cast<uint32_t>(
                last - std::partition_point(first, last, [=](Run r) { return r.begin <= right; }));
    }

    void copyFromAbove(uint32_t from, uint32_t to, uint32_t count) {
        std::copy_n(runs_ + from, count, runs_ + to);
        std::copy_n(nameOf_ + from, count, nameOf_ + to);
    }

    /// The runs between those that are as above; they may begin and end among these words.
    void extract(const Band& band, const uint64_t* words, int32_t width) {
        const size_t tail = bits_.wordsPerBand - band.tailWords;
        RunWriter writer{runs_ + band.firstRun + band.headRuns, 0};
        if (band.headWords > 0 && words[band.headWords - 1] >> 63 != 0) {
            writer.before = 1;
            writer.run->begin = runs_[above_].begin;
        }
        for (size_t i = band.headWords; i < tail; ++i)
            writer.add(words[i], static_cast<int32_t>(64 * i));
        if (tail < bits_.wordsPerBand && (words[tail] & 1) != 0) {
            if (!writer.isOpen()) writer.run->begin = tailBegin(band);
            writer.run->end = runs_[aboveEnd_ - band.tailRuns - 1].end;
        } else if (writer.isOpen()) {
            writer.run->end = std::min(tailBegin(band), width);
        }
    }

    uint32_t nameFor(Run here) {
        while (above_ < aboveEnd_ && runs_[above_].end + reach_ <= here.begin)
            ++above_;
        if (above_ == aboveEnd_ || runs_[above_].begin >= here.end + reach_) return names_.add();
        uint32_t name = nameOf_[above_];
        // The last one touched may reach the next run too.
        for (; above_ + 1 < aboveEnd_ && runs_[above_ + 1].begin < here.end + reach_; ++above_)
            name = names_.unite(name, nameOf_[above_ + 1]);
        return name;
    }

    RunLabels& labels_;
    const BandBits& bits_;
    Run* runs_;
    uint32_t* nameOf_;
    int reach_;
    Names names_;
    uint32_t above_ = 0, aboveEnd_ = 0;  ///< the runs above that are still to be touched
};

}  // namespace

Run* extractRuns(const uint64_t* words, size_t count, int width, Run* run) {
    RunWriter writer{run, 0};
    for (size_t i = 0; i < count; ++i)
        writer.add(words[i], static_cast<int32_t>(64 * i));
    if (writer.isOpen()) (writer.run++)->end = width;
    return writer.run;
}

RunLabels labelRuns(const BytePlane& plane, PackForeground pack, int connect) {
    RunLabels labels;
    if (plane.width < 1 || plane.height < 1) return labels;
    const BandBits bits = packBands(plane, pack, labels);
    labels.runs = uninitialised<Run>(labels.bands.back().firstRun);
    labels.nameOf = uninitialised<uint32_t>(labels.bands.back().firstRun);
    Namer namer(labels, bits, connect == 8 ? 1 : 0);
    for (size_t band = 0; band + 1 < labels.bands.size(); ++band)
        namer.nameBand(band, plane.width);
    labels.regionOf = namer.join(labels.regionCount);
    return labels;
}

std::vector<Region> RunLabels::regions() const {
    std::vector<Region> regions;
    regions.reserve(regionCount);
    for (size_t y = 0; y < bandOf.size();) {
        const auto top = static_cast<int32_t>(y);
        const uint32_t band = bandOf[y];
        while (y < bandOf.size() && bandOf[y] == band)
            ++y;
        const auto bottom = static_cast<int32_t>(y) - 1;
        forEachRunOfRow(top, [&](Run run, uint32_t index) {
            if (index == regions.size())
                regions.push_back({0, run.begin, top, run.end - 1, bottom});
            Region& region = regions[index];
            region.pixels += static_cast<uint32_t>(run.end - run.begin) *
                             static_cast<uint32_t>(bottom - top + 1);
            region.left = std::min(region.left, run.begin);
            region.right = std::max(region.right, run.end - 1);
            region.bottom = bottom;
        });
    }
    return regions;
}

}  // namespace kel::detail
