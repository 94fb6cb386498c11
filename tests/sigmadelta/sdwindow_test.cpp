#include "sigmadelta/sdwindow.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <memory>

#include "link/link.h"
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
    const struct {
        const char* model;
        const char* lists;  // PrimaryInputChannel|AuxInputChannel|DACPin|CDBits|PLLCONSFR
        std::vector<std::string> commands;  // each sent at 57600 baud
        const char* speed;                  // of every later run
        bool options, auxAndDac, pwm;  // buffer and chop choices, aux and DAC switches, PWM box
    } cases[] = {
        // clang-format off
        {"Zylo530", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", false, true, false},
        {"Zylo540", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", false, true, false},
        {"Zylo560", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", false, true, true},
        {"Zylo561", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", false, true, true},
        {"Zylo580", "AINCOM-AINCOM|AINCOM-AINCOM|14|3|03", {"D0", "D3"}, "9600", true, true, true},
        {"Zylo581", "AINCOM-AINCOM|Temp Sensor|14|3|03", {"D0", "D3"}, "9600", true, false, true},
        {"Zylo582", "AINCOM-AINCOM|Temp Sensor|Pin 3|3|03", {"D0", "D3"}, "9600", true, false, true},
        // clang-format on
    };
    for (const auto& c : cases) {
        world.port.writes.clear();
        world.port.baudAtWrite.clear();
        state = SdLinkState{};  // as at program start: one window per program run
        const auto w = open(c.model);
        SCOPED_TRACE(c.model);
        EXPECT_EQ(w->windowTitle().toStdString(), std::string("KELP - ") + c.model);
        EXPECT_EQ(texts(w.get(), "PrimaryInputChannel|AuxInputChannel|DACPin|CDBits|PLLCONSFR"),
                  c.lists);
        EXPECT_EQ(child<QComboBox>(w.get(), "PrimaryInputChannel")->count(), c.options ? 16 : 4);
        EXPECT_EQ(world.port.writes, c.commands);
        EXPECT_EQ(world.port.baudAtWrite, std::vector<int>(c.commands.size(), 57600));
        EXPECT_EQ(state.CurrentClockDivider, c.commands.back()[1] - '0');
        EXPECT_EQ(state.LinkSettings, c.speed + std::string(",N,8,1"));
        EXPECT_FALSE(world.port.isOpen());
        EXPECT_EQ(texts(w.get(), "PrimaryInputRange|AuxInputRange|ConversionRate|NumSamples|SF"),
                  "+/- 2.56V|+/- 1.25V|19.7874396135266|500|45");
        for (const char* name : {"bufCfgCBox", "chopEnChkBox", "Label12", "Label22", "Label28"})
            EXPECT_EQ(enabled(w, name), c.options) << name;
        EXPECT_TRUE(enabled(w, "notchEnChkBox"));  // the SF choice enables it on every model
        EXPECT_EQ(enabled(w, "AuxillaryADCButton"), c.auxAndDac);
        EXPECT_EQ(enabled(w, "DACButton"), c.auxAndDac);
        EXPECT_EQ(enabled(w, "PWMCONSFR"), c.pwm);
        for (const char* name :
             {"AuxMode", "AuxInputRange", "DACPin", "DACData", "IEXC1Pin", "SCONSFR", "RCAP2LSFR"})
            EXPECT_FALSE(enabled(w, name)) << name;
        EXPECT_TRUE(enabled(w, "PLLCONSFR"));
        EXPECT_FALSE(child<QWidget>(w.get(), "AuxGraph")->isVisibleTo(w.get()));
    }
}

TEST_F(SdWindowTest, ReactionsToTheUsersChoices) {
    const auto w = open("Zylo580");
    auto* ranges = child<QComboBox>(w.get(), "PrimaryInputRange");
    choose(ranges, 3);
    choose(child<QComboBox>(w.get(), "PrimaryMode"), 1);  // the chosen position survives
    EXPECT_EQ(ranges->itemText(0).toStdString() + "|" + texts(w.get(), "PrimaryInputRange"),
              "0 to 20mV|0 to 160mV");
    choose(child<QComboBox>(w.get(), "AuxReference"), 1);
    child<QLineEdit>(w.get(), "VrefTextbox")->setText("3.3");
    EXPECT_EQ(texts(w.get(), "PrimaryInputRange|AuxInputRange"), "0 to 211.2mV|+/- 3.3");

    auto* sf = child<QComboBox>(w.get(), "SF");
    child<QCheckBox>(w.get(), "chopEnChkBox")->setChecked(true);
    EXPECT_EQ(texts(w.get(), "ConversionRate"), "59.3623188405797");
    choose(sf, 2);  // a new SF shows the chopping-on figure even with chopping off
    EXPECT_EQ(texts(w.get(), "ConversionRate"), "5.35424836601307");
    choose(sf, 0);
    EXPECT_FALSE(enabled(w, "notchEnChkBox"));
    sf->setEditText("100");
    w->SF_LostFocus();
    EXPECT_EQ(texts(w.get(), "SF|ConversionRate"), "0D|105.025641025641");
    child<QComboBox>(w.get(), "NumSamples")->setEditText("2500");
    w->NumSamples_LostFocus();
    EXPECT_EQ(texts(w.get(), "NumSamples"), "2000");

    child<QCheckBox>(w.get(), "AuxillaryADCButton")->setChecked(true);
    EXPECT_TRUE(child<QWidget>(w.get(), "AuxGraph")->isVisibleTo(w.get()));
    EXPECT_TRUE(enabled(w, "AuxMode"));
    child<QCheckBox>(w.get(), "DACButton")->setChecked(true);
    EXPECT_TRUE(enabled(w, "DACData"));
    child<QCheckBox>(w.get(), "PrimaryADCButton")->setChecked(false);
    EXPECT_FALSE(enabled(w, "PrimaryInputRange"));
}

// Positions 0..3 are the dividers 0, 3, 2, 1; each choice leaves at the old divider's speed.
TEST_F(SdWindowTest, ADividerChoiceSendsAtOnce) {
    const auto w = open("Zylo560");
    world.port.writes.clear();
    world.port.baudAtWrite.clear();
    std::string pllcon;
    for (const int position : {1, 1, 0, 2, 3}) {
        choose(child<QComboBox>(w.get(), "CDBits"), position);
        pllcon += texts(w.get(), "PLLCONSFR") + " ";
    }
    EXPECT_EQ(world.port.writes, (std::vector<std::string>{"D3", "D3", "D0", "D2", "D1"}));
    EXPECT_EQ(world.port.baudAtWrite, (std::vector<int>{57600, 9600, 9600, 57600, 57600}));
    EXPECT_EQ(pllcon, "03 03 00 02 01 ");
    EXPECT_EQ(state.LinkSettings, "57600,N,8,1");
    EXPECT_FALSE(world.port.isOpen());
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
    world.port.writes.clear();
    child<QPushButton>(w.get(), "RunButton")->click();
    ASSERT_EQ(world.port.writes.size(), 3u);  // the message, "R", "S": no divider command
    EXPECT_EQ(world.port.writes[1] + world.port.writes[2], "RS");
    EXPECT_EQ(cd->currentIndex(), 0);
    EXPECT_EQ(state.CurrentClockDivider, 0);
    EXPECT_EQ(run.SampleCount, 2);
}

}  // namespace
}  // namespace kelp::sigmadelta
