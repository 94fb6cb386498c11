#include "sigmadelta/sdsetup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "sigmadelta/clockdivider.h"

namespace kelp::sigmadelta {
namespace {

TEST(SdSetup, The58XChannelLists) {
    const auto primary = Primary58XChannels();
    const auto aux = Aux58XChannels();
    ASSERT_EQ(primary.size(), 16u);
    ASSERT_EQ(aux.size(), 16u);
    for (size_t p = 0; p < 10; ++p)
        EXPECT_EQ(primary[p], "AIN" + std::to_string(p + 1) + "-AINCOM");
    for (size_t p = 0; p < 16; ++p) EXPECT_EQ(primary[p] == aux[p], p != 14) << p;
    EXPECT_EQ(std::string(primary[14]) + "|" + std::string(aux[14]), "AIN9-AIN10|Temp Sens");
}

TEST(SdSetup, ModelDepartures) {
    const struct {
        const char* model;
        int listsReplaced;
        size_t dacPins;
        std::string_view gone;  // one of the controls disabled, "" for none
        int divider;            // chosen last
    } cases[] = {
        {"Zylo580", 2, 2, "", 3},         {"Zylo581", 1, 2, "AuxillaryADCButton", 3},
        {"Zylo582", 1, 0, "DAC", 3},      {"Zylo530", 0, 0, "PWM1LSFR", 0},
        {"Zylo540", 0, 0, "PWMFrame", 0}, {"Zylo560", 0, 0, "", 0},
        {"Zylo561", 0, 0, "", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        const ModelSetup* s = FindModelSetup(c.model);
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(!s->primaryChannels.empty() + !s->auxChannels.empty(), c.listsReplaced);
        EXPECT_EQ(s->dacPins.size(), c.dacPins);
        EXPECT_EQ(s->disabled.empty(), c.gone.empty());
        EXPECT_EQ(std::ranges::count(s->disabled, c.gone), c.gone.empty() ? 0 : 1);
        const CDBitsEntry* chosen = CDBitsAt(s->cdBitsPosition);
        EXPECT_EQ(chosen ? chosen->divider : 0, c.divider);
        // The sampling options come back with divider 3, on the 58X group.
        EXPECT_EQ(s->enabledAgain.size(), c.divider == 3 ? SamplingOptionControls().size() : 0);
        if (c.listsReplaced) {
            EXPECT_EQ(s->primaryChannels[s->channelSelection], "AINCOM-AINCOM");
        }
        if (c.dacPins) {
            EXPECT_EQ(s->dacPins[s->dacPinSelection], "14");
        }
    }
    EXPECT_EQ(FindModelSetup("zylo580"), nullptr);
}

}  // namespace
}  // namespace kelp::sigmadelta
