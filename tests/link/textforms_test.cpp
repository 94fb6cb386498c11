#include "link/textforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

#include "link/hexreading.h"
#include "link/registerrules.h"

namespace kelp::link {
namespace {

TEST(TextForms, ShortestFormWithFifteenSignificantDigits) {
    const struct {
        double value;
        const char* text;
    } cases[] = {
        // clang-format off
        {0, "0"}, {-0.0, "0"}, {100, "100"}, {0.1 + 0.2, "0.3"}, {2.0 / 3, "0.666666666666667"},
        {123456789012345.0, "123456789012345"}, {0.00001, "0.00001"},
        {1.0 / 7e3, "0.000142857142857143"}, {-std::numbers::e * 1000, "-2718.28182845905"},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(formatNumber(c.value), c.text) << c.value;
}

TEST(TextForms, RoundingSendsTiesToTheEvenNeighbour) {
    const struct {
        double value;
        int decimals;
        const char* text;
    } cases[] = {
        // clang-format off
        {0.7349, 3, "0.735"}, {21.70, 2, "21.7"}, {0.5, 0, "0"}, {1.5, 0, "2"}, {2.5, 0, "2"},
        {-2.5, 0, "-2"}, {0.125, 2, "0.12"}, {-0.001, 2, "0"}, {99.995001, 2, "100"},
        {1234567.891, 1, "1234567.9"},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormatRounded(c.value, c.decimals), c.text) << c.value << " @" << c.decimals;
    // Already whole at that many decimals: not scaled into infinity and back.
    EXPECT_EQ(roundHalfEven(1e300, 5), 1e300);
}

// Codes are written in upper-case hex without leading zeros; the middle code rounds to even.
TEST(TextForms, CodesInHexAndTheMiddleCodeTiesToEven) {
    const struct {
        int64_t minCode, maxCode;
        const char* text;
    } cases[] = {
        // clang-format off
        {0, 0, "0"}, {0, 1, "0"}, {9, 10, "A"}, {0x7FF, 0x800, "800"}, {0x800, 0x801, "800"},
        {0x801, 0x802, "802"}, {0x7F0, 0x812, "801"}, {0x7FFE00, 0x800100, "7FFF80"},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(MiddleCode(c.minCode, c.maxCode), c.text) << c.minCode << ".." << c.maxCode;
}

TEST(TextForms, TypedNumbersReadTheLeadingNumber) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        // clang-format off
        {" 2.5V", 2.5}, {"Ext 2.5", 0}, {"-1.25", -1.25}, {"+3", 3}, {".5", 0.5}, {"1.2.3", 1.2},
        {"1e3", 1000}, {"1e", 1}, {"1E-2x", 0.01}, {"1,5", 1}, {"-", 0}, {"1 000", 1000},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(leadingNumber(c.text), c.value) << c.text;
    EXPECT_TRUE(std::isfinite(leadingNumber("1e999")));
}

TEST(HexReading, FourDigitsAreSixteenBitEightAreThirtyTwo) {
    const struct {
        const char* text;
        std::optional<int32_t> value;
    } cases[] = {
        {"", 0},          {"7FFF", 32767},         {"8000", -32768}, {"0000FFFF", -1},
        {"10000", 65536}, {"80000000", INT32_MIN}, {"FFFFFFFF", -1}, {"100000000", std::nullopt},
        {"ff", 255},      {" 1 2\t3\n", 0x123},    {"G5", 0},        {"5G", 5},
    };
    for (const auto& c : cases) EXPECT_EQ(readHex(c.text), c.value) << c.text;
}

// Out of range gives 0 for 16 and 8 bits and 1 for one bit; negative readings and readings
// beyond 32 bits count as out of range.
TEST(RegisterRules, CanonicalTextForEachWidth) {
    const struct {
        const char *text, *v16, *v8, *v1;
    } cases[] = {
        // clang-format off
        {"8000", "8000", "0", "1"}, {"10000", "0", "0", "1"}, {"FFFFFFFF", "FFFF", "0", "1"},
        {"00FF", "FF", "FF", "1"}, {"1FF", "1FF", "0", "1"}, {"a", "A", "A", "1"},
        {"", "0", "0", "0"}, {"2", "2", "2", "1"}, {"80000000", "0", "0", "1"},
        {"123456789", "0", "0", "1"},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Verify16bitSFR(c.text), c.v16) << c.text;
        EXPECT_EQ(Verify8bitSFR(c.text), c.v8) << c.text;
        EXPECT_EQ(Verify1bitSFR(c.text), c.v1) << c.text;
    }
}

}  // namespace
}  // namespace kelp::link
