#include "sigmadelta/sdwindow.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <memory>

#include "analysis/sdfigures.h"
#include "link/link.h"
#include "link/registerpanel.h"
#include "platform/chartpanel.h"
#include "platform/recordingmessagesink.h"
#include "sigmadelta/sdrun.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp::sigmadelta {
namespace {

using testing::child;
using testing::choose;
using testing::texts;

class SdWindowTest : public ::testing::Test {
protected:
    std::unique_ptr<SdWindow> open(const std::string& model) {
        const bool is58X = model.rfind("Zylo58", 0) == 0;
        auto w = std::make_unique<SdWindow>(link, run, results, state, messages);
        w->load(model, is58X);
        return w;
    }
    bool enabled(const std::unique_ptr<SdWindow>& w, const char* name) {
        return child<QWidget>(w.get(), name)->isEnabled();
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState run;
    SdResults results;
    SdLinkState state;
    platform::RecordingMessageSink messages;
};

TEST_F(SdWindowTest, SetUpOfEveryModel) {
    struct Case {
        const char* model;
        const char* channels;  // PrimaryInputChannel|AuxInputChannel|DACPin|CDBits|PLLCONSFR
        std::vector<std::string> commands;
        std::vector<int> sentAt;
        int divider;
        const char* linkSettings;
        bool options;  // buffer, chop and notch choices usable
        bool auxAndDac;
        bool pwm;
    };
    const Case cases[] = {
        {"Zylo530",
         "AIN2-AIN2|Temp Sensor|Pin 3|0|00",
         {"D0"},
         {57600},
         0,
         "57600,N,8,1",
         false,
         true,
         false},
        {"Zylo540",
         "AIN2-AIN2|Temp Sensor|Pin 3|0|00",
         {"D0"},
         {57600},
         0,
         "57600,N,8,1",
         false,
         true,
         false},
        {"Zylo560",
         "AIN2-AIN2|Temp Sensor|Pin 3|0|00",
         {"D0"},
         {57600},
         0,
         "57600,N,8,1",
         false,
         true,
         true},
        {"Zylo561",
         "AIN2-AIN2|Temp Sensor|Pin 3|0|00",
         {"D0"},
         {57600},
         0,
         "57600,N,8,1",
         false,
         true,
         true},
        {"Zylo580",
         "AINCOM-AINCOM|AINCOM-AINCOM|14|3|03",
         {"D0", "D3"},
         {57600, 57600},
         3,
         "9600,N,8,1",
         true,
         true,
         true},
        {"Zylo581",
         "AINCOM-AINCOM|Temp Sensor|14|3|03",
         {"D0", "D3"},
         {57600, 57600},
         3,
         "9600,N,8,1",
         true,
         false,
         true},
        {"Zylo582",
         "AINCOM-AINCOM|Temp Sensor|Pin 3|3|03",
         {"D0", "D3"},
         {57600, 57600},
         3,
         "9600,N,8,1",
         true,
         false,
         true},
    };
    for (const Case& c : cases) {
        world.port.writes.clear();
        world.port.baudAtWrite.clear();
        state = SdLinkState{};  // as at program start: one window per program run
        const auto w = open(c.model);
        SCOPED_TRACE(c.model);
        EXPECT_EQ(w->windowTitle().toStdString(), std::string("KELP - ") + c.model);
        EXPECT_EQ(texts(w.get(), "PrimaryInputChannel|AuxInputChannel|DACPin|CDBits|PLLCONSFR"),
                  c.channels);
        EXPECT_EQ(world.port.writes, c.commands);
        EXPECT_EQ(world.port.baudAtWrite, c.sentAt);
        EXPECT_EQ(state.CurrentClockDivider, c.divider);
        EXPECT_EQ(state.LinkSettings, c.linkSettings);
        EXPECT_FALSE(world.port.isOpen());
        EXPECT_EQ(texts(w.get(), "PrimaryInputRange|AuxInputRange|ConversionRate|NumSamples|SF"),
                  "+/- 2.56V|+/- 1.25V|19.7874396135266|500|45");
        for (const char* name : {"bufCfgCBox", "chopEnChkBox", "Label12", "Label22", "Label28"})
            EXPECT_EQ(enabled(w, name), c.options) << name;
        EXPECT_TRUE(enabled(w, "notchEnChkBox"));  // the SF choice enables it on every model
        EXPECT_EQ(enabled(w, "AuxillaryADCButton"), c.auxAndDac);
        EXPECT_EQ(enabled(w, "DACButton"), c.auxAndDac);
        EXPECT_EQ(enabled(w, "PWMCONSFR"), c.pwm);
        EXPECT_TRUE(enabled(w, "PWMCONSFRHex"));
        for (const char* name :
             {"AuxMode", "AuxInputRange", "DACPin", "DACData", "IEXC1Pin", "SCONSFR", "RCAP2LSFR"})
            EXPECT_FALSE(enabled(w, name)) << name;
        EXPECT_TRUE(enabled(w, "PLLCONSFR"));
        EXPECT_FALSE(child<QWidget>(w.get(), "AuxGraph")->isVisibleTo(w.get()));
        EXPECT_FALSE(child<QPushButton>(w.get(), "StopButton")->isVisibleTo(w.get()));
    }
}

TEST_F(SdWindowTest, RangeTextsFollowModeReferenceAndVref) {
    const auto w = open("Zylo560");
    auto* ranges = child<QComboBox>(w.get(), "PrimaryInputRange");
    choose(ranges, 3);
    choose(child<QComboBox>(w.get(), "PrimaryMode"), 1);
    EXPECT_EQ(ranges->itemText(0).toStdString(), "0 to 20mV");
    EXPECT_EQ(ranges->currentIndex(), 3);  // the chosen position survives the rebuild
    choose(child<QComboBox>(w.get(), "PrimaryMode"), 0);
    child<QLineEdit>(w.get(), "VrefTextbox")->setText("3.3");
    EXPECT_EQ(ranges->itemText(7).toStdString(), "+/- 3.3792V");
    choose(child<QComboBox>(w.get(), "AuxReference"), 1);
    EXPECT_EQ(texts(w.get(), "AuxInputRange"), "+/- 3.3");
    choose(child<QComboBox>(w.get(), "PrimaryReference"), 0);
    EXPECT_EQ(ranges->itemText(7).toStdString(), "+/- 1.28V");
}

TEST_F(SdWindowTest, SamplingChecksAndUpdateRate) {
    const auto w = open("Zylo580");
    auto* sf = child<QComboBox>(w.get(), "SF");
    auto* chop = child<QCheckBox>(w.get(), "chopEnChkBox");
    chop->setChecked(true);
    EXPECT_EQ(texts(w.get(), "ConversionRate"), "59.3623188405797");
    choose(sf, 2);  // a new SF shows the chopping-on figure even with chopping off
    EXPECT_EQ(texts(w.get(), "ConversionRate"), "5.35424836601307");
    choose(sf, 0);
    EXPECT_FALSE(child<QWidget>(w.get(), "notchEnChkBox")->isEnabled());
    sf->setEditText("100");
    w->SF_LostFocus();
    EXPECT_EQ(texts(w.get(), "SF|ConversionRate"), "0D|105.025641025641");
    auto* count = child<QComboBox>(w.get(), "NumSamples");
    for (const auto& [typed, shown] : std::vector<std::pair<const char*, const char*>>{
             {"2500", "2000"}, {"abc", "1"}, {"-5", "-5"}}) {
        count->setEditText(typed);
        w->NumSamples_LostFocus();
        EXPECT_EQ(count->currentText().toStdString(), shown) << typed;
    }
}

TEST_F(SdWindowTest, SwitchesEnableTheirControlsAndTheAuxiliaryChart) {
    const auto w = open("Zylo560");
    child<QCheckBox>(w.get(), "AuxillaryADCButton")->setChecked(true);
    EXPECT_TRUE(child<QWidget>(w.get(), "AuxGraph")->isVisibleTo(w.get()));
    EXPECT_TRUE(child<QWidget>(w.get(), "AuxMode")->isEnabled());
    child<QCheckBox>(w.get(), "DACButton")->setChecked(true);
    EXPECT_TRUE(child<QWidget>(w.get(), "DACData")->isEnabled());
    child<QLineEdit>(w.get(), "DACData")->setText("fffff");
    EXPECT_EQ(texts(w.get(), "DACData"), "0");
    child<QCheckBox>(w.get(), "PrimaryADCButton")->setChecked(false);
    EXPECT_FALSE(child<QWidget>(w.get(), "PrimaryInputRange")->isEnabled());
}

TEST_F(SdWindowTest, ADividerChoiceSendsAtOnceAndTheNextRunUsesItsSpeed) {
    const auto w = open("Zylo560");
    world.port.writes.clear();
    world.port.baudAtWrite.clear();
    auto* cd = child<QComboBox>(w.get(), "CDBits");
    choose(cd, 1);  // divider 3
    choose(cd, 1);  // the same again is sent again
    choose(cd, 0);
    EXPECT_EQ(world.port.writes, (std::vector<std::string>{"D3", "D3", "D0"}));
    EXPECT_EQ(world.port.baudAtWrite, (std::vector<int>{57600, 9600, 9600}));
    EXPECT_EQ(texts(w.get(), "PLLCONSFR"), "00");
    EXPECT_EQ(state.LinkSettings, "57600,N,8,1");
}

TEST_F(SdWindowTest, ADividerChoiceDuringARunIsRefused) {
    const auto w = open("Zylo560");
    auto* cd = child<QComboBox>(w.get(), "CDBits");
    child<QComboBox>(w.get(), "NumSamples")->setEditText("2");
    // A frame for the first sample, then a divider choice while the second is awaited.
    world.port.onWrite = [this](const std::string& block) {
        if (block == "R") world.deliverAfter(5, "\r800000800000");
    };
    world.actAt(world.now + 300, [cd] { choose(cd, 1); });
    const size_t before = world.port.writes.size();
    child<QPushButton>(w.get(), "RunButton")->click();
    std::vector<std::string> sent(world.port.writes.begin() + static_cast<long>(before),
                                  world.port.writes.end());
    ASSERT_EQ(sent.size(), 3u);  // the message, "R", "S": no divider command
    EXPECT_EQ(sent[1], "R");
    EXPECT_EQ(sent[2], "S");
    EXPECT_EQ(cd->currentIndex(), 0);
    EXPECT_EQ(state.CurrentClockDivider, 0);
    EXPECT_EQ(run.SampleCount, 2);
}

}  // namespace
}  // namespace kelp::sigmadelta
