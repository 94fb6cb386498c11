#include "sar/sarrun.h"

#include "link/targetport.h"
#include "platform/eventqueue.h"
#include "platform/messages.h"
#include "platform/serialport.h"
#include "platform/ticktimer.h"
#include "shell/programstate.h"

namespace kelp::sar {

namespace {

const std::string kRequestPacket = "R";
const std::string kStopCommand = "S";

}  // namespace

std::string SilentTargetMessage(int samples) {
    return "The target stopped answering after " + std::to_string(samples) +
           " samples.\r\nCheck that the board is powered and connected, then press Run again.";
}

std::string FailedPortMessage(int samples) {
    return "The serial port stopped working after " + std::to_string(samples) +
           " samples.\r\nCheck the cable and the port, then press Run again.";
}

SarRun::SarRun(shell::ProgramState& state, shell::SharedDevices& devices,
               platform::MessageSink& messages, SarRunView& view)
    : state_(state), devices_(devices), messages_(messages), view_(view) {}

void SarRun::requestStop() { state_.StopRequested = true; }

void SarRun::send(const std::string& block) {
    state_.TxBuffer = block;
    devices_.MSComm1.write(state_.TxBuffer);
}

void SarRun::arm(int milliseconds) {
    devices_.Timer1.disable();
    state_.TimerElapsed = false;
    devices_.Timer1.setInterval(milliseconds);
    devices_.Timer1.enable();
}

void SarRun::disarm() {
    devices_.Timer1.disable();
    state_.TimerElapsed = false;
}

bool SarRun::settle() {
    arm(kSettleMs);
    while (!state_.TimerElapsed && !devices_.events.closing()) devices_.events.waitForEvent();
    disarm();
    return !devices_.events.closing();
}

SarRun::Wait SarRun::awaitPacket() {
    platform::SerialPort& port = devices_.MSComm1;
    int seen = port.bytesWaiting();
    arm(kSilenceLimitMs);
    Wait result;
    for (;;) {
        if (devices_.events.closing()) {
            result = Wait::Closing;
            break;
        }
        const int waiting = port.bytesWaiting();
        if (waiting >= kPacketLength) {
            result = Wait::Ready;
            break;
        }
        if (port.failed()) {
            result = Wait::PortFailed;
            break;
        }
        if (waiting > seen) {
            // Still talking: the silence limit counts from the last byte.
            seen = waiting;
            arm(kSilenceLimitMs);
        } else if (state_.TimerElapsed) {
            result = Wait::TimedOut;
            break;
        }
        devices_.events.waitForEvent();
    }
    disarm();
    return result;
}

void SarRun::refreshLabels() {
    view_.setAxisLabels(AxisLabelTexts(view_.lowerBound(), view_.upperBound()));
}

void SarRun::takePacket(std::string_view text) {
    const PacketSlots slots = ParsePacket(text);
    const int base = state_.SampleCount;
    for (int j = 0; j < kSamplesPerPacket; ++j) {
        const auto& slot = slots[static_cast<size_t>(j)];
        const size_t index = static_cast<size_t>(base + j + 1);
        if (!slot || index >= state_.SampleBuffer.size()) continue;
        const auto code = static_cast<int16_t>(*slot);
        state_.SampleBuffer[index] = code;
        if (code > state_.MaxCode) {
            state_.MaxCode = code;
            view_.setUpperBound(code + 1.0);
            refreshLabels();
        }
        if (code < state_.MinCode) {
            state_.MinCode = code;
            view_.setLowerBound(code - 1.0);
            refreshLabels();
        }
        view_.appendPoint(code);
    }
}

void SarRun::abort() {
    disarm();
    devices_.MSComm1.close();
}

RunOutcome SarRun::execute() {
    platform::SerialPort& port = devices_.MSComm1;
    const SarConfiguration config = view_.configuration();

    if (!link::OpenTargetPort(port)) {
        messages_.warning(std::string(link::kPortBusyText), "Warning");
        return RunOutcome::PortBusy;
    }

    const std::string message = ConfigurationMessage(config);
    port.readAll();
    send(message);
    // The firmware does not acknowledge the configuration; give it time to apply it.
    if (!settle()) {
        abort();
        return RunOutcome::Aborted;
    }

    view_.showSampling(true);
    const int requested = RequestedSamples(view_.numSamplesText());
    state_.MaxCode = 0;
    state_.MinCode = 4096;
    view_.clearChart();
    state_.StopRequested = false;
    state_.SampleCount = 0;

    RunOutcome outcome = RunOutcome::Completed;
    while (!state_.StopRequested && state_.SampleCount < requested) {
        port.readAll();
        send(kRequestPacket);
        devices_.events.processPending();
        const Wait wait = awaitPacket();
        if (wait == Wait::Closing) {
            abort();
            return RunOutcome::Aborted;
        }
        if (wait == Wait::TimedOut) {
            outcome = RunOutcome::TargetSilent;
            break;
        }
        if (wait == Wait::PortFailed) {
            outcome = RunOutcome::PortFailed;
            break;
        }
        // A longer reply is out of step with the records; its slots keep their old contents.
        if (port.bytesWaiting() == kPacketLength) takePacket(port.readAll());
        state_.SampleCount = static_cast<int16_t>(state_.SampleCount + kSamplesPerPacket);
        view_.setExtent(state_.SampleCount);
    }
    if (outcome == RunOutcome::Completed && state_.SampleCount < requested)
        outcome = RunOutcome::Stopped;

    port.readAll();
    send(kStopCommand);
    view_.showSampling(false);
    if (outcome == RunOutcome::TargetSilent)
        messages_.warning(SilentTargetMessage(state_.SampleCount), "Warning");
    if (outcome == RunOutcome::PortFailed)
        messages_.warning(FailedPortMessage(state_.SampleCount), "Warning");
    // The program may have begun to close while the message was up.
    if (devices_.events.closing()) {
        abort();
        return RunOutcome::Aborted;
    }
    view_.openAnalysis();
    port.close();
    return outcome;
}

}  // namespace kelp::sar
