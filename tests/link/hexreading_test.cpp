#include "link/hexreading.h"

#include <gtest/gtest.h>

#include "link/registerrules.h"

namespace kelp::link {
namespace {

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
