#include "analysis/textforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>

namespace kelp::analysis {
namespace {

struct RoundCase {
    double value;
    int decimals;
    const char* text;
};

TEST(TextForms, FormatRoundedRoundsTiesToEvenAndDropsTrailingZeros) {
    // clang-format off
    const RoundCase cases[] = {
        {0.7349, 3, "0.735"}, {21.70, 2, "21.7"}, {16, 2, "16"}, {16, 0, "16"},
        {0.5, 0, "0"}, {1.5, 0, "2"}, {2.5, 0, "2"}, {3.5, 0, "4"},
        {-2.5, 0, "-2"}, {-3.5, 0, "-4"}, {0.125, 2, "0.12"}, {0.375, 2, "0.38"},
        {-0.125, 2, "-0.12"}, {0.0625, 3, "0.062"}, {0.1875, 3, "0.188"}, {-0.001, 2, "0"},
        {4.8828125, 3, "4.883"}, {22.4150374992788, 2, "22.42"}, {0, 3, "0"},
        {1234567.891, 1, "1234567.9"},
        {-21.749, 2, "-21.75"}, {0.0000049, 5, "0"}, {19.999, 2, "20"}, {99.995001, 2, "100"},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(FormatRounded(c.value, c.decimals), c.text) << c.value << " @" << c.decimals;
}

struct NumberCase {
    double value;
    const char* text;
};

TEST(TextForms, FormatNumberWritesShortestFormWithFifteenDigits) {
    // clang-format off
    const NumberCase cases[] = {
        {0, "0"}, {-0.0, "0"}, {1, "1"}, {100, "100"}, {-21.7, "-21.7"}, {0.1 + 0.2, "0.3"},
        {1.0 / 3, "0.333333333333333"}, {2.0 / 3, "0.666666666666667"},
        {-2.0 / 3, "-0.666666666666667"}, {123456.7890123456789, "123456.789012346"},
        {1234567.1234567891, "1234567.12345679"}, {123456789012345.0, "123456789012345"},
        {1e14, "100000000000000"}, {9.9999999999999999, "10"}, {0.00001, "0.00001"},
        {0.0001234, "0.0001234"}, {-0.001, "-0.001"}, {4096, "4096"}, {2.56, "2.56"},
        {0.152587890625, "0.152587890625"},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(formatNumber(c.value), c.text) << c.value;
}

TEST(TextForms, FormatNumberKeepsFifteenSignificantDigitsWithoutExponent) {
    for (double v : {std::numbers::pi, 1e10 / 7, -std::numbers::e * 1000, 1.0 / 7e3}) {
        const std::string s = formatNumber(v);
        std::string digits;
        for (char c : s)
            if (c >= '0' && c <= '9') digits += c;
        digits.erase(0, digits.find_first_not_of('0'));
        EXPECT_EQ(digits.size(), 15u) << s;
        EXPECT_EQ(s.find('E'), std::string::npos) << s;
        EXPECT_NEAR(std::stod(s), v, std::abs(v) * 1e-14) << s;
    }
}

TEST(TextForms, RoundHalfEvenKeepsValueType) {
    EXPECT_EQ(roundHalfEven(2.5), 2.0);
    EXPECT_EQ(roundHalfEven(3.5), 4.0);
    EXPECT_EQ(roundHalfEven(-1.5), -2.0);
    EXPECT_EQ(roundHalfEven(2047.5), 2048.0);
    EXPECT_EQ(roundHalfEven(2048.5), 2048.0);
    EXPECT_DOUBLE_EQ(roundHalfEven(2.25, 1), 2.2);
    EXPECT_DOUBLE_EQ(roundHalfEven(2.75, 1), 2.8);
    EXPECT_TRUE(std::isinf(roundHalfEven(INFINITY, 2)));
    // Already whole at that many decimals: returned unchanged, not scaled back and forth.
    EXPECT_EQ(roundHalfEven(1e300, 5), 1e300);
    EXPECT_EQ(roundHalfEven(1e17 + 16, 2), 1e17 + 16);
}

struct CodeCase {
    int64_t value;
    const char* text;
};

TEST(TextForms, HexCodeIsUpperCaseWithoutLeadingZeros) {
    const CodeCase cases[] = {
        {0, "0"}, {10, "A"}, {255, "FF"}, {2047, "7FF"}, {4095, "FFF"}, {8388608, "800000"},
    };
    for (const auto& c : cases) EXPECT_EQ(HexCode(c.value), c.text) << c.value;
}

struct MiddleCase {
    int64_t minCode, maxCode;
    const char* text;
};

TEST(TextForms, MiddleCodeRoundsTiesToEven) {
    // clang-format off
    const MiddleCase cases[] = {
        {0x7FF, 0x801, "800"}, {0x7FF, 0x800, "800"}, {0x800, 0x801, "800"}, {0x801, 0x802, "802"},
        {0x800, 0x800, "800"}, {0, 0, "0"}, {0, 1, "0"}, {0x7FFE00, 0x800100, "7FFF80"},
        {0x7F0, 0x812, "801"},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(MiddleCode(c.minCode, c.maxCode), c.text) << c.minCode << ".." << c.maxCode;
}

TEST(TextForms, DecimalTextHasSignAndNoPadding) {
    const CodeCase cases[] = {{0, "0"}, {7, "7"}, {-5, "-5"}, {10001, "10001"}, {-4096, "-4096"}};
    for (const auto& c : cases) EXPECT_EQ(DecimalText(c.value), c.text);
}

struct LeadingCase {
    const char* text;
    double value;
};

TEST(TextForms, LeadingNumberReadsTheNumberAtTheStart) {
    // clang-format off
    const LeadingCase cases[] = {
        {"2.5", 2.5}, {" 2.5V", 2.5}, {"11.0592 MHz", 11.0592}, {"", 0}, {"abc", 0},
        {"Ext 2.5", 0}, {"-1.25", -1.25}, {"+3", 3}, {".5", 0.5}, {"1.2.3", 1.2},
        {"1e3", 1000}, {"1e", 1}, {"1E-2x", 0.01}, {"1,5", 1}, {"-", 0},
        {".", 0}, {"1 000", 1000}, {"\t7", 7}, {"0.0", 0},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_DOUBLE_EQ(leadingNumber(c.text), c.value) << c.text;
}

TEST(TextForms, LeadingNumberOfAnOverflowingTextIsFinite) {
    EXPECT_TRUE(std::isfinite(leadingNumber("1e999")));
    EXPECT_TRUE(std::isfinite(leadingNumber(std::string(400, '9'))));
}

}  // namespace
}  // namespace kelp::analysis
