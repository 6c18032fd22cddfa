// Texts of the toolkit's error codes.
#pragma once

namespace kel::detail {

/// One line, its end included.
const char* toolkitErrorText(int error);

}  // namespace kel::detail
