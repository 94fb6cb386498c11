#include "link/link.h"

#include <gtest/gtest.h>

#include "link/rxdatapacket.h"
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

// The cases run one after another on one port: what a case leaves behind shows in the next.
TEST_F(LinkTest, RXDataPacketTakesOneFrameFromAByteStream) {
    using enum WaitResult;
    const std::string frame = "\r0123456789AB";
    const PacketBytes bytes{1, 0x23, 0x45, 0x67, 0x89, 0xAB}, before{9, 9, 9, 9, 9, 9};
    const struct {
        const char* name;
        std::vector<std::pair<double, std::string>> arrivals;
        WaitResult result;
        PacketBytes expected;
        double endsAt;
        int threshold = kFrameThreshold;
    } cases[] = {
        // clang-format off
        // What follows the first frame of a read is dropped, not kept for the next call.
        {"a second frame in the same read", {{3, frame + "\r0000000000FF"}}, Ready, bytes, 3},
        {"whole frame", {{3, frame}}, Ready, bytes, 3},
        // Nothing is read before a whole frame waits.
        {"split frame, lower case", {{3, "\r0123456789a"}, {5, "b"}}, Ready, bytes, 5},
        // Noise is dropped up to the frame, which is parsed once 13 more characters wait.
        {"noise then frame", {{3, "xy" + frame}, {9, frame}}, Ready, bytes, 9},
        {"noise then frame, nothing more", {{3, "xy" + frame}}, TimedOut, before, 1000},
        {"noise between frames", {{3, std::string(20, 'z')}, {9, frame}}, Ready, bytes, 9},
        {"a short frame reads the digits it has", {{3, "\r01234567"}, {5, frame}}, Ready,
         PacketBytes{1, 0x23, 0x45, 0x67, 0, 0x12}, 5},
        // A threshold below one still waits for a character, and gives up after the second.
        {"threshold below one, silence", {}, TimedOut, before, 1000, -1},
        {"threshold zero, noise then frame", {{4, "x"}, {6, frame}}, Ready, bytes, 6, 0},
        {"silence", {}, TimedOut, before, 1000},
        // The second counts from the call, not from the last character.
        {"late part of a frame", {{500, "\r0123"}}, TimedOut, before, 1000},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(world.port.input, "") << c.name;  // everything read was taken or dropped
        PacketBytes got = before;
        const double start = world.now;
        for (const auto& [t, text] : c.arrivals) world.deliverAt(start + t, text);
        EXPECT_EQ(RXDataPacket(link, got, c.threshold), c.result) << c.name;
        EXPECT_EQ(got, c.expected) << c.name;
        EXPECT_EQ(world.now - start, c.endsAt) << c.name;
        expectDisarmed(c.name);
        world.now += 2000;
    }
}

}  // namespace
}  // namespace kelp::link
