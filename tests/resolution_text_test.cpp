// The resolution texts of a record: parsing, and dots per centimetre to dots per inch.
#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "decimal_text.h"
#include "kel_ImageStorage_internal.h"

namespace {

std::string fields(const char* x, const char* y) {
    std::string text(16, '\0');
    text.replace(0, strnlen(x, 8), x, strnlen(x, 8));
    text.replace(8, strnlen(y, 8), y, strnlen(y, 8));
    return text;
}

TEST(TransResolution, TurnsBothTextsIntoDotsPerInch) {
    struct Case {
        const char *x, *y, *newX, *newY;
    };
    const Case cases[] = {
        {"118.11", "59.055", "300.00", "150.00"},
        {"", "1", "0.00", "2.54"},  // an empty text reads as 0
        {"1234.567", "78.74", "3135.80", "200.00"},
        {"393700.8", "abc", "1000000.", "0.00"},  // tail and terminator lost
        {"-10", " 20x", "-25.40", "50.80"},
    };
    for (const auto& c : cases) {
        std::string text = fields(c.x, c.y);
        EXPECT_EQ(TransResolution(text.data(), 1), 0.0);
        EXPECT_EQ(text, fields(c.newX, c.newY)) << c.x;
    }
}

TEST(TransResolution, OtherModesOnlyRead) {
    for (int mode : {0, 2, -1}) {
        std::string text = fields("12345.67", "9");
        const std::string before = text;
        EXPECT_DOUBLE_EQ(TransResolution(text.data(), mode), 12345.67);
        EXPECT_EQ(text, before);
    }
}

TEST(DecimalText, IsTheSameUnderEveryLocale) {
    for (const char* name : {"de_DE.UTF-8", "C.UTF-8", "C"}) {
        std::setlocale(LC_ALL, name);  // a locale that is not installed changes nothing
        EXPECT_DOUBLE_EQ(kel::detail::parseDecimal("118.11"), 118.11);
        EXPECT_EQ(kel::detail::formatTwoDecimals(2.675), "2.67");
    }
    std::setlocale(LC_ALL, "C");
}

TEST(DecimalText, ReadsWhatTheStandardCallsRead) {
    for (const char* text : {"", " ", "+5", "-5", "+-5", " 7.5e1z", ".5", "5.", "1e400", "-1e400",
                             "1e-400", "e5", "-"})
        EXPECT_EQ(kel::detail::parseDecimal(text), std::strtod(text, nullptr)) << text;
    for (const char* text : {"", "75", " 75 %", "-3", "+4", "x1", "3.9"})
        EXPECT_EQ(kel::detail::parseInteger(text), std::atoi(text)) << text;
    EXPECT_EQ(kel::detail::parseInteger("99999999999"), std::numeric_limits<int>::max());
}

}  // namespace
