// RAW: samples alone, only written. One plane behind the other, the top row first, in memory's byte
// order; any number of images.
#include "byte_writer.h"
#include "format.h"
#include "image.h"

namespace im {
namespace {

class RawWriter : public Writer {
  public:
    explicit RawWriter(BinaryFile& file) : file_(file) {}

    void writePage(const imImage& image, const std::string&, const Attributes&) override {
        ByteWriter out(file_);
        for (int p = 0; p < image.depth; ++p)
            for (int y = 0; y < image.height; ++y)
                out.bytes(rowFromTop(image, p, y), lineBytes(image));
        out.flush();
    }

  private:
    BinaryFile& file_;
};

int storedSpace(int colorSpace, int, const std::string&) {
    return colorSpace;
}

}  // namespace

const Format kRaw = {
    "RAW",       "Raw samples without a header",
    "*.raw",     {"NONE"},
    true,
    nullptr,  // nothing tells such files from others
    nullptr,     createAs<RawWriter>,
    storedSpace,
};

}  // namespace im
