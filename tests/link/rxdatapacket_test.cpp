#include "link/rxdatapacket.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace kelp::link {
namespace {

// The cases run one after another on one port: what a case leaves behind shows in the next.
TEST(RXDataPacket, TakesOneFrameFromAByteStream) {
    testing::FakeWorld world;
    Link link{world.port, world.timer, world.events};
    world.port.open();
    using enum WaitResult;
    const std::string frame = "\r0123456789AB";
    const PacketBytes bytes{1, 0x23, 0x45, 0x67, 0x89, 0xAB};
    const PacketBytes before{9, 9, 9, 9, 9, 9};
    const struct {
        const char* name;
        std::vector<std::pair<double, std::string>> arrivals;
        WaitResult result;
        PacketBytes expected;
        double endsAt;
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
        EXPECT_EQ(RXDataPacket(link, got), c.result) << c.name;
        EXPECT_EQ(got, c.expected) << c.name;
        EXPECT_EQ(world.now - start, c.endsAt) << c.name;
        EXPECT_FALSE(world.timer.enabled()) << c.name;
        EXPECT_FALSE(link.TimerElapsed) << c.name;
        world.now += 2000;
    }
}

// A threshold below one still waits for a character, and gives up after the second.
TEST(RXDataPacket, ThresholdsBelowOneWaitForACharacter) {
    testing::FakeWorld world;
    Link link{world.port, world.timer, world.events};
    world.port.open();
    using enum WaitResult;
    const std::string frame = "\r0123456789AB";
    const PacketBytes bytes{1, 0x23, 0x45, 0x67, 0x89, 0xAB}, before{9, 9, 9, 9, 9, 9};
    const struct {
        int threshold;
        std::vector<std::pair<double, std::string>> arrivals;
        WaitResult result;
        PacketBytes expected;
        double endsAt;
    } cases[] = {
        {0, {}, TimedOut, before, 1000},
        {-1, {}, TimedOut, before, 1000},
        {0, {{4, frame}}, Ready, bytes, 4},
        {0, {{4, "x"}, {6, frame}}, Ready, bytes, 6},
    };
    for (const auto& c : cases) {
        PacketBytes got = before;
        const double start = world.now;
        for (const auto& [t, text] : c.arrivals) world.deliverAt(start + t, text);
        EXPECT_EQ(RXDataPacket(link, got, c.threshold), c.result) << c.threshold;
        EXPECT_EQ(got, c.expected) << c.threshold;
        EXPECT_EQ(world.now - start, c.endsAt) << c.threshold;
        world.now += 2000;
    }
}

}  // namespace
}  // namespace kelp::link
