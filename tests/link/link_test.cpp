#include "link/link.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace kelp::link {
namespace {

struct LinkTest : ::testing::Test {
    testing::FakeWorld world;
    Link link{world.port, world.timer, world.events};
    LinkTest() { world.port.open(); }
    void expectDisarmed(const char* name) {
        EXPECT_FALSE(world.timer.enabled()) << name;
        EXPECT_FALSE(link.TimerElapsed) << name;
    }
};

TEST_F(LinkTest, WaitsEndAsTheirRuleSays) {
    using enum WaitResult;
    const std::string b10(10, 'x');
    const struct {
        const char* name;
        Count mode;
        bool restart;
        std::vector<std::pair<double, std::string>> arrivals;
        WaitResult result;
        double endsAt;
    } cases[] = {
        // clang-format off
        {"exact, in two pieces", Count::Exactly, false, {{10, b10}, {30, b10}}, Ready, 30},
        {"exact, too many", Count::Exactly, false, {{10, b10 + b10 + "x"}}, TimedOut, 500},
        {"at least, more is fine", Count::AtLeast, false, {{10, b10 + b10 + "x"}}, Ready, 10},
        {"late bytes, no restart", Count::AtLeast, false, {{400, b10}, {800, b10}}, TimedOut, 500},
        {"late bytes restart the wait", Count::AtLeast, true, {{400, b10}, {800, b10}}, Ready, 800},
        {"silence after progress", Count::AtLeast, true, {{400, b10}}, TimedOut, 900},
        // clang-format on
    };
    for (const auto& c : cases) {
        world.port.input.clear();
        world.arrivals.clear();
        const double start = world.now;
        for (const auto& [t, bytes] : c.arrivals) world.deliverAt(start + t, bytes);
        EXPECT_EQ(link.waitForBytes(c.mode, 20, 500, c.restart), c.result) << c.name;
        EXPECT_EQ(world.now - start, c.endsAt) << c.name;
        expectDisarmed(c.name);
    }
}

TEST_F(LinkTest, APauseLastsItsTimeUnlessThePortFailsOrTheProgramEnds) {
    EXPECT_EQ(link.pause(100), WaitResult::Ready);
    EXPECT_EQ(world.now, 100);
    world.actAt(220, [this] { world.port.failNow = true; });
    EXPECT_EQ(link.waitForBytes(Count::AtLeast, 5, 500), WaitResult::PortFailed);
    EXPECT_EQ(world.now, 220);
    expectDisarmed("port failed");
    world.port.failNow = false;
    world.actAt(260, [this] { world.events.closing_ = true; });
    EXPECT_EQ(link.pause(100), WaitResult::Closing);
    EXPECT_EQ(world.now, 260);
    expectDisarmed("closing");
}

}  // namespace
}  // namespace kelp::link
