#include "sar/sarconfig.h"

#include <gtest/gtest.h>

namespace kelp::sar {
namespace {

std::vector<int> bytesOf(const std::string& message) {
    std::vector<int> out;
    for (unsigned char c : message) out.push_back(c);
    return out;
}

TEST(AdcControl1, EncodesTheModelsLayout) {
    const struct {
        const char* model;
        AdcSettings adc;  // on, reference, divider, acquisition
        int expected;
    } cases[] = {
        // clang-format off
        {"Zylo510", {true, 0, 2, 0}, 0x60}, {"Zylo550", {true, 0, 2, 0}, 0xA0},
        // The reference does not count on Zylo510, whose enable sits one bit lower.
        {"Zylo510", {true, 1, 3, 1}, 0x74}, {"Zylo570", {true, 1, 2, 1}, 0xE4},
        {"Zylo510", {false, 1, 0, 0}, 0x00}, {"Zylo570", {false, 1, 0, 0}, 0x40},
        // No selection counts as the first entry; an unknown model as most models.
        {"Zylo570", {true, -1, -1, -1}, 0x80}, {"zylo510", {true, 0, 0, 0}, 0x80},
        // clang-format on
    };
    for (const auto& c : cases) EXPECT_EQ(AdcControl1(c.model, c.adc), c.expected) << c.model;
}

TEST(DacControl, CountsARangeOnlyForADacThatIsOn) {
    const struct {
        DacSettings dac;  // DAC0 on, range, DAC1 on, range
        int expected;
    } cases[] = {
        {{false, 0, false, 0}, 0x04}, {{true, 0, false, 0}, 0x0D}, {{true, 1, false, 0}, 0x2D},
        {{true, 1, true, 1}, 0x7F},   {{false, 1, true, 1}, 0x56}, {{false, 1, false, 1}, 0x04},
        {{false, 0, true, 0}, 0x16},
    };
    for (const auto& c : cases) EXPECT_EQ(DacControl(c.dac), c.expected) << c.expected;
}

TEST(ConfigurationMessage, EveryFieldAtItsOffset) {
    SarConfiguration c;
    c.model = "Zylo510";
    c.adc = {true, 1, 3, 1};
    c.channel = 8;
    c.dac = {true, 1, true, 0};
    c.dac0Data = "FC18";
    c.dac1Data = "FFFF";
    c.registers = {"11", "22", "8000", "1234", "33", "44", "55", "66",
                   "77", "88", "99",   "0",    "1",  "AA", "F0"};
    const std::vector<int> expected = {'C',  0x74, 8,    0,    0x3F, 0xFC, 0x18, 0xFF, 0xFF,
                                       0x11, 0x22, 0x80, 0x00, 0x12, 0x34, 0x33, 0x44, 0x55,
                                       0x66, 0x77, 0x88, 0x99, 0,    1,    0xAA, 0xF3};
    EXPECT_EQ(bytesOf(ConfigurationMessage(c)), expected);

    // A DAC that is off, or greyed on its model, still sends what its box holds.
    c.dac = {false, 1, false, 1};
    c.dac0Data = "800";
    const auto bytes = bytesOf(ConfigurationMessage(c));
    EXPECT_EQ((std::vector<int>{bytes[4], bytes[5], bytes[6]}), (std::vector<int>{4, 8, 0}));
}

// Each kind of box goes through its own rule (the rules' own cases are in the link tests).
TEST(ConfigurationMessage, BoxTextsBecomeBytesByTheBoxRules) {
    const struct {
        const char* text;
        int p3, tcon, p1_0, t0High, t0Low;  // offsets 25, 9, 22, 11, 12
    } cases[] = {
        {"00", 0x03, 0x00, 0, 0x00, 0x00},       {"F0", 0xF3, 0xF0, 1, 0x00, 0xF0},
        {"1FF", 0x03, 0x00, 1, 0x01, 0xFF},      {"FC18", 0x03, 0x00, 1, 0xFC, 0x18},
        {"FFFFFFFF", 0x03, 0x00, 1, 0xFF, 0xFF}, {"1FFFF", 0x03, 0x00, 1, 0x00, 0x00},
    };
    for (const auto& c : cases) {
        SarConfiguration config;
        config.registers.P3 = config.registers.TCON = config.registers.P1_0 = c.text;
        config.registers.T0 = c.text;
        const auto b = bytesOf(ConfigurationMessage(config));
        ASSERT_EQ(b.size(), kConfigurationMessageLength) << c.text;
        EXPECT_EQ((std::vector<int>{b[25], b[9], b[22], b[11], b[12]}),
                  (std::vector<int>{c.p3, c.tcon, c.p1_0, c.t0High, c.t0Low}))
            << c.text;
    }
}

TEST(TimingFigures, TheTableOfBothMasterClocks) {
    const struct {
        const char* masterClock;
        const char* entry;
        const char *time1, *frequency1;  // 1 acquisition clock (position 0)
        const char *time4, *frequency4;  // 4 acquisition clocks (position 3)
    } cases[] = {
        {"11.0592", "Mclk /1 ", "1.537", "650.618087182824", "1.808", "553.097345132743"},
        {"11.0592", "Mclk /2 ", "3.074", "325.309043591412", "3.617", "276.472214542439"},
        {"11.0592", "Mclk /4 ", "6.149", "162.628069604814", "7.234", "138.236107271219"},
        {"11.0592", "Mclk /8 ", "12.297", "81.3206473123526", "14.468", "69.1180536356096"},
        {"11.0592", "Mclk /16", "24.595", "40.6586704614759", "28.935", "34.5602211854156"},
        {"11.0592", "Mclk /32", "49.19", "20.329335230738", "57.87", "17.2801105927078"},
        {"16.777", "16.77/2 ", "2.027", "493.339911198816", "2.384", "419.463087248322"},
        {"16.777", "16.77/4 ", "4.053", "246.730816679003", "4.768", "209.731543624161"},
        {"16.777", "16.77/8 ", "8.106", "123.365408339502", "9.537", "104.854776135053"},
        {"16.777", "16.77/16", "16.213", "61.6788996484303", "19.074", "52.4273880675265"},
        {"16.777", "16.77/32", "32.425", "30.840400925212", "38.147", "26.2143812095315"},
    };
    for (const auto& c : cases) {
        const auto one = ComputeTimingFigures(0, c.masterClock, c.entry);
        const auto four = ComputeTimingFigures(3, c.masterClock, c.entry);
        ASSERT_TRUE(one && four) << c.masterClock << " " << c.entry;
        EXPECT_EQ(one->conversionTimeText, c.time1) << c.masterClock << " " << c.entry;
        EXPECT_EQ(one->frequencyText, c.frequency1) << c.masterClock << " " << c.entry;
        EXPECT_EQ(four->conversionTimeText, c.time4) << c.masterClock << " " << c.entry;
        EXPECT_EQ(four->frequencyText, c.frequency4) << c.masterClock << " " << c.entry;
    }
}

TEST(TimingFigures, NothingToShowWithoutAClockOrDivider) {
    for (const char* clock : {"", "0", "abc", "-11.0592", "1e300"})
        EXPECT_FALSE(ComputeTimingFigures(0, clock, "Mclk /4 ").has_value()) << clock;
    for (const char* entry : {"", "Mclk /", "Mclk /xy", "Mclk /-4"})
        EXPECT_FALSE(ComputeTimingFigures(0, "11.0592", entry).has_value()) << entry;
    EXPECT_EQ(ComputeTimingFigures(0, "11.0592 MHz", "Mclk /4 ")->conversionTimeText, "6.149");
}

TEST(NumSamples, CheckedTextAndRequestedCount) {
    const struct {
        const char* typed;
        const char* checked;
        int requested;
    } cases[] = {
        // clang-format off
        {"4000", "4000", 4000}, {"10000", "10000", 10000}, {"12000", "10000", 10000},
        {"abc", "1", 0}, {"0", "1", 0}, {"", "1", 0}, {"-5", "-5", 0}, {"250abc", "250", 250},
        {"0250", "250", 250}, {"2500.5", "2500.5", 2500}, {"2501.5", "2501.5", 2502},
        {"10000.5", "10000", 10000}, {"0.5", "0.5", 0}, {"1e3", "1000", 1000},
        {"1e20", "10000", 10000},
        // clang-format on
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CheckNumSamples(c.typed), c.checked) << c.typed;
        EXPECT_EQ(RequestedSamples(c.typed), c.requested) << c.typed;
    }
}

}  // namespace
}  // namespace kelp::sar
