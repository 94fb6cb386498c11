#include "sar/sarrun.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

#include "link/evaluationwindow.h"
#include "sar/sarpacket.h"
#include "link/link.h"
#include "support/fakes.h"
#include "platform/recordingtrace.h"

namespace kelp::sar {
namespace {

using link::RunOutcome;

std::string record(int code) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "\r%04X", code & 0xFFFF);
    return buf;
}

// The window as a list of what the run did to it.
class RecordingView final : public SarRunView {
public:
    SarConfiguration configuration() const override { return config; }
    std::string numSamplesText() const override { return numSamples; }
    platform::Trace& trace() override { return chart; }
    void showSampling(bool sampling) override { samplingShown.push_back(sampling); }
    void openAnalysis() override {
        ++analyses;
        if (onAnalysis) onAnalysis();
    }
    SarConfiguration config;
    std::string numSamples = "4000";
    platform::RecordingTrace chart;
    std::vector<bool> samplingShown;
    int analyses = 0;
    std::function<void()> onAnalysis;
};

class SarRunTest : public ::testing::Test {
protected:
    SarRunTest() {
        view.config.model = "Zylo570";
        view.config.model = "Zylo570";
        view.config.adc = {true, 0, 1, 0};
        view.onAnalysis = [this] {
            countAtAnalysis = runState.SampleCount;
            portOpenAtAnalysis = world.port.isOpen();
        };
        world.port.onWrite = [this](const std::string& block) {
            writeTimes.push_back(world.now);
            if (block == "R") {
                const int k = requests++;
                if (answer) answer(k);
            }
        };
    }

    // Packet k holds the codes base(k) + 0 .. base(k) + 99, one packet time after the request.
    void answerWithPackets(double delay = 87) {
        answer = [this, delay](int k) { world.deliverAfter(delay, packetText(k)); };
    }
    static std::string packetText(int k) {
        std::string p;
        for (int j = 0; j < kSamplesPerPacket; ++j) p += record(codeOf(k, j));
        return p;
    }
    static int codeOf(int k, int j) { return 0x700 + (k * 7 + j) % 0x200; }

