#include "sar/sarwindow.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#include <map>
#include <memory>

#include "analysis/saranalysiswindow.h"
#include "link/registerpanel.h"
#include "platform/recordingmessagesink.h"
#include "platform/stripchart.h"
#include "sar/sarsetup.h"
#include "shell/programstate.h"
#include "support/fakes.h"

namespace kelp::sar {
namespace {

std::string joined(const QStringList& texts) { return texts.join('|').toStdString(); }

// A list's entries, separated by '|'.
std::string entries(const QComboBox* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i) out << list->itemText(i);
    return joined(out);
}

std::string record(int code) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "\r%04X", code & 0xFFFF);
    return buf;
}

class SarWindowTest : public ::testing::Test {
protected:
    SarWindowTest() {
        world.timer.onTick = [this] { state.TimerElapsed = true; };
    }

    std::unique_ptr<SarWindow> open(const char* model) {
        state.ModelName = model;
        auto w = std::make_unique<SarWindow>(state, devices, messages);
        w->load();
        return w;
    }

    // Every request answered with a packet of codes 0x7F8 + j % 16.
    void answerEveryRequest() {
        world.port.onWrite = [this](const std::string& block) {
            if (block != "R") return;
            std::string p;
            for (int j = 0; j < 100; ++j) p += record(0x7F8 + j % 16);
            world.deliverAfter(87, p);
        };
    }

    testing::FakeWorld world;
    shell::ProgramState state;
    platform::RecordingMessageSink messages;
    shell::SharedDevices devices{world.port, world.timer, world.events};
};

constexpr const char* kDesignChannels =
    "ADC0|ADC1|ADC2|ADC3|ADC4|ADC5|ADC6|ADC7|TEMP SENSOR|DAC0|DAC1|AGND|VREF";
constexpr const char* kDesignConvTimes = "Mclk /16|Mclk /2 |Mclk /4 |Mclk /8 ";
constexpr const char* k57xConvTimes = "16.77/2 |16.77/4 |16.77/8 |16.77/32";

struct ModelCase {
    const char* model;
    const char* channels;
    const char* convTimes;
    const char* convTime;  // the one selected
    const char* masterClock;
    const char* rcap2l;
    unsigned disabled;  // the groups of controls the model lacks
    int adcControl1;    // the converter byte its runs send
};

// clang-format off
const ModelCase kModels[] = {
    {"Zylo510", "ADC0|ADC1|ADC2|ADC3|ADC4|ADC5|ADC6|ADC7|TEMP",
     "Mclk /1 |Mclk /2 |Mclk /4 |Mclk /8 ", "Mclk /4 ", "11.0592", "FA", kPwmGroup, 0x60},
    {"Zylo520", "ADC0|ADC1|ADC2|ADC3|ADC4|ADC5| -- | -- |TEMP|DAC0|DAC1|AGND|VREF",
     "16.77/8 |16.77/4 |16.77/16|16.77/32", "16.77/4 ", "16.777", "F7", kPwmGroup | kP0P2Boxes, 0x90},
    {"Zylo550", kDesignChannels, kDesignConvTimes, "Mclk /4 ", "11.0592", "FA", kNoGroup, 0xA0},
    {"Zylo551", kDesignChannels, "16.77/16|16.77/2 |16.77/4 |16.77/8 ", "16.77/4 ", "16.777", "F7",
     kNoGroup, 0xA0},
    {"Zylo570", kDesignChannels, "Mclk /2 |Mclk /4 |Mclk /8 |Mclk /32", "Mclk /4 ", "11.0592", "EE",
     kNoGroup, 0x90},
    {"Zylo571", kDesignChannels, k57xConvTimes, "16.77/4 ", "16.777", "F7", kNoGroup, 0x90},
    {"Zylo572", kDesignChannels, k57xConvTimes, "16.77/4 ", "16.777", "F7", kDacGroup, 0x90},
    // A model without a row of its own keeps the design-time window.
    {"Zylo999", kDesignChannels, kDesignConvTimes, "Mclk /4 ", "11.0592", "FA", kNoGroup, 0xA0},
};

