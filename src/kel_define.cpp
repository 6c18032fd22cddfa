// kelRGBPoint: three pointers that walk the planes of a colour image together.
#include "kel_define.h"

// The pointers stay unset until Copy(), Ini() or setOff(); hosts make arrays of cursors.
// NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
kelRGBPoint::kelRGBPoint() {}

kelRGBPoint::kelRGBPoint(unsigned char* red, unsigned char* green, unsigned char* blue)
    : red_(red), green_(green), blue_(blue) {}

kelRGBPoint::~kelRGBPoint() = default;

void kelRGBPoint::Copy(unsigned char* red, unsigned char* green, unsigned char* blue) {
    red_ = red;
    green_ = green;
    blue_ = blue;
}

void kelRGBPoint::Ini(unsigned char* base, int planeSize) {
    const ptrdiff_t step = planeSize;
    Copy(base, base + step, base + 2 * step);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): part of the interface
void kelRGBPoint::setOff(kelRGBPoint from, int offR, int offG, int offB) {
    Copy(from.red_ + offR, from.green_ + offG, from.blue_ + offB);
}

unsigned char kelRGBPoint::getValue(char channel) {
    switch (channel) {
        case 'R':
            return *red_;
        case 'G':
            return *green_;
        case 'B':
            return *blue_;
        default:
            return 0;
    }
}

void kelRGBPoint::setValue(unsigned char r, unsigned char g, unsigned char b) {
    *red_ = r;
    *green_ = g;
    *blue_ = b;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): part of the interface
void kelRGBPoint::CopyValue(kelRGBPoint from) {
    setValue(*from.red_, *from.green_, *from.blue_);
}
