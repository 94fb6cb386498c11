#include "link/textforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

namespace kelp::link {
namespace {

TEST(TextForms, FormatRoundedRoundsTiesToEvenAndDropsTrailingZeros) {
    const struct {
        double value;
        int decimals;
        const char* text;
    } cases[] = {
        // clang-format off
        {0.7349, 3, "0.735"}, {21.70, 2, "21.7"}, {16, 2, "16"}, {16, 0, "16"},
        {0.5, 0, "0"}, {1.5, 0, "2"}, {2.5, 0, "2"}, {3.5, 0, "4"},
        {-2.5, 0, "-2"}, {-3.5, 0, "-4"}, {0.125, 2, "0.12"}, {0.375, 2, "0.38"},
        {-0.125, 2, "-0.12"}, {0.0625, 3, "0.062"}, {0.1875, 3, "0.188"}, {-0.001, 2, "0"},
        {4.8828125, 3, "4.883"}, {22.4150374992788, 2, "22.42"}, {0, 3, "0"},
        {1234567.891, 1, "1234567.9"}, {2.25, 1, "2.2"}, {2.75, 1, "2.8"},
        {-21.749, 2, "-21.75"}, {0.0000049, 5, "0"}, {19.999, 2, "20"}, {99.995001, 2, "100"},
        {INFINITY, 2, "Infinity"},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(FormatRounded(c.value, c.decimals), c.text) << c.value << " @" << c.decimals;
    // Already whole at that many decimals: returned unchanged, not scaled back and forth.
    EXPECT_EQ(roundHalfEven(1e300, 5), 1e300);
    EXPECT_EQ(roundHalfEven(1e17 + 16, 2), 1e17 + 16);
}

TEST(TextForms, FormatNumberWritesShortestFormWithFifteenDigits) {
    const struct {
        double value;
        const char* text;
    } cases[] = {
        // clang-format off
        {0, "0"}, {-0.0, "0"}, {1, "1"}, {100, "100"}, {-21.7, "-21.7"}, {0.1 + 0.2, "0.3"},
        {1.0 / 3, "0.333333333333333"}, {2.0 / 3, "0.666666666666667"},
        {-2.0 / 3, "-0.666666666666667"}, {123456.7890123456789, "123456.789012346"},
        {1234567.1234567891, "1234567.12345679"}, {123456789012345.0, "123456789012345"},
        {1e14, "100000000000000"}, {9.9999999999999999, "10"}, {0.00001, "0.00001"},
        {0.0001234, "0.0001234"}, {-0.001, "-0.001"}, {4096, "4096"}, {2.56, "2.56"},
        {0.152587890625, "0.152587890625"}, {std::numbers::pi, "3.14159265358979"},
        {1e10 / 7, "1428571428.57143"}, {-std::numbers::e * 1000, "-2718.28182845905"},
        {1.0 / 7e3, "0.000142857142857143"},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(formatNumber(c.value), c.text) << c.value;
}

TEST(TextForms, CodeTextsWithoutLeadingZeros) {
    const struct {
        int64_t value;
        const char *hex, *decimal;
    } cases[] = {
        {0, "0", "0"},         {10, "A", "10"},          {2047, "7FF", "2047"},
        {4095, "FFF", "4095"}, {10001, "2711", "10001"}, {8388608, "800000", "8388608"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HexCode(c.value), c.hex) << c.value;
        EXPECT_EQ(DecimalText(c.value), c.decimal) << c.value;
    }
    EXPECT_EQ(DecimalText(-4096), "-4096");
}

TEST(TextForms, MiddleCodeRoundsTiesToEven) {
    const struct {
        int64_t minCode, maxCode;
        const char* text;
    } cases[] = {
        // clang-format off
        {0x7FF, 0x801, "800"}, {0x7FF, 0x800, "800"}, {0x800, 0x801, "800"}, {0x801, 0x802, "802"},
        {0x800, 0x800, "800"}, {0, 0, "0"}, {0, 1, "0"}, {0x7FFE00, 0x800100, "7FFF80"},
        {0x7F0, 0x812, "801"},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(MiddleCode(c.minCode, c.maxCode), c.text) << c.minCode << ".." << c.maxCode;
}

TEST(TextForms, LeadingNumberReadsTheNumberAtTheStart) {
    const struct {
        const char* text;
        double value;
    } cases[] = {
        // clang-format off
        {"2.5", 2.5}, {" 2.5V", 2.5}, {"11.0592 MHz", 11.0592}, {"", 0}, {"abc", 0},
        {"Ext 2.5", 0}, {"-1.25", -1.25}, {"+3", 3}, {".5", 0.5}, {"1.2.3", 1.2},
        {"1e3", 1000}, {"1e", 1}, {"1E-2x", 0.01}, {"1,5", 1}, {"-", 0},
        {".", 0}, {"1 000", 1000}, {"\t7", 7}, {"0.0", 0},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(leadingNumber(c.text), c.value) << c.text;
    // Numbers too large for a double read as something finite.
    EXPECT_TRUE(std::isfinite(leadingNumber("1e999")));
    EXPECT_TRUE(std::isfinite(leadingNumber(std::string(400, '9'))));
}

}  // namespace
}  // namespace kelp::link
