// What a file format implements. Each format is one file, which defines one Format record, and one
// line in formats.cpp.
//
// Readers and writers throw im::Error (or std::bad_alloc); imFile turns that into codes. Codes in
// use: IM_ERR_FORMAT for a header that makes no sense, IM_ERR_ACCESS for data that end early or are
// damaged, IM_ERR_DATA for a kind of image that is not supported, IM_ERR_COMPRESS for a compression
// that is not, IM_ERR_MEM for sizes beyond what can be held.
#pragma once

#include <memory>
#include <string>

#include "attributes.h"
#include "bin_file.h"
#include "im.h"

namespace im {

struct PageInfo {
    int width = 0;
    int height = 0;
    int colorSpace = IM_GRAY;  ///< as the image is decoded
    int dataType = IM_BYTE;    ///< as the image is decoded
    int flags = 0;             ///< imColorModeFlag: how the file stores it
};

/// An open file. The BinaryFile outlives it.
class Reader {
  public:
    virtual ~Reader() = default;
    virtual int pageCount() = 0;
    /// Whether the file tells of pages behind those that it has.
    virtual bool isCutOff() { return false; }
    /// Reads a page's header. Checks sizes against what an image can be and what the source can
    /// hold (checkPage), so that the caller may allocate.
    virtual PageInfo pageInfo(int index) = 0;
    /// Decodes a page into every sample (and the palette) of an image made from its pageInfo, which
    /// was called right before.
    virtual void readPage(int index, imImage& image) = 0;
    /// Attributes of the page of the last pageInfo.
    virtual Attributes attributes() { return {}; }
    /// Compression of the page of the last pageInfo, of the first page before one; at most 19
    /// letters.
    virtual std::string compression() = 0;
};

/// A file being written. The BinaryFile outlives it.
class Writer {
  public:
    virtual ~Writer() = default;
    /// Appends a page, of a kind that the format's storedSpace has named. `compression` is one of
    /// the format's names. After it, the whole file is written. IM_ERR_DATA and IM_ERR_COMPRESS are
    /// thrown before anything is written; after other errors no further page comes.
    virtual void writePage(const imImage& image, const std::string& compression,
                           const Attributes& attributes) = 0;
};

struct Format {
    const char* name;              ///< at most 11 letters
    const char* description;       ///< at most 63 letters
    const char* extensions;        ///< at most 31 letters
    const char* compressions[16];  ///< the usual one first; null ends them
    bool multiple;                 ///< holds several images

    /// Tells by the content whether a file is of this format. `head` is its first bytes
    /// (kHeadBytes, or the whole of a shorter file); the file may be read further.
    /// Null, as `open`, where files are only written.
    bool (*probe)(Bytes head, BinaryFile& file);
    std::unique_ptr<Reader> (*open)(BinaryFile& file);
    std::unique_ptr<Writer> (*create)(BinaryFile& file);
    /// The colour space in which the format stores images of this kind with this compression; -1
    /// when it cannot. The image is converted before writePage sees it.
    int (*storedSpace)(int colorSpace, int dataType, const std::string& compression);
};

/// What Format::open and Format::create usually are.
template <class FormatReader>
std::unique_ptr<Reader> openAs(BinaryFile& file) {
    return std::make_unique<FormatReader>(file);
}

template <class FormatWriter>
std::unique_ptr<Writer> createAs(BinaryFile& file) {
    return std::make_unique<FormatWriter>(file);
}

constexpr size_t kHeadBytes = 512;

/// All formats, in the order of probing; null ends them.
extern const Format* const kFormats[];

/// By name, letters of either case; null for an unknown one.
const Format* findFormat(const char* name);

/// Equal but for the case of ASCII letters.
bool sameName(const char* a, const char* b);

/// Throws unless an image of this size and kind can be made, and (with `sourceBytes` the bytes that
/// its data can take in the file, and `bestRatio` the most samples' bytes that one of them can
/// become) the source can hold it.
void checkPage(const PageInfo& info, uint64_t sourceBytes, double bestRatio);

/// The ratio of codings whose runs have no bound, for pages of up to 256 MB; beyond that, a byte of
/// the file is to stand for no more than 4096.
double ratioWithoutBound(const PageInfo& info);

/// Lowers the limit of checkPage: a hook for fuzzing, where large images only cost time.
void limitPageBytes(int bytes);

/// The formats, one per file.
extern const Format kBmp;
extern const Format kGif;
extern const Format kIco;
extern const Format kJp2;
extern const Format kJpeg;
extern const Format kLed;
extern const Format kPcx;
extern const Format kPng;
extern const Format kPnm;
extern const Format kRas;
extern const Format kRaw;
extern const Format kSgi;
extern const Format kTga;
extern const Format kTiff;

}  // namespace im
