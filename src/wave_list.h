// The waves of a projection, as a list that frees itself.
#pragma once

#include "kel_PatternAnalysis.h"

namespace kel::detail {

class WaveList {
  public:
    WaveList(int* wave, int len, int threshold) {
        KelDetectWaveCharacter1(wave, len, &first_, &count_, threshold);
    }
    WaveList(const WaveList&) = delete;
    WaveList& operator=(const WaveList&) = delete;
    ~WaveList() {
        while (kelWaveCharacter* const node = first_.next) {
            first_.next = node->next;
            delete node;
        }
    }

    /// Calls visit(wave, isFirst) for each record. There always is one; without waves it is empty.
    template <class Visit>
    void forEach(const Visit& visit) const {
        for (const kelWaveCharacter* wave = &first_; wave != nullptr; wave = wave->next)
            visit(*wave, wave == &first_);
    }

  private:
    kelWaveCharacter first_;
    int count_ = 0;
};

}  // namespace kel::detail
