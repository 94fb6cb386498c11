#include "sigmadelta/sdrun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "link/link.h"
#include "platform/recordingtrace.h"
#include "support/boardpeer.h"
#include "support/fakes.h"

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
    explicit View(testing::FakeSerialPort& port) : port_(port) {}
    SdConfiguration configuration() const override { return config; }
    std::string numSamplesText() const override { return numSamples; }
    bool primaryOn() const override { return primary; }
    bool auxOn() const override { return aux; }
    platform::Trace& primaryTrace() override { return graph; }
    platform::Trace& auxTrace() override { return auxGraph; }
    void showSampling(bool s) override { sampling.push_back(s); }
    void openAnalysis() override { portOpenAtAnalysis = port_.isOpen(); }

    SdConfiguration config;
    std::string numSamples = "500";
    bool primary = true, aux = false, portOpenAtAnalysis = false;
    platform::RecordingTrace graph, auxGraph;
    std::vector<bool> sampling;

private:
    testing::FakeSerialPort& port_;
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
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState runState;
    SdResults results;
    SdLinkState state;
    View view{world.port};
    SdRun runner{link, runState, results, state, view};
    std::vector<std::string> frames;
};

TEST_F(SdRunTest, OneRequestThenOneFramePerSampleAtTheDividersSpeed) {
    state.LinkSettings = "9600,N,8,1";
    frames = {frame(0x80, 0x01, 0x23), frame(0x80, 0x01, 0x40), frame(0x7F, 0xFF, 0xF0)};
    view.numSamples = "3";
    const link::RunResult r = runner.execute("Zylo560", false);
    EXPECT_EQ(r.outcome, RunOutcome::Completed);
    EXPECT_EQ(r.samples, 3);
    EXPECT_EQ(world.port.writes,
              (std::vector<std::string>{ConfigurationMessage(view.config, false), "R", "S"}));
    EXPECT_EQ(world.port.baudAtWrite, (std::vector<int>{9600, 9600, 9600}));
    EXPECT_EQ(std::vector<int32_t>(results.PrimaryCodeBuffer.begin(),
                                   results.PrimaryCodeBuffer.begin() + 3),
              (std::vector<int32_t>{0x800123, 0x800140, 0x7FFFF0}));
    EXPECT_EQ(results.PrimaryMaxCode, 0x800140);
    EXPECT_EQ(results.PrimaryMinCode, 0x7FFFF0);
    EXPECT_EQ(view.graph.points.size(), 3u);
    EXPECT_EQ(view.graph.callsStartingWith("setExtent"), std::vector<std::string>{"setExtent 100"});
    // Snapped to 16 with one step of margin, and only ever widened.
    EXPECT_EQ(std::pair(view.graph.upper, view.graph.lower),
              std::pair(double{0x800150}, double{0x7FFFE0}));
    EXPECT_EQ(view.graph.labels, (std::vector<std::string>{"800150", "800098", "7FFFE0"}));
    EXPECT_TRUE(view.auxGraph.points.empty());
    EXPECT_EQ(view.sampling, (std::vector<bool>{true, false}));
    EXPECT_TRUE(view.portOpenAtAnalysis);
    EXPECT_FALSE(world.port.isOpen());
}

TEST_F(SdRunTest, ResultsAreAssembledPerModelAndStoredWhileTheirSwitchIsOn) {
    frames = {frame(0x12, 0x34, 0x56, 0xAB, 0xCD, 0xEF), frame(0x12, 0x34, 0x57, 0, 0, 1)};
    view.numSamples = "2";
    view.aux = true;
    runner.execute("Zylo580", true);
    EXPECT_EQ(world.port.writes[0], ConfigurationMessage(view.config, true));
    EXPECT_EQ(results.PrimaryCodeBuffer[0], 0x123456);
    EXPECT_EQ(std::pair(results.AuxCodeBuffer[0], results.AuxCodeBuffer[1]),
              std::pair(0xABCDEF, 1));

    results.AuxCodeBuffer[1] = -5;
    view.aux = false;
    runner.execute("Zylo530", false);
    EXPECT_EQ(std::pair(results.PrimaryCodeBuffer[0], results.PrimaryRawBuffer[0]),
              std::pair(0x1234, 0x123456));   // 16 bits beside the raw 24
    EXPECT_EQ(results.AuxCodeBuffer[1], -5);  // converter off: the slot keeps its old value
}

