#include "link/hexreading.h"

#include <gtest/gtest.h>

#include "link/registerrules.h"

namespace kelp::link {
namespace {

struct ReadCase {
    const char* text;
    std::optional<int32_t> value;
};

TEST(HexReading, ReadsLikeAPrefixedHexNumber) {
    const ReadCase cases[] = {
        {"", 0},          {"0", 0},         {"ff", 255},          {"FF", 255},
        {"7FFF", 32767},  {"8000", -32768}, {"FFFF", -1},         {"00FF", 255},
        {"0000FFFF", -1}, {"10000", 65536}, {"FFFFFFFF", -1},     {"80000000", INT32_MIN},
        {"G5", 0},        {"5G", 5},        {" 1 2\t3\n", 0x123}, {"100000000", std::nullopt},
        {"1FF", 511},     {"-1", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(readHex(c.text), c.value) << c.text;
}

TEST(HexReading, WritesUpperCaseWithoutLeadingZeros) {
    EXPECT_EQ(toHex(0), "0");
    EXPECT_EQ(toHex(2047), "7FF");
    EXPECT_EQ(toHex(8388608), "800000");
    EXPECT_EQ(toHex(-1), "FFFFFFFF");
    EXPECT_EQ(hexField("3b"), 0x3B);
    EXPECT_EQ(hexField("Z1"), 0);
}

struct VerifyCase {
    const char* text;
    const char* v16;
    const char* v8;
    const char* v1;
};

TEST(RegisterRules, CanonicalTextForEachWidth) {
    const VerifyCase cases[] = {
        {"FFFF", "FFFF", "0", "1"},  {"8000", "8000", "0", "1"},
        {"10000", "0", "0", "1"},    {"FFFFFFFF", "FFFF", "0", "1"},
        {"00FF", "FF", "FF", "1"},   {"1FF", "1FF", "0", "1"},
        {"ff", "FF", "FF", "1"},     {"G5", "0", "0", "0"},
        {"5G", "5", "5", "1"},       {"a", "A", "A", "1"},
        {"00", "0", "0", "0"},       {"100", "100", "0", "1"},
        {"", "0", "0", "0"},         {"2", "2", "2", "1"},
        {"0", "0", "0", "0"},        {"1", "1", "1", "1"},
        {"80000000", "0", "0", "1"}, {"123456789", "0", "0", "1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Verify16bitSFR(c.text), c.v16) << c.text;
        EXPECT_EQ(Verify8bitSFR(c.text), c.v8) << c.text;
        EXPECT_EQ(Verify1bitSFR(c.text), c.v1) << c.text;
    }
}

TEST(RegisterRules, CanonicalTextIsAFixedPoint) {
    for (const char* t : {"FFFF", "8000", "0", "FF", "1", "A"}) {
        EXPECT_EQ(Verify16bitSFR(Verify16bitSFR(t)), Verify16bitSFR(t));
        EXPECT_EQ(Verify8bitSFR(Verify8bitSFR(t)), Verify8bitSFR(t));
        EXPECT_EQ(Verify1bitSFR(Verify1bitSFR(t)), Verify1bitSFR(t));
    }
}

TEST(RegisterRules, BoxesToBytes) {
    EXPECT_EQ(registerWord("FC18"), 0xFC18);
    EXPECT_EQ(registerWord("FFFF"), 0xFFFF);
    EXPECT_EQ(registerWord("800"), 0x800);
    EXPECT_EQ(registerByte("F0"), 0xF0);
    EXPECT_EQ(registerByte("1"), 1);
}

}  // namespace
}  // namespace kelp::link