    int requestCount() const {
        int n = 0;
        for (const auto& w : world.port.writes) n += (w == "R");
        return n;
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState runState;
    SarResults results;
    RecordingView view;
    SarRun run{link, runState, results, view};
    std::function<void(int)> answer;
    std::vector<double> writeTimes;
    int requests = 0;
    int countAtAnalysis = -1;
    bool portOpenAtAnalysis = false;
};

TEST_F(SarRunTest, SendsTheMessageWaitsThenTakesEveryPacket) {
    answerWithPackets();
    world.port.input = "stale bytes from an earlier run";  // would make the first reply long
    view.numSamples = "4000";

    EXPECT_EQ(run.execute().outcome, RunOutcome::Completed);

    ASSERT_EQ(world.port.writes.size(), 42u);
    EXPECT_EQ(world.port.writes.front(), ConfigurationMessage(view.config));
    EXPECT_EQ(writeTimes[1], 100);  // the first request after the settling wait
    EXPECT_EQ(link.TxBuffer, "S");
    EXPECT_EQ(results.SampleBuffer[4000], codeOf(39, 99));
    EXPECT_EQ(results.SampleBuffer[4001], 0);
    EXPECT_EQ(view.chart.points.size(), 4000u);
    EXPECT_EQ(view.chart.extent(), 4000);
    EXPECT_EQ(view.samplingShown, (std::vector<bool>{true, false}));
    EXPECT_EQ(countAtAnalysis, 4000);
    EXPECT_TRUE(portOpenAtAnalysis);
    EXPECT_FALSE(world.timer.enabled());
}

TEST_F(SarRunTest, PacketCountFollowsTheRequestedNumber) {
    answerWithPackets();
    const struct {
        const char* numSamples;
        int packets, sampleCount;
    } cases[] = {{"150", 2, 200}, {"-5", 0, 0}, {"10000", 100, 10000}};
    for (const auto& c : cases) {
        world.port.writes.clear();
        requests = 0;
        view.numSamples = c.numSamples;
        EXPECT_EQ(run.execute().outcome, RunOutcome::Completed) << c.numSamples;
        EXPECT_EQ(runState.SampleCount, c.sampleCount) << c.numSamples;
        // The message, the requests, the stop byte: right after the message when none is due.
        EXPECT_EQ(world.port.writes.size(), static_cast<size_t>(c.packets + 2)) << c.numSamples;
        EXPECT_EQ(requestCount(), c.packets) << c.numSamples;
        EXPECT_EQ(world.port.writes.back(), "S") << c.numSamples;
    }
    EXPECT_EQ(results.SampleBuffer[10000], codeOf(99, 99));
    EXPECT_EQ(view.analyses, 3);
}

TEST_F(SarRunTest, StopDuringAPacketWaitEndsAfterThatPacket) {
    answerWithPackets(87);
    view.numSamples = "10000";
    // Packet 3 is requested at 100 + 2 * 87 ms; Stop comes while it is on its way.
    world.actAt(100 + 2 * 87 + 40, [this] { run.requestStop(); });
    EXPECT_EQ(run.execute().outcome, RunOutcome::Stopped);
    EXPECT_EQ(requestCount(), 3);
    EXPECT_EQ(results.SampleBuffer[300], codeOf(2, 99));
    EXPECT_EQ(writeTimes.back(), 100 + 3 * 87);  // the stop byte follows that packet at once
    EXPECT_EQ(world.port.writes.back(), "S");
    EXPECT_EQ(countAtAnalysis, 300);
}

TEST_F(SarRunTest, ASilentTargetEndsTheRunWithWhatCame) {
    answer = [this](int k) {
        if (k < 2) world.deliverAfter(87, packetText(k));
    };
    const link::RunResult result = run.execute();
    EXPECT_EQ(result.outcome, RunOutcome::TargetSilent);
    EXPECT_EQ(requestCount(), 3);
    EXPECT_EQ(writeTimes.back(), 100 + 2 * 87 + 2000);
    EXPECT_EQ(world.port.writes.back(), "S");
    EXPECT_EQ(link::EvaluationWindow::RunOutcomeText(result),
              "The target stopped answering after 200 samples.\r\nCheck that the board is "
              "powered and connected, then press Run again.");
    EXPECT_EQ(countAtAnalysis, 200);
    EXPECT_FALSE(world.timer.enabled());
}

TEST_F(SarRunTest, TheSilenceLimitCountsFromTheLastByte) {
    // 100 characters every 1.5 s: slow, but still answering.
    answer = [this](int k) {
        const std::string p = packetText(k);
        for (size_t part = 0; part < 5; ++part)
            world.deliverAfter(1500.0 * static_cast<double>(part + 1), p.substr(part * 100, 100));
    };
    view.numSamples = "200";
    EXPECT_EQ(run.execute().outcome, RunOutcome::Completed);
    EXPECT_EQ(results.SampleBuffer[200], codeOf(1, 99));

    // Half a packet, then silence: counted from those bytes; their slots keep old contents.
    answer = [this](int) { world.deliverAfter(40, packetText(0).substr(0, 250)); };
    results.SampleBuffer[1] = -7;
    const double start = world.now;
    EXPECT_EQ(run.execute().outcome, RunOutcome::TargetSilent);
    EXPECT_EQ(results.SampleBuffer[1], -7);
    EXPECT_EQ(writeTimes.back() - start, 100 + 40 + 2000);
}

TEST_F(SarRunTest, ASecondRunClickDuringTheWaitFindsThePortOpen) {
    answerWithPackets();
    view.numSamples = "300";
    link::RunResult second;
    world.actAt(50, [&] { second = run.execute(); });
    EXPECT_EQ(run.execute().outcome, RunOutcome::Completed);
    EXPECT_EQ(second.outcome, RunOutcome::PortBusy);
    EXPECT_EQ(link::EvaluationWindow::RunOutcomeText(second),
              "Com Port Already Open by another host");
    EXPECT_EQ(world.port.writes.size(), 5u);  // one message, three requests, one stop
    EXPECT_EQ(runState.SampleCount, 300);
}

TEST_F(SarRunTest, APortThatWillNotOpenSendsNothing) {
    world.port.openResult = platform::OpenError::Busy;
    runState.SampleCount = 500;
    EXPECT_EQ(run.execute().outcome, RunOutcome::PortBusy);
    EXPECT_TRUE(world.port.writes.empty());
    EXPECT_EQ(runState.SampleCount, 500);
    EXPECT_TRUE(view.samplingShown.empty());
    EXPECT_EQ(view.analyses, 0);
}

TEST_F(SarRunTest, ClosingTheProgramEndsTheRunAtOnce) {
    answerWithPackets();
    world.actAt(100 + 87 + 20, [this] { world.events.closing_ = true; });
    EXPECT_EQ(run.execute().outcome, RunOutcome::Aborted);
    EXPECT_EQ(world.port.writes.back(), "R");
    EXPECT_EQ(view.analyses, 0);
    EXPECT_FALSE(world.port.isOpen());
    EXPECT_FALSE(world.timer.enabled());
}

TEST_F(SarRunTest, APortThatFailsDuringAWaitEndsTheRun) {
    answer = [this](int k) {
        if (k == 0) world.deliverAfter(87, packetText(k));
        if (k == 1) world.actAt(world.now + 30, [this] { world.port.failNow = true; });
    };
    const link::RunResult result = run.execute();
    EXPECT_EQ(result.outcome, RunOutcome::PortFailed);
    EXPECT_EQ(result.samples, 100);
    EXPECT_EQ(writeTimes.back(), 100 + 87 + 30);  // noticed at once, not at the silence limit
    EXPECT_EQ(view.analyses, 1);
    EXPECT_FALSE(world.timer.enabled());
}

TEST_F(SarRunTest, BoundsWidenAndLabelsFollow) {
    const auto onePacket = [this](std::function<int(int)> code) {
        answer = [this, code](int) {
            std::string p;
            for (int j = 0; j < kSamplesPerPacket; ++j) p += record(code(j));
            world.deliverAfter(87, p);
        };
        view.numSamples = "100";
        run.execute();
    };
    // The extremes mid-packet; an earlier run's bounds give way to the first sample.
    view.chart.lower = 0;
    view.chart.upper = 4000;
    onePacket([](int j) { return j == 30 ? 0x7F0 : j == 60 ? 0x812 : 0x800; });
    EXPECT_EQ(view.chart.lower, 0x7EF);
    EXPECT_EQ(view.chart.upper, 0x813);
    EXPECT_EQ(view.chart.labels, (std::vector<std::string>{"813", "801", "7EF"}));
    EXPECT_EQ(results.MinCode, 0x7F0);
    EXPECT_EQ(results.MaxCode, 0x812);

    // The next run starts the extremes again: a code of 0 is not above the reset maximum.
    onePacket([](int j) { return j % 3; });
    EXPECT_EQ(view.chart.lower, -1);
    EXPECT_EQ(view.chart.upper, 3);
}

}  // namespace
}  // namespace kelp::sar
