// Image files with resolution and quality, which the library's plain saver does not write.
#pragma once

#include <string>

#include "page_files.h"
#include "toolkit.h"

namespace kelpage {

/// A new file, of several pages for TIFF. It appears whole, with finish(), or not at all.
class PageWriter {
  public:
    /// @param quality of JPEG, 1 to 100
    PageWriter(fs::path path, int quality);
    PageWriter(const PageWriter&) = delete;
    PageWriter& operator=(const PageWriter&) = delete;
    ~PageWriter() { imFileAbandon(file_.get()); }

    /// @param compression group 4 takes pages of 0 and 255
    /// @throws FileError
    void add(const Page& page, Compression compression);

    /// @throws FileError
    void finish();

  private:
    void create();
    void setResolution(const Page& page);

    fs::path path_;
    std::string format_;
    int quality_;
    ToolkitFile file_;
};

}  // namespace kelpage
