#include "sigmadelta/sdrun.h"

#include "link/link.h"
#include "link/targetport.h"
#include "platform/serialport.h"
#include "platform/trace.h"
#include "sigmadelta/clockdivider.h"
#include "sigmadelta/sdresults.h"

namespace kelp::sigmadelta {

namespace {

const std::string kRequestPacket = "R";
const std::string kStopCommand = "S";

// Applies one scale step to a chart whose extremes the run keeps.
void follow(platform::Trace& trace, int32_t& maxCode, int32_t& minCode, const ScaleStep& step,
            const AxisLabels& labels) {
    maxCode = step.scale.maxCode;
    minCode = step.scale.minCode;
    if (!step.refreshLabels) return;
    trace.setUpperBound(step.scale.upperBound);
    trace.setLowerBound(step.scale.lowerBound);
    trace.setLabels(labels.upper, labels.middle, labels.lower);
}

}  // namespace

DividerSent ChooseClockDivider(link::Link& link, SdLinkState& state, int position) {
    const CDBitsEntry* entry = CDBitsAt(position);
    if (!entry) return {};
    const DividerChoice choice = DescribeDividerChoice(state.CurrentClockDivider, entry->divider);
    state.CurrentClockDivider = static_cast<int16_t>(choice.CurrentClockDivider);
    // The speed goes on before the open, which the line cannot tell from after it.
    const platform::LineSettings before = link.port().lineSettings();
    link.applySettings(choice.sendSettings);
    if (const auto error = link::OpenTarget(link.port()); error != platform::OpenError::None) {
        link.port().setLineSettings(before);
        return {choice.PLLCON, false, error};
    }
    link.send(choice.command);
    state.LinkSettings = choice.LinkSettings;
    // Closing lets the two bytes leave at the old speed first.
    link.port().close();
    return {choice.PLLCON, true};
}

SdRun::SdRun(link::Link& link, link::RunState& run, SdResults& results, const SdLinkState& state,
             SdRunView& view)
    : link_(link), run_(run), results_(results), state_(state), view_(view) {}

void SdRun::requestStop() { run_.StopRequested = true; }

link::RunResult SdRun::abort() {
    link_.disarm();
    link_.port().close();
    return {link::RunOutcome::Aborted, run_.SampleCount};
}

void SdRun::store(const std::string& model, int i) {
    const SampleResults r = AssembleResults(model, results_.PacketBytes);
    const auto at = static_cast<size_t>(i);
    if (view_.primaryOn()) {
        results_.PrimaryCodeBuffer[at] = r.primaryCode;
        results_.PrimaryRawBuffer[at] = r.primaryRaw;
        platform::Trace& t = view_.primaryTrace();
        const ChartScale s{results_.PrimaryMaxCode, results_.PrimaryMinCode, t.upperBound(),
                           t.lowerBound()};
        const ScaleStep step = SnappedScaleStep(s, r.primaryCode);
        follow(t, results_.PrimaryMaxCode, results_.PrimaryMinCode, step,
               PrimaryAxisLabels(step.scale));
        t.append(r.primaryCode);
    }
    if (view_.auxOn()) {
        results_.AuxCodeBuffer[at] = r.auxCode;
        platform::Trace& t = view_.auxTrace();
        const ChartScale s{results_.AuxMaxCode, results_.AuxMinCode, t.upperBound(),
                           t.lowerBound()};
        const ScaleStep step = AuxScaleStep(model, s, r.auxCode);
        follow(t, results_.AuxMaxCode, results_.AuxMinCode, step, AuxAxisLabels(model, step.scale));
        t.append(r.auxCode);
    }
}

link::RunResult SdRun::execute(const std::string& model, bool is58XGroup) {
    using link::RunOutcome;
    using link::WaitResult;
    const SdConfiguration config = view_.configuration();
    // The stores hold 2001 samples; a larger count is refused before anything is sent.
    const std::optional<int> requested = RequestedSamples(view_.numSamplesText());
    if (!requested) return {RunOutcome::TooManySamples, run_.SampleCount};
    // The speed the last divider choice left (before any choice the port keeps its own); set
    // before the open, which the line cannot tell from after it.
    const platform::LineSettings before = link_.port().lineSettings();
    if (!state_.LinkSettings.empty()) link_.applySettings(state_.LinkSettings);
    if (const auto error = link::OpenTarget(link_.port()); error != platform::OpenError::None) {
        link_.port().setLineSettings(before);
        return {RunOutcome::PortBusy, run_.SampleCount, error};
    }

    link_.discardInput();
    link_.send(ConfigurationMessage(config, is58XGroup));
    if (link_.pause(kSettleMs) == WaitResult::Closing) return abort();
    link_.discardInput();
    link_.send(kRequestPacket);
    view_.showSampling(true);

    const RunExtremes start = StartingExtremes(model);
    results_.PrimaryMaxCode = start.PrimaryMaxCode;
    results_.PrimaryMinCode = start.PrimaryMinCode;
    results_.AuxMaxCode = start.AuxMaxCode;
    results_.AuxMinCode = start.AuxMinCode;
    for (platform::Trace* t : {&view_.primaryTrace(), &view_.auxTrace()}) {
        t->clear();
        t->setExtent(kVisibleSamples);
    }
    run_.StopRequested = false;

    RunOutcome outcome = RunOutcome::Completed;
    int i = 0;
    while (i < *requested && !run_.StopRequested) {
        link_.yield();
        const WaitResult frame = link::RXDataPacket(link_, results_.PacketBytes);
        if (frame == WaitResult::Closing) {
            run_.SampleCount = static_cast<int16_t>(i);
            return abort();
        }
        if (frame == WaitResult::PortFailed) {
            outcome = RunOutcome::PortFailed;
            break;
        }
        // A missing frame leaves its slots as they were; the loop goes on.
        if (frame == WaitResult::Ready) store(model, i);
        ++i;
    }
    run_.SampleCount = static_cast<int16_t>(i);
    if (outcome == RunOutcome::Completed && i < *requested) outcome = RunOutcome::Stopped;

    link_.discardInput();
    link_.send(kStopCommand);
    view_.showSampling(false);
    view_.openAnalysis();
    link_.port().close();
    return {outcome, run_.SampleCount};
}

}  // namespace kelp::sigmadelta
