#include "sigmadelta/sdconfig.h"

#include <gtest/gtest.h>

#include <tuple>

namespace kelp::sigmadelta {
namespace {

TEST(RangeTexts, PrimaryEntriesAndAuxText) {
    const std::tuple<int, int, const char*, const char*> cases[] = {
        {0, 1, "2.5V", "+/- 20mV|+/- 640mV|+/- 2.56V"},
        {1, 2, "2.5V", "0 to 20mV|0 to 640mV|0 to 2.56V"},
        {0, 0, "3.3", "+/- 10mV|+/- 320mV|+/- 1.28V"},  // internal: the text does not count
        {0, 1, "V", "+/- 0mV|+/- 0mV|+/- 0mV"},
    };
    for (const auto& [pm, pref, vref, expected] : cases) {
        const auto e = PrimaryRangeEntries(pm, pref, vref);
        EXPECT_EQ(e[0] + "|" + e[5] + "|" + e[7], expected);
    }
    EXPECT_EQ(AuxRangeText(1, 1, "2.5V") + "|" + AuxRangeText(1, 0, "2.5V"),
              "0 to 2.5V|0 to 1.25V");
}

// The window's tests hold the update rates and the texts it rewrites; here the other cases.
TEST(Sampling, SfCheckAndSampleCount) {
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
    const struct {
        SdConfiguration c;
        bool is58X;
        uint8_t (*byte)(const SdConfiguration&, bool);
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
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(c.byte(c.c, c.is58X), c.expected) << c.expected;
    EXPECT_EQ(CurrentSourceControl({.I1ON = true, .I2PIN = 1}), 0x09);
    EXPECT_EQ(CurrentSourceControl({.I1ON = true, .I2ON = true, .I1PIN = 1, .I2PIN = 1}), 0x0F);
    EXPECT_EQ(DacControlSD({.DON = true, .DPIN = 1}), 0x13);
    EXPECT_EQ(DacControlSD({.DON = true, .DRANGE = 1}), 0x07);
}

TEST(SdConfigurationMessage, BothLayoutsByteForByte) {
    SdConfiguration c;
    c.PRef = 1, c.PCh = 15, c.PR = 7, c.ACh = 15, c.PON = c.AON = true, c.I2PIN = 1;
    c.DACData = "FC18";
    c.registers = {"11", "22", "8000", "1234", "33", "44", "55", "66",
                   "77", "88", "99",   "0",    "1",  "AA", "F0"};
    // P3 always has its two low bits set.
    const std::string boxes("\x11\x22\x80\x00\x12\x34\x33\x44\x55\x66\x77\x88\x99\x00\x01\xAA\xF3",
                            17);
    EXPECT_EQ(ConfigurationMessage(c, true), "C\x07\x4F\x0F\x30\x45\x08\x02\xFC\x18" + boxes);
    c.PCh = 2, c.ACh = 2, c.AON = false, c.DPIN = 1, c.DACData = "0";
    EXPECT_EQ(ConfigurationMessage(c, false),
              std::string("C\x67\x20\x20\x45\x08\x12\x00\x00", 9) + boxes + '\0');
}

}  // namespace
}  // namespace kelp::sigmadelta
