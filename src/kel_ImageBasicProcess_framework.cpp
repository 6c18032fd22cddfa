// Thinning of binary images to their framework, and its thickening.
//
// Thinning works on rows of bits, 64 pixels a word. A pixel marked in a sub-pass counts as present
// until the sub-pass ends, so all pixels of a sub-pass may be judged at once; and a row whose
// neighbourhood has not changed since the same sub-pass judged it last needs no second look.
#include <algorithm>
#include <vector>

#include "kel_ImageBasicProcess.h"
#include "kernels/row_kernels.h"
#include "plane_view.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

namespace {

constexpr unsigned char kForeground = 255;
/// The value that marks a pixel within a sub-pass. Samples that have it in the source go with the
/// first marked ones.
constexpr unsigned char kMark = 125;

/// One bit a pixel, with a border of zeros: a row above and below, a word left and right.
class BitPlane {
  public:
    BitPlane(size_t words, int rows) : words_(words), bits_((words + 2) * (size_t(rows) + 2)) {}

    /// Rows -1 to the number of rows.
    uint64_t* row(int y) { return bits_.data() + size_t(y + 1) * (words_ + 2) + 1; }
    BitRowTriple around(int y) { return {row(y - 1), row(y), row(y + 1)}; }

  private:
    size_t words_;
    std::vector<uint64_t> bits_;
};

class Thinning {
  public:
    explicit Thinning(ConstPlaneView src)
        : src_(src),
          width_(static_cast<size_t>(src.width)),
          words_((width_ + 63) / 64),
          present_(words_, src.height),
          removable_(words_, src.height),
          marks_{WorkBuffer<uint64_t>(words_), WorkBuffer<uint64_t>(words_)},
          changedIn_(static_cast<size_t>(src.height) + 2, 0) {
        for (int y = 0; y < src.height; ++y) {
            kernels_.packNonZero(src.row(y), present_.row(y), width_);
            kernels_.enhance.packEqual(src.row(y), removable_.row(y), width_, kForeground);
        }
    }

    void run() {
        bool removed = subPass();
        removeMarksOfSource();
        removed |= subPass();
        while (removed) {
            removed = subPass();
            removed |= subPass();
        }
    }

    /// The samples that are left, with the values that they had.
    void write(PlaneView dst) {
        for (int y = 0; y < src_.height; ++y)
            kernels_.enhance.keepMarked(src_.row(y), present_.row(y), dst.row(y), width_);
    }

  private:
    /// True when it removed a pixel.
    bool subPass() {
        ++pass_;
        bool removed = false, pending = false;
        for (int y = 0; y < src_.height; ++y) {
            const bool marked = isOpen(y) && mark(y);
            // A row changes only after its neighbours have been judged.
            if (pending) clear(y - 1, marks_[(y - 1) & 1].data());
            pending = marked;
            removed |= marked;
        }
        if (pending) clear(src_.height - 1, marks_[(src_.height - 1) & 1].data());
        return removed;
    }

    /// True when the row or a neighbour changed in or after the last sub-pass of this kind.
    bool isOpen(int y) const {
        const int* const changed = &changedIn_[size_t(y)];
        return std::max({changed[0], changed[1], changed[2]}) >= pass_ - 2;
    }

    bool mark(int y) {
        return kernels_.enhance.thin(present_.around(y), removable_.row(y), marks_[y & 1].data(),
                                     words_, pass_ % 2 == 1) != 0;
    }

    void clear(int y, const uint64_t* bits) {
        for (size_t i = 0; i < words_; ++i) {
            present_.row(y)[i] &= ~bits[i];
            removable_.row(y)[i] &= ~bits[i];
        }
        changedIn_[size_t(y) + 1] = pass_;
    }

    void removeMarksOfSource() {
        for (int y = 0; y < src_.height; ++y) {
            if (kernels_.enhance.countEqual(src_.row(y), width_, kMark) == 0) continue;
            kernels_.enhance.packEqual(src_.row(y), marks_[0].data(), width_, kMark);
            clear(y, marks_[0].data());
        }
    }

    const RowKernels& kernels_ = rowKernels();
    ConstPlaneView src_;
    size_t width_, words_;
    BitPlane present_, removable_;
    WorkBuffer<uint64_t> marks_[2];
    std::vector<int> changedIn_;  ///< the sub-pass of the last change; entry y + 1 is row y's
    int pass_ = 0;
};

}  // namespace

int KelExtractFrameworkMAT(unsigned char* src, int width, int height, unsigned char* dst) {
    const kelSize size{width, height};
    if (isEmpty(size)) return 0;
    Thinning thinning(constPlaneOf(src, size, 0));
    thinning.run();
    thinning.write(planeOf(dst, size, 0));
    return 0;
}

int KelFillFramework(unsigned char* src, int width, int height, unsigned char* dst) {
    const kelSize size{width, height};
    if (isEmpty(size)) return 0;
    const EnhanceKernels& kernels = rowKernels().enhance;
    const auto columns = static_cast<size_t>(width);
    const ConstPlaneView plane = constPlaneOf(src, size, 0);
    std::vector<unsigned char> tops(columns + 2);  // of three rows, with nothing left and right
    for (int y = 0; y < height; ++y) {
        kernels.largestOfThree(
            {plane.row(std::max(y - 1, 0)), plane.row(y), plane.row(std::min(y + 1, height - 1))},
            tops.data() + 1, columns);
        kernels.spreadWhite(tops.data(), planeOf(dst, size, 0).row(y), columns);
    }
    return 0;
}
