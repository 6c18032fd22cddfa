// The libFuzzer entry of one format.
#include "fuzz_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::readWith(KEL_FUZZ_FORMAT, data, size);
    return 0;
}
