/// @file KelImageLib.hpp
/// A door for C++17 hosts: images that own their samples, results as values, errors as exceptions.
/// Header only; every call goes straight to the exported functions.
///
/// ```cpp
/// kel::Image page = kel::load("page.jpg");
/// page = kel::rotated(page, -kel::skewOf(kel::binarize(page)));
/// page = kel::withoutBlackEdges(page);
/// kel::Image ink = kel::withoutSpots(kel::binarize(page), 10);
/// kel::save(kel::inverted(ink), "page.tif", kel::Compression::group4);
/// ```
///
/// **Errors.** A call that cannot do its work throws kel::Error, which carries the library's result
/// code and the exported function that gave it; the tables of those functions tell what it means.
/// An argument that no image fits, such as an empty one, throws std::invalid_argument before the
/// library is reached. What a function is given is never changed.
///
/// **Threads.** Functions keep no state. One image may be read on several threads at once.
#ifndef KELIMAGELIB_HPP
#define KELIMAGELIB_HPP

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "KelImageLib.h"

namespace kel {

/// A result code of the library that is not 0.
class Error : public std::runtime_error {
  public:
    /// What an exported function gave.
    Error(const char* call, int code)
        : std::runtime_error(std::string(call) + " gave " + std::to_string(code)),
          call_(call),
          code_(code) {}
    /// The exported function.
    const char* call() const noexcept { return call_; }
    /// Its result.
    int code() const noexcept { return code_; }

  private:
    const char* call_;
    int code_;
};

/// A channel image that owns its samples: one plane or three (R, G, B) of 8 bits, planes one behind
/// the other, rows top to bottom without padding.
class Image {
  public:
    /// No pixels.
    Image() = default;

    /// @param planes 1 or 3
    /// @throws std::invalid_argument for sizes below 1, other plane counts, or more than 2 GiB
    explicit Image(kelSize size, int planes = 1, unsigned char fill = 0)
        : Image(Samples(), size, planes) {
        samples_.reset(new unsigned char[bytes()]);
        std::memset(data(), fill, bytes());
    }

    /// A copy of the samples.
    Image(const Image& other) : size_(other.size_), planes_(other.planes_) {
        if (other.empty()) return;
        samples_.reset(new unsigned char[bytes()]);
        std::memcpy(data(), other.data(), bytes());
    }
    /// Takes the samples over.
    Image(Image&& other) noexcept
        : size_(std::exchange(other.size_, kelSize{0, 0})),
          planes_(std::exchange(other.planes_, 0)),
          samples_(std::move(other.samples_)) {}
    /// Copies or takes over.
    Image& operator=(Image other) noexcept {
        swap(other);
        return *this;
    }
    ~Image() = default;

    /// Takes over a buffer that the library has handed out; it is released even if this throws.
    /// @throws std::invalid_argument as above, and for null
    static Image adopt(unsigned char* samples, kelSize size, int planes) {
        requireSamples(samples);
        return Image(Samples(samples), size, planes);
    }
    /// A copy of the caller's samples.
    /// @throws std::invalid_argument as above, and for null
    static Image copyOf(const unsigned char* samples, kelSize size, int planes) {
        requireSamples(samples);
        Image image(size, planes);
        std::memcpy(image.data(), samples, image.bytes());
        return image;
    }

    /// Exchanges all with another image.
    void swap(Image& other) noexcept {
        std::swap(size_, other.size_);
        std::swap(planes_, other.planes_);
        samples_.swap(other.samples_);
    }

    /// Whether it has no pixels.
    bool empty() const noexcept { return samples_ == nullptr; }
    /// Width and height.
    kelSize size() const noexcept { return size_; }
    /// Pixels per row.
    int width() const noexcept { return size_.width; }
    /// Rows.
    int height() const noexcept { return size_.height; }
    /// 1 or 3; 0 without pixels.
    int planes() const noexcept { return planes_; }
    /// Samples in a plane.
    size_t planeBytes() const noexcept {
        return static_cast<size_t>(size_.width) * static_cast<size_t>(size_.height);
    }
    /// Samples in all planes.
    size_t bytes() const noexcept { return planeBytes() * static_cast<size_t>(planes_); }

    /// The first sample, null without pixels.
    unsigned char* data() noexcept { return samples_.get(); }
    /// The same to read.
    const unsigned char* data() const noexcept { return samples_.get(); }
    /// For the library's functions that only read, but take no const.
    unsigned char* readable() const noexcept { return samples_.get(); }

    /// The first sample of a row; plane and row are not checked.
    unsigned char* row(int plane, int y) noexcept { return data() + offset(plane, y); }
    /// The same to read.
    const unsigned char* row(int plane, int y) const noexcept { return data() + offset(plane, y); }

