// Statistics of integer arrays. Sums are unsigned inside, so that they wrap by definition and the
// compiler may add several at a time.
#include "kel_ArrayProperties.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

#include "sizes.h"

using namespace kel::detail;

int KelCal1DArrayAver(int* array, int arrLen) {
    if (arrLen == 0) {
        std::fputs("arrLen = 0\n", stderr);
        return 0;
    }
    uint32_t sum = 0;
    for (int i = 0; i < arrLen; ++i)
        sum += static_cast<uint32_t>(array[i]);
    return static_cast<int>(static_cast<int32_t>(sum) / static_cast<double>(arrLen));
}

int KelCal1DArrayErr(int* array, int arrLen, double* err, bool calcAver, int aver) {
    *err = 0.0;
    if (arrLen == 0) {
        std::fputs("[KelCal1DArrayErr] arrLen = 0\n", stderr);
        return 0;
    }
    if (calcAver) aver = KelCal1DArrayAver(array, arrLen);
    uint32_t sum = 0;
    for (int i = 0; i < arrLen; ++i) {
        const uint32_t difference = static_cast<uint32_t>(array[i]) - static_cast<uint32_t>(aver);
        sum += static_cast<int32_t>(difference) < 0 ? 0U - difference : difference;
    }
    const int whole = static_cast<int32_t>(sum) / arrLen;  // truncated
    *err = whole;
    return 0;
}

int KelCal1DArraysRelation1(int* first, int* second, int arrLen, double* relation) {
    *relation = 0.0;
    if (arrLen == 0) {
        std::fputs("[KelCal1DArraysRelation1] arrLen = 0\n", stderr);
        return 0;
    }
    uint32_t firstSquares = 0, secondSquares = 0, products = 0;
    for (int i = 0; i < arrLen; ++i) {
        const auto a = static_cast<uint32_t>(first[i]);
        const auto b = static_cast<uint32_t>(second[i]);
        firstSquares += a * a;
        secondSquares += b * b;
        products += a * b;
    }
    if (firstSquares == 0 || secondSquares == 0) return 0;
    const auto product = static_cast<int32_t>(firstSquares * secondSquares);
    *relation = static_cast<int32_t>(products) / std::sqrt(static_cast<double>(product));
    return 0;
}

int KelOrderArray(int* array, int arrLen, bool ascending) {
    if (arrLen < 2) return 0;
    if (ascending) {
        std::sort(array, array + arrLen);
    } else {
        std::sort(array, array + arrLen, std::greater<>());
    }
    return 0;
}
