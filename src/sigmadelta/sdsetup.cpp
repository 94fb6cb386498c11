#include "sigmadelta/sdsetup.h"

#include <array>

namespace kelp::sigmadelta {

namespace {

using namespace std::string_view_literals;

constexpr std::array kModes = {"Bipolar"sv, "Unipolar"sv};
constexpr std::array kPrimaryReferences = {"Internal"sv, "REFIN +/-"sv, "REFIN2 +/-"sv};
constexpr std::array kPrimaryChannels = {"AIN1-AIN2"sv, "AIN3-AIN4"sv, "AIN2-AIN2"sv,
                                         "AIN3-AIN2"sv};
constexpr std::array kPrimaryRanges = {"20 mV"sv,  "40 mV"sv,  "80 mV"sv,  "160 mV"sv,
                                       "320 mV"sv, "640 mV"sv, "1.28 V"sv, "2.56 V"sv};
constexpr std::array kAuxReferences = {"Internal"sv, "External"sv};
constexpr std::array kAuxChannels = {"AIN3-GND"sv, "AIN4-GND"sv, "Temp Sensor"sv, "AIN5-GND"sv};
constexpr std::array kIexc1Pins = {"Pin 11"sv, "Pin 12"sv};
constexpr std::array kIexc2Pins = {"Pin 12"sv, "Pin 11"sv};
constexpr std::array kDacRanges = {"0-Vref"sv, "0-Vdd"sv};
constexpr std::array kDacPins = {"Pin 12"sv, "Pin 3"sv};
constexpr std::array kSfs = {"0D"sv, "45"sv, "FF"sv};
constexpr std::array kNumSamples = {"100"sv, "250"sv, "500"sv, "1000"sv, "2000"sv};
constexpr std::array kBuffers = {"Fully Buffered"sv, "Buffer Bypassed "sv};

constexpr std::array kPrimary58X = {
    "AIN1-AINCOM"sv, "AIN2-AINCOM"sv,  "AIN3-AINCOM"sv, "AIN4-AINCOM"sv,
    "AIN5-AINCOM"sv, "AIN6-AINCOM"sv,  "AIN7-AINCOM"sv, "AIN8-AINCOM"sv,
    "AIN9-AINCOM"sv, "AIN10-AINCOM"sv, "AIN1-AIN2"sv,   "AIN3-AIN4"sv,
    "AIN5-AIN6"sv,   "AIN7-AIN8"sv,    "AIN9-AIN10"sv,  "AINCOM-AINCOM"sv,
};
// As the primary list, except that code 14 selects the temperature sensor.
constexpr std::array kAux58X = {
    "AIN1-AINCOM"sv, "AIN2-AINCOM"sv,  "AIN3-AINCOM"sv, "AIN4-AINCOM"sv,
    "AIN5-AINCOM"sv, "AIN6-AINCOM"sv,  "AIN7-AINCOM"sv, "AIN8-AINCOM"sv,
    "AIN9-AINCOM"sv, "AIN10-AINCOM"sv, "AIN1-AIN2"sv,   "AIN3-AIN4"sv,
    "AIN5-AIN6"sv,   "AIN7-AIN8"sv,    "Temp Sens"sv,   "AINCOM-AINCOM"sv,
};
constexpr std::array kDacPins58X = {"14"sv, "13"sv};

constexpr std::array kSamplingOptions = {"bufCfgCBox"sv, "chopEnChkBox"sv, "notchEnChkBox"sv,
                                         "Label12"sv,    "Label22"sv,      "Label28"sv};
// Zylo581 and Zylo582 have neither the auxiliary converter nor the DAC.
constexpr std::array kAuxAndDac = {
    "AuxiliaryADC"sv, "DAC"sv,    "Label17"sv, "Label16"sv, "Label7"sv,
    "Label6"sv,       "Label8"sv, "Label9"sv,  "Label10"sv, "AuxillaryADCButton"sv,
    "DACButton"sv,
};
constexpr std::array kPwm = {
    "PWMFrame"sv,  "Label27"sv,  "Label29"sv,  "Label30"sv,  "Label31"sv,  "Label32"sv,
    "PWMCONSFR"sv, "PWM0HSFR"sv, "PWM0LSFR"sv, "PWM1HSFR"sv, "PWM1LSFR"sv,
};

constexpr std::span<const std::string_view> kKeep{};
constexpr int kNoDivider = -1;
constexpr int kDivider3 = 1;  // CDBits position of divider 3

const std::array kModelSetups = {
    ModelSetup{"Zylo580", kPrimary58X, kAux58X, 15, kDacPins58X, 0, kSamplingOptions, kKeep,
               kDivider3},
    ModelSetup{"Zylo581", kPrimary58X, kKeep, 15, kDacPins58X, 0, kSamplingOptions, kAuxAndDac,
               kDivider3},
    ModelSetup{"Zylo582", kPrimary58X, kKeep, 15, kKeep, 0, kSamplingOptions, kAuxAndDac,
               kDivider3},
    ModelSetup{"Zylo530", kKeep, kKeep, 0, kKeep, 0, kKeep, kPwm, kNoDivider},
    ModelSetup{"Zylo540", kKeep, kKeep, 0, kKeep, 0, kKeep, kPwm, kNoDivider},
    ModelSetup{"Zylo560", kKeep, kKeep, 0, kKeep, 0, kKeep, kKeep, kNoDivider},
    ModelSetup{"Zylo561", kKeep, kKeep, 0, kKeep, 0, kKeep, kKeep, kNoDivider},
};

}  // namespace

std::span<const std::string_view> ModeEntries() { return kModes; }
std::span<const std::string_view> PrimaryReferenceEntries() { return kPrimaryReferences; }
std::span<const std::string_view> DesignPrimaryChannels() { return kPrimaryChannels; }
std::span<const std::string_view> DesignPrimaryRanges() { return kPrimaryRanges; }
std::span<const std::string_view> AuxReferenceEntries() { return kAuxReferences; }
std::span<const std::string_view> DesignAuxChannels() { return kAuxChannels; }
std::span<const std::string_view> Iexc1PinEntries() { return kIexc1Pins; }
std::span<const std::string_view> Iexc2PinEntries() { return kIexc2Pins; }
std::span<const std::string_view> DacRangeEntries() { return kDacRanges; }
std::span<const std::string_view> DesignDacPins() { return kDacPins; }
std::span<const std::string_view> SfEntries() { return kSfs; }
std::span<const std::string_view> NumSamplesEntries() { return kNumSamples; }
std::span<const std::string_view> BufferEntries() { return kBuffers; }
std::span<const std::string_view> Primary58XChannels() { return kPrimary58X; }
std::span<const std::string_view> Aux58XChannels() { return kAux58X; }
std::span<const std::string_view> SamplingOptionControls() { return kSamplingOptions; }

std::span<const ModelSetup> ModelSetups() { return kModelSetups; }

const ModelSetup* FindModelSetup(std::string_view model) {
    for (const ModelSetup& s : kModelSetups)
        if (s.model == model) return &s;
    return nullptr;
}

}  // namespace kelp::sigmadelta
