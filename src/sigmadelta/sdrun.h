#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "link/runstate.h"
#include "link/rxdatapacket.h"
#include "sigmadelta/sdconfig.h"

namespace kelp::platform {
class Trace;
}
namespace kelp::link {
class Link;
}

namespace kelp::sigmadelta {

inline constexpr size_t kStoreSize = 2001;  // indexes 0 to 2000

// Results of the last sigma-delta run; sample i at index i, i counted from 0.
struct SdResults {
    std::array<int32_t, kStoreSize> PrimaryCodeBuffer{};
    std::array<int32_t, kStoreSize> PrimaryRawBuffer{};
    std::array<int32_t, kStoreSize> AuxCodeBuffer{};
    int32_t PrimaryMaxCode = 0;
    int32_t PrimaryMinCode = 0x1000000;
    int32_t AuxMaxCode = 0;
    int32_t AuxMinCode = 0x1000000;
    link::PacketBytes PacketBytes{};  // PacketByte1 to PacketByte6 of the last good frame
};

// The link's state between a divider choice and the next run, and the set-up's own flags.
struct SdLinkState {
    std::string LinkSettings;  // empty until the first divider choice
    int16_t CurrentClockDivider = 0;
    bool SetupInProgress = false;
    int16_t PrimaryRangeIndex = 0;
};

// A choice in CDBits (when SetupInProgress is false): the command leaves at the speed the
// target runs at now, every byte is on the wire before the port closes, and LinkSettings
// holds the speed of the next run. Returns the PLLCONSFR text for the new divider, and
// whether the port could be opened; when it could not, nothing is sent and LinkSettings stays
// as it was, while CurrentClockDivider takes the choice.
struct DividerSent {
    std::string PLLCON;
    bool sent = false;
    platform::OpenError openError = platform::OpenError::None;  // why it was not sent
};
DividerSent ChooseClockDivider(link::Link& link, SdLinkState& state, int position);

// What a run needs from its window. The converter switches are read again for every sample.
class SdRunView {
public:
    virtual ~SdRunView() = default;
    virtual SdConfiguration configuration() const = 0;
    virtual std::string numSamplesText() const = 0;
    virtual bool primaryOn() const = 0;
    virtual bool auxOn() const = 0;
    virtual platform::Trace& primaryTrace() = 0;
    virtual platform::Trace& auxTrace() = 0;
    virtual void showSampling(bool sampling) = 0;
    // Shows the analysis window over the results, before the port closes.
    virtual void openAnalysis() = 0;
};

// The acquisition run of SD_KELP: one request, then one frame per sample.
class SdRun {
public:
    static constexpr int kSettleMs = 100;
    static constexpr int kVisibleSamples = 100;  // the charts' horizontal span at the start

    SdRun(link::Link& link, link::RunState& run, SdResults& results, const SdLinkState& state,
          SdRunView& view);

    // RunButton_Click for a model; is58XGroup chooses the message layout.
    link::RunResult execute(const std::string& model, bool is58XGroup);
    // StopButton_Click: taken in before the next sample.
    void requestStop();

private:
    void store(const std::string& model, int index);
    link::RunResult abort();

    link::Link& link_;
    link::RunState& run_;
    SdResults& results_;
    const SdLinkState& state_;
    SdRunView& view_;
};

}  // namespace kelp::sigmadelta
