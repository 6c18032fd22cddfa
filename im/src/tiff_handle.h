// A libtiff handle over a binary file. libtiff's messages go nowhere.
#pragma once

#include <tiffio.h>

#include "bin_file.h"
#include "error.h"

namespace im {

class TiffHandle {
  public:
    /// `mode` is libtiff's: "r" or "w". Throws IM_ERR_FORMAT or, for writing, IM_ERR_ACCESS.
    TiffHandle(BinaryFile& file, const char* mode);
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;
    ~TiffHandle();

    TIFF* get() const { return tiff_; }
    /// Where it lies in memory; else nothing.
    Bytes wholeFile() const { return client_.file.whole(); }
    /// Drops whatever libtiff still writes, such as the directory of a page that failed.
    void refuseWrites() { client_.refusing = true; }

    /// The value of a tag of one value, or its default; `otherwise` where there is neither.
    /// `Value` must be the very type that libtiff stores.
    template <class Value>
    Value field(uint32_t tag, Value otherwise) const {
        Value value{};
        return TIFFGetFieldDefaulted(tiff_, tag, &value) == 1 ? value : otherwise;
    }

    template <class... Values>
    void setField(uint32_t tag, Values... values) {
        require(TIFFSetField(tiff_, tag, values...) == 1, IM_ERR_ACCESS);
    }

    /// What libtiff's callbacks get.
    struct Client {
        BinaryFile& file;
        bool refusing = false;
    };

  private:
    Client client_;
    TIFF* tiff_;
};

}  // namespace im
