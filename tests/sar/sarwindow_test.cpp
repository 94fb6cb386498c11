#include "sar/sarwindow.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#include <memory>

#include "analysis/saranalysiswindow.h"
#include "analysis/sarrunsettings.h"
#include "link/registerpanel.h"
#include "platform/recordingmessagesink.h"
#include "platform/stripchart.h"
#include "sar/sarconfig.h"
#include "sar/sarsetup.h"
#include "shell/programstate.h"
#include "support/fakes.h"

namespace kelp::sar {
namespace {

QStringList entries(const QComboBox* list) {
    QStringList out;
    for (int i = 0; i < list->count(); ++i) out << list->itemText(i);
    return out;
}

QStringList toList(std::initializer_list<const char*> texts) {
    QStringList out;
    for (const char* t : texts) out << QString::fromLatin1(t);
    return out;
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

struct ModelCase {
    const char* model;
    QStringList channels;
    QStringList convTimes;
    const char* convTime;
    const char* masterClock;
    const char* rcap2l;
    bool pwmDisabled;
    bool p0p2Disabled;
    bool dacDisabled;
    const char* conversionTime;
    const char* frequency;
    int adcControl1;
};

const QStringList kDesignChannels = toList({"ADC0", "ADC1", "ADC2", "ADC3", "ADC4", "ADC5", "ADC6",
                                            "ADC7", "TEMP SENSOR", "DAC0", "DAC1", "AGND", "VREF"});
const QStringList kDesignConvTimes = toList({"Mclk /16", "Mclk /2 ", "Mclk /4 ", "Mclk /8 "});
const QStringList k57xConvTimes = toList({"16.77/2 ", "16.77/4 ", "16.77/8 ", "16.77/32"});

std::vector<ModelCase> modelCases() {
    return {
        {"Zylo510",
         toList({"ADC0", "ADC1", "ADC2", "ADC3", "ADC4", "ADC5", "ADC6", "ADC7", "TEMP"}),
         toList({"Mclk /1 ", "Mclk /2 ", "Mclk /4 ", "Mclk /8 "}), "Mclk /4 ", "11.0592", "FA",
         true, false, false, "6.149", "162.628069604814", 0x60},
        {"Zylo520",
         toList({"ADC0", "ADC1", "ADC2", "ADC3", "ADC4", "ADC5", " -- ", " -- ", "TEMP", "DAC0",
                 "DAC1", "AGND", "VREF"}),
         toList({"16.77/8 ", "16.77/4 ", "16.77/16", "16.77/32"}), "16.77/4 ", "16.777", "F7", true,
         true, false, "4.053", "246.730816679003", 0x90},
        {"Zylo550", kDesignChannels, kDesignConvTimes, "Mclk /4 ", "11.0592", "FA", false, false,
         false, "6.149", "162.628069604814", 0xA0},
        {"Zylo551", kDesignChannels, toList({"16.77/16", "16.77/2 ", "16.77/4 ", "16.77/8 "}),
         "16.77/4 ", "16.777", "F7", false, false, false, "4.053", "246.730816679003", 0xA0},
        {"Zylo570", kDesignChannels, toList({"Mclk /2 ", "Mclk /4 ", "Mclk /8 ", "Mclk /32"}),
         "Mclk /4 ", "11.0592", "EE", false, false, false, "6.149", "162.628069604814", 0x90},
        {"Zylo571", kDesignChannels, k57xConvTimes, "16.77/4 ", "16.777", "F7", false, false, false,
         "4.053", "246.730816679003", 0x90},
        {"Zylo572", kDesignChannels, k57xConvTimes, "16.77/4 ", "16.777", "F7", false, false, true,
         "4.053", "246.730816679003", 0x90},
    };
}

// A group the model lacks is disabled as a whole; otherwise its frame or first box is usable
// (the DAC ranges and data boxes wait for their switches either way).
void expectGroup(SarWindow& w, DisabledGroup group, bool disabled, const char* model) {
    const auto names = ControlsOf(group);
    for (std::string_view name : disabled ? names : names.first(1)) {
        auto* control = w.findChild<QWidget*>(QString::fromLatin1(name.data(), name.size()));
        ASSERT_NE(control, nullptr) << name;
        EXPECT_EQ(control->isEnabled(), !disabled) << model << " " << name;
    }
}

TEST_F(SarWindowTest, SetUpOfEveryModel) {
    for (const ModelCase& c : modelCases()) {
        auto w = open(c.model);
        SCOPED_TRACE(c.model);
        EXPECT_EQ(w->windowTitle(), QStringLiteral("KELP - ") + QString::fromLatin1(c.model));
        EXPECT_EQ(world.port.settings(), "57600,N,8,1");
        EXPECT_EQ(entries(w->ADCChan), c.channels);
        EXPECT_EQ(w->ADCChan->currentIndex(), 0);
        EXPECT_EQ(entries(w->ConvTime), c.convTimes);
        EXPECT_EQ(w->ConvTime->currentText(), c.convTime);
        EXPECT_EQ(w->AcqTime->currentText(), "1 ADCclk");
        EXPECT_EQ(w->ADCRef->currentText(), "Internal");
        EXPECT_TRUE(w->ADCButton->isChecked());
        EXPECT_FALSE(w->VrefTextbox->isEnabled());
        EXPECT_EQ(w->MasterClockTextbox->text(), c.masterClock);
        EXPECT_EQ(w->DigitalFrame->RCAP2LSFR->text(), c.rcap2l);
        EXPECT_EQ(w->ConversionTimeTextbox->text(), c.conversionTime);
        EXPECT_EQ(w->SampFreqTextbox->text(), c.frequency);

        EXPECT_FALSE(w->DAC0Button->isChecked());
        EXPECT_FALSE(w->DAC1Button->isChecked());
        for (QComboBox* range : {w->DAC0Range, w->DAC1Range}) {
            EXPECT_EQ(range->currentText(), "0-Vref");
            EXPECT_FALSE(range->isEnabled());
        }
        EXPECT_FALSE(w->DAC0Data->isEnabled());
        EXPECT_EQ(w->DAC0Button->isEnabled(), !c.dacDisabled);
        EXPECT_EQ(w->DAC1Button->isEnabled(), !c.dacDisabled);
        // The resolution displays are never disabled themselves (only by their frame).
        EXPECT_TRUE(w->Text1->isEnabledTo(w->DAC));

        expectGroup(*w, kPwmGroup, c.pwmDisabled, c.model);
        expectGroup(*w, kP0P2Boxes, c.p0p2Disabled, c.model);
        expectGroup(*w, kDacGroup, c.dacDisabled, c.model);
        EXPECT_TRUE(w->findChild<QLabel*>("PWMCONSFRHex")->isEnabledTo(w->DigitalFrame->PWMFrame));
        EXPECT_TRUE(w->DigitalFrame->P3SFR->isEnabled());

        EXPECT_EQ(w->NumSamples->currentText(), "4000");
        EXPECT_DOUBLE_EQ(w->DigitalFrame->frameHeight(), 31);
        EXPECT_FALSE(w->DigitalFrame->isExpanded());
        EXPECT_EQ(w->GraphMaxLabel->text(), "801H");
        EXPECT_EQ(w->GraphMidLabel->text(), "800H");
        EXPECT_EQ(w->GraphMinLabel->text(), "7FFH");
        EXPECT_TRUE(w->RunButton->isVisibleTo(w.get()));
        EXPECT_FALSE(w->StopButton->isVisibleTo(w.get()));
        EXPECT_EQ(w->analysisWindow(), nullptr);

        // The configuration the window hands to a run carries the model's converter byte.
        world.port.writes.clear();
        w->NumSamples->setEditText(QStringLiteral("-5"));
        w->RunButton_Click();
        ASSERT_FALSE(world.port.writes.empty());
        EXPECT_EQ(static_cast<unsigned char>(world.port.writes[0][1]), c.adcControl1);
        w->analysisWindow()->hide();
    }
}

TEST_F(SarWindowTest, ControlsCarryTheirNamesAndLabels) {
    auto w = open("Zylo570");
    const std::pair<QWidget*, const char*> labelled[] = {
        {w->ADCChan, "Input Channel"},
        {w->ADCRef, "ADC Reference"},
        {w->VrefTextbox, "External Vref (V)"},
        {w->MasterClockTextbox, "Master Clock (MHz)"},
        {w->ConvTime, "Conversion Time"},
        {w->AcqTime, "Aquistion Time"},
        {w->ConversionTimeTextbox, "Conversion Time (us)"},
        {w->SampFreqTextbox, "Sampling Freq (kHz)"},
        {w->DAC0Range, "DAC0 Range"},
        {w->DAC1Data, "DAC1 Data (Hex)"},
        {w->Text1, "DAC0 Resolution"},
        {w->NumSamples, "Num of Samples:"},
    };
    for (const auto& [control, label] : labelled) {
        EXPECT_EQ(control->accessibleName(), label) << label;
        EXPECT_EQ(w->findChild<QWidget*>(control->objectName()), control) << label;
    }
    EXPECT_EQ(entries(w->NumSamples), toList({"1000", "2000", "4000", "7000", "10000"}));
    EXPECT_EQ(w->FileExit->text(), "&Exit");
    EXPECT_EQ(w->HelpAbout->text(), "A&bout");
    const std::pair<QLineEdit*, const char*> uart[] = {
        {w->DigitalFrame->SCONSFR, "52"},
        {w->DigitalFrame->T2CONSFR, "34"},
        {w->DigitalFrame->RCAP2HSFR, "FF"},
        {w->DigitalFrame->PLLCONSFR, "00"},
    };
    for (const auto& [box, start] : uart) EXPECT_EQ(box->text(), start);
}

TEST_F(SarWindowTest, AModelWithoutARowKeepsTheDesign) {
    auto w = open("Zylo999");
    EXPECT_EQ(w->windowTitle(), "KELP - Zylo999");
    EXPECT_EQ(entries(w->ADCChan), kDesignChannels);
    EXPECT_EQ(w->ConvTime->currentText(), "Mclk /4 ");
    EXPECT_EQ(w->ConversionTimeTextbox->text(), "6.149");
}

TEST_F(SarWindowTest, Zylo520ChannelsSixAndSevenTakeADacAway) {
    auto w = open("Zylo520");
    w->DAC0Button->setChecked(true);
    w->DAC1Button->setChecked(true);
    w->ADCChan->setCurrentIndex(6);
    EXPECT_FALSE(w->DAC0Button->isChecked());
    EXPECT_FALSE(w->DAC0Button->isEnabled());
    EXPECT_FALSE(w->DAC0Range->isEnabled());
    EXPECT_TRUE(w->DAC1Button->isChecked());
    EXPECT_TRUE(w->DAC1Button->isEnabled());

    w->ADCChan->setCurrentIndex(7);
    EXPECT_FALSE(w->DAC1Button->isChecked());
    EXPECT_FALSE(w->DAC1Button->isEnabled());
    EXPECT_TRUE(w->DAC0Button->isEnabled());
    EXPECT_FALSE(w->DAC0Button->isChecked());

    w->ADCChan->setCurrentIndex(8);
    EXPECT_EQ(w->ADCChan->currentText(), "TEMP");
    EXPECT_TRUE(w->DAC0Button->isEnabled());
    EXPECT_TRUE(w->DAC1Button->isEnabled());
    // The timing figures are not recomputed by a channel choice.
    EXPECT_EQ(w->ConversionTimeTextbox->text(), "4.053");

    auto other = open("Zylo551");
    other->DAC0Button->setChecked(true);
    other->ADCChan->setCurrentIndex(6);
    EXPECT_TRUE(other->DAC0Button->isChecked());
    EXPECT_TRUE(other->DAC0Button->isEnabled());
}

TEST_F(SarWindowTest, DacSwitchesAndReference) {
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

    w->ADCRef->setCurrentIndex(1);
    EXPECT_TRUE(w->VrefTextbox->isEnabled());
    w->ADCRef->setCurrentIndex(0);
    EXPECT_FALSE(w->VrefTextbox->isEnabled());
}

TEST_F(SarWindowTest, DacDataBoxesFollowTheSixteenBitRule) {
    auto w = open("Zylo570");
    const std::pair<const char*, const char*> cases[] = {
        {"fc18", "FC18"}, {"10000", "0"}, {"FFFFFFFF", "FFFF"},
        {"00FF", "FF"},   {"", "0"},      {"x", "0"},
    };
    for (const auto& [typed, canonical] : cases) {
        for (QLineEdit* box : {w->DAC0Data, w->DAC1Data}) {
            box->setText(QString::fromLatin1(typed));
            EXPECT_EQ(box->text(), canonical) << typed;
        }
    }
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
    for (const char* clock : {"", "abc", "0"}) {
        w->MasterClockTextbox->setText(QString::fromLatin1(clock));
        w->ConvTime->setCurrentIndex(0);
        w->ConvTime->setCurrentIndex(3);
        EXPECT_EQ(w->ConversionTimeTextbox->text(), "8.106") << clock;
        EXPECT_EQ(w->SampFreqTextbox->text(), "123.365408339502") << clock;
    }
}

TEST_F(SarWindowTest, NumSamplesIsCheckedWhenItLosesTheFocus) {
    auto w = open("Zylo570");
    w->show();
    QApplication::setActiveWindow(w.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(w.get()));
    const std::pair<const char*, const char*> cases[] = {
        {"12000", "10000"}, {"abc", "1"},    {"0", "1"},
        {"-5", "-5"},       {"0250", "250"}, {"2500.5", "2500.5"},
    };
    for (const auto& [typed, checked] : cases) {
        w->NumSamples->setFocus();
        w->NumSamples->setEditText(QString::fromLatin1(typed));
        EXPECT_EQ(w->NumSamples->currentText(), typed);
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
    w->DigitalFrame->T0SFR->setText(QStringLiteral("1234"));
    w->DigitalFrame->P3SFR->setText(QStringLiteral("00"));
    w->DigitalFrame->SCONSFR->setText(QStringLiteral("AB"));  // never sent
    w->NumSamples->setEditText(QStringLiteral("150"));

    bool stopShownDuringRun = false;
    bool runHiddenDuringRun = false;
    world.actAt(150, [&] {
        stopShownDuringRun = w->StopButton->isVisibleTo(w.get());
        runHiddenDuringRun = !w->RunButton->isVisibleTo(w.get());
    });
    w->RunButton->click();

    ASSERT_EQ(world.port.writes.size(), 4u);
    const std::string& m = world.port.writes[0];
    ASSERT_EQ(m.size(), kConfigurationMessageLength);
    std::vector<int> sent;
    for (int at : {1, 2, 4, 5, 6, 11, 12, 25}) sent.push_back(static_cast<unsigned char>(m[at]));
    EXPECT_EQ(sent, (std::vector<int>{0xE4, 3, 0x2D, 0xFC, 0x18, 0x12, 0x34, 0x03}));
    EXPECT_EQ(m.find('\xAB'), std::string::npos);
    EXPECT_EQ(world.port.writes[3], "S");

    EXPECT_TRUE(stopShownDuringRun);
    EXPECT_TRUE(runHiddenDuringRun);
    EXPECT_TRUE(w->RunButton->isVisibleTo(w.get()));
    EXPECT_FALSE(w->StopButton->isVisibleTo(w.get()));
    EXPECT_EQ(state.SampleCount, 200);
    EXPECT_EQ(w->Graph->pointCount(), 200);
    EXPECT_EQ(w->Graph->extent(), 200);
    EXPECT_EQ(w->GraphMinLabel->text(), "7F7");
    EXPECT_EQ(w->GraphMaxLabel->text(), "808");
    EXPECT_EQ(w->GraphMidLabel->text(), "800");  // 2047.5 to the even 2048
    EXPECT_FALSE(world.port.isOpen());

    ASSERT_NE(w->analysisWindow(), nullptr);
    EXPECT_TRUE(w->analysisWindow()->isVisible());
    EXPECT_TRUE(w->analysisWindow()->isWindow());
    EXPECT_EQ(w->analysisWindow()->GraphMaxLabel->text(), "808");
    EXPECT_EQ(w->analysisWindow()->ConvTime->text(), "Mclk /8 ");
    EXPECT_EQ(w->analysisWindow()->ADCChan->text(), "ADC3");

    // The next run shows the same analysis window again.
    auto* first = w->analysisWindow();
    first->hide();
    w->RunButton->click();
    EXPECT_EQ(w->analysisWindow(), first);
    EXPECT_TRUE(first->isVisible());
    EXPECT_TRUE(messages.messages.empty());
}

TEST_F(SarWindowTest, StopButtonEndsTheRunAfterThePacketInProgress) {
    auto w = open("Zylo570");
    answerEveryRequest();
    w->NumSamples->setCurrentIndex(4);  // 10000
    world.actAt(100 + 87 + 30, [&] { w->StopButton->click(); });
    w->RunButton->click();
    EXPECT_EQ(state.SampleCount, 200);
    EXPECT_EQ(world.port.writes.back(), "S");
    ASSERT_NE(w->analysisWindow(), nullptr);
    EXPECT_TRUE(w->RunButton->isVisibleTo(w.get()));
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
