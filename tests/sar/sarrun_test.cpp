#include "sar/sarrun.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <tuple>

#include "link/link.h"
#include "platform/recordingtrace.h"
#include "sar/sarpacket.h"
#include "support/fakes.h"

namespace kelp::sar {
namespace {

using link::RunOutcome;

int codeOf(int k, int j) { return 0x700 + (k * 7 + j) % 0x200; }

// The run against a scripted target, the fixture standing in for the window.
class SarRunTest : public ::testing::Test, public SarRunView {
protected:
    SarConfiguration configuration() const override { return {}; }
    std::string numSamplesText() const override { return numSamples; }
    platform::Trace& trace() override { return chart; }
    void showSampling(bool) override {}
    void openAnalysis() override { ++analyses, countAtAnalysis = runState.SampleCount; }
    // The first `packets` requests get packet k of codes code(k, 0..99) 87 ms later.
    void answerWithPackets(std::function<int(int, int)> code = codeOf, int packets = 1 << 30) {
        world.port.onWrite = [this, code, packets](const std::string& block) {
            if (block != "R" || requests++ >= packets) return;
            std::string p;
            char record[8];
            for (int j = 0; j < kSamplesPerPacket; ++j) {
                std::snprintf(record, sizeof record, "\r%04X", code(requests - 1, j));
                p += record;
            }
            world.deliverAfter(87, p);
        };
    }
    // Runs and gives how long the run took, up to its stop byte.
    double execute(RunOutcome expected) {
        const double start = world.now;
        EXPECT_EQ(run.execute().outcome, expected);
        return world.now - start;
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState runState;
    SarResults results;
    SarRun run{link, runState, results, *this};
    std::string numSamples = "10000";
    platform::RecordingTrace chart;
    int requests = 0, analyses = 0, countAtAnalysis = -1;
};

TEST_F(SarRunTest, SendsTheMessageWaitsThenTakesThePacketsAsked) {
    answerWithPackets();
    for (const auto& [text, packets] : {std::pair{"-5", 0}, {"150", 2}, {"10000", 100}}) {
        SCOPED_TRACE(text);
        world.port.writes.clear();
        requests = 0;
        results = {};
        world.port.input = "stale bytes";  // would make the first reply too long
        numSamples = text;
        // The settling wait, then one packet after another.
        EXPECT_EQ(execute(RunOutcome::Completed), 100 + 87 * packets);
        EXPECT_EQ(world.port.writes.front(), ConfigurationMessage({}));
        EXPECT_EQ(world.port.writes.back(), "S");
        const int n = 100 * packets;
        EXPECT_EQ(std::pair(countAtAnalysis, chart.points.size()), std::pair(n, size_t(n)));
    }
    EXPECT_EQ(chart.extent(), 10000);
    EXPECT_FALSE(world.port.isOpen() || world.timer.enabled());
}

TEST_F(SarRunTest, StopDuringAPacketWaitEndsAfterThatPacket) {
    answerWithPackets();
    // Packet 3 is requested at 100 + 2 * 87 ms; Stop comes while it is on its way.
    world.actAt(100 + 2 * 87 + 40, [this] { run.requestStop(); });
    EXPECT_EQ(execute(RunOutcome::Stopped), 100 + 3 * 87);  // the stop byte follows at once
    EXPECT_EQ(std::pair(requests, countAtAnalysis), std::pair(3, 300));
    EXPECT_EQ(world.port.writes.back(), "S");
}

TEST_F(SarRunTest, ASilentTargetOrAFailedPortEndsTheRunWithWhatCame) {
    answerWithPackets(codeOf, 2);
    EXPECT_EQ(execute(RunOutcome::TargetSilent), 100 + 2 * 87 + SarRun::kSilenceLimitMs);
    EXPECT_EQ(std::pair(requests, countAtAnalysis), std::pair(3, 200));
    EXPECT_EQ(world.port.writes.back(), "S");

    requests = 0;
    answerWithPackets(codeOf, 1);  // one more packet, then the port fails
    world.actAt(world.now + 100 + 87 + 30, [this] { world.port.failNow = true; });
    EXPECT_EQ(execute(RunOutcome::PortFailed), 100 + 87 + 30);  // not at the silence limit
    EXPECT_EQ(countAtAnalysis, 100);
    EXPECT_FALSE(world.timer.enabled());
}

TEST_F(SarRunTest, ASecondRunClickFindsThePortOpen) {
    answerWithPackets();
    numSamples = "300";
    world.actAt(50, [&] { execute(RunOutcome::PortBusy); });  // during the settling wait
    execute(RunOutcome::Completed);
    EXPECT_EQ(world.port.writes.size(), 5u);  // one message, three requests, one stop
    EXPECT_EQ(analyses, 1);
}

TEST_F(SarRunTest, ClosingTheProgramEndsTheRunAtOnce) {
    answerWithPackets();
    world.actAt(100 + 87 + 20, [this] { world.events.closing_ = true; });
    execute(RunOutcome::Aborted);
    EXPECT_EQ(std::pair(world.port.writes.back(), analyses), std::pair(std::string("R"), 0));
    EXPECT_FALSE(world.port.isOpen() || world.timer.enabled());
}

TEST_F(SarRunTest, BoundsWidenAndLabelsFollow) {
    numSamples = "100";
    // The extremes mid-packet; an earlier run's bounds give way to the first sample.
    chart.lower = 0, chart.upper = 4000;
    answerWithPackets([](int, int j) { return j == 30 ? 0x7F0 : j == 60 ? 0x813 : 0x800; });
    run.execute();
    EXPECT_EQ(chart.labels, (std::vector<std::string>{"814", "802", "7EF"}));  // 2049.5 to 2050
    EXPECT_EQ(std::tuple(results.MinCode, results.MaxCode), std::tuple(0x7F0, 0x813));
    // The next run starts the extremes again: a code of 0 is not above the reset maximum.
    answerWithPackets([](int, int j) { return j % 3; });
    run.execute();
    EXPECT_EQ(chart.labels, (std::vector<std::string>{"3", "1", "-1"}));
}

}  // namespace
}  // namespace kelp::sar