  private:
    struct Release {
        void operator()(unsigned char* samples) const noexcept { Kel_ReleaseImage(samples); }
    };

    using Samples = std::unique_ptr<unsigned char[], Release>;

    Image(Samples samples, kelSize size, int planes) : samples_(std::move(samples)) {
        constexpr size_t kMost = std::numeric_limits<int>::max();
        if (size.width < 1 || size.height < 1 || (planes != 1 && planes != 3) ||
            static_cast<size_t>(size.width) >
                kMost / static_cast<size_t>(size.height) / static_cast<size_t>(planes))
            throw std::invalid_argument("kel::Image: no image has this size");
        size_ = size;
        planes_ = planes;
    }
    static void requireSamples(const unsigned char* samples) {
        if (samples == nullptr) throw std::invalid_argument("kel::Image: no samples");
    }
    size_t offset(int plane, int y) const noexcept {
        return static_cast<size_t>(plane) * planeBytes() +
               static_cast<size_t>(y) * static_cast<size_t>(size_.width);
    }

    kelSize size_ = {0, 0};
    int planes_ = 0;
    Samples samples_;
};

/// Equal sizes, planes and samples.
inline bool operator==(const Image& a, const Image& b) {
    return a.width() == b.width() && a.height() == b.height() && a.planes() == b.planes() &&
           (a.bytes() == 0 || std::memcmp(a.data(), b.data(), a.bytes()) == 0);
}
/// Not equal.
inline bool operator!=(const Image& a, const Image& b) {
    return !(a == b);
}

namespace detail {

inline void check(const char* call, int code) {
    if (code != 0) throw Error(call, code);
}
inline void require(bool holds, const char* what) {
    if (!holds) throw std::invalid_argument(what);
}
inline void requirePixels(const Image& image) {
    require(!image.empty(), "kel: an image without pixels");
}
inline void requirePlane(const Image& image) {
    require(image.planes() == 1, "kel: an image of one plane is needed");
}
inline void requireColour(const Image& image) {
    require(image.planes() == 3, "kel: an image of three planes is needed");
}

/// A buffer of the library until its owner has it.
struct Buffer {
    Buffer() = default;
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer() { Kel_ReleaseImage(bytes); }
    Image take(kelSize size, int planes) {
        return Image::adopt(std::exchange(bytes, nullptr), size, planes);
    }
    unsigned char* bytes = nullptr;
};

}  // namespace detail

/// @name Files
/// @{

/// The largest page that a load gives; a larger one is scaled down to fit. Without sides, any size.
struct Limit {
    int width = 0;   ///< the widest page, in pixels
    int height = 0;  ///< the highest page
};

/// A page and what its file tells of it.
struct Page {
    Image image;              ///< grey, binary or RGB
    std::string format;       ///< such as "TIFF"
    std::string compression;  ///< its name; for JPEG the quality as digits
    double xResolution = 0;   ///< dots per inch; 0 where the file has none
    double yResolution = 0;   ///< the same, vertical
};

/// Loads the first page of a file, as grey, binary or RGB.
inline Page loadPage(const std::string& path, Limit limit = {}) {
    const bool limited = limit.width > 0 && limit.height > 0;
    detail::Buffer buffer;
    kelSize size = {limit.width, limit.height};
    int planes = limited ? -10 : -100, rate = 0;
    char format[16] = {}, compression[40] = {};
    Page page;
    detail::check("Kel_LoadImageFile2BufferRParam",
                  Kel_LoadImageFile2BufferRParam(path.c_str(), &buffer.bytes, &size.width,
                                                 &size.height, &planes, format, compression, &rate,
                                                 &page.xResolution, &page.yResolution));
    page.image = buffer.take(size, planes);
    page.format = format;
    page.compression = compression;
    return page;
}

/// The image alone.
inline Image load(const std::string& path, Limit limit = {}) {
    return loadPage(path, limit).image;
}

/// Loads the first page of a whole file in memory. A length in braces is none: it is a Limit, as in
/// `load("page.jpg", {1000, 1000})`.
template <class Length, class = std::enable_if_t<std::is_integral_v<Length>>>
Image load(const void* file, Length length, Limit limit = {}) {
    detail::require(static_cast<size_t>(length) <= std::numeric_limits<int>::max(),
                    "kel::load: more than 2 GiB");
    const bool limited = limit.width > 0 && limit.height > 0;
    detail::Buffer buffer;
    kelSize size = {limit.width, limit.height};
    int planes = limited ? -10 : -100;
    auto* const bytes = const_cast<unsigned char*>(static_cast<const unsigned char*>(file));
    detail::check("Kel_ReadImageFile2Buffer",
                  Kel_ReadImageFile2Buffer(bytes, static_cast<int>(length), &buffer.bytes,
                                           &size.width, &size.height, &planes));
    return buffer.take(size, planes);
}

/// How the samples of a file are compressed, where its format has a choice.
enum class Compression { none = 0, runLength = 1, group4 = 2 };

/// Saves an image; the extension of the name tells the format. The file appears whole or not at
/// all. In a binary image 255 is white paper.
inline void save(const Image& image, const std::string& path,
                 Compression compression = Compression::none) {
    detail::requirePixels(image);
    detail::check("Kel_SaveImage_DT",
                  Kel_SaveImage_DT(image.readable(), image.width(), image.height(), image.planes(),
                                   path.c_str(), static_cast<int>(compression)));
}

/// The form of a file in memory.
struct Encoding {
    const char* format = "JPEG";                  ///< "JPEG", "BMP" or "TIFF"
    int quality = 90;                             ///< of JPEG, 1 to 100
    double dpi = 0;                               ///< 0: none is written
    Compression compression = Compression::none;  ///< of BMP and TIFF
};

/// A whole file in memory.
inline std::vector<unsigned char> encode(const Image& image, const Encoding& as = {}) {
    detail::requirePixels(image);
    detail::Buffer buffer;
    int length = 0;
    const auto dpi = static_cast<float>(as.dpi);
    const char* const call = "Kel_Convert2ImgFileBuffer_Params";
    detail::check(call, Kel_Convert2ImgFileBuffer_Params(
                            image.readable(), image.width(), image.height(), image.planes(),
                            as.format, &buffer.bytes, &length, dpi, dpi, as.quality, nullptr,
                            static_cast<int>(as.compression)));
    if (!buffer.bytes) throw Error(call, 1);
    return std::vector<unsigned char>(buffer.bytes, buffer.bytes + length);
}

/// @}
/// @name Pages to ink
/// @{

/// The exact luminance; a copy of one plane.
inline Image grey(const Image& image) {
    detail::requirePixels(image);
    Image result(image.size());
    detail::check("KelColorConvert", KelColorConvert(image.readable(), image.size(), image.planes(),
                                                     result.data(), result.size(), 1));
    return result;
}

/// How to tell ink from paper.
struct Binarization {
    int method = KEL_BIN_METHOD_AUTO;  ///< one of the `KEL_BIN_METHOD_` numbers
    int level = 0;                     ///< method 1: the level; 2 and 6: added to the estimate
    int blockSize = 25;                ///< methods 3 to 5: odd side of the window, up to 32767
    int belowMean = 10;                ///< methods 3 to 5: how much darker than the mean ink is
    int lowest = 0;                    ///< method 6: lower bound of the level; 0 for none
    int highest = 0;                   ///< method 6: upper bound of the level; 0 for none
};

/// The ink of a page: 255 where it is dark, 0 on the paper, by any method.
inline Image binarize(const Image& page, const Binarization& how = {}) {
    detail::requirePixels(page);
    const bool isLocal =
        how.method >= KEL_BIN_METHOD_ADAPTIVE && how.method <= KEL_BIN_METHOD_ADAPTIVE_SMOOTH;
    detail::require(
        !isLocal || (how.blockSize >= 3 && how.blockSize <= 32767 && how.blockSize % 2 == 1),
        "kel::binarize: the block size must be odd, from 3 to 32767");
    const bool isClamped = how.method == KEL_BIN_METHOD_AUTO_CLAMPED;
    Image ink(page.size());
    // Local methods have the opposite polarity.
    detail::check(
        "KelBinarizeImage",
        KelBinarizeImage(page.readable(), page.planes(), ink.data(), page.size(), isLocal ? 0 : 1,
                         how.method, how.level, isClamped ? how.lowest : how.blockSize,
                         isClamped ? how.highest : how.belowMean));
    return ink;
}

/// 255 less each sample: ink to page and back.
inline Image inverted(Image image) {
    for (size_t i = 0; i < image.bytes(); ++i)
        image.data()[i] = static_cast<unsigned char>(255 - image.data()[i]);
    return image;
}

/// Whether a page is blank: the share of its samples that are ink is below `least`.
inline bool isBlank(const Image& ink, double least = 0.0005) {
    detail::requirePlane(ink);
    return KelCalArea(ink.readable(), ink.size()) < least * static_cast<double>(ink.bytes());
}

/// The ink of a coloured seal, by the settings that KelReadHSVSegmentConfig() reads.
/// @param colour 0 red, 1 blue
inline Image sealOf(const Image& page, const std::string& config, int colour) {
    detail::requireColour(page);
    kelHSVSegConfig settings = {};
    detail::check("KelReadHSVSegmentConfig",
                  KelReadHSVSegmentConfig(config.c_str(), &settings, colour));
    Image mask(page.size());
    KelSegementImage_hsv_param(page.readable(), page.size(), mask.data(), &settings);
    return mask;
}

/// @}
/// @name Upright, scaled, cut out
/// @{

/// The skew in degrees; rotated() by its negative sets the page upright. 0 for a page without ink.
inline double skewOf(const Image& ink, double range = 10.0, double accuracy = 0.1) {
    detail::requirePlane(ink);
    if (KelCalArea(ink.readable(), ink.size()) == 0) return 0.0;
    double angle = 0.0;
    detail::check(
        "KelDetectDocumentAngle",
        KelDetectDocumentAngle(ink.readable(), ink.width(), ink.height(), range, accuracy, &angle));
    return angle;
}

/// Turned clockwise by some degrees about the centre, in the same size; the border is repeated.
inline Image rotated(const Image& image, double degrees) {
    detail::requirePixels(image);
    Image result(image.size(), image.planes());
    KelRotateImageLittleAngle(image.readable(), result.data(), image.size(), image.planes(),
                              degrees);
    return result;
}

/// Turned clockwise by quarters of a turn, exactly.
inline Image quarterTurned(const Image& image, int quarters) {
    detail::requirePixels(image);
    const int turns = (quarters % 4 + 4) % 4;
    if (turns == 0) return image;
    const kelSize size = image.size();
    Image result(turns == 2 ? size : kelSize{size.height, size.width}, image.planes());
    if (turns == 2)
        kel_RotateImage180(image.readable(), result.data(), size, image.planes());
    else
        (turns == 1 ? kel_RotateImage90 : kel_RotateImage270)(
            image.readable(), size.width, size.height, image.planes(), result.data(),
            result.width(), result.height());
    return result;
}

/// Scaled to a size; `method` is one of the `KEL_RESIZE_` numbers. See KelResizeImage() for what
/// they do at the last row and column.
inline Image resized(const Image& image, kelSize size, int method = KEL_RESIZE_AREA) {
    detail::requirePixels(image);
    Image result(size, image.planes());
    detail::check("KelResizeImage", KelResizeImage(image.readable(), image.size(), result.data(),
                                                   size, image.planes(), method));
    return result;
}

/// The part of an image within a rectangle that lies in it.
inline Image cropped(const Image& image, CvRect rect) {
    detail::require(rect.x >= 0 && rect.y >= 0 && rect.width > 0 && rect.height > 0 &&
                        rect.width <= image.width() - rect.x &&
                        rect.height <= image.height() - rect.y,
                    "kel::cropped: the rectangle does not lie in the image");
    Image part({rect.width, rect.height}, image.planes());
    detail::check("KelCopySubImage", KelCopySubImage(image.readable(), image.size(), part.data(),
                                                     part.size(), image.planes(), &rect));
    return part;
}

/// @}
/// @name Clean pages and their areas
/// @{

/// Without the dark edges that a scanner leaves round the page.
inline Image withoutBlackEdges(Image page) {
    detail::requirePixels(page);
    KelSubBlackEdge(page.data(), page.data(), page.size(), page.planes(), false, 0, 0);
    return page;
}

/// Ink without the areas of `most` pixels or fewer.
inline Image withoutSpots(Image ink, int most) {
    detail::requirePlane(ink);
    kel_del_smallspot_uc(ink.data(), ink.width(), ink.height(), most);
    return ink;
}

/// The 8-connected areas of ink.
struct Areas {
    std::vector<int> labels;              ///< one for each pixel: 0, or the area's number
    std::vector<kelConnectArea> records;  ///< entry n - 1 is area n
};

/// Labels the areas in the raster order of their first pixels.
inline Areas areasOf(const Image& ink) {
    detail::requirePlane(ink);
    Areas areas;
    areas.labels.resize(ink.bytes());
    const int count =
        KC_GenerateCALabelBuf(ink.readable(), ink.width(), ink.height(), areas.labels.data());
    areas.records.resize(static_cast<size_t>(count) + 1);
    kel_set_caArr_value(areas.labels.data(), ink.width(), ink.height(), count + 1,
                        areas.records.data());
    areas.records.erase(areas.records.begin());
    return areas;
}

/// The ink of each row ('H') or each column ('V').
inline std::vector<int> projectionOf(const Image& ink, char direction) {
    detail::requirePlane(ink);
    detail::require(direction == 'H' || direction == 'V', "kel::projectionOf: 'H' or 'V'");
    std::vector<int> sums(static_cast<size_t>(direction == 'H' ? ink.height() : ink.width()));
    KelImageProject1(ink.readable(), ink.size(), sums.data(), direction);
    return sums;
}

/// @}

/// The library's version.
inline std::string version() {
    char text[32] = {};
    kel_GetKelImageLibVersion(text);
    return text;
}

}  // namespace kel

#endif  // KELIMAGELIB_HPP
