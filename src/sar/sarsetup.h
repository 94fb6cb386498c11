#pragma once

#include <span>
#include <string_view>

namespace kelp::sar {

// Design-time contents of the window's lists, before any model set-up.
std::span<const std::string_view> DesignChannels();
// Each divider entry is eight characters; the divider's digits sit at characters 7 and 8,
// so the trailing blanks of the one-digit entries are part of them.
std::span<const std::string_view> DesignConvTimes();
std::span<const std::string_view> AcqTimeEntries();
std::span<const std::string_view> ReferenceEntries();
std::span<const std::string_view> DacRangeEntries();
std::span<const std::string_view> NumSamplesEntries();

inline constexpr std::string_view kDesignMasterClock = "11.0592";
inline constexpr std::string_view kDesignRcap2l = "FA";
inline constexpr std::string_view kDesignVref = "2.5";
inline constexpr std::string_view kDesignDacData = "0";

// What every load chooses before the model's own set-up; positions count from 0. Both DACs
// start off on "0-Vref".
struct LoadDefaults {
    bool adcOn;
    int channel, reference, convTime, acqTime;
    int numSamples;  // position in NumSamplesEntries()
};
inline constexpr LoadDefaults kLoadDefaults{
    .adcOn = true, .channel = 0, .reference = 0, .convTime = 2, .acqTime = 0, .numSamples = 2};

// Groups of controls that a model lacks; they stay disabled for the life of the window.
enum DisabledGroup : unsigned {
    kNoGroup = 0,
    kPwmGroup = 1u << 0,   // PWMFrame, its boxes and register labels
    kP0P2Boxes = 1u << 1,  // P0SFR and P2SFR
    kDacGroup = 1u << 2,   // the DAC frame, switches, ranges, data boxes and labels
};

// One model's departures from the design-time window. An empty list keeps the design list;
// selections are positions counted from 1; an empty text keeps the design text.
struct ModelSetup {
    std::string_view model;
    std::span<const std::string_view> channels;
    int channelSelection;
    std::span<const std::string_view> convTimes;
    int convTimeSelection;
    std::string_view masterClock;
    std::string_view rcap2l;
    unsigned disabled;
};

std::span<const ModelSetup> ModelSetups();
// Exact, case-sensitive; nullptr for a model without a row (it gets no model set-up).
const ModelSetup* FindModelSetup(std::string_view model);

// Control names of each group, as the window names its widgets.
std::span<const std::string_view> ControlsOf(DisabledGroup group);

}  // namespace kelp::sar
