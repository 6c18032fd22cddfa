// A plane of bits, for marks: a row starts with a word of its own, its first pixel lowest. Bits
// beyond the width are 0.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace kel::detail {

class BitPlane {
  public:
    BitPlane(int width, int height)
        : width_(width),
          height_(height),
          wordsPerRow_((static_cast<size_t>(width) + 63) / 64),
          words_(wordsPerRow_ * static_cast<size_t>(height)) {}

    int width() const { return width_; }
    int height() const { return height_; }
    size_t wordsPerRow() const { return wordsPerRow_; }
    uint64_t* row(int y) { return &words_[static_cast<size_t>(y) * wordsPerRow_]; }
    const uint64_t* row(int y) const { return &words_[static_cast<size_t>(y) * wordsPerRow_]; }

    bool at(int x, int y) const { return (row(y)[x / 64] >> x % 64 & 1) != 0; }
    void set(int x, int y) { row(y)[x / 64] |= uint64_t{1} << x % 64; }

    void setRun(int y, int begin, int end) {
        uint64_t* const words = row(y);
        for (int x = begin; x < end;) {
            const int stop = std::min(end, (x / 64 + 1) * 64);
            words[x / 64] |= ~uint64_t{0} >> (64 - (stop - x)) << x % 64;
            x = stop;
        }
    }

    /// Every bit turns over.
    void invert() {
        for (uint64_t& word : words_)
            word = ~word;
        clearBeyondWidth();
    }

    void clearBeyondWidth() {
        const int used = width_ % 64;
        for (int y = 0; used != 0 && y < height_; ++y)
            row(y)[wordsPerRow_ - 1] &= (uint64_t{1} << used) - 1;
    }

    bool isRowClear(int y) const {
        return std::all_of(row(y), row(y) + wordsPerRow_, [](uint64_t w) { return w == 0; });
    }

    /// Calls visit(begin, end) for each run of set bits of a row.
    template <class Visit>
    void forEachRun(int y, Visit visit) const {
        for (int begin = next(y, 0, 0); begin < width_;) {
            const int end = next(y, begin, ~uint64_t{0});
            visit(begin, end);
            begin = next(y, end, 0);
        }
    }

  private:
    /// The first bit from `x` on that is not as those of `skipped`; the width when there is none.
    int next(int y, int x, uint64_t skipped) const {
        if (x >= width_) return width_;
        auto i = static_cast<size_t>(x) / 64;
        uint64_t word = (row(y)[i] ^ skipped) >> x % 64 << x % 64;
        while (word == 0) {
            if (++i == wordsPerRow_) return width_;
            word = row(y)[i] ^ skipped;
        }
        return std::min(width_, static_cast<int>(64 * i) + __builtin_ctzll(word));
    }

    int width_;
    int height_;
    size_t wordsPerRow_;
    std::vector<uint64_t> words_;
};

}  // namespace kel::detail
