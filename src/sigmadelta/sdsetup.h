#pragma once

#include <span>
#include <string_view>

namespace kelp::sigmadelta {

// Design-time contents of SD_KELP's lists, before any model set-up.
std::span<const std::string_view> ModeEntries();  // PrimaryMode and AuxMode
std::span<const std::string_view> PrimaryReferenceEntries();
std::span<const std::string_view> DesignPrimaryChannels();
std::span<const std::string_view> DesignPrimaryRanges();  // rebuilt by UpdatePrimaryRange
std::span<const std::string_view> AuxReferenceEntries();
std::span<const std::string_view> DesignAuxChannels();
// The two pin lists hold the same pins in opposite order; the position is what is sent.
std::span<const std::string_view> Iexc1PinEntries();
std::span<const std::string_view> Iexc2PinEntries();
std::span<const std::string_view> DacRangeEntries();
std::span<const std::string_view> DesignDacPins();
std::span<const std::string_view> SfEntries();
std::span<const std::string_view> NumSamplesEntries();
// The second entry ends in a blank.
std::span<const std::string_view> BufferEntries();

// The 16-entry channel lists of the 58X group; a position is the channel code sent.
std::span<const std::string_view> Primary58XChannels();
std::span<const std::string_view> Aux58XChannels();

inline constexpr std::string_view kDesignVref = "2.5V";
inline constexpr std::string_view kDesignConversionRate = "19.78";
inline constexpr std::string_view kDesignDacData = "0";

// The part of the set-up every model shares; list positions count from 0.
struct CommonSetup {
    int primaryRangeIndex;  // PrimaryRangeIndex
    int primaryMode, primaryReference, primaryChannel;
    int auxMode, auxReference, auxChannel;
    int iexc1Pin, iexc2Pin, dacRange, dacPin;
    int sf, numSamples, buffer;
    std::string_view PLLCON, SCON, T2CON, RCAP2H, RCAP2L;
};
inline constexpr CommonSetup kCommonSetup{
    .primaryRangeIndex = 7,
    .primaryMode = 0,
    .primaryReference = 1,
    .primaryChannel = 2,
    .auxMode = 0,
    .auxReference = 0,
    .auxChannel = 2,
    .iexc1Pin = 0,
    .iexc2Pin = 1,
    .dacRange = 0,
    .dacPin = 1,
    .sf = 1,
    .numSamples = 2,
    .buffer = 0,
    .PLLCON = "00",
    .SCON = "52",
    .T2CON = "34",
    .RCAP2H = "FF",
    .RCAP2L = "F9",
};

// Controls the set-up disables first; the 58X group enables them again.
std::span<const std::string_view> SamplingOptionControls();

// One model's departures from the common set-up. An empty list keeps the design list.
struct ModelSetup {
    std::string_view model;
    std::span<const std::string_view> primaryChannels;
    std::span<const std::string_view> auxChannels;
    int channelSelection;  // selected in each replaced channel list
    std::span<const std::string_view> dacPins;
    int dacPinSelection;  // selected in a replaced DACPin list
    std::span<const std::string_view> enabledAgain;
    std::span<const std::string_view> disabled;  // by objectName, for the window's life
    int cdBitsPosition;                          // CDBits position chosen last; -1: none
};

std::span<const ModelSetup> ModelSetups();
// Exact, case-sensitive; nullptr for a model without a row (it gets no model set-up).
const ModelSetup* FindModelSetup(std::string_view model);

// Geometry of the two chart layouts, in the window's scale units.
struct ChartLayout {
    int graphHeight;
    int midLabelTop;
    int minLabelTop;
    bool auxShown;  // AuxGraph and its three labels
};
inline constexpr ChartLayout kPrimaryOnlyLayout{408, 437, 590, false};
inline constexpr ChartLayout kBothChartsLayout{200, 340, 420, true};

}  // namespace kelp::sigmadelta
