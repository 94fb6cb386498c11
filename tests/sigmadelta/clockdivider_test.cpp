#include "sigmadelta/clockdivider.h"

#include <gtest/gtest.h>

namespace kelp::sigmadelta {
namespace {

TEST(ClockDivider, EachListPositionSendsItsDigit) {
    const std::string expected[] = {"0|\x44\x30|00|0", "3|\x44\x33|03|3", "2 |\x44\x32|02|2",
                                    "1|\x44\x31|01|1"};
    for (int p = 0; p < 4; ++p) {
        ASSERT_NE(CDBitsAt(p), nullptr);
        const DividerChoice d = DescribeDividerChoice(0, CDBitsAt(p)->divider);
        EXPECT_EQ(std::string(CDBitsAt(p)->entry) + "|" + d.command + "|" + d.PLLCON + "|" +
                      std::to_string(d.CurrentClockDivider),
                  expected[p]);
    }
    EXPECT_EQ(CDBitsAt(-1), nullptr);
    EXPECT_EQ(CDBitsAt(4), nullptr);
}

// Sent at the old divider's speed; the next run uses the new one's.
TEST(ClockDivider, SpeedsForEveryOldAndNewDivider) {
    for (int o = 0; o <= 3; ++o) {
        for (int d = 0; d <= 3; ++d) {
            const DividerChoice choice = DescribeDividerChoice(o, d);
            EXPECT_EQ(choice.sendSettings, o == 3 ? "9600,N,8,1" : "57600,N,8,1") << o << d;
            EXPECT_EQ(choice.LinkSettings, d == 3 ? "9600,N,8,1" : "57600,N,8,1") << o << d;
        }
    }
}

}  // namespace
}  // namespace kelp::sigmadelta
