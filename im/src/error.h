// The toolkit's inner error: thrown by formats and files, turned into a code before any public call
// returns. Never thrown through the frames of a C library.
#pragma once

#include "im.h"

namespace im {

struct Error {
    imErrorCode code;
};

[[noreturn]] inline void fail(imErrorCode code) {
    throw Error{code};
}

inline void require(bool condition, imErrorCode code) {
    if (!condition) fail(code);
}

}  // namespace im
