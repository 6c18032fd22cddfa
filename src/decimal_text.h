// Decimal numbers in short text fields, read and written the same under every locale.
#pragma once

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

namespace kel::detail {

/// The text after white space and a plus sign.
inline std::string_view numberStart(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())))
        text.remove_prefix(1);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

/// The decimal floating-point number at the start of a text; 0.0 if there is none.
inline double parseDecimal(std::string_view text) {
    const std::string_view digits = numberStart(text);
    double value = 0.0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec != std::errc::result_out_of_range) return value;
    const std::string_view number = digits.substr(0, size_t(result.ptr - digits.data()));
    const bool tiny = number.find("e-") != number.npos || number.find("E-") != number.npos;
    return std::copysign(tiny ? 0.0 : HUGE_VAL, digits.front() == '-' ? -1.0 : 1.0);
}

/// The decimal integer at the start of a text; 0 if there is none, the nearest limit beyond 32
/// bits.
inline int parseInteger(std::string_view text) {
    const std::string_view digits = numberStart(text);
    int value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec != std::errc::result_out_of_range) return value;
    return digits.front() == '-' ? std::numeric_limits<int>::min()
                                 : std::numeric_limits<int>::max();
}

/// The number with two digits after the point, as "%.2f" prints it in the C locale.
inline std::string formatTwoDecimals(double value) {
    char text[400];
    const auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 2);
    return std::string(text, result.ptr);
}

/// The number with two significant digits, as "%.2g" prints it in the C locale.
inline std::string formatTwoDigits(double value) {
    char text[32];
    const auto result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, 2);
    return std::string(text, result.ptr);
}

}  // namespace kel::detail
