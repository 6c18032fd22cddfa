// Waves: runs of a projection above a threshold, and the moving average for projections.
#include <algorithm>
#include <cstdio>

#include "kel_PatternAnalysis.h"
#include "sizes.h"
#include "work_buffer.h"

using namespace kel::detail;

kelWaveCharacter::kelWaveCharacter()
    : start(0),
      startSet(0),
      end(0),
      length(0),
      endSet(0),
      peakValue(0),
      peakPos(0),
      sum(0),
      next(nullptr) {}

kelWaveCharacter::~kelWaveCharacter() = default;

void kelWaveCharacter::SetStart1(int position) {
    start = position;
    startSet = 1;
}

void kelWaveCharacter::SetEnd(int position) {
    end = position;
    endSet = 1;
    length = wrapAdd(wrapSub(position, start), 1);
}

void kelWaveCharacter::SetEnd1(int position, int value) {
    SetEnd(position);
    sum = wrapAdd(sum, value);
}

void kelWaveCharacter::printfData() {}

kelWaveCharacterSeq::kelWaveCharacterSeq() : head(nullptr), count(0) {}

kelWaveCharacterSeq::~kelWaveCharacterSeq() {
    if (count < 1) return;
    while (head != nullptr) {
        kelWaveCharacter* const node = head;
        head = node->next;
        delete[] node;
    }
}

void kelWaveCharacterSeq::NewOne() {
    ++count;
}

int KelDetectWaveCharacter1(int* wave, int len, kelWaveCharacter* first, int* count,
                            int threshold) {
    *count = 0;
    kelWaveCharacter* current = first;
    bool inside = false;
    for (int i = 0; i < len; ++i) {
        const int value = wave[i];
        if (value <= threshold) {
            inside = false;
            continue;
        }
        if (!inside) {
            if (*count > 0) {
                current->next = new kelWaveCharacter;
                current = current->next;
            }
            ++*count;
            inside = true;
        }
        if (value > current->peakValue) {
            current->peakValue = value;
            current->peakPos = i;
        }
        if (current->startSet == 0) current->SetStart1(i);
        current->SetEnd1(i, value);
    }
    return 0;
}

int KelConvolveWave(int* wave, int len, int radius, int passes) {
    if (len < 1) return 0;
    // A window of a negative radius holds nothing, so that every mean is 0 there as well.
    if (passes < 1 || radius < 0 || radius >= len - radius) {
        std::fill_n(wave, len, 0);
        return 0;
    }
    // Every pass would read the unchanged wave, and find what the first one found.
    const int width = 2 * radius + 1;
    WorkBuffer<int> means(static_cast<size_t>(len));
    std::fill_n(means.data(), len, 0);
    uint32_t sum = 0;
    for (int i = 0; i < width - 1; ++i)
        sum += static_cast<uint32_t>(wave[i]);
    for (int i = radius; i < len - radius; ++i) {
        sum += static_cast<uint32_t>(wave[i + radius]);
        means[static_cast<size_t>(i)] = static_cast<int32_t>(sum) / width;
        sum -= static_cast<uint32_t>(wave[i - radius]);
    }
    std::copy_n(means.data(), len, wave);
    return 0;
}

int testPrint() {
    std::fputs("test.................................\n", stdout);
    return 0;
}
