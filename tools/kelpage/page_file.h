// An image file and its pages: what they are, and their samples.
#pragma once

#include <string>

#include "page_files.h"
#include "toolkit.h"

namespace kelpage {

/// What a page's header tells.
struct PageFacts {
    kelSize size{};
    int colorSpace = 0;             ///< imColorSpace
    int sampleType = 0;             ///< imDataType
    std::string compression;        ///< its name
    double xDpi = 0.0, yDpi = 0.0;  ///< 0 where the file has none

    bool isBinary() const { return colorSpace == IM_BINARY; }
};

/// "2480 x 3508 pixels, binary", with the sample type where it is not the usual byte.
std::string describe(const PageFacts& page);

class PageFile {
  public:
    /// @throws FileError
    explicit PageFile(fs::path path);

    const std::string& format() const { return format_; }
    /// A file that is cut off has one more, which cannot be loaded.
    int pageCount() const { return pageCount_; }

    /// Reads the header of a page, counted from 1.
    /// @throws FileError
    PageFacts facts(int number);

    /// Loads a page, counted from 1: grey and binary ones as one plane, others as three. Samples of
    /// 16 bits lose their lower half.
    /// @param limit a larger page is scaled down to fit; 0 by 0 is none
    /// @throws FileError
    Page load(int number, kelSize limit = {0, 0});

  private:
    fs::path path_;
    ToolkitFile file_;
    std::string format_;
    int pageCount_ = 0;
};

}  // namespace kelpage
