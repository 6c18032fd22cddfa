/// @file kel_define.h
/// Shared records and constants: sizes, points, pixels, and the record of a loaded page.
///
/// A *channel image* is the image form of the whole library: a flat buffer of unsigned 8-bit
/// samples with its width, height and channel count passed beside it. One plane per channel, planes
/// one behind the other, rows top to bottom, no padding anywhere: sample (channel c, row y, column
/// x) lies at `c*width*height + y*width + x`. Three channels are R, G, B in that order; one channel
/// is grey, or binary with the samples 0 and 255.
#ifndef KEL_DEFINE_H
#define KEL_DEFINE_H

#include <stddef.h>
#include <stdint.h>

/// Marks what the shared library exports; everything else in it is hidden.
#if defined(__GNUC__)
#define KEL_API __attribute__((visibility("default")))
#else
#define KEL_API
#endif

/// Size of a channel image in pixels.
struct kelSize {
    int32_t width;   ///< pixels per row
    int32_t height;  ///< rows
};

/// An image position in pixels.
struct kelPoint {
    int32_t x;  ///< column
    int32_t y;  ///< row
};

/// An interval of positions, both bounds in pixels.
struct kelRange {
    int32_t lower;  ///< first position
    int32_t upper;  ///< last position
};

/// One pixel gathered from the three planes.
struct kelRGB {
    uint8_t r;  ///< red
    uint8_t g;  ///< green
    uint8_t b;  ///< blue
};

/// One pixel in the HSV model.
struct kelHSV {
    double h;  ///< hue in degrees, -1.0 where the pixel has none
    double s;  ///< saturation, 0 to 1
    double v;  ///< value, 0 to 255
};

/// A cursor on one pixel of a three-channel channel image: three pointers, one into each plane.
/// It owns nothing. A default-constructed cursor points nowhere until it is set.
class KEL_API kelRGBPoint {
  public:
    kelRGBPoint();
    /// Aims at three samples.
    kelRGBPoint(unsigned char* red, unsigned char* green, unsigned char* blue);
    /// A cursor on the same pixel.
    kelRGBPoint(const kelRGBPoint&) = default;
    /// Aims at the pixel of another cursor.
    kelRGBPoint& operator=(const kelRGBPoint&) = default;
    ~kelRGBPoint();  // NOLINT(performance-trivially-destructible): an exported member

    /// Aims the cursor at three samples.
    void Copy(unsigned char* red, unsigned char* green, unsigned char* blue);
    /// Aims the cursor at `base` of plane 0 and the like samples of planes 1 and 2.
    /// @param planeSize samples per plane (width times height)
    void Ini(unsigned char* base, int planeSize);
    /// Aims each pointer at the like pointer of `from` plus its own offset in samples.
    void setOff(kelRGBPoint from, int offR, int offG, int offB);
    /// The sample of channel 'R', 'G' or 'B' (capitals only); 0 for any other character.
    unsigned char getValue(char channel);
    /// Writes the three samples under the cursor.
    void setValue(unsigned char r, unsigned char g, unsigned char b);
    /// Copies the three samples under `from` to those under this cursor.
    void CopyValue(kelRGBPoint from);

  private:
    unsigned char* red_;
    unsigned char* green_;
    unsigned char* blue_;
};

/// One loaded page. Hosts walk arrays of it, so its 208 bytes and every offset are fixed.
///
/// `imageData` comes from array `new` and is owned by the record; give a record back with
/// KelReleaseKelImage() and an array of them with Kel_ReleaseImageArr().
struct tagImage {
    unsigned char* imageData;  ///< samples in channel-image layout
    int32_t width;             ///< pixels per row
    int32_t height;            ///< rows
    int32_t dataSize;          ///< bytes in `imageData`
    int32_t channels;          ///< planes, 1 or 3
    int32_t reserved;          ///< always 0
    int32_t dataType;          ///< sample type code; 0 for 8-bit samples
    char format[12];           ///< file format name, NUL-terminated, such as "TIFF"
    char compression[32];      ///< compression name or JPEG rate, NUL-terminated
    char xResolution[8];       ///< decimal text; no terminator when all 8 bytes are used
    char yResolution[8];       ///< the same, vertical
    char pageInfo[116];        ///< "%04d%04d": pages in the file, this page's number from 1
};

#if defined(__LP64__) || defined(_WIN64)
static_assert(sizeof(kelSize) == 8 && sizeof(kelPoint) == 8 && sizeof(kelRange) == 8, "layout");
static_assert(sizeof(kelRGB) == 3 && sizeof(kelHSV) == 24 && sizeof(kelRGBPoint) == 24, "layout");
static_assert(sizeof(tagImage) == 208, "hosts walk arrays of tagImage");
static_assert(offsetof(tagImage, imageData) == 0 && offsetof(tagImage, width) == 8 &&
                  offsetof(tagImage, height) == 12 && offsetof(tagImage, dataSize) == 16 &&
                  offsetof(tagImage, channels) == 20 && offsetof(tagImage, reserved) == 24 &&
                  offsetof(tagImage, dataType) == 28 && offsetof(tagImage, format) == 32 &&
                  offsetof(tagImage, compression) == 44 && offsetof(tagImage, xResolution) == 76 &&
                  offsetof(tagImage, yResolution) == 84 && offsetof(tagImage, pageInfo) == 92,
              "hosts read the fields of tagImage directly");
#endif

/// The largest size of a loaded page, in pixels. Enabled with 4096 by 4096 unless set otherwise.
struct tagLimitSize {
    int32_t limitEnabled = 1;  ///< 1 or 0
    int32_t width = 4096;      ///< the widest page
    int32_t height = 4096;     ///< the highest page
};

static_assert(sizeof(tagLimitSize) == 12, "layout");

#endif  // KEL_DEFINE_H
