// Growth of marks into candidates, on planes of bits.
//
// One sweep over all words, then a list of those next to what has grown. A word fills in a few
// steps, whatever the direction, so the cost is a pass plus the words that change.
#include "mark_growth.h"

#include <algorithm>

namespace kel::detail {
namespace {

/// The runs of `bits` that hold a bit of `seeds`, itself a part of `bits`.
uint64_t runsWithSeeds(uint64_t bits, uint64_t seeds) {
    // Upwards a carry runs through the rest of the run; downwards the reach doubles with each step.
    uint64_t filled = (((bits + seeds) ^ bits) | seeds) & bits;
    for (int reach = 1; reach < 64; reach *= 2) {
        filled |= bits & (filled >> reach);
        bits &= bits >> reach;
    }
    return filled;
}

}  // namespace

MarkGrowth::MarkGrowth(int width, int height)
    : width_(width),
      height_(height),
      words_((static_cast<size_t>(width) + 63) / 64),
      stride_(words_ + 1),
      marks_(1 + stride_ * static_cast<size_t>(height)),
      candidates_(marks_.size()) {
    for (size_t word = 0; word < marks_.size(); word += stride_)
        marks_[word] = candidates_[word] = 0;
}

void MarkGrowth::dropBorderCandidates() {
    std::fill_n(candidatesOf(0), words_, 0);
    std::fill_n(candidatesOf(height_ - 1), words_, 0);
    const uint64_t lastBit = uint64_t{1} << ((width_ - 1) % 64);
    for (int y = 1; y < height_ - 1; ++y) {
        uint64_t* const row = candidatesOf(y);
        row[0] &= ~uint64_t{1};
        row[words_ - 1] &= ~lastBit;
    }
}

/// The marks of a word and their neighbours to the left and right.
uint64_t MarkGrowth::spread(size_t word) const {
    const uint64_t bits = marks_[word];
    return bits | bits << 1 | bits >> 1 | marks_[word - 1] >> 63 | marks_[word + 1] << 63;
}

/// Marks what can be marked of a word's candidates, and returns it.
uint64_t MarkGrowth::growWord(size_t word) {
    const uint64_t candidates = candidates_[word];
    if (candidates == 0) return 0;
    const uint64_t seeds =
        candidates & (spread(word - stride_) | spread(word) | spread(word + stride_));
    if (seeds == 0) return 0;
    const uint64_t grown = runsWithSeeds(candidates, seeds);
    marks_[word] |= grown;
    candidates_[word] &= ~grown;
    return grown;
}

void MarkGrowth::pushWithCandidates(size_t first, size_t count) {
    for (size_t word = first; word < first + count; ++word)
        if (candidates_[word] != 0) again_.push_back(word);
}

void MarkGrowth::paint(size_t word, uint64_t grown, PlaneView target) const {
    unsigned char* const row = target.row(static_cast<int>((word - 1) / stride_));
    unsigned char* const first = row + (word - 1) % stride_ * 64;
    for (; grown != 0; grown &= grown - 1)
        first[__builtin_ctzll(grown)] = 255;
}

void MarkGrowth::grow(PlaneView target) {
    if (width_ < 3 || height_ < 3) return;
    dropBorderCandidates();
    for (size_t word = firstOf(1); word < firstOf(height_ - 1); ++word) {
        const uint64_t grown = growWord(word);
        if (grown == 0) continue;
        paint(word, grown, target);
        pushWithCandidates(word - stride_ - 1, 3);  // the sweep has passed these, and will not
        pushWithCandidates(word - 1, 1);            // come to them again
    }
    while (!again_.empty()) {
        const size_t word = again_.back();
        again_.pop_back();
        const uint64_t grown = growWord(word);
        if (grown == 0) continue;
        paint(word, grown, target);
        for (const size_t row : {word - stride_, word, word + stride_})
            pushWithCandidates(row - 1, 3);
    }
}

}  // namespace kel::detail
