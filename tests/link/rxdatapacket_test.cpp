#include "link/rxdatapacket.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace kelp::link {
namespace {

struct RxTest : ::testing::Test {
    testing::FakeWorld world;
    Link link{world.port, world.timer, world.events};
    PacketBytes bytes{9, 9, 9, 9, 9, 9};
    RxTest() { world.port.open(); }
};

const std::string kFrame = "\r0123456789AB";

TEST_F(RxTest, ByteStreams) {
    struct Case {
        const char* name;
        std::vector<std::pair<double, std::string>> arrivals;
        int threshold;
        WaitResult result;
        PacketBytes expected;
        double endsAt;
    };
    const PacketBytes frame{1, 0x23, 0x45, 0x67, 0x89, 0xAB};
    const PacketBytes unchanged{9, 9, 9, 9, 9, 9};
    const Case cases[] = {
        {"whole frame", {{3, kFrame}}, 13, WaitResult::Ready, frame, 3},
        {"lower case", {{3, "\r0123456789ab"}}, 13, WaitResult::Ready, frame, 3},
        {"split frame", {{3, kFrame.substr(0, 6)}, {5, kFrame.substr(6)}}, 13,
         WaitResult::Ready, frame, 5},
        // Noise first: dropped up to the frame, which is parsed once 13 more are waiting.
        {"noise then frame", {{3, "xy" + kFrame}, {9, kFrame}}, 13, WaitResult::Ready, frame, 9},
        {"noise then frame, nothing more", {{3, "xy" + kFrame}}, 13, WaitResult::TimedOut,
         unchanged, 1000},
        {"noise without a frame start", {{3, std::string(20, 'z')}}, 13, WaitResult::TimedOut,
         unchanged, 1000},
        {"silence", {}, 13, WaitResult::TimedOut, unchanged, 1000},
        // Reading at 11 takes a frame whose last digits are still on the wire.
        {"eleven read early", {{3, kFrame.substr(0, 11)}, {4, kFrame.substr(11)}}, 11,
         WaitResult::Ready, PacketBytes{1, 0x23, 0x45, 0x67, 0x89, 0}, 3},
        {"a short frame reads the digits it has", {{3, "\r01234567"}, {5, kFrame}}, 13,
         WaitResult::Ready, PacketBytes{1, 0x23, 0x45, 0x67, 0, 0x12}, 5},
    };
    for (const auto& c : cases) {
        world.port.input.clear();
        bytes = unchanged;
        const double start = world.now;
        for (const auto& [t, text] : c.arrivals) world.deliverAt(start + t, text);
        EXPECT_EQ(RXDataPacket(link, bytes, c.threshold), c.result) << c.name;
        EXPECT_EQ(bytes, c.expected) << c.name;
        EXPECT_EQ(world.now - start, c.endsAt) << c.name;
        EXPECT_FALSE(world.timer.enabled()) << c.name;
        world.arrivals.clear();
        world.now += 2000;
    }
}

TEST_F(RxTest, WhatFollowsTheFirstFrameInTheSameReadIsDropped) {
    world.deliverAt(3, kFrame + "\r0000000000FF");
    EXPECT_EQ(RXDataPacket(link, bytes), WaitResult::Ready);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(world.port.input, "");
    EXPECT_EQ(RXDataPacket(link, bytes), WaitResult::TimedOut);
}

}  // namespace
}  // namespace kelp::link