TEST_F(SdRunTest, AMissingFrameCostsOneSecondAndLeavesItsSlots) {
    frames = {frame(1, 2, 3)};
    view.numSamples = "3";
    results.PrimaryCodeBuffer[1] = 77;
    const link::RunResult r = runner.execute("Zylo540", false);
    EXPECT_EQ(r.outcome, RunOutcome::Completed);
    EXPECT_EQ(r.samples, 3);
    EXPECT_EQ(results.PrimaryCodeBuffer[1], 77);
    EXPECT_EQ(world.now, 100 + 10 + 2 * 1000);
}

TEST_F(SdRunTest, StopEndsAfterTheSampleInProgress) {
    for (int k = 0; k < 50; ++k) frames.push_back(frame(0x80, 0, k));
    view.numSamples = "2000";
    world.actAt(100 + 10 * 5 + 5, [this] { runner.requestStop(); });
    const link::RunResult r = runner.execute("Zylo540", false);
    EXPECT_EQ(r.outcome, RunOutcome::Stopped);
    EXPECT_EQ(r.samples, 6);
    EXPECT_EQ(world.port.writes.back(), "S");
}

TEST_F(SdRunTest, RefusalsAndEndings) {
    view.numSamples = "2001";
    EXPECT_EQ(runner.execute("Zylo540", false).outcome, RunOutcome::TooManySamples);
    EXPECT_TRUE(world.port.writes.empty());
    EXPECT_FALSE(world.port.isOpen());

    view.numSamples = "-5";
    EXPECT_EQ(runner.execute("Zylo540", false).samples, 0);
    EXPECT_EQ(world.port.writes.back(), "S");

    world.port.openResult = platform::OpenError::Busy;
    world.port.writes.clear();
    view.numSamples = "5";
    EXPECT_EQ(runner.execute("Zylo540", false).outcome, RunOutcome::PortBusy);
    EXPECT_TRUE(world.port.writes.empty());

    world.port.openResult = platform::OpenError::None;
    frames = {frame(1, 2, 3)};
    world.actAt(world.now + 100 + 500, [this] { world.events.closing_ = true; });
    EXPECT_EQ(runner.execute("Zylo540", false).outcome, RunOutcome::Aborted);
    EXPECT_EQ(world.port.writes.back(), "R");  // no stop byte once the program ends
    EXPECT_FALSE(world.port.isOpen());
    EXPECT_FALSE(world.timer.enabled());
}

}  // namespace
}  // namespace kelp::sigmadelta

namespace kelp::sigmadelta {
namespace {

// The same run against the virtual board's own engine: every frame it sends is stored in
// order, at the speed the divider left; at another speed the chip hears nothing.
TEST(SdRunOnTheBoard, EveryFrameSentIsStoredAndAWrongSpeedIsHeardAsGarbage) {
    for (const char* speed : {"57600,N,8,1", "9600,N,8,1"}) {
        SCOPED_TRACE(speed);
        testing::FakeWorld world;
        board::BoardOptions options;
        options.model = "Zylo580";
        testing::BoardPeer peer(world, options);
        link::Link link{world.port, world.timer, world.events};
        link::RunState runState;
        SdResults results;
        SdLinkState state{speed};
        View view{world.port};
        view.numSamples = "40";
        view.config.PON = true;
        SdRun(link, runState, results, state, view).execute("Zylo580", true);

        std::vector<long> sent;
        for (const std::string& line : peer.log())
            if (line.rfind("CODES ", 0) == 0)
                sent.push_back(std::stol(line.substr(6, 6), nullptr, 16));
        const bool heard = std::string(speed) == "57600,N,8,1";
        ASSERT_EQ(sent.size() >= 40, heard);
        for (size_t i = 0; heard && i < 40; ++i)
            ASSERT_EQ(results.PrimaryCodeBuffer[i], sent[i]) << i;
        const auto requests = peer.engine().takeRequests();
        EXPECT_EQ(std::count_if(requests.begin(), requests.end(),
                                [](const board::ReceivedRequest& r) {
                                    return r.kind == board::RequestKind::Bad;
                                }) > 0,
                  !heard);
    }
}

}  // namespace
}  // namespace kelp::sigmadelta
