// The characters that name the planes of a colour image.
#pragma once

#include <optional>

namespace kel::detail {

/// The plane that 'R', 'G' or 'B' names; nothing for any other character.
inline std::optional<int> planeOfChannel(char channel) {
    switch (channel) {
        case 'R':
            return 0;
        case 'G':
            return 1;
        case 'B':
            return 2;
        default:
            return std::nullopt;
    }
}

}  // namespace kel::detail
