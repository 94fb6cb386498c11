#include "sar/sarconfig.h"

#include <gtest/gtest.h>

namespace kelp::sar {
namespace {

TEST(ConfigurationBytes, AdcControl1PerModelAndDacControl) {
    const struct {
        const char* model;
        AdcSettings adc;  // on, reference, divider, acquisition
        int expected;
    } adcCases[] = {
        // Zylo510's enable sits one bit lower and its reference does not count.
        {"Zylo510", {true, 0, 2, 0}, 0x60},  {"Zylo550", {true, 0, 2, 0}, 0xA0},
        {"Zylo510", {true, 1, 3, 1}, 0x74},  {"Zylo570", {true, 1, 2, 1}, 0xE4},
        {"Zylo510", {false, 1, 0, 0}, 0x00}, {"Zylo570", {false, 1, 0, 0}, 0x40},
    };
    for (const auto& c : adcCases) EXPECT_EQ(AdcControl1(c.model, c.adc), c.expected) << c.model;

    // A range counts only for a DAC that is on.
    const std::pair<DacSettings, int> dacCases[] = {
        {{false, 0, false, 0}, 0x04}, {{true, 0, false, 0}, 0x0D}, {{true, 1, false, 0}, 0x2D},
        {{true, 1, true, 1}, 0x7F},   {{false, 1, true, 1}, 0x56}, {{false, 1, false, 1}, 0x04}};
    for (const auto& [dac, expected] : dacCases) EXPECT_EQ(DacControl(dac), expected) << expected;
}

// The divider is read from each form of entry of both master clocks' lists; the window's
// tests hold two more.
TEST(TimingFigures, ConversionTimeAndFrequency) {
    // Conversion time and frequency at 1 and at 4 acquisition clocks.
    const struct {
        const char *clock, *entry, *figures;
    } cases[] = {
        {"11.0592", "Mclk /1 ", "1.537 650.618087182824 1.808 553.097345132743"},
        {"11.0592", "Mclk /32", "49.19 20.329335230738 57.87 17.2801105927078"},
        {"16.777", "16.77/2 ", "2.027 493.339911198816 2.384 419.463087248322"},
        {"16.777", "16.77/16", "16.213 61.6788996484303 19.074 52.4273880675265"},
    };
    for (const auto& c : cases) {
        std::string shown;
        for (int acq : {0, 3}) {
            const auto f = ComputeTimingFigures(acq, c.clock, c.entry);
            ASSERT_TRUE(f) << c.entry;
            shown += (acq ? " " : "") + f->conversionTimeText + " " + f->frequencyText;
        }
        EXPECT_EQ(shown, c.figures) << c.clock << " " << c.entry;
    }
}

TEST(NumSamples, CheckedTextAndRequestedCount) {
    const struct {
        const char *typed, *checked;
        int requested;
    } cases[] = {
        // clang-format off
        {"12000", "10000", 10000}, {"abc", "1", 0}, {"0", "1", 0}, {"-5", "-5", 0},
        {"0250abc", "250", 250}, {"2500.5", "2500.5", 2500}, {"2501.5", "2501.5", 2502},
        {"1e3", "1000", 1000}, {"2.5e4", "10000", 10000}, {"0.5", "0.5", 0},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CheckNumSamples(c.typed), c.checked) << c.typed;
        EXPECT_EQ(RequestedSamples(c.typed), c.requested) << c.typed;
    }
}

}  // namespace
}  // namespace kelp::sar
