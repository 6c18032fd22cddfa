// The labeller by point lists: the plain form of the labels.
#include <memory>

#include "kel_ConnectArea_internal.h"
#include "plane_view.h"

namespace {

constexpr int kUnvisited = -1;

/// The lists of all labels, with their points; entry 0 holds nothing.
class PointLists {
  public:
    explicit PointLists(int count)
        : count_(count), lists_(std::make_unique<kelPointPosSeq[]>(static_cast<size_t>(count))) {}
    PointLists(const PointLists&) = delete;
    PointLists& operator=(const PointLists&) = delete;
    ~PointLists() {
        for (int i = 0; i < count_; ++i)
            (*this)[i].release();
    }

    kelPointPosSeq& operator[](int label) { return lists_[static_cast<size_t>(label)]; }
    kelPointPosSeq* data() { return lists_.get(); }

  private:
    int count_;
    std::unique_ptr<kelPointPosSeq[]> lists_;
};

int& labelAt(int* labelBuf, int w, int x, int y) {
    return labelBuf[static_cast<ptrdiff_t>(y) * w + x];
}

class Labeller {
  public:
    Labeller(int w, int* labelBuf, int capacity) : w_(w), labelBuf_(labelBuf), lists_(capacity) {}

    void labelFirstRow() {
        for (int x = 0; x < w_; ++x) {
            if (labelAt(labelBuf_, w_, x, 0) != kUnvisited) continue;
            const int left = x > 0 ? labelAt(labelBuf_, w_, x - 1, 0) : 0;
            add(left < 1 ? ++labels_ : left, x, 0);
        }
    }

    void labelRow(int y) {
        for (int x = 0; x < w_; ++x)
            if (labelAt(labelBuf_, w_, x, y) == kUnvisited) add(labelFor(x, y), x, y);
    }

    /// Closes the gaps in the labels. Returns the number of those left.
    int renumber(int h) {
        const auto number = std::make_unique<int[]>(static_cast<size_t>(labels_) + 1);
        int count = 0;
        for (int label = 1; label <= labels_; ++label)
            if (lists_[label].num > 0) number[static_cast<size_t>(label)] = ++count;
        for (ptrdiff_t i = 0; i < static_cast<ptrdiff_t>(w_) * h; ++i)
            if (labelBuf_[i] > 0) labelBuf_[i] = number[static_cast<size_t>(labelBuf_[i])];
        return count;
    }

  private:
    void add(int label, int x, int y) {
        labelAt(labelBuf_, w_, x, y) = label;
        lists_[label].addOnePoint(x, y);
    }

    /// The label for a pixel by its neighbours; those that differ are merged, once a pixel: only
    /// the one from the left and the one from the upper right can.
    int labelFor(int x, int y) {
        const int neighbours[] = {x > 0 ? labelAt(labelBuf_, w_, x - 1, y - 1) : 0,
                                  labelAt(labelBuf_, w_, x, y - 1),
                                  x < w_ - 1 ? labelAt(labelBuf_, w_, x + 1, y - 1) : 0,
                                  x > 0 ? labelAt(labelBuf_, w_, x - 1, y) : 0};
        int current = 0;
        for (const int label : neighbours) {
            if (label == 0) continue;
            if (current == 0) current = label;
            if (label == current) continue;
            const int smaller = label < current ? label : current;
            kel_merge_to_label(lists_.data(), w_, smaller, label + current - smaller, labelBuf_);
            return smaller;
        }
        return current != 0 ? current : ++labels_;
    }

    int w_;
    int* labelBuf_;
    PointLists lists_;
    int labels_ = 0;
};

}  // namespace

// The lists link their points by plain pointers, as their layout says.
// NOLINTBEGIN(cppcoreguidelines-owning-memory)
void kelPointPosSeq::addOnePoint(int x, int y) {
    tail->next = new kelPointPosSeqNote(x, y);
    tail = tail->next;
    ++num;
}

void kelPointPosSeq::release() {
    if (num > 0) {
        for (kelPointPosSeqNote* point = head.next; point != nullptr;) {
            kelPointPosSeqNote* const next = point->next;
            delete point;
            point = next;
        }
    }
    head.next = nullptr;
    tail = &head;
    num = 0;
}
// NOLINTEND(cppcoreguidelines-owning-memory)

int kel_merge_to_label(kelPointPosSeq* seqs, int w, int toLabel, int fromLabel, int* labelBuf) {
    kelPointPosSeq& to = seqs[toLabel];
    kelPointPosSeq& from = seqs[fromLabel];
    for (const kelPointPosSeqNote* point = from.head.next; point != nullptr; point = point->next)
        labelAt(labelBuf, w, point->x, point->y) = toLabel;
    to.tail->next = from.head.next;
    to.tail = from.tail;
    to.num += from.num;
    from.head.next = nullptr;
    from.tail = &from.head;
    from.num = 0;
    return 0;
}

int KC_GenerateCALabelBuf_Inner(int w, int h, int* labelBuf, int labelCapacity) {
    if (w < 1 || h < 1 || labelCapacity < 1) return 0;
    Labeller labeller(w, labelBuf, labelCapacity);
    labeller.labelFirstRow();
    for (int y = 1; y < h; ++y)
        labeller.labelRow(y);
    return labeller.renumber(h);
}
