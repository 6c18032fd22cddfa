// Channel images to and from the toolkit's records, beside a copy of the same bytes.
#include <algorithm>
#include <cstring>
#include <memory>

#include "bench_pages.h"
#include "bench_rows.h"
#include "im.h"
#include "kel_im.h"

namespace bench {
namespace {

struct Destroy {
    void operator()(imImage* image) const { imImageDestroy(image); }
};

void addRowsOf(const PageSet& page, const char* kind, int space, const Bytes& samples) {
    const std::shared_ptr<imImage> record(
        imImageCreate(page.size.width, page.size.height, space, IM_BYTE), Destroy());
    auto buffer = std::make_shared<Bytes>(samples);
    auto* const plane = static_cast<unsigned char*>(record->data[0]);
    const auto get = [=] { KelGetIMLibImage(record.get(), buffer->data()); };
    const auto put = [=] { KelPutIMLibImage(record.get(), buffer->data()); };
    const std::string name = page.name + " " + kind;
    put();
    addRow({"KelGetIMLibImage", name, get, "memcpy",
            [=] { std::memcpy(buffer->data(), plane, buffer->size()); }, 1.3,
            [=] {
                std::fill(buffer->begin(), buffer->end(), static_cast<unsigned char>(7));
                get();
                return *buffer == samples;
            }});
    addRow({"KelPutIMLibImage", name, put, "memcpy",
            [=] { std::memcpy(plane, buffer->data(), buffer->size()); }, 1.3,
            [=] {
                std::copy(samples.begin(), samples.end(), buffer->begin());
                std::fill(plane, plane + buffer->size(), static_cast<unsigned char>(7));
                put();
                get();
                return *buffer == samples;
            }});
}

}  // namespace

void addImBridgeRows() {
    for (const PageSet& page : pages()) {
        Bytes binary = page.grey;
        for (auto& sample : binary)
            sample = sample > 128 ? 255 : 0;
        addRowsOf(page, "binary", IM_BINARY, binary);
        addRowsOf(page, "colour", IM_RGB, page.colour);
    }
}

}  // namespace bench
