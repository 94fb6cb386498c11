#include "sigmadelta/sdconfig.h"

#include <algorithm>

#include "link/hexreading.h"
#include "link/registerrules.h"
#include "link/textforms.h"

namespace kelp::sigmadelta {

namespace {

// Keeps every byte within 0..255 whatever a list reports (no selection reads -1).
int position(int p, int highest) { return std::clamp(p, 0, highest); }
int bit(bool on) { return on ? 1 : 0; }

uint8_t byteOf8bit(const std::string& text) {
    return link::registerByte(link::Verify8bitSFR(text));
}

// The 58X lists have 16 channels, the design lists 4.
int highestChannel(bool is58XGroup) { return is58XGroup ? 15 : 3; }

}  // namespace

uint8_t AdcPrimaryControl(const SdConfiguration& c, bool is58XGroup) {
    const int mode = position(c.PM, 1);
    const int range = position(c.PR, 7);
    if (is58XGroup) {
        const int buffer = position(c.BUF, 1) == 0 ? 0 : 2;
        return static_cast<uint8_t>(64 * buffer + 32 * mode + range);
    }
    return static_cast<uint8_t>(64 * position(c.PRef, 2) + 16 * position(c.PCh, 3) + 8 * mode +
                                range);
}

uint8_t SecondPrimaryControl(const SdConfiguration& c) {
    return static_cast<uint8_t>(64 * position(c.PRef, 2) + position(c.PCh, 15));
}

uint8_t AdcAuxControl(const SdConfiguration& c, bool is58XGroup) {
    const int reference = position(c.ARef, 1);
    const int mode = position(c.AM, 1);
    const int channel = position(c.ACh, highestChannel(is58XGroup));
    if (is58XGroup) return static_cast<uint8_t>(64 * reference + 32 * mode + channel);
    return static_cast<uint8_t>(64 * reference + 16 * channel + 8 * mode);
}

uint8_t AdcMode(const SdConfiguration& c, bool is58XGroup) {
    const int both = 32 * bit(c.PON) + 16 * bit(c.AON);
    if (!is58XGroup) return static_cast<uint8_t>(both);
    return static_cast<uint8_t>(64 * bit(c.NOTCH) + both + 8 * bit(c.CHOPOFF));
}

uint8_t CurrentSourceControl(const SdConfiguration& c) {
    return static_cast<uint8_t>(8 * position(c.I2PIN, 1) + 4 * position(c.I1PIN, 1) +
                                2 * bit(c.I2ON) + bit(c.I1ON));
}

uint8_t DacControlSD(const SdConfiguration& c) {
    // Bit 1 is always set.
    return static_cast<uint8_t>(16 * position(c.DPIN, 1) + 4 * position(c.DRANGE, 1) + 2 +
                                bit(c.DON));
}

std::string ConfigurationMessage(const SdConfiguration& c, bool is58XGroup) {
    std::string m;
    m.reserve(kConfigurationMessageLength);
    m += 'C';
    m += static_cast<char>(AdcPrimaryControl(c, is58XGroup));
    if (is58XGroup) m += static_cast<char>(SecondPrimaryControl(c));
    m += static_cast<char>(AdcAuxControl(c, is58XGroup));
    m += static_cast<char>(AdcMode(c, is58XGroup));
    m += static_cast<char>(byteOf8bit(c.SF));
    m += static_cast<char>(CurrentSourceControl(c));
    m += static_cast<char>(DacControlSD(c));
    m += link::WordBytes(c.DACData);
    m += link::RegisterBlock(c.registers);
    // The first four models have no second primary byte; their message is padded instead.
    if (!is58XGroup) m += '\0';
    return m;
}

std::array<std::string, 8> PrimaryRangeEntries(int PM, int PRef, std::string_view vrefText) {
    const double vref = PRef <= 0 ? 1.25 : link::leadingNumber(vrefText);
    const std::string prefix = PM == 1 ? "0 to " : "+/- ";
    std::array<std::string, 8> entries;
    double r = vref * 1000 / 125;  // millivolts of the smallest range
    for (std::string& entry : entries) {
        entry =
            prefix + (r < 1000 ? link::formatNumber(r) + "mV" : link::formatNumber(r / 1000) + "V");
        r = r + r;
    }
    return entries;
}

std::string AuxRangeText(int AM, int ARef, std::string_view vrefText) {
    const std::string prefix = AM == 1 ? "0 to " : "+/- ";
    return prefix + (ARef == 1 ? std::string(vrefText) : std::string("1.25V"));
}

std::string UpdateRateText(std::string_view sfText, bool chopOff) {
    const int sf = byteOf8bit(std::string(sfText));
    if (sf == 0) return "";
    return link::formatNumber(chopOff ? 4096.0 / sf : 4096.0 / (3.0 * sf));
}

std::string CheckSF(std::string_view sfText) {
    const std::string checked = link::Verify8bitSFR(sfText);
    // Below 0D the filter has no valid setting.
    return link::registerByte(checked) < 0x0D ? "0D" : checked;
}

std::string CheckNumSamples(std::string_view text) {
    double n = link::leadingNumber(text);
    if (n > kMaxSamples) n = kMaxSamples;
    if (n == 0) n = 1;
    return link::formatNumber(n);
}

std::optional<int> RequestedSamples(std::string_view text) {
    const double n = link::roundHalfEven(link::leadingNumber(text));
    if (!(n > 0)) return 0;
    if (n > kMaxSamples) return std::nullopt;
    return static_cast<int>(n);
}

}  // namespace kelp::sigmadelta
