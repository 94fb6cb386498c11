#include "sigmadelta/sdwindow.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <memory>

#include "link/link.h"
#include "platform/recordingmessagesink.h"
#include "sigmadelta/sdrun.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp::sigmadelta {
namespace {

using testing::choose;
using testing::texts;

class SdWindowTest : public ::testing::Test {
protected:
    void open(const std::string& model) {
        w = std::make_unique<SdWindow>(link, run, results, state, messages);
        world.port.writes.clear(), world.port.baudAtWrite.clear();
        w->load(model, model.starts_with("Zylo58"));
    }
    template <class W = QWidget>
    W* get(const char* name) {
        return testing::child<W>(w.get(), name);
    }
    // '1' for each named control that is enabled, '0' for each that is not.
    std::string enabled(const char* names) {
        std::string out;
        for (const QString& name : QString(names).split('|'))
            out += get(qPrintable(name))->isEnabled() ? '1' : '0';
        return out;
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState run;
    SdResults results;
    SdLinkState state;
    platform::RecordingMessageSink messages;
    std::unique_ptr<SdWindow> w;
};

TEST_F(SdWindowTest, SetUpOfEveryModel) {
    const struct {
        const char* model;
        const char* lists;  // PrimaryInputChannel|AuxInputChannel|DACPin|CDBits|PLLCONSFR
        std::vector<std::string> commands;  // each sent at 57600 baud
        const char* speed;                  // of every later run
        const char* enabled;  // buffer and chop choices (five), aux and DAC switches, PWM box
    } cases[] = {
        // clang-format off
        {"Zylo530", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", "00000110"},
        {"Zylo540", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", "00000110"},
        {"Zylo560", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", "00000111"},
        {"Zylo561", "AIN2-AIN2|Temp Sensor|Pin 3|0|00", {"D0"}, "57600", "00000111"},
        {"Zylo580", "AINCOM-AINCOM|AINCOM-AINCOM|14|3|03", {"D0", "D3"}, "9600", "11111111"},
        {"Zylo581", "AINCOM-AINCOM|Temp Sensor|14|3|03", {"D0", "D3"}, "9600", "11111001"},
        {"Zylo582", "AINCOM-AINCOM|Temp Sensor|Pin 3|3|03", {"D0", "D3"}, "9600", "11111001"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        state = SdLinkState{};  // as at program start: one window per program run
        open(c.model);
        EXPECT_EQ(w->windowTitle().toStdString(), std::string("KELP - ") + c.model);
        EXPECT_EQ(texts(w.get(),
                        "PrimaryInputChannel|AuxInputChannel|DACPin|CDBits|PLLCONSFR|"
                        "PrimaryInputRange|AuxInputRange|ConversionRate|NumSamples|SF"),
                  c.lists + std::string("|+/- 2.56V|+/- 1.25V|19.7874396135266|500|45"));
        EXPECT_EQ(world.port.writes, c.commands);
        EXPECT_EQ(world.port.baudAtWrite, std::vector<int>(c.commands.size(), 57600));
        EXPECT_EQ(state.CurrentClockDivider, c.commands.back()[1] - '0');
        EXPECT_EQ(state.LinkSettings, c.speed + std::string(",N,8,1"));
        EXPECT_FALSE(world.port.isOpen());
        // The SF choice enables the notch choice on every model; the switches' own boxes wait.
        EXPECT_EQ(enabled("bufCfgCBox|chopEnChkBox|Label12|Label22|Label28|AuxillaryADCButton|"
                          "DACButton|PWMCONSFR|notchEnChkBox|PLLCONSFR|AuxMode|AuxInputRange|"
                          "DACPin|DACData|IEXC1Pin|SCONSFR|RCAP2LSFR"),
                  c.enabled + std::string("110000000"));
        EXPECT_FALSE(get("AuxGraph")->isVisibleTo(w.get()));
    }
}

TEST_F(SdWindowTest, ReactionsToTheUsersChoices) {
    open("Zylo580");
    auto* ranges = get<QComboBox>("PrimaryInputRange");
    choose(ranges, 3);
    choose(get<QComboBox>("PrimaryMode"), 1);  // the chosen position survives
    EXPECT_EQ(ranges->itemText(0).toStdString() + "|" + texts(w.get(), "PrimaryInputRange"),
              "0 to 20mV|0 to 160mV");
    choose(get<QComboBox>("AuxReference"), 1);
    get<QLineEdit>("VrefTextbox")->setText("3.3");
    EXPECT_EQ(texts(w.get(), "PrimaryInputRange|AuxInputRange"), "0 to 211.2mV|+/- 3.3");

    auto* sf = get<QComboBox>("SF");
    get<QCheckBox>("chopEnChkBox")->setChecked(true);
    EXPECT_EQ(texts(w.get(), "ConversionRate"), "59.3623188405797");
    choose(sf, 2);  // a new SF shows the chopping-on figure even with chopping off
    EXPECT_EQ(texts(w.get(), "ConversionRate"), "5.35424836601307");
    choose(sf, 0);
    EXPECT_EQ(enabled("notchEnChkBox"), "0");
    sf->setEditText("100");
    w->SF_LostFocus();
    get<QComboBox>("NumSamples")->setEditText("2500");
    w->NumSamples_LostFocus();
    EXPECT_EQ(texts(w.get(), "SF|ConversionRate|NumSamples"), "0D|105.025641025641|2000");

    get<QCheckBox>("AuxillaryADCButton")->setChecked(true);
    get<QCheckBox>("DACButton")->setChecked(true);
    get<QCheckBox>("PrimaryADCButton")->setChecked(false);
    EXPECT_EQ(enabled("AuxMode|DACData|PrimaryInputRange"), "110");
    EXPECT_TRUE(get("AuxGraph")->isVisibleTo(w.get()));
}

// Positions 0..3 are the dividers 0, 3, 2, 1; each choice leaves at once at the old divider's
// speed, and later runs use the new one's.
TEST_F(SdWindowTest, ADividerChoiceSendsAtOnce) {
    open("Zylo560");
    world.port.writes.clear(), world.port.baudAtWrite.clear();
    std::string shown;
    for (const int position : {1, 1, 0, 2, 3, 0}) {
        choose(get<QComboBox>("CDBits"), position);
        shown += texts(w.get(), "PLLCONSFR") + "@" +
                 state.LinkSettings.substr(0, state.LinkSettings.find(',')) + " ";
    }
    EXPECT_EQ(world.port.writes, (std::vector<std::string>{"D3", "D3", "D0", "D2", "D1", "D0"}));
    EXPECT_EQ(world.port.baudAtWrite, (std::vector<int>{57600, 9600, 9600, 57600, 57600, 57600}));
    EXPECT_EQ(shown, "03@9600 03@9600 00@57600 02@57600 01@57600 00@57600 ");
    EXPECT_FALSE(world.port.isOpen());
}

}  // namespace
}  // namespace kelp::sigmadelta
