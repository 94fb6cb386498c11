#include "sigmadelta/sdconfig.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelp::sigmadelta {
namespace {

std::vector<int> bytesOf(const std::string& message) {
    std::vector<int> out;
    for (unsigned char c : message) out.push_back(c);
    return out;
}

TEST(RangeTexts, PrimaryEntriesAndAuxText) {
    const struct {
        int PM, PRef;
        const char *vref, *first, *sixth, *last;
    } cases[] = {
        {0, 1, "2.5V", "+/- 20mV", "+/- 640mV", "+/- 2.56V"},
        {1, 2, "2.5V", "0 to 20mV", "0 to 640mV", "0 to 2.56V"},
        {0, 0, "3.3", "+/- 10mV", "+/- 320mV", "+/- 1.28V"},  // internal: the text does not count
        {0, 1, "3.3", "+/- 26.4mV", "+/- 844.8mV", "+/- 3.3792V"},
        {0, 1, "V", "+/- 0mV", "+/- 0mV", "+/- 0mV"},
    };
    for (const auto& c : cases) {
        const auto e = PrimaryRangeEntries(c.PM, c.PRef, c.vref);
        EXPECT_EQ(e[0] + "|" + e[5] + "|" + e[7],
                  std::string(c.first) + "|" + c.sixth + "|" + c.last);
    }
    EXPECT_EQ(AuxRangeText(1, 1, "2.5V") + "|" + AuxRangeText(1, 0, "2.5V") + "|" +
                  AuxRangeText(0, 1, "3.3") + "|" + AuxRangeText(0, 0, "3.3"),
              "0 to 2.5V|0 to 1.25V|+/- 3.3|+/- 1.25V");
}

TEST(Sampling, UpdateRateSfCheckAndSampleCount) {
    EXPECT_EQ(UpdateRateText("45", false), "19.7874396135266");
    EXPECT_EQ(UpdateRateText("45", true), "59.3623188405797");
    EXPECT_EQ(UpdateRateText("0D", false), "105.025641025641");
    EXPECT_EQ(UpdateRateText("FF", false), "5.35424836601307");
    // The 8-bit rule first ("100" reads 0, "0D" loses its zero), then the 0D minimum.
    const std::pair<const char*, const char*> sf[] = {{"5", "0D"}, {"100", "0D"}, {"C", "0D"},
                                                      {"0D", "D"}, {"ff", "FF"},  {"45", "45"}};
    for (const auto& [typed, checked] : sf) EXPECT_EQ(CheckSF(typed), checked) << typed;

    const struct {
        const char *typed, *checked;
        std::optional<int> requested;  // nullopt: the run refuses
    } counts[] = {
        // clang-format off
        {"2500", "2000", std::nullopt}, {"0", "1", 0}, {"abc", "1", 0}, {"-5", "-5", 0},
        {"0100", "100", 100}, {"1999.5", "1999.5", 2000}, {"2000.5", "2000", 2000},
        {"2001.5", "2000", std::nullopt},
        // clang-format on
    };
    for (const auto& c : counts) {
        EXPECT_EQ(CheckNumSamples(c.typed), c.checked) << c.typed;
        EXPECT_EQ(RequestedSamples(c.typed), c.requested) << c.typed;
    }
}

TEST(RegisterBytes, BothLayouts) {
    using Byte = uint8_t (*)(const SdConfiguration&, bool);
    const auto current = [](const SdConfiguration& c, bool) { return CurrentSourceControl(c); };
    const auto dac = [](const SdConfiguration& c, bool) { return DacControlSD(c); };
    const struct {
        SdConfiguration c;
        bool is58X;
        Byte byte;
        int expected;
    } cases[] = {
        // clang-format off
        {{.PRef = 1, .PCh = 2, .PR = 7, .BUF = 1}, true, AdcPrimaryControl, 0x87},
        {{.PM = 1}, true, AdcPrimaryControl, 0x20},
        {{.PM = 1, .PRef = 2, .PCh = 3, .PR = 7}, false, AdcPrimaryControl, 0xBF},
        {{.AM = 1, .ARef = 1, .ACh = 14}, true, AdcAuxControl, 0x6E},
        {{.AM = 1, .ARef = 1, .ACh = 3}, false, AdcAuxControl, 0x78},
        {{.PON = true, .NOTCH = true, .CHOPOFF = true}, true, AdcMode, 0x68},
        {{.AON = true, .NOTCH = true, .CHOPOFF = true}, false, AdcMode, 0x10},  // no such bits
        {{.I1ON = true, .I2PIN = 1}, false, current, 0x09},
        {{.I1ON = true, .I2ON = true, .I1PIN = 1, .I2PIN = 1}, false, current, 0x0F},
        {{.DON = true, .DPIN = 1}, false, dac, 0x13},
        {{.DON = true, .DRANGE = 1}, false, dac, 0x07},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(c.byte(c.c, c.is58X), c.expected) << c.expected;
}

TEST(SdConfigurationMessage, BothLayoutsByteForByte) {
    SdConfiguration c;
    c.PRef = 1, c.PCh = 15, c.PR = 7, c.ACh = 15, c.PON = c.AON = true, c.I2PIN = 1;
    c.DACData = "FC18";
    c.registers = {"11", "22", "8000", "1234", "33", "44", "55", "66",
                   "77", "88", "99",   "0",    "1",  "AA", "F0"};
    const std::vector<int> boxes = {0x11, 0x22, 0x80, 0x00, 0x12, 0x34, 0x33, 0x44, 0x55,
                                    0x66, 0x77, 0x88, 0x99, 0,    1,    0xAA, 0xF3};
    std::vector<int> expected = {0x43, 0x07, 0x4F, 0x0F, 0x30, 0x45, 0x08, 0x02, 0xFC, 0x18};
    expected.insert(expected.end(), boxes.begin(), boxes.end());
    EXPECT_EQ(bytesOf(ConfigurationMessage(c, true)), expected);

    c.PCh = 2, c.ACh = 2, c.AON = false, c.DPIN = 1, c.DACData = "0";
    expected = {0x43, 0x67, 0x20, 0x20, 0x45, 0x08, 0x12, 0x00, 0x00};
    expected.insert(expected.end(), boxes.begin(), boxes.end());
    expected.push_back(0x00);
    EXPECT_EQ(bytesOf(ConfigurationMessage(c, false)), expected);
    c.AON = true;
    EXPECT_EQ(bytesOf(ConfigurationMessage(c, false))[3], 0x30);

    // P3 always has its two low bits set.
    c.registers.P3 = "00";
    EXPECT_EQ(bytesOf(ConfigurationMessage(c, true))[26], 0x03);
    EXPECT_EQ(bytesOf(ConfigurationMessage(c, false))[25], 0x03);
}

}  // namespace
}  // namespace kelp::sigmadelta
