#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "link/runstate.h"
#include "sar/sarconfig.h"

namespace kelp::platform {
class Trace;
}
namespace kelp::link {
class Link;
}

namespace kelp::sar {

// Results of the last SAR run; sample k at index k, index 0 never written.
struct SarResults {
    std::array<int16_t, 10001> SampleBuffer{};
    int16_t MaxCode = 0;
    int16_t MinCode = 0;
};

// What a run needs from its window. The run never calls it once the program is closing.
class SarRunView {
public:
    virtual ~SarRunView() = default;
    // Read once when Run is clicked; later edits take effect at the next run.
    virtual SarConfiguration configuration() const = 0;
    // NumSamples' text, read when sampling starts.
    virtual std::string numSamplesText() const = 0;
    virtual platform::Trace& trace() = 0;
    // True: Stop shown in Run's place; false: Run shown.
    virtual void showSampling(bool sampling) = 0;
    // Shows the analysis window over the results and analyses them, before the port closes.
    virtual void openAnalysis() = 0;
};

// The acquisition run of SAR_KELP. Shows no message: the result says how it ended.
class SarRun {
public:
    static constexpr int kSettleMs = 100;
    // A packet takes about 90 ms at 57600 baud; this long without a byte means the target
    // has stopped answering.
    static constexpr int kSilenceLimitMs = 2000;

    SarRun(link::Link& link, link::RunState& run, SarResults& results, SarRunView& view);

    // RunButton_Click. Re-entrant in the one way that can happen (a second click during the
    // settling wait): that call finds the port open and returns PortBusy.
    link::RunResult execute();
    // StopButton_Click: taken in at the run's next yield; the packet in progress completes.
    void requestStop();

private:
    void takePacket(std::string_view text);
    void refreshLabels();
    link::RunResult abort();

    link::Link& link_;
    link::RunState& run_;
    SarResults& results_;
    SarRunView& view_;
};

}  // namespace kelp::sar
