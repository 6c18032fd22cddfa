// The resolution texts of a record: parsing, and dots per centimetre to dots per inch.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "decimal_text.h"
#include "kel_ImageStorage_internal.h"

namespace {

std::string fields(std::string x, std::string y) {
    x.resize(8);
    y.resize(8);
    return x + y;
}

TEST(TransResolution, TurnsBothTextsIntoDotsPerInchOrReadsTheFirst) {
    const char* const cases[][4] = {
        {"118.11", "59.055", "300.00", "150.00"},
        {"", "1", "0.00", "2.54"},
        {"1234.567", "427.561", "3135.80", "1086.01"},  // both roundings matter
        {"393700.8", "abc", "1000000.", "0.00"},        // tail lost
        {"-10", " 20x", "-25.40", "50.80"}};
    for (const auto& c : cases) {
        std::string text = fields(c[0], c[1]);
        for (int mode : {0, 2, -1}) {
            EXPECT_EQ(TransResolution(text.data(), mode), std::strtod(c[0], nullptr));
            EXPECT_EQ(text, fields(c[0], c[1]));
        }
        EXPECT_EQ(TransResolution(text.data(), 1), 0.0);
        EXPECT_EQ(text, fields(c[2], c[3]));
    }
}

TEST(DecimalText, ReadsWhatTheStandardCallsRead) {
    for (const char* text : {"", " ", "+5", "-5", "+-5", " 7.5e1z", ".5", "5.", "1e400", "-1e400",
                             "1e-400", "1e999e-1", "e5", "-"})
        EXPECT_EQ(kel::detail::parseDecimal(text), std::strtod(text, nullptr)) << text;
    for (const char* text : {"", "75", " 75 %", "-3", "+4", "x1", "3.9"})
        EXPECT_EQ(kel::detail::parseInteger(text), std::atoi(text)) << text;
    EXPECT_EQ(kel::detail::parseInteger("99999999999"), std::numeric_limits<int>::max());
}

}  // namespace
