// Growth of marks into candidates, on planes of bits.
#pragma once

#include <cstdint>
#include <vector>

#include "plane_view.h"
#include "work_buffer.h"

namespace kel::detail {

/// Marked pixels and the candidates that become marks next to them, one bit a pixel; the first
/// pixel of a row is the lowest bit of its first word.
class MarkGrowth {
  public:
    /// Both sides are at least 1. The words of every row are to be filled before grow().
    MarkGrowth(int width, int height);

    /// The words of a row; bits beyond the width are 0.
    uint64_t* marksOf(int y) { return &marks_[firstOf(y)]; }
    uint64_t* candidatesOf(int y) { return &candidates_[firstOf(y)]; }

    /// Marks every candidate that a chain of candidates joins to a mark, each a neighbour (of
    /// eight) of the next, and paints it 255 into `target`. Candidates on the outermost rows and
    /// columns stay what they are, and join nothing.
    void grow(PlaneView target);

  private:
    size_t firstOf(int y) const { return 1 + static_cast<size_t>(y) * stride_; }
    void dropBorderCandidates();
    uint64_t spread(size_t word) const;
    uint64_t growWord(size_t word);
    void pushWithCandidates(size_t first, size_t count);
    void paint(size_t word, uint64_t grown, PlaneView target) const;

    int width_, height_;
    size_t words_;   ///< of a row
    size_t stride_;  ///< one more: a word of 0 parts each row from the next, and leads the first
    WorkBuffer<uint64_t> marks_, candidates_;
    std::vector<size_t> again_;  ///< words whose neighbours have gained marks
};

}  // namespace kel::detail
