// Records of connected areas: filling, judging, and classes by their sizes.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "kel_ConnectArea.h"
#include "kernels/row_kernels.h"
#include "sizes.h"

using namespace kel::detail;

namespace {

/// Adds the pixels from column `begin` to before `end` of row `y`.
void addRun(int begin, int end, int y, kelConnectArea& ca) {
    KelSetConnectArea(begin, y, &ca);
    if (end - begin < 2) return;
    ca.area = wrapAdd(ca.area, end - begin - 2);
    KelSetConnectArea(end - 1, y, &ca);
}

/// Sides of a box: as differences of its corners, and in pixels.
struct Sides {
    explicit Sides(const kelConnectArea& ca)
        : dx(int64_t{ca.x1} - ca.x0), dy(int64_t{ca.y1} - ca.y0) {}

    int64_t pixelsWide() const { return dx + 1; }
    int64_t pixelsHigh() const { return dy + 1; }
    double fill(int area) const {
        return area / (static_cast<double>(pixelsWide()) * static_cast<double>(pixelsHigh()));
    }

    int64_t dx;
    int64_t dy;
};

bool isLetterSized(const kelConnectArea& ca) {
    const Sides sides(ca);
    return (sides.pixelsWide() <= 60 || sides.pixelsHigh() >= 15) && ca.area >= 49 &&
           sides.pixelsWide() >= 7 && sides.pixelsHigh() >= 11 && sides.fill(ca.area) > 0.2;
}

/// Types 1 to 5 measure in pixels, 6 and 7 by differences: so it is meant.
bool passes(const kelConnectArea& ca, int type, int value, int value2) {
    const Sides sides(ca);
    switch (type) {
        case 1:
            return isLetterSized(ca) && sides.fill(ca.area) < 0.7;
        case 2:
            return ca.area >= 10 && ca.area <= 9999;
        case 3:
            return isLetterSized(ca);
        case 4:
            return ca.area >= 5 && ca.area <= 9999;
        case 5:
            return ca.area > value;
        case 6:
            return ca.area <= 299 && ca.area > value && sides.dx <= 28;
        case 7:
            return sides.dx > 59 && sides.dy > 14;
        case 8:
            return ca.area > value && ca.area < value2;
        default:
            return false;
    }
}

}  // namespace

int KelInitConnectArea(kelConnectArea* ca) {
    *ca = {};
    return 0;
}

int KelSetConnectArea(int x, int y, kelConnectArea* ca) {
    if (ca->area == 0) {
        *ca = {1, x, y, x, y, ca->shape};
        return 0;
    }
    ca->area = wrapAdd(ca->area, 1);
    if (x < ca->x0)
        ca->x0 = x;
    else if (x > ca->x1)
        ca->x1 = x;
    if (y < ca->y0)
        ca->y0 = y;
    else if (y > ca->y1)
        ca->y1 = y;
    return 0;
}

int KelCAShape(kelConnectArea* ca) {
    ca->shape = 0;
    const Sides sides(*ca);
    const int64_t difference = sides.dx - sides.dy;
    if (difference < -2 || difference > 2) return 0;
    if (sides.pixelsWide() < 11 || sides.pixelsHigh() < 11) return 0;
    const double fill = sides.fill(ca->area);
    if (fill > 0.67 && fill < 1.0) ca->shape = 1;  // a full box is no blob
    return 0;
}

void KelCAPrintData(kelConnectArea* ca) {
    std::printf("p0[%d, %d] p1[%d, %d] area[%d] shape[%d]\n", ca->x0, ca->y0, ca->x1, ca->y1,
                ca->area, ca->shape);
}

int kel_set_caArr_value(int* labelBuf, int w, int h, int caNum, kelConnectArea* caArr) {
    for (int i = 0; i < caNum; ++i)
        caArr[i] = {};
    if (w < 1 || h < 1) return 0;
    // The labels of a row are taken in stretches: a change starts one and ends the one before.
    std::vector<uint64_t> changes((static_cast<size_t>(w) + 63) / 64);
    for (int y = 0; y < h; ++y) {
        const int* const row = labelBuf + static_cast<ptrdiff_t>(y) * w;
        rowKernels().area.packChanges(row, changes.data(), static_cast<size_t>(w));
        int begin = 0;
        const auto endAt = [&](int x) {
            if (x > begin && row[begin] > 0) addRun(begin, x, y, caArr[row[begin]]);
            begin = x;
        };
        for (size_t i = 0; i < changes.size(); ++i)
            for (uint64_t bits = changes[i]; bits != 0; bits &= bits - 1)
                endAt(static_cast<int>(64 * i) + __builtin_ctzll(bits));
        endAt(w);
    }
    return 0;
}

int kel_set_caType_value(kelConnectArea* caArr, int caNum, int* typeArr, int type, int value,
                         int value2) {
    int marked = 0;
    for (int label = 1; label < caNum; ++label) {
        if (!passes(caArr[label], type, value, value2)) continue;
        typeArr[label] = type <= 4 ? value : 1;
        ++marked;
        if (type == 8) std::printf("caArr[%d].area = %d\n", label, caArr[label].area);
    }
    return marked;
}
