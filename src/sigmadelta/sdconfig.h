#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "link/registerrules.h"

namespace kelp::sigmadelta {

// Everything a run reads from SD_KELP to build its configuration. List positions count from
// 0; a list without a selection (-1) counts as position 0. Disabled controls are read too.
struct SdConfiguration {
    int PM = 0;    // PrimaryMode: 0 "Bipolar", 1 "Unipolar"
    int PRef = 0;  // PrimaryReference: 0 "Internal", 1 "REFIN +/-", 2 "REFIN2 +/-"
    int PCh = 0;   // PrimaryInputChannel: 0..3, or 0..15 on the 58X list
    int PR = 0;    // PrimaryInputRange: 0..7, smallest first
    int AM = 0;    // AuxMode
    int ARef = 0;  // AuxReference: 0 "Internal", 1 "External"
    int ACh = 0;   // AuxInputChannel
    int BUF = 0;   // bufCfgCBox: 0 "Fully Buffered", 1 "Buffer Bypassed "
    bool PON = false;
    bool AON = false;
    bool NOTCH = false;
    bool CHOPOFF = false;  // chopEnChkBox, "Chop Disable"
    bool I1ON = false;
    bool I2ON = false;
    bool DON = false;
    int I1PIN = 0;
    int I2PIN = 0;
    int DRANGE = 0;  // 0 "0-Vref", 1 "0-Vdd"
    int DPIN = 0;
    std::string SF = "45";
    std::string DACData = "0";
    link::RegisterTexts registers{};
};

// Register bytes; is58XGroup chooses the layout (Is58XGroup of the program state).
uint8_t AdcPrimaryControl(const SdConfiguration& c, bool is58XGroup);
// Reference and channel; only the 58X group sends it.
uint8_t SecondPrimaryControl(const SdConfiguration& c);
uint8_t AdcAuxControl(const SdConfiguration& c, bool is58XGroup);
uint8_t AdcMode(const SdConfiguration& c, bool is58XGroup);
uint8_t CurrentSourceControl(const SdConfiguration& c);
uint8_t DacControlSD(const SdConfiguration& c);

inline constexpr size_t kConfigurationMessageLength = 27;

// The 27 bytes sent once per run, one character per byte, in the layout of the model's group.
std::string ConfigurationMessage(const SdConfiguration& c, bool is58XGroup);

// The eight entries of PrimaryInputRange for the mode, the reference and VrefTextbox's text:
// "+/- 20mV" .. "+/- 2.56V", or "0 to ..." in unipolar mode.
std::array<std::string, 8> PrimaryRangeEntries(int PM, int PRef, std::string_view vrefText);
// The text UpdateAuxRange writes into AuxInputRange.
std::string AuxRangeText(int AM, int ARef, std::string_view vrefText);

// ConversionRate's text for SF's text: 4096 / (3 x SF) with chopping, 4096 / SF without.
// Empty for an SF that reads 0, which has no rate (the SF check never lets it through).
std::string UpdateRateText(std::string_view sfText, bool chopOff);
// SF's text after it loses the focus: the 8-bit rule, then anything below 0D becomes "0D".
std::string CheckSF(std::string_view sfText);

inline constexpr int kMaxSamples = 2000;

// NumSamples' text after it loses the focus: above 2000 -> "2000", 0 or no number -> "1",
// otherwise the leading number in its shortest form. Negatives pass.
std::string CheckNumSamples(std::string_view text);
// Samples a run takes: the leading number rounded half-to-even, 0 when not positive.
// nullopt when it exceeds 2000, more than the sample stores hold: the run must refuse.
std::optional<int> RequestedSamples(std::string_view text);

}  // namespace kelp::sigmadelta
