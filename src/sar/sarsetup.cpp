#include "sar/sarsetup.h"

#include <array>

namespace kelp::sar {

namespace {

using namespace std::string_view_literals;

constexpr std::array kDesignChannels = {
    "ADC0"sv, "ADC1"sv,        "ADC2"sv, "ADC3"sv, "ADC4"sv, "ADC5"sv, "ADC6"sv,
    "ADC7"sv, "TEMP SENSOR"sv, "DAC0"sv, "DAC1"sv, "AGND"sv, "VREF"sv,
};
constexpr std::array kDesignConvTimes = {"Mclk /16"sv, "Mclk /2 "sv, "Mclk /4 "sv, "Mclk /8 "sv};
constexpr std::array kAcqTimes = {"1 ADCclk"sv, "2 ADCclk"sv, "3 ADCclk"sv, "4 ADCclk"sv};
constexpr std::array kReferences = {"Internal"sv, "External"sv};
constexpr std::array kDacRanges = {"0-Vref"sv, "0-Vdd"sv};
constexpr std::array kNumSamples = {"1000"sv, "2000"sv, "4000"sv, "7000"sv, "10000"sv};

constexpr std::array kZylo510Channels = {"ADC0"sv, "ADC1"sv, "ADC2"sv, "ADC3"sv, "ADC4"sv,
                                         "ADC5"sv, "ADC6"sv, "ADC7"sv, "TEMP"sv};
// Channel numbers 6 and 7 name no input on this part; they share pins with the DACs.
constexpr std::array kZylo520Channels = {
    "ADC0"sv, "ADC1"sv, "ADC2"sv, "ADC3"sv, "ADC4"sv, "ADC5"sv, " -- "sv,
    " -- "sv, "TEMP"sv, "DAC0"sv, "DAC1"sv, "AGND"sv, "VREF"sv,
};
constexpr std::array kZylo510ConvTimes = {"Mclk /1 "sv, "Mclk /2 "sv, "Mclk /4 "sv, "Mclk /8 "sv};
constexpr std::array kZylo520ConvTimes = {"16.77/8 "sv, "16.77/4 "sv, "16.77/16"sv, "16.77/32"sv};
constexpr std::array kZylo551ConvTimes = {"16.77/16"sv, "16.77/2 "sv, "16.77/4 "sv, "16.77/8 "sv};
constexpr std::array kZylo570ConvTimes = {"Mclk /2 "sv, "Mclk /4 "sv, "Mclk /8 "sv, "Mclk /32"sv};
constexpr std::array kZylo57xConvTimes = {"16.77/2 "sv, "16.77/4 "sv, "16.77/8 "sv, "16.77/32"sv};

constexpr std::span<const std::string_view> kDesign{};

const std::array kModelSetups = {
    ModelSetup{"Zylo510", kZylo510Channels, 1, kZylo510ConvTimes, 3, "", "", kPwmGroup},
    ModelSetup{"Zylo520", kZylo520Channels, 1, kZylo520ConvTimes, 2, "16.777", "F7",
               kPwmGroup | kP0P2Boxes},
    // No departures; it keeps the 11.0592 MHz lists although its neighbour Zylo551 does not.
    ModelSetup{"Zylo550", kDesign, 1, kDesign, 3, "", "", kNoGroup},
    ModelSetup{"Zylo551", kDesign, 1, kZylo551ConvTimes, 3, "16.777", "F7", kNoGroup},
    ModelSetup{"Zylo570", kDesign, 1, kZylo570ConvTimes, 2, "", "EE", kNoGroup},
    ModelSetup{"Zylo571", kDesign, 1, kZylo57xConvTimes, 2, "16.777", "F7", kNoGroup},
    ModelSetup{"Zylo572", kDesign, 1, kZylo57xConvTimes, 2, "16.777", "F7", kDacGroup},
};

constexpr std::array kPwmControls = {
    "PWMFrame"sv,  "Label27"sv,  "Label29"sv,  "Label30"sv,  "Label31"sv,  "Label32"sv,
    "PWMCONSFR"sv, "PWM0HSFR"sv, "PWM0LSFR"sv, "PWM1HSFR"sv, "PWM1LSFR"sv,
};
constexpr std::array kP0P2Controls = {"P0SFR"sv, "P2SFR"sv};
constexpr std::array kDacControls = {
    "DAC"sv,      "DAC0Button"sv, "DAC1Button"sv, "DAC0Range"sv, "DAC1Range"sv,
    "DAC0Data"sv, "DAC1Data"sv,   "Label6"sv,     "Label7"sv,    "Label8"sv,
    "Label9"sv,   "Label10"sv,    "Label13"sv,
};

}  // namespace

std::span<const std::string_view> DesignChannels() { return kDesignChannels; }
std::span<const std::string_view> DesignConvTimes() { return kDesignConvTimes; }
std::span<const std::string_view> AcqTimeEntries() { return kAcqTimes; }
std::span<const std::string_view> ReferenceEntries() { return kReferences; }
std::span<const std::string_view> DacRangeEntries() { return kDacRanges; }
std::span<const std::string_view> NumSamplesEntries() { return kNumSamples; }

std::span<const ModelSetup> ModelSetups() { return kModelSetups; }

const ModelSetup* FindModelSetup(std::string_view model) {
    for (const ModelSetup& s : kModelSetups)
        if (s.model == model) return &s;
    return nullptr;
}

std::span<const std::string_view> ControlsOf(DisabledGroup group) {
    switch (group) {
        case kPwmGroup:
            return kPwmControls;
        case kP0P2Boxes:
            return kP0P2Controls;
        case kDacGroup:
            return kDacControls;
        case kNoGroup:
            break;
    }
    return {};
}

}  // namespace kelp::sar
