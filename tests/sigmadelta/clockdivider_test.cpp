#include "sigmadelta/clockdivider.h"

#include <gtest/gtest.h>

namespace kelp::sigmadelta {
namespace {

// Sent at the old divider's speed; the next run uses the new one's.
TEST(ClockDivider, SpeedsForEveryOldAndNewDivider) {
    for (int o = 0; o <= 3; ++o) {
        for (int d = 0; d <= 3; ++d) {
            const DividerChoice choice = DescribeDividerChoice(o, d);
            EXPECT_EQ(choice.sendSettings, o == 3 ? "9600,N,8,1" : "57600,N,8,1") << o << d;
            EXPECT_EQ(choice.LinkSettings, d == 3 ? "9600,N,8,1" : "57600,N,8,1") << o << d;
            EXPECT_EQ(choice.command, std::string("D") + char('0' + d)) << o << d;
        }
    }
}

}  // namespace
}  // namespace kelp::sigmadelta
