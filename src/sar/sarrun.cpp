#include "sar/sarrun.h"

#include "link/link.h"
#include "link/targetport.h"
#include "platform/serialport.h"
#include "platform/trace.h"
#include "sar/sarpacket.h"

namespace kelp::sar {

namespace {

const std::string kRequestPacket = "R";
const std::string kStopCommand = "S";

}  // namespace

SarRun::SarRun(link::Link& link, link::RunState& run, SarResults& results, SarRunView& view)
    : link_(link), run_(run), results_(results), view_(view) {}

void SarRun::requestStop() { run_.StopRequested = true; }

void SarRun::refreshLabels() {
    platform::Trace& t = view_.trace();
    const AxisLabels labels = AxisLabelTexts(t.lowerBound(), t.upperBound());
    t.setLabels(labels.upper, labels.middle, labels.lower);
}

void SarRun::takePacket(std::string_view text) {
    const PacketSlots slots = ParsePacket(text);
    const int base = run_.SampleCount;
    platform::Trace& t = view_.trace();
    for (int j = 0; j < kSamplesPerPacket; ++j) {
        const auto& slot = slots[static_cast<size_t>(j)];
        const size_t index = static_cast<size_t>(base + j + 1);
        if (!slot || index >= results_.SampleBuffer.size()) continue;
        const auto code = static_cast<int16_t>(*slot);
        results_.SampleBuffer[index] = code;
        if (code > results_.MaxCode) {
            results_.MaxCode = code;
            t.setUpperBound(code + 1.0);
            refreshLabels();
        }
        if (code < results_.MinCode) {
            results_.MinCode = code;
            t.setLowerBound(code - 1.0);
            refreshLabels();
        }
        t.append(code);
    }
}

link::RunResult SarRun::abort() {
    link_.disarm();
    link_.port().close();
    return {link::RunOutcome::Aborted, run_.SampleCount};
}

link::RunResult SarRun::execute() {
    using link::RunOutcome;
    using link::WaitResult;
    const SarConfiguration config = view_.configuration();
    if (const auto error = link::OpenTarget(link_.port()); error != platform::OpenError::None)
        return {RunOutcome::PortBusy, run_.SampleCount, error};

    link_.discardInput();
    link_.send(ConfigurationMessage(config));
    // The firmware does not acknowledge the configuration; give it time to apply it.
    if (link_.pause(kSettleMs) == WaitResult::Closing) return abort();

    view_.showSampling(true);
    const int requested = RequestedSamples(view_.numSamplesText());
    results_.MaxCode = 0;
    results_.MinCode = 4096;
    view_.trace().clear();
    run_.StopRequested = false;
    run_.SampleCount = 0;

    RunOutcome outcome = RunOutcome::Completed;
    while (!run_.StopRequested && run_.SampleCount < requested) {
        link_.discardInput();
        link_.send(kRequestPacket);
        link_.yield();
        const WaitResult wait =
            link_.waitForBytes(link::Count::AtLeast, kPacketLength, kSilenceLimitMs, true);
        if (wait == WaitResult::Closing) return abort();
        if (wait == WaitResult::TimedOut) {
            outcome = RunOutcome::TargetSilent;
            break;
        }
        if (wait == WaitResult::PortFailed) {
            outcome = RunOutcome::PortFailed;
            break;
        }
        // A longer reply is out of step with the records; its slots keep their old contents.
        if (link_.bytesWaiting() == kPacketLength) takePacket(link_.readAll());
        run_.SampleCount = static_cast<int16_t>(run_.SampleCount + kSamplesPerPacket);
        view_.trace().setExtent(run_.SampleCount);
    }
    if (outcome == RunOutcome::Completed && run_.SampleCount < requested)
        outcome = RunOutcome::Stopped;

    link_.discardInput();
    link_.send(kStopCommand);
    view_.showSampling(false);
    view_.openAnalysis();
    link_.port().close();
    return {outcome, run_.SampleCount};
}

}  // namespace kelp::sar
