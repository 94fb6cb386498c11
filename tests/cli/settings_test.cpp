#include <gtest/gtest.h>

#include <tuple>

#include "cli/sarsettings.h"
#include "cli/sdsettings.h"
#include "sar/sarconfig.h"
#include "sigmadelta/sdconfig.h"

namespace kelp::cli {
namespace {

// What --set names reach the message: each case against a configuration built by hand.
TEST(CliSettings, NamedSettingsReachTheSarMessage) {
    struct Case {
        const char* model;
        Assignments sets;
        void (*expect)(sar::SarConfiguration&);
    };
    const Case cases[] = {
        // By text, by text without its blanks and case, by position from 0.
        {"Zylo570",
         {{"ADCChan", "ADC3"}, {"ConvTime", "mclk /8"}, {"AcqTime", "3"}},
         [](sar::SarConfiguration& c) { c.channel = 3, c.adc.convTime = 2, c.adc.acqTime = 3; }},
        {"Zylo550",
         {{"ADCRef", "External"},
          {"DAC1Button", "on"},
          {"DAC1Range", "0-Vdd"},
          {"DAC1Data", "fc18"}},
         [](sar::SarConfiguration& c) {
             c.adc.reference = 1, c.dac.dac1On = true, c.dac.dac1Range = 1, c.dac1Data = "FC18";
         }},
        {"Zylo510",
         {{"T0SFR", "FFFF"}, {"P3SFR", "f0"}, {"P1_0SFR", "0"}},
         [](sar::SarConfiguration& c) {
             c.registers.T0 = "FFFF", c.registers.P3 = "F0", c.registers.P1_0 = "0";
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.model);
        SarSettings s(c.model);
        ASSERT_EQ(s.apply(c.sets), std::nullopt);
        sar::SarConfiguration expected = SarSettings(c.model).configuration();
        c.expect(expected);
        EXPECT_EQ(sar::ConfigurationMessage(s.configuration()),
                  sar::ConfigurationMessage(expected));
    }
}

TEST(CliSettings, RefusalsNameWhatIsAllowed) {
    struct Case {
        const char* model;
        Assignments sets;
        std::vector<std::string> inError;
    };
    const Case cases[] = {
        {"Zylo570", {{"ADCChannel", "1"}}, {"\"ADCChannel\"", "ADCChan", "T0SFR"}},
        {"Zylo570", {{"ADCRef", "Both"}}, {"\"Internal\" (0)", "\"External\" (1)"}},
        {"Zylo570", {{"T0SFR", "10000"}}, {"from 0 to FFFF"}},
        {"Zylo570", {{"P1_1SFR", "2"}}, {"from 0 to 1"}},
        {"Zylo570", {{"ADCButton", "maybe"}}, {"1 or 0"}},
        {"Zylo570", {{"VrefTextbox", "abc"}}, {"positive number"}},
        {"Zylo572", {{"DAC0Data", "800"}}, {"DAC0Data cannot be set", "Zylo572"}},
        {"Zylo510", {{"PWM0HSFR", "1"}}, {"PWM0HSFR cannot be set"}},
        {"Zylo520", {{"ADCChan", "6"}, {"DAC0Button", "1"}}, {"DAC0Button", "channel 6"}},
        {"Zylo530", {{"chopEnChkBox", "1"}}, {"chopEnChkBox cannot be set"}},
        {"Zylo581", {{"AuxMode", "Unipolar"}}, {"AuxMode cannot be set"}},
        {"Zylo580", {{"SF", "0C"}}, {"from D to FF"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.model) + " " + c.sets.front().first);
        const std::string model = c.model;
        const bool is58X = model.starts_with("Zylo58");
        const auto error = model == "Zylo530" || is58X ? SdSettings(model, is58X).apply(c.sets)
                                                       : SarSettings(model).apply(c.sets);
        ASSERT_TRUE(error.has_value());
        for (const std::string& part : c.inError)
            EXPECT_NE(error->find(part), std::string::npos) << *error;
    }
}

// The range list follows mode, reference and Vref whatever the order of the --set options.
TEST(CliSettings, SigmaDeltaListsFollowTheControlsBeforeThem) {
    SdSettings s("Zylo580", true);
    ASSERT_EQ(s.apply({{"PrimaryInputRange", "0 to 40mV"},
                       {"PrimaryMode", "Unipolar"},
                       {"PrimaryInputChannel", "AIN3-AIN4"},
                       {"CDBits", "0"},
                       {"AuxillaryADCButton", "1"},
                       {"SF", "ff"}}),
              std::nullopt);
    const sigmadelta::SdConfiguration c = s.configuration();
    EXPECT_EQ(std::tuple(c.PM, c.PR, c.PCh, c.AON, c.SF, s.dividerPosition(),
                         s.runSettings().PrimaryInputRangeText),
              std::tuple(1, 1, 11, true, "FF", 0, "0 to 40mV"));
    // The model's set-up: divider 3 on the 58X group, none chosen on the others.
    EXPECT_EQ(SdSettings("Zylo581", true).dividerPosition(), 1);
    EXPECT_EQ(SdSettings("Zylo560", false).dividerPosition(), 0);
}

}  // namespace
}  // namespace kelp::cli
