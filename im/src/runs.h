// Runs of equal units in a row: what the run-length coders of several formats have in common.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace im {

/// Equal units from the first of `count` on (at least 1), at most `most`.
template <size_t kUnitBytes>
size_t runLength(const uint8_t* units, size_t count, size_t most) {
    const size_t limit = std::min(count, most);
    size_t length = 1;
    while (length < limit && std::memcmp(units, units + length * kUnitBytes, kUnitBytes) == 0)
        ++length;
    return length;
}

/// Cuts `count` units into packets of at most `most`: runs, and units to be copied one by one.
/// Calls `emit(isRun, units, length)` for each in turn.
template <size_t kUnitBytes, class Emit>
void cutIntoPackets(const uint8_t* units, size_t count, size_t most, const Emit& emit) {
    // A run costs a head of its own: two single bytes are not worth it.
    constexpr size_t shortestRun = kUnitBytes == 1 ? 3 : 2;
    while (count > 0) {
        size_t length = runLength<kUnitBytes>(units, count, most);
        const bool isRun = length >= shortestRun;
        if (!isRun) {
            const size_t limit = std::min(count, most);
            while (length < limit &&
                   runLength<kUnitBytes>(units + length * kUnitBytes, count - length, shortestRun) <
                       shortestRun)
                ++length;
        }
        emit(isRun, units, length);
        units += length * kUnitBytes;
        count -= length;
    }
}

}  // namespace im
