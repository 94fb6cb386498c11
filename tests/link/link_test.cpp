#include "link/link.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "link/targetport.h"
#include "support/fakes.h"

namespace kelp::link {
namespace {

struct LinkTest : ::testing::Test {
    testing::FakeWorld world;
    Link link{world.port, world.timer, world.events};
    LinkTest() { world.port.open(); }
};

TEST_F(LinkTest, WaitsEndAsTheirRuleSays) {
    struct Case {
        const char* name;
        Count mode;
        bool restart;
        std::vector<std::pair<double, std::string>> arrivals;
        int count;
        WaitResult result;
        double endsAt;
    };
    const std::string b10(10, 'x');
    const Case cases[] = {
        {"exact, in two pieces", Count::Exactly, false, {{10, b10}, {30, b10}}, 20,
         WaitResult::Ready, 30},
        {"exact, too many", Count::Exactly, false, {{10, b10 + b10 + "x"}}, 20,
         WaitResult::TimedOut, 500},
        {"at least, more is fine", Count::AtLeast, false, {{10, b10 + b10 + "x"}}, 20,
         WaitResult::Ready, 10},
        {"late bytes without restart", Count::AtLeast, false, {{400, b10}, {800, b10}}, 20,
         WaitResult::TimedOut, 500},
        {"late bytes restart the limit", Count::AtLeast, true, {{400, b10}, {800, b10}}, 20,
         WaitResult::Ready, 800},
        {"silence after progress", Count::AtLeast, true, {{400, b10}}, 20, WaitResult::TimedOut,
         900},
    };
    for (const auto& c : cases) {
        world.port.input.clear();
        const double start = world.now;
        for (const auto& [t, bytes] : c.arrivals) world.deliverAt(start + t, bytes);
        EXPECT_EQ(link.waitForBytes(c.mode, c.count, 500, c.restart), c.result) << c.name;
        EXPECT_EQ(world.now - start, c.endsAt) << c.name;
        EXPECT_FALSE(world.timer.enabled()) << c.name;
        EXPECT_FALSE(link.TimerElapsed) << c.name;
        world.arrivals.clear();
    }
}

TEST_F(LinkTest, AWaitGivesWayToAFailedPortOrTheProgramsEnd) {
    world.actAt(120, [this] { world.port.failNow = true; });
    EXPECT_EQ(link.waitForBytes(Count::AtLeast, 5, 500), WaitResult::PortFailed);
    EXPECT_EQ(world.now, 120);
    world.port.failNow = false;
    world.actAt(world.now + 40, [this] { world.events.closing_ = true; });
    EXPECT_EQ(link.pause(100), WaitResult::Closing);
    EXPECT_EQ(world.now, 160);
    EXPECT_FALSE(world.timer.enabled());
}

TEST_F(LinkTest, APauseLetsTheTimePass) {
    EXPECT_EQ(link.pause(100), WaitResult::Ready);
    EXPECT_EQ(world.now, 100);
}

TEST_F(LinkTest, SettingsTextsAreParsedOnceAndAMalformedOneIsAnError) {
    link.applySettings("57600,N,8,1");
    EXPECT_EQ(world.port.lineSettings().baud, 57600);
    EXPECT_THROW(link.applySettings("57600"), std::invalid_argument);
    EXPECT_EQ(world.port.lineSettings().baud, 57600);
    link.send("C");
    EXPECT_EQ(link.TxBuffer, "C");
    EXPECT_EQ(world.port.baudAtWrite.back(), 57600);
}

TEST(OpenTargetPort, OpensOnceAndFailsForEveryOpeningError) {
    testing::FakeWorld world;
    EXPECT_TRUE(OpenTargetPort(world.port));
    EXPECT_FALSE(OpenTargetPort(world.port));  // already open: the first stays as it was
    EXPECT_EQ(world.port.openCount, 1);
    for (auto error : {platform::OpenError::Busy, platform::OpenError::NotFound,
                       platform::OpenError::PermissionDenied, platform::OpenError::Other}) {
        testing::FakeWorld other;
        other.port.openResult = error;
        EXPECT_FALSE(OpenTargetPort(other.port));
        EXPECT_FALSE(other.port.isOpen());
    }
}

}  // namespace
}  // namespace kelp::link
