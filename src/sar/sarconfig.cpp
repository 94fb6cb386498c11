#include "sar/sarconfig.h"

#include <algorithm>
#include <cmath>

#include "link/textforms.h"
#include "link/registerrules.h"

namespace kelp::sar {

namespace {

int position(int p, int highest) { return std::clamp(p, 0, highest); }

}  // namespace

uint8_t AdcControl1(std::string_view model, const AdcSettings& adc) {
    const int on = adc.adcOn ? 1 : 0;
    const int divider = position(adc.convTime, 3);
    const int acquisition = position(adc.acqTime, 3);
    // The oldest part has no reference select bit; its enable sits one bit lower.
    if (model == "Zylo510") return static_cast<uint8_t>(64 * on + 16 * divider + 4 * acquisition);
    const int external = position(adc.reference, 1);
    return static_cast<uint8_t>(128 * on + 64 * external + 16 * divider + 4 * acquisition);
}

uint8_t ChannelByte(int p) { return static_cast<uint8_t>(position(p, 255)); }

uint8_t DacControl(const DacSettings& dac) {
    const int on0 = dac.dac0On ? 1 : 0;
    const int on1 = dac.dac1On ? 1 : 0;
    const int vdd0 = on0 * position(dac.dac0Range, 1);
    const int vdd1 = on1 * position(dac.dac1Range, 1);
    return static_cast<uint8_t>(64 * vdd1 + 32 * vdd0 + 16 * on1 + 8 * on0 + 4 + 2 * on1 + on0);
}

std::string ConfigurationMessage(const SarConfiguration& c) {
    std::string m;
    m.reserve(kConfigurationMessageLength);
    m += 'C';
    m += static_cast<char>(AdcControl1(c.model, c.adc));
    m += static_cast<char>(ChannelByte(c.channel));
    m += '\0';
    m += static_cast<char>(DacControl(c.dac));
    m += link::WordBytes(c.dac0Data);
    m += link::WordBytes(c.dac1Data);
    m += link::RegisterBlock(c.registers);
    return m;
}

int ClocksPerConversion(int acqTimePosition) { return position(acqTimePosition, 3) + 1 + 16; }

int DividerOfEntry(std::string_view entry) {
    if (entry.size() < 7) return 0;
    const double v = link::leadingNumber(entry.substr(6, 2));
    return v > 0 ? static_cast<int>(v) : 0;
}

std::optional<TimingFigures> ComputeTimingFigures(int acqTimePosition,
                                                  std::string_view masterClockText,
                                                  std::string_view convTimeEntry) {
    const double masterClock = link::leadingNumber(masterClockText);
    const int divider = DividerOfEntry(convTimeEntry);
    if (!(masterClock > 0) || divider <= 0) return std::nullopt;
    const double raw = ClocksPerConversion(acqTimePosition) / masterClock * divider;
    TimingFigures f;
    f.conversionTime = link::roundHalfEven(raw, 3);
    // A clock so fast that the time rounds to 0 gives no frequency either.
    if (!(f.conversionTime > 0) || !std::isfinite(f.conversionTime)) return std::nullopt;
    f.frequency = 1000.0 / f.conversionTime;
    f.conversionTimeText = link::formatNumber(f.conversionTime);
    f.frequencyText = link::formatNumber(f.frequency);
    return f;
}

std::string CheckNumSamples(std::string_view text) {
    double n = link::leadingNumber(text);
    if (n > kMaxSamples) n = kMaxSamples;
    if (n == 0) n = 1;
    return link::formatNumber(n);
}

int RequestedSamples(std::string_view text) {
    const double n = link::roundHalfEven(link::leadingNumber(text));
    if (!(n > 0)) return 0;
    return n > kMaxSamples ? kMaxSamples : static_cast<int>(n);
}

}  // namespace kelp::sar