// The controls of each group a model can lack. A lacking model disables all of them; the
// others leave the group's frame (or first box) usable.
const std::pair<DisabledGroup, std::vector<const char*>> kGroups[] = {
    {kPwmGroup, {"PWMFrame", "Label27", "Label29", "Label30", "Label31", "Label32", "PWMCONSFR",
                 "PWM0HSFR", "PWM0LSFR", "PWM1HSFR", "PWM1LSFR"}},
    {kP0P2Boxes, {"P0SFR", "P2SFR"}},
    {kDacGroup, {"DAC", "DAC0Button", "DAC1Button", "DAC0Range", "DAC1Range", "DAC0Data",
                 "DAC1Data", "Label6", "Label7", "Label8", "Label9", "Label10", "Label13"}},
};
// clang-format on

TEST_F(SarWindowTest, SetUpOfEveryModel) {
    // Every model starts at divider 4 with one acquisition clock.
    const std::map<std::string, std::pair<const char*, const char*>> startFigures = {
        {"11.0592", {"6.149", "162.628069604814"}}, {"16.777", {"4.053", "246.730816679003"}}};
    for (const ModelCase& c : kModels) {
        SCOPED_TRACE(c.model);
        auto w = open(c.model);
        EXPECT_EQ(w->windowTitle(), QStringLiteral("KELP - ") + QString::fromLatin1(c.model));
        EXPECT_EQ(world.port.settings(), "57600,N,8,1");
        EXPECT_EQ(entries(w->ADCChan), c.channels);
        EXPECT_EQ(w->ADCChan->currentIndex(), 0);
        EXPECT_EQ(entries(w->ConvTime), c.convTimes);
        EXPECT_EQ(w->ConvTime->currentText(), c.convTime);
        EXPECT_EQ(w->MasterClockTextbox->text(), c.masterClock);
        EXPECT_EQ(w->DigitalFrame->RCAP2LSFR->text(), c.rcap2l);
        EXPECT_EQ(w->ConversionTimeTextbox->text(), startFigures.at(c.masterClock).first);
        EXPECT_EQ(w->SampFreqTextbox->text(), startFigures.at(c.masterClock).second);
        for (const auto& [group, names] : kGroups) {
            const bool lacking = c.disabled & group;
            for (size_t i = 0; i < (lacking ? names.size() : 1); ++i) {
                auto* control = w->findChild<QWidget*>(QString::fromLatin1(names[i]));
                ASSERT_NE(control, nullptr) << names[i];
                // Disabled itself, not merely inside a disabled frame.
                EXPECT_EQ(control->isEnabledTo(control->parentWidget()), !lacking) << names[i];
            }
        }
        EXPECT_EQ(w->DAC0Button->isEnabled(), !(c.disabled & kDacGroup));
        EXPECT_EQ(w->DAC1Button->isEnabled(), !(c.disabled & kDacGroup));

        // The same on every model.
        EXPECT_EQ(joined({w->AcqTime->currentText(), w->ADCRef->currentText(),
                          w->DAC0Range->currentText(), w->DAC1Range->currentText(),
                          w->NumSamples->currentText(), w->GraphMaxLabel->text(),
                          w->GraphMidLabel->text(), w->GraphMinLabel->text()}),
                  "1 ADCclk|Internal|0-Vref|0-Vref|4000|801H|800H|7FFH");
        EXPECT_TRUE(w->ADCButton->isChecked());
        EXPECT_FALSE(w->DAC0Button->isChecked());
        EXPECT_FALSE(w->DAC1Button->isChecked());
        for (QWidget* idle : std::initializer_list<QWidget*>{
                 w->VrefTextbox, w->DAC0Range, w->DAC1Range, w->DAC0Data, w->DAC1Data})
            EXPECT_FALSE(idle->isEnabled()) << idle->objectName().toStdString();
        // Displays and boxes outside the groups are never disabled themselves.
        EXPECT_TRUE(w->Text1->isEnabledTo(w->DAC));
        EXPECT_TRUE(w->findChild<QLabel*>("PWMCONSFRHex")->isEnabledTo(w->DigitalFrame->PWMFrame));
        EXPECT_TRUE(w->DigitalFrame->P3SFR->isEnabled());
        EXPECT_DOUBLE_EQ(w->DigitalFrame->frameHeight(), 31);
        EXPECT_TRUE(w->RunButton->isVisibleTo(w.get()));
        EXPECT_FALSE(w->StopButton->isVisibleTo(w.get()));
        EXPECT_EQ(w->analysisWindow(), nullptr);

        // The configuration the window hands to a run carries the model's converter byte.
        world.port.writes.clear();
        w->NumSamples->setEditText(QStringLiteral("-5"));
        w->RunButton_Click();
        ASSERT_FALSE(world.port.writes.empty());
        EXPECT_EQ(static_cast<unsigned char>(world.port.writes[0][1]), c.adcControl1);
    }
}

