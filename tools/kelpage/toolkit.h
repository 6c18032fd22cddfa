// The toolkit's records and files, owned; and pages to and from them.
#pragma once

#include <im.h>

#include <memory>

#include "page_files.h"

namespace kelpage {

struct GiveBack {
    void operator()(imImage* image) const { imImageDestroy(image); }
    void operator()(imFile* file) const { imFileClose(file); }
};

using ToolkitImage = std::unique_ptr<imImage, GiveBack>;
using ToolkitFile = std::unique_ptr<imFile, GiveBack>;

/// @throws std::bad_alloc
ToolkitImage toToolkit(const Page& page);

/// A page within `limit`, its aspect ratio kept; the page itself where it fits.
Page shrunk(Page page, kelSize limit);

}  // namespace kelpage
