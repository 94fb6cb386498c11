#include "sigmadelta/sdrun.h"

#include <gtest/gtest.h>

#include "link/link.h"
#include "platform/recordingtrace.h"
#include "support/boardpeer.h"
#include "support/fakes.h"

namespace kelp::sigmadelta {
namespace {

using link::RunOutcome;

// The run against a scripted target, the fixture standing in for the window. After "R" the
// target streams one frame every 10 ms until "S" (or the script ends).
class SdRunTest : public ::testing::Test, public SdRunView {
protected:
    SdRunTest() {
        world.port.onWrite = [this](const std::string& block) {
            for (size_t k = 0; block == "R" && k < frames.size(); ++k)
                world.deliverAfter(10.0 * static_cast<double>(k + 1), frames[k]);
        };
    }
    SdConfiguration configuration() const override { return config; }
    std::string numSamplesText() const override { return numSamples; }
    bool primaryOn() const override { return primary; }
    bool auxOn() const override { return aux; }
    platform::Trace& primaryTrace() override { return graph; }
    platform::Trace& auxTrace() override { return auxGraph; }
    void showSampling(bool s) override { sampling.push_back(s); }
    void openAnalysis() override { portOpenAtAnalysis = world.port.isOpen(); }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState runState;
    SdResults results;
    SdLinkState state;
    SdRun runner{link, runState, results, state, *this};
    std::vector<std::string> frames;
    SdConfiguration config;
    std::string numSamples = "500";
    bool primary = true, aux = false, portOpenAtAnalysis = false;
    platform::RecordingTrace graph, auxGraph;
    std::vector<bool> sampling;
};

TEST_F(SdRunTest, OneRequestThenOneFramePerSampleAtTheDividersSpeed) {
    state.LinkSettings = "9600,N,8,1";
    frames = {"\r800123000000", "\r800140000000", "\r7FFFF0000000"};
    numSamples = "3";
    const link::RunResult r = runner.execute("Zylo560", false);
    EXPECT_EQ(std::pair(r.outcome, r.samples), std::pair(RunOutcome::Completed, 3));
    EXPECT_EQ(world.port.writes,
              (std::vector<std::string>{ConfigurationMessage(config, false), "R", "S"}));
    EXPECT_EQ(world.port.baudAtWrite, (std::vector<int>{9600, 9600, 9600}));
    EXPECT_EQ(graph.points.size(), 3u);
    EXPECT_EQ(graph.callsStartingWith("setExtent"), std::vector<std::string>{"setExtent 100"});
    // Snapped to 16 with one step of margin, and only ever widened.
    EXPECT_EQ(std::pair(graph.upper, graph.lower), std::pair(double{0x800150}, double{0x7FFFE0}));
    EXPECT_EQ(graph.labels, (std::vector<std::string>{"800150", "800098", "7FFFE0"}));
    EXPECT_TRUE(auxGraph.points.empty());
    EXPECT_EQ(sampling, (std::vector<bool>{true, false}));
    EXPECT_TRUE(portOpenAtAnalysis && !world.port.isOpen());
}

// Every frame of a board stored in order, the auxiliary codes too, is the end-to-end tests'.
TEST_F(SdRunTest, ResultsAreAssembledPerModelAndStoredWhileTheirSwitchIsOn) {
    frames = {"\r123456ABCDEF", "\r123457000001"};
    numSamples = "2";
    results.AuxCodeBuffer[1] = -5;
    runner.execute("Zylo530", false);
    // 16 bits beside the raw 24; with its converter off a slot keeps its old value.
    EXPECT_EQ(std::tuple(results.PrimaryCodeBuffer[0], results.PrimaryRawBuffer[0],
                         results.AuxCodeBuffer[1]),
              std::tuple(0x1234, 0x123456, -5));
}

TEST_F(SdRunTest, AMissingFrameCostsOneSecondAndLeavesItsSlots) {
    frames = {"\r010203000000"};
    numSamples = "3";
    results.PrimaryCodeBuffer[1] = 77;
    const link::RunResult r = runner.execute("Zylo540", false);
    EXPECT_EQ(std::pair(r.outcome, r.samples), std::pair(RunOutcome::Completed, 3));
    EXPECT_EQ(results.PrimaryCodeBuffer[1], 77);
    EXPECT_EQ(world.now, 100 + 10 + 2 * 1000);
}

TEST_F(SdRunTest, StopEndsAfterTheSampleInProgress) {
    frames.assign(50, "\r800000000000");
    numSamples = "2000";
    world.actAt(100 + 10 * 5 + 5, [this] { runner.requestStop(); });
    const link::RunResult r = runner.execute("Zylo540", false);
    EXPECT_EQ(std::pair(r.outcome, r.samples), std::pair(RunOutcome::Stopped, 6));
    EXPECT_EQ(world.port.writes.back(), "S");
}

TEST_F(SdRunTest, RefusalsAndEndings) {
    numSamples = "2001";
    EXPECT_EQ(runner.execute("Zylo540", false).outcome, RunOutcome::TooManySamples);
    EXPECT_TRUE(world.port.writes.empty() && !world.port.isOpen());
    numSamples = "-5";
    EXPECT_EQ(runner.execute("Zylo540", false).samples, 0);
    EXPECT_EQ(world.port.writes.back(), "S");

    numSamples = "5";
    frames = {"\r010203000000"};
    world.actAt(world.now + 100 + 500, [this] { world.events.closing_ = true; });
    EXPECT_EQ(runner.execute("Zylo540", false).outcome, RunOutcome::Aborted);
    EXPECT_EQ(world.port.writes.back(), "R");  // no stop byte once the program ends
    EXPECT_FALSE(world.port.isOpen() || world.timer.enabled());
}

// Against the virtual board's own engine, paced on the simulated clock as over the line.
TEST_F(SdRunTest, OnTheBoardEveryFrameSentIsStored) {
    board::BoardOptions options;
    options.model = "Zylo580";
    testing::BoardPeer peer(world, options);
    state.LinkSettings = "57600,N,8,1";
    numSamples = "40";
    config.PON = true;
    runner.execute("Zylo580", true);
    std::vector<int32_t> sent;
    for (const std::string& line : peer.engine().takeLog())
        if (line.starts_with("CODES ")) sent.push_back(std::stoi(line.substr(6, 6), nullptr, 16));
    ASSERT_GE(sent.size(), 40u);
    sent.resize(40);
    EXPECT_EQ(
        std::vector(results.PrimaryCodeBuffer.begin(), results.PrimaryCodeBuffer.begin() + 40),
        sent);
    for (const board::ReceivedRequest& r : peer.engine().takeRequests())
        EXPECT_NE(r.kind, board::RequestKind::Bad);
}

}  // namespace
}  // namespace kelp::sigmadelta