TEST_F(SarWindowTest, ControlsCarryTheirNamesAndLabels) {
    auto w = open("Zylo570");
    const struct {
        QWidget* control;
        const char *name, *label;
    } labelled[] = {
        {w->ADCChan, "ADCChan", "Input Channel"},
        {w->ADCRef, "ADCRef", "ADC Reference"},
        {w->VrefTextbox, "VrefTextbox", "External Vref (V)"},
        {w->MasterClockTextbox, "MasterClockTextbox", "Master Clock (MHz)"},
        {w->ConvTime, "ConvTime", "Conversion Time"},
        {w->AcqTime, "AcqTime", "Aquistion Time"},
        {w->ConversionTimeTextbox, "ConversionTimeTextbox", "Conversion Time (us)"},
        {w->SampFreqTextbox, "SampFreqTextbox", "Sampling Freq (kHz)"},
        {w->DAC0Range, "DAC0Range", "DAC0 Range"},
        {w->DAC1Data, "DAC1Data", "DAC1 Data (Hex)"},
        {w->Text1, "Text1", "DAC0 Resolution"},
        {w->NumSamples, "NumSamples", "Num of Samples:"},
    };
    for (const auto& [control, name, label] : labelled) {
        EXPECT_EQ(control->objectName(), name);
        EXPECT_EQ(control->accessibleName(), label) << name;
    }
    EXPECT_EQ(entries(w->NumSamples), "1000|2000|4000|7000|10000");
    EXPECT_EQ(w->FileExit->text(), "&Exit");
    EXPECT_EQ(w->HelpAbout->text(), "A&bout");
    const link::RegisterPanel& p = *w->DigitalFrame;
    EXPECT_EQ(
        joined({p.SCONSFR->text(), p.T2CONSFR->text(), p.RCAP2HSFR->text(), p.PLLCONSFR->text()}),
        "52|34|FF|00");
}

TEST_F(SarWindowTest, Zylo520ChannelsSixAndSevenTakeADacAway) {
    auto w = open("Zylo520");
    w->DAC0Button->setChecked(true);
    w->DAC1Button->setChecked(true);
    const struct {
        int channel;
        bool dac0On, dac0Usable, dac1On, dac1Usable;
    } steps[] = {{6, false, false, true, true},
                 {7, false, true, false, false},
                 {8, false, true, false, true}};
    for (const auto& s : steps) {
        w->ADCChan->setCurrentIndex(s.channel);
        EXPECT_EQ(w->DAC0Button->isChecked(), s.dac0On) << s.channel;
        EXPECT_EQ(w->DAC0Button->isEnabled(), s.dac0Usable) << s.channel;
        EXPECT_EQ(w->DAC1Button->isChecked(), s.dac1On) << s.channel;
        EXPECT_EQ(w->DAC1Button->isEnabled(), s.dac1Usable) << s.channel;
    }

    auto other = open("Zylo551");
    other->DAC0Button->setChecked(true);
    other->ADCChan->setCurrentIndex(6);
    EXPECT_TRUE(other->DAC0Button->isChecked());
    EXPECT_TRUE(other->DAC0Button->isEnabled());
}

