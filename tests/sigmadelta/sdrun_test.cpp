#include "sigmadelta/sdrun.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "link/link.h"
#include "support/fakes.h"
#include "platform/recordingtrace.h"

namespace kelp::sigmadelta {
namespace {

using link::RunOutcome;

std::string frame(int b1, int b2, int b3, int b4 = 0, int b5 = 0, int b6 = 0) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "\r%02X%02X%02X%02X%02X%02X", b1, b2, b3, b4, b5, b6);
    return buf;
}

class View final : public SdRunView {
public:
    SdConfiguration configuration() const override { return config; }
    std::string numSamplesText() const override { return numSamples; }
    bool primaryOn() const override { return primary; }
    bool auxOn() const override { return aux; }
    platform::Trace& primaryTrace() override { return graph; }
    platform::Trace& auxTrace() override { return auxGraph; }
    void showSampling(bool s) override { sampling.push_back(s); }
    void openAnalysis() override {
        ++analyses;
        if (onAnalysis) onAnalysis();
    }
    SdConfiguration config;
    std::string numSamples = "500";
    bool primary = true, aux = false;
    platform::RecordingTrace graph, auxGraph;
    std::vector<bool> sampling;
    int analyses = 0;
    std::function<void()> onAnalysis;
};

class SdRunTest : public ::testing::Test {
protected:
    SdRunTest() {
        // After "R" the target streams one frame every 10 ms until "S" (or the script ends).
        world.port.onWrite = [this](const std::string& block) {
            if (block != "R") return;
            for (size_t k = 0; k < frames.size(); ++k)
                world.deliverAfter(10.0 * static_cast<double>(k + 1), frames[k]);
        };
        view.onAnalysis = [this] { portOpenAtAnalysis = world.port.isOpen(); };
    }
    link::RunResult run(const std::string& model, bool is58X = false) {
        return runner.execute(model, is58X);
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState runState;
    SdResults results;
    SdLinkState state;
    View view;
    SdRun runner{link, runState, results, state, view};
    std::vector<std::string> frames;
    bool portOpenAtAnalysis = false;
};

TEST_F(SdRunTest, OneRequestThenOneFramePerSampleAtTheDividersSpeed) {
    state.LinkSettings = "9600,N,8,1";
    frames = {frame(0x80, 0x01, 0x23), frame(0x80, 0x01, 0x40), frame(0x7F, 0xFF, 0xF0)};
    view.numSamples = "3";
    const link::RunResult r = run("Zylo560");
    EXPECT_EQ(r.outcome, RunOutcome::Completed);
    EXPECT_EQ(r.samples, 3);
    ASSERT_EQ(world.port.writes.size(), 3u);
    EXPECT_EQ(world.port.writes[0], ConfigurationMessage(view.config, false));
    EXPECT_EQ(world.port.writes[1], "R");
    EXPECT_EQ(world.port.writes[2], "S");
    EXPECT_EQ(world.port.baudAtWrite, (std::vector<int>{9600, 9600, 9600}));
    EXPECT_EQ(results.PrimaryCodeBuffer[0], 0x800123);
    EXPECT_EQ(results.PrimaryCodeBuffer[2], 0x7FFFF0);
    EXPECT_EQ(results.PrimaryMaxCode, 0x800140);
    EXPECT_EQ(results.PrimaryMinCode, 0x7FFFF0);
    EXPECT_EQ(view.graph.points.size(), 3u);
    EXPECT_EQ(view.graph.callsStartingWith("setExtent"), std::vector<std::string>{"setExtent 100"});
    // Snapped to 16 with one step of margin, and only ever widened.
    EXPECT_EQ(view.graph.upper, 0x800150);
    EXPECT_EQ(view.graph.lower, 0x7FFFE0);
    EXPECT_EQ(view.graph.labels, (std::vector<std::string>{"800150", "800098", "7FFFE0"}));
    EXPECT_TRUE(view.auxGraph.points.empty());
    EXPECT_EQ(view.sampling, (std::vector<bool>{true, false}));
    EXPECT_TRUE(portOpenAtAnalysis);
    EXPECT_FALSE(world.port.isOpen());
}

TEST_F(SdRunTest, ResultsAreAssembledPerModelAndSwitchesReadPerSample) {
    frames = {frame(0x12, 0x34, 0x56, 0xAB, 0xCD, 0xEF), frame(0x12, 0x34, 0x57, 0, 0, 1)};
    view.numSamples = "2";
    view.aux = true;
    run("Zylo580", true);
    EXPECT_EQ(results.PrimaryCodeBuffer[0], 0x123456);
    EXPECT_EQ(results.AuxCodeBuffer[0], 0xABCDEF);
    EXPECT_EQ(results.AuxCodeBuffer[1], 1);
    EXPECT_EQ(world.port.writes[0], ConfigurationMessage(view.config, true));

    results.AuxCodeBuffer[1] = -5;
    view.aux = false;
    run("Zylo530");
    EXPECT_EQ(results.PrimaryCodeBuffer[0], 0x1234);  // 16 bits
    EXPECT_EQ(results.PrimaryRawBuffer[0], 0x123456);
    EXPECT_EQ(results.AuxCodeBuffer[1], -5);  // converter off: the slot keeps its old value
}

TEST_F(SdRunTest, AMissingFrameCostsOneSecondAndLeavesItsSlots) {
    frames = {frame(1, 2, 3)};
    view.numSamples = "3";
    results.PrimaryCodeBuffer[1] = 77;
    const link::RunResult r = run("Zylo540");
    EXPECT_EQ(r.outcome, RunOutcome::Completed);
    EXPECT_EQ(r.samples, 3);
    EXPECT_EQ(results.PrimaryCodeBuffer[1], 77);
    EXPECT_EQ(world.now, 100 + 10 + 2 * 1000);
}

TEST_F(SdRunTest, StopEndsAfterTheSampleInProgress) {
    for (int k = 0; k < 50; ++k) frames.push_back(frame(0x80, 0, k));
    view.numSamples = "2000";
    world.actAt(100 + 10 * 5 + 5, [this] { runner.requestStop(); });
    const link::RunResult r = run("Zylo540");
    EXPECT_EQ(r.outcome, RunOutcome::Stopped);
    EXPECT_EQ(r.samples, 6);
    EXPECT_EQ(world.port.writes.back(), "S");
}

TEST_F(SdRunTest, RefusalsAndEndings) {
    view.numSamples = "2001";
    EXPECT_EQ(run("Zylo540").outcome, RunOutcome::TooManySamples);
    EXPECT_TRUE(world.port.writes.empty());
    EXPECT_FALSE(world.port.isOpen());

    view.numSamples = "-5";
    EXPECT_EQ(run("Zylo540").samples, 0);
    EXPECT_EQ(world.port.writes.back(), "S");

    world.port.openResult = platform::OpenError::Busy;
    world.port.writes.clear();
    view.numSamples = "5";
    EXPECT_EQ(run("Zylo540").outcome, RunOutcome::PortBusy);
    EXPECT_TRUE(world.port.writes.empty());

    world.port.openResult = platform::OpenError::None;
    frames = {frame(1, 2, 3)};
    world.actAt(world.now + 100 + 500, [this] { world.events.closing_ = true; });
    EXPECT_EQ(run("Zylo540").outcome, RunOutcome::Aborted);
    EXPECT_EQ(world.port.writes.back(), "R");  // no stop byte once the program ends
    EXPECT_FALSE(world.port.isOpen());
    EXPECT_FALSE(world.timer.enabled());
}

TEST(ClockDividerChoice, SendsAtTheOldSpeedAndKeepsTheNewOne) {
    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    SdLinkState state;
    // Positions 0..3 are the dividers 0, 3, 2, 1.
    const struct {
        int position;
        int sentAt;
        const char* command;
        const char* linkSettings;
        const char* pllcon;
    } steps[] = {{1, 57600, "D3", "9600,N,8,1", "03"},
                 {1, 9600, "D3", "9600,N,8,1", "03"},
                 {0, 9600, "D0", "57600,N,8,1", "00"},
                 {2, 57600, "D2", "57600,N,8,1", "02"},
                 {3, 57600, "D1", "57600,N,8,1", "01"}};
    for (const auto& s : steps) {
        const DividerSent sent = ChooseClockDivider(link, state, s.position);
        EXPECT_TRUE(sent.sent);
        EXPECT_EQ(sent.PLLCON, s.pllcon);
        EXPECT_EQ(world.port.writes.back(), s.command);
        EXPECT_EQ(world.port.baudAtWrite.back(), s.sentAt);
        EXPECT_EQ(state.LinkSettings, s.linkSettings);
        EXPECT_FALSE(world.port.isOpen());
    }
    // A port held elsewhere: nothing sent, the next run keeps the speed it had.
    world.port.openResult = platform::OpenError::Busy;
    const DividerSent busy = ChooseClockDivider(link, state, 1);
    EXPECT_FALSE(busy.sent);
    EXPECT_EQ(world.port.writes.size(), 5u);
    EXPECT_EQ(state.LinkSettings, "57600,N,8,1");
    EXPECT_EQ(state.CurrentClockDivider, 3);
}

}  // namespace
}  // namespace kelp::sigmadelta
