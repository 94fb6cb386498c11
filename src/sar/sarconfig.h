#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "link/registerrules.h"

namespace kelp::sar {

// List positions are counted from 0; a list with no selection (-1) counts as position 0.
struct AdcSettings {
    bool adcOn = false;
    int reference = 0;  // 0 "Internal", 1 "External"
    int convTime = 0;   // divider list position
    int acqTime = 0;    // 0..3 for 1..4 ADC clocks
};

struct DacSettings {
    bool dac0On = false;
    int dac0Range = 0;  // 0 "0-Vref", 1 "0-Vdd"
    bool dac1On = false;
    int dac1Range = 0;
};

// Everything a run reads from the window to build its configuration message.
struct SarConfiguration {
    std::string model;
    AdcSettings adc;
    int channel = 0;  // ADCChan position, the channel number
    DacSettings dac;
    std::string dac0Data = "0";
    std::string dac1Data = "0";
    link::RegisterTexts registers;
};

inline constexpr size_t kConfigurationMessageLength = 26;

uint8_t AdcControl1(std::string_view model, const AdcSettings& adc);
uint8_t ChannelByte(int position);
uint8_t DacControl(const DacSettings& dac);

// The 26 bytes sent once per run, one character per byte: "C", the converter bytes, then the
// register boxes (16-bit values high byte first, P3 with its two low bits forced on).
std::string ConfigurationMessage(const SarConfiguration& config);

// Conversion time and sampling frequency as the window shows them.
struct TimingFigures {
    double conversionTime = 0;  // microseconds, rounded to 3 decimals
    double frequency = 0;       // kHz
    std::string conversionTimeText;
    std::string frequencyText;
};

// (acquisition clocks) + 16 conversion clocks.
int ClocksPerConversion(int acqTimePosition);
// The number in characters 7 and 8 of a divider entry ("Mclk /16" -> 16, "Mclk /2 " -> 2).
int DividerOfEntry(std::string_view convTimeEntry);
// nullopt when the figures cannot be computed (a master clock or divider that reads 0 or
// less): the window then keeps the figures it shows.
std::optional<TimingFigures> ComputeTimingFigures(int acqTimePosition,
                                                  std::string_view masterClockText,
                                                  std::string_view convTimeEntry);

inline constexpr int kMaxSamples = 10000;

// The canonical text of NumSamples after it loses the focus: above 10000 -> "10000", 0 or no
// number -> "1", otherwise the leading number in its shortest form. Negatives pass.
std::string CheckNumSamples(std::string_view text);
// Samples a run asks for: the leading number rounded half-to-even, at most 10000 so that the
// sample store can hold them; 0 for zero or negative numbers (no packet requested).
int RequestedSamples(std::string_view text);

}  // namespace kelp::sar