TEST_F(SarWindowTest, DacSwitchesDataBoxesAndReference) {
    auto w = open("Zylo570");
    w->DAC0Button->setChecked(true);
    EXPECT_TRUE(w->DAC0Range->isEnabled());
    EXPECT_TRUE(w->DAC0Data->isEnabled());
    EXPECT_FALSE(w->DAC1Range->isEnabled());
    w->DAC0Range->setCurrentIndex(1);
    w->DAC0Data->setText(QStringLiteral("800"));
    w->DAC0Button->setChecked(false);
    EXPECT_FALSE(w->DAC0Range->isEnabled());
    EXPECT_FALSE(w->DAC0Data->isEnabled());
    w->DAC0Button->setChecked(true);
    EXPECT_EQ(w->DAC0Range->currentText(), "0-Vdd");
    EXPECT_EQ(w->DAC0Data->text(), "800");

    w->DAC1Button->setChecked(true);
    EXPECT_TRUE(w->DAC1Range->isEnabled());
    EXPECT_TRUE(w->DAC1Data->isEnabled());

    // Both data boxes keep to the 16-bit rule (an 8-bit box would read "fc18" as 0).
    for (QLineEdit* box : {w->DAC0Data, w->DAC1Data}) {
        box->setText(QStringLiteral("fc18"));
        EXPECT_EQ(box->text(), "FC18") << box->objectName().toStdString();
    }

    w->ADCRef->setCurrentIndex(1);
    EXPECT_TRUE(w->VrefTextbox->isEnabled());
    w->ADCRef->setCurrentIndex(0);
    EXPECT_FALSE(w->VrefTextbox->isEnabled());
}

TEST_F(SarWindowTest, TimingFiguresFollowTheLists) {
    auto w = open("Zylo550");
    w->AcqTime->setCurrentIndex(3);
    w->ConvTime->setCurrentIndex(3);
    EXPECT_EQ(w->ConvTime->currentText(), "Mclk /8 ");
    EXPECT_EQ(w->ConversionTimeTextbox->text(), "14.468");
    EXPECT_EQ(w->SampFreqTextbox->text(), "69.1180536356096");

    // A new master clock is used only at the next choice.
    w->MasterClockTextbox->setText(QStringLiteral("16.777"));
    EXPECT_EQ(w->ConversionTimeTextbox->text(), "14.468");
    w->AcqTime->setCurrentIndex(0);
    EXPECT_EQ(w->ConversionTimeTextbox->text(), "8.106");

    // A clock that reads 0 keeps what is shown.
    w->MasterClockTextbox->setText(QStringLiteral("abc"));
    w->ConvTime->setCurrentIndex(0);
    EXPECT_EQ(w->ConversionTimeTextbox->text(), "8.106");
    EXPECT_EQ(w->SampFreqTextbox->text(), "123.365408339502");
}

TEST_F(SarWindowTest, NumSamplesIsCheckedWhenItLosesTheFocus) {
    auto w = open("Zylo570");
    w->show();
    QApplication::setActiveWindow(w.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(w.get()));
    for (const auto& [typed, checked] : {std::pair{"12000", "10000"}, {"0250", "250"}}) {
        w->NumSamples->setFocus();
        w->NumSamples->setEditText(QString::fromLatin1(typed));
        EXPECT_EQ(w->NumSamples->currentText(), typed);  // not while typing
        w->MasterClockTextbox->setFocus();
        EXPECT_EQ(w->NumSamples->currentText(), checked) << typed;
    }
    EXPECT_EQ(w->NumSamples->count(), 5);  // typed texts never join the list
}

