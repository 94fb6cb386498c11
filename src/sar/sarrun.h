#pragma once

#include <string>
#include <string_view>

#include "sar/sarconfig.h"
#include "sar/sarpacket.h"

namespace kelp::platform {
class MessageSink;
}
namespace kelp::shell {
struct ProgramState;
struct SharedDevices;
}  // namespace kelp::shell

namespace kelp::sar {

// What a run needs from its window. The run never calls it once the program is closing.
class SarRunView {
public:
    virtual ~SarRunView() = default;
    // Read once when Run is clicked; later edits take effect at the next run.
    virtual SarConfiguration configuration() const = 0;
    // NumSamples' text, read when sampling starts.
    virtual std::string numSamplesText() const = 0;

    virtual void clearChart() = 0;
    virtual void appendPoint(double code) = 0;
    virtual double lowerBound() const = 0;
    virtual double upperBound() const = 0;
    virtual void setLowerBound(double value) = 0;
    virtual void setUpperBound(double value) = 0;
    // The horizontal axis spans the samples received so far.
    virtual void setExtent(int samples) = 0;
    virtual void setAxisLabels(const AxisLabels& labels) = 0;

    // True: Stop shown in Run's place; false: Run shown.
    virtual void showSampling(bool sampling) = 0;
    // Shows the analysis window over the results and analyses them.
    virtual void openAnalysis() = 0;
};

enum class RunOutcome {
    PortBusy,      // the port could not be opened; nothing sent
    Completed,     // the requested count was reached
    Stopped,       // Stop ended it early
    TargetSilent,  // no byte for the silence limit; ended with what had come
    PortFailed,    // the port failed during the run; ended with what had come
    Aborted,       // the program is closing; ended at once, nothing more sent or shown
};

// The acquisition run of SAR_KELP, talking to the target only through the shared devices.
// Timer1's tick must set state.TimerElapsed (the composition root wires that).
class SarRun {
public:
    static constexpr int kSettleMs = 100;
    // A packet takes about 90 ms at 57600 baud; this long without a byte means the target
    // has stopped answering.
    static constexpr int kSilenceLimitMs = 2000;

    SarRun(shell::ProgramState& state, shell::SharedDevices& devices,
           platform::MessageSink& messages, SarRunView& view);

    // RunButton_Click. Re-entrant in the one way that can happen (a second click during the
    // settling wait): that call finds the port open, says so and returns PortBusy.
    RunOutcome execute();
    // StopButton_Click: taken in at the run's next yield; the packet in progress completes.
    void requestStop();

private:
    enum class Wait { Ready, TimedOut, PortFailed, Closing };

    void send(const std::string& block);
    void arm(int milliseconds);
    void disarm();
    bool settle();
    Wait awaitPacket();
    void takePacket(std::string_view text);
    void refreshLabels();
    void abort();

    shell::ProgramState& state_;
    shell::SharedDevices& devices_;
    platform::MessageSink& messages_;
    SarRunView& view_;
};

// The texts the user sees when a run ends early because of the target or the port.
std::string SilentTargetMessage(int samples);
std::string FailedPortMessage(int samples);

}  // namespace kelp::sar