TEST_F(SarWindowTest, RunFromTheWindow) {
    auto w = open("Zylo570");
    answerEveryRequest();
    w->ADCChan->setCurrentIndex(3);
    w->ConvTime->setCurrentIndex(2);
    w->AcqTime->setCurrentIndex(1);
    w->ADCRef->setCurrentIndex(1);
    w->DAC0Button->setChecked(true);
    w->DAC0Range->setCurrentIndex(1);
    w->DAC0Data->setText(QStringLiteral("FC18"));
    w->DAC1Data->setText(QStringLiteral("123"));
    link::RegisterPanel& p = *w->DigitalFrame;
    // A different text in every box, so that each lands at its own offset; SCON is never sent.
    const std::pair<QLineEdit*, const char*> boxes[] = {
        {p.TCONSFR, "11"},    {p.TMODSFR, "22"},   {p.T0SFR, "1234"},  {p.T1SFR, "5678"},
        {p.TIMECONSFR, "33"}, {p.PWMCONSFR, "44"}, {p.PWM0HSFR, "55"}, {p.PWM0LSFR, "66"},
        {p.PWM1HSFR, "77"},   {p.PWM1LSFR, "88"},  {p.P0SFR, "99"},    {p.P1_0SFR, "0"},
        {p.P1_1SFR, "1"},     {p.P2SFR, "AA"},     {p.P3SFR, "00"},    {p.SCONSFR, "AB"}};
    for (const auto& [box, text] : boxes) box->setText(QString::fromLatin1(text));
    w->NumSamples->setEditText(QStringLiteral("150"));

    bool stopShownDuringRun = false;
    bool runHiddenDuringRun = false;
    world.actAt(150, [&] {
        stopShownDuringRun = w->StopButton->isVisibleTo(w.get());
        runHiddenDuringRun = !w->RunButton->isVisibleTo(w.get());
    });
    w->RunButton->click();

    ASSERT_EQ(world.port.writes.size(), 4u);
    std::vector<int> sent;
    for (unsigned char byte : world.port.writes[0]) sent.push_back(byte);
    EXPECT_EQ(sent, (std::vector<int>{'C',  0xE4, 3,    0,    0x2D, 0xFC, 0x18, 0x01, 0x23,
                                      0x11, 0x22, 0x12, 0x34, 0x56, 0x78, 0x33, 0x44, 0x55,
                                      0x66, 0x77, 0x88, 0x99, 0,    1,    0xAA, 0x03}));

    EXPECT_TRUE(stopShownDuringRun);
    EXPECT_TRUE(runHiddenDuringRun);
    EXPECT_EQ(w->Graph->extent(), 200);
    EXPECT_EQ(w->GraphMidLabel->text(), "800");  // 2047.5 to the even 2048
    ASSERT_NE(w->analysisWindow(), nullptr);
    EXPECT_TRUE(w->analysisWindow()->isVisible());
    EXPECT_TRUE(w->analysisWindow()->isWindow());
    const auto* a = w->analysisWindow();  // with the settings of this window's run
    EXPECT_EQ(
        joined({a->ADCChan->text(), a->ADCRef->text(), a->ConvTime->text(), a->AcqTime->text(),
                a->VrefTextbox->text(), a->MasterClockTextbox->text(),
                a->ConversionTimeTextbox->text(), a->SampFreqTextbox->text(),
                a->GraphMaxLabel->text(), a->GraphMidLabel->text(), a->GraphMinLabel->text()}),
        "ADC3|External|Mclk /8 |2 ADCclk|2.5|11.0592|13.021|76.7990169725827|808|800|7F7");
    EXPECT_EQ(a->Graph->upperBound(), 0x808);
    EXPECT_EQ(a->Graph->lowerBound(), 0x7F7);

    // The next run shows the same analysis window again.
    auto* first = w->analysisWindow();
    first->hide();
    w->RunButton->click();
    EXPECT_EQ(w->analysisWindow(), first);
    EXPECT_TRUE(first->isVisible());
    EXPECT_TRUE(messages.messages.empty());
}

TEST_F(SarWindowTest, ExitAndClosingAskTheProgramToEnd) {
    auto w = open("Zylo570");
    QSignalSpy exits(w.get(), &SarWindow::exitRequested);
    w->FileExit->trigger();
    EXPECT_EQ(exits.count(), 1);

    auto other = open("Zylo570");
    QSignalSpy closes(other.get(), &SarWindow::exitRequested);
    other->show();
    other->close();
    EXPECT_EQ(closes.count(), 1);
    EXPECT_TRUE(world.port.writes.empty());
}

TEST_F(SarWindowTest, NothingIsClippedAtTheDesignSize) {
    auto w = open("Zylo570");
    w->resize(1100, 720);
    w->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(w.get()));
    for (QWidget* child : w->findChildren<QWidget*>()) {
        // Named widgets are ours; unnamed ones are the inner parts of Qt's own widgets.
        if (!child->isVisible() || child->isWindow() || child->objectName().isEmpty()) continue;
        const QSize minimum = child->minimumSizeHint();
        if (!minimum.isValid()) continue;
        const std::string what =
            std::string(child->metaObject()->className()) + " " + child->objectName().toStdString();
        EXPECT_GE(child->width(), minimum.width()) << what;
        EXPECT_GE(child->height(), std::min(minimum.height(), child->maximumHeight())) << what;
    }
    EXPECT_TRUE(w->RunButton->isVisible());
    EXPECT_GE(w->Graph->width(), 500);
}

}  // namespace
}  // namespace kelp::sar
