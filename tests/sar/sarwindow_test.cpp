#include "sar/sarwindow.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#include <functional>
#include <memory>

#include "analysis/sarrunsettings.h"
#include "link/link.h"
#include "link/registerpanel.h"
#include "platform/recordingmessagesink.h"
#include "platform/serialsettings.h"
#include "platform/stripchart.h"
#include "sar/sarrun.h"
#include "sar/sarsetup.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp::sar {
namespace {

using testing::child;
using testing::choose;
using testing::texts;

std::string record(int code) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "\r%04X", code & 0xFFFF);
    return buf;
}

class SarWindowTest : public ::testing::Test {
protected:
    std::unique_ptr<SarWindow> open(const char* model) {
        auto w = std::make_unique<SarWindow>(link, run, results, messages);
        w->load(model);
        return w;
    }
    // The target answers the first `packets` requests with codes 0x7F8 + j % 16, then does
    // what `after` says.
    void answer(int packets, std::function<void()> after = nullptr) {
        world.port.onWrite = [this, packets, after, n = 0](const std::string& block) mutable {
            if (block != "R") return;
            if (n++ >= packets) {
                if (after) after();
                return;
            }
            std::string p;
            for (int j = 0; j < 100; ++j) p += record(0x7F8 + j % 16);
            world.deliverAfter(87, p);
        };
    }
    static QComboBox* list(const std::unique_ptr<SarWindow>& w, const char* name) {
        return child<QComboBox>(w.get(), name);
    }
    static QCheckBox* check(const std::unique_ptr<SarWindow>& w, const char* name) {
        return child<QCheckBox>(w.get(), name);
    }
    static QLineEdit* box(const std::unique_ptr<SarWindow>& w, const char* name) {
        return child<QLineEdit>(w.get(), name);
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState run;
    SarResults results;
    platform::RecordingMessageSink messages;
};

struct ModelCase {
    const char* model;
    int adcControl1;             // the converter byte its runs send
    const char* conversionTime;  // divider 4 at the model's master clock
    const char* rcap2l;
    unsigned lacking;  // the groups of controls the model lacks
};

// clang-format off
const ModelCase kModels[] = {
    {"Zylo510", 0x60, "6.149", "FA", kPwmGroup},
    {"Zylo520", 0x90, "4.053", "F7", kPwmGroup | kP0P2Boxes},
    {"Zylo550", 0xA0, "6.149", "FA", kNoGroup},
    {"Zylo551", 0xA0, "4.053", "F7", kNoGroup},
    {"Zylo570", 0x90, "6.149", "EE", kNoGroup},
    {"Zylo571", 0x90, "4.053", "F7", kNoGroup},
    {"Zylo572", 0x90, "4.053", "F7", kDacGroup},
    {"Zylo999", 0xA0, "6.149", "FA", kNoGroup},  // no row of its own: the design-time window
};

// A control of each group that a model having the group can use, and the displays a model
// lacking it keeps usable.
const struct {
    DisabledGroup group;
    const char* usable;
    const char* kept;
} kGroups[] = {
    {kPwmGroup, "PWM1LSFR", "PWMCONSFRHex|PWM0HSFRHex|PWM0LSFRHex|PWM1HSFRHex|PWM1LSFRHex"},
    {kP0P2Boxes, "P2SFR", "P0SFRHex|P2SFRHex"},
    {kDacGroup, "DAC0Button", "Text1|Text2"},
};
// clang-format on

TEST_F(SarWindowTest, SetUpOfEveryModel) {
    for (const ModelCase& c : kModels) {
        SCOPED_TRACE(c.model);
        auto w = open(c.model);
        EXPECT_EQ(w->windowTitle(), QStringLiteral("KELP - ") + QString::fromLatin1(c.model));
        EXPECT_EQ(platform::lineSettingsText(world.port.lineSettings()), "57600,N,8,1");
        EXPECT_EQ(texts(w.get(), "ConversionTimeTextbox|RCAP2LSFR"),
                  std::string(c.conversionTime) + "|" + c.rcap2l);
        for (const auto& g : kGroups) {
            if (!(c.lacking & g.group)) {
                EXPECT_TRUE(child<QWidget>(w.get(), g.usable)->isEnabled()) << g.usable;
                continue;
            }
            for (std::string_view name : ControlsOf(g.group)) {
                auto* control = child<QWidget>(w.get(), std::string(name).c_str());
                // A frame stays enabled, or everything in it would be greyed with it.
                EXPECT_EQ(control->isEnabled(), qobject_cast<QGroupBox*>(control) != nullptr)
                    << name;
            }
            for (const QString& kept : QString::fromLatin1(g.kept).split('|'))
                EXPECT_TRUE(child<QWidget>(w.get(), qPrintable(kept))->isEnabled())
                    << kept.toStdString();
        }

        // The same on every model.
        EXPECT_EQ(texts(w.get(), "AcqTime|ADCRef|DAC0Range|DAC1Range|NumSamples"),
                  "1 ADCclk|Internal|0-Vref|0-Vref|4000");
        EXPECT_EQ(list(w, "ADCChan")->currentIndex(), 0);
        EXPECT_TRUE(check(w, "ADCButton")->isChecked());
        EXPECT_FALSE(check(w, "DAC0Button")->isChecked() || check(w, "DAC1Button")->isChecked());
        for (const char* idle : {"VrefTextbox", "DAC0Range", "DAC1Range", "DAC0Data", "DAC1Data"})
            EXPECT_FALSE(child<QWidget>(w.get(), idle)->isEnabled()) << idle;
        EXPECT_DOUBLE_EQ(child<link::RegisterPanel>(w.get(), "DigitalFrame")->frameHeight(), 31);
        EXPECT_TRUE(child<QPushButton>(w.get(), "RunButton")->isVisibleTo(w.get()));
        EXPECT_FALSE(child<QPushButton>(w.get(), "StopButton")->isVisibleTo(w.get()));

        world.port.writes.clear();
        list(w, "NumSamples")->setEditText(QStringLiteral("-5"));  // no packet, just the message
        w->RunButton_Click();
        ASSERT_FALSE(world.port.writes.empty());
        EXPECT_EQ(static_cast<unsigned char>(world.port.writes[0][1]), c.adcControl1);
    }
}

TEST_F(SarWindowTest, Zylo520ChannelsSixAndSevenTakeADacAway) {
    auto w = open("Zylo520");
    QCheckBox* dac0 = check(w, "DAC0Button");
    QCheckBox* dac1 = check(w, "DAC1Button");
    dac0->setChecked(true);
    dac1->setChecked(true);
    const struct {
        int channel;
        bool dac0On, dac0Usable, dac1On, dac1Usable;
    } steps[] = {{6, false, false, true, true},
                 {7, false, true, false, false},
                 {8, false, true, false, true}};
    for (const auto& s : steps) {
        choose(list(w, "ADCChan"), s.channel);
        EXPECT_EQ(dac0->isChecked(), s.dac0On) << s.channel;
        EXPECT_EQ(dac0->isEnabled(), s.dac0Usable) << s.channel;
        EXPECT_EQ(dac1->isChecked(), s.dac1On) << s.channel;
        EXPECT_EQ(dac1->isEnabled(), s.dac1Usable) << s.channel;
    }

    auto other = open("Zylo551");
    check(other, "DAC0Button")->setChecked(true);
    choose(list(other, "ADCChan"), 6);
    EXPECT_TRUE(check(other, "DAC0Button")->isChecked());
    EXPECT_TRUE(check(other, "DAC0Button")->isEnabled());
}

TEST_F(SarWindowTest, DacSwitchesDataBoxesAndReference) {
    auto w = open("Zylo570");
    check(w, "DAC0Button")->setChecked(true);
    EXPECT_TRUE(list(w, "DAC0Range")->isEnabled() && box(w, "DAC0Data")->isEnabled());
    EXPECT_FALSE(list(w, "DAC1Range")->isEnabled());
    choose(list(w, "DAC0Range"), 1);
    box(w, "DAC0Data")->setText(QStringLiteral("800"));
    check(w, "DAC0Button")->setChecked(false);
    EXPECT_FALSE(list(w, "DAC0Range")->isEnabled() || box(w, "DAC0Data")->isEnabled());
    check(w, "DAC0Button")->setChecked(true);
    EXPECT_EQ(texts(w.get(), "DAC0Range|DAC0Data"), "0-Vdd|800");
    check(w, "DAC1Button")->setChecked(true);
    EXPECT_TRUE(list(w, "DAC1Range")->isEnabled() && box(w, "DAC1Data")->isEnabled());

    // Both data boxes keep to the 16-bit rule (an 8-bit rule would make "fc18" 0).
    box(w, "DAC0Data")->setText(QStringLiteral("fc18"));
    box(w, "DAC1Data")->setText(QStringLiteral("1fc18"));
    EXPECT_EQ(texts(w.get(), "DAC0Data|DAC1Data"), "FC18|0");

    choose(list(w, "ADCRef"), 1);
    EXPECT_TRUE(box(w, "VrefTextbox")->isEnabled());
    choose(list(w, "ADCRef"), 0);
    EXPECT_FALSE(box(w, "VrefTextbox")->isEnabled());
}

TEST_F(SarWindowTest, TimingFiguresFollowTheChoicesOfTheLists) {
    auto w = open("Zylo550");
    QComboBox* conv = list(w, "ConvTime");
    QComboBox* acq = list(w, "AcqTime");
    QLineEdit* clock = box(w, "MasterClockTextbox");
    const char* const kShown = "ConversionTimeTextbox|SampFreqTextbox";
    choose(acq, 3);
    choose(conv, 3);  // "Mclk /8 "
    EXPECT_EQ(texts(w.get(), kShown), "14.468|69.1180536356096");

    // A typed clock waits for the next choice, even one of the entry already shown.
    clock->setText(QStringLiteral("1.6777e1"));
    EXPECT_EQ(texts(w.get(), kShown), "14.468|69.1180536356096");
    emit conv->activated(conv->currentIndex());
    EXPECT_EQ(texts(w.get(), kShown), "9.537|104.854776135053");
    clock->setText(QStringLiteral("11.0592"));
    emit acq->activated(acq->currentIndex());
    EXPECT_EQ(texts(w.get(), kShown), "14.468|69.1180536356096");

    // A clock that reads 0 keeps what is shown.
    clock->setText(QStringLiteral("abc"));
    choose(conv, 0);
    EXPECT_EQ(texts(w.get(), kShown), "14.468|69.1180536356096");
}

TEST_F(SarWindowTest, NumSamplesIsCheckedWhenItLosesTheFocus) {
    auto w = open("Zylo570");
    w->show();
    QApplication::setActiveWindow(w.get());
    ASSERT_TRUE(QTest::qWaitForWindowActive(w.get()));
    QComboBox* samples = list(w, "NumSamples");
    const std::pair<const char*, const char*> cases[] = {
        {"12000", "10000"}, {"0250", "250"}, {"abc", "1"},       {"0", "1"},
        {"-5", "-5"},       {"1e3", "1000"}, {"2.5e4", "10000"}, {"2500.5", "2500.5"}};
    for (const auto& [typed, checked] : cases) {
        samples->setFocus();
        samples->setEditText(QString::fromLatin1(typed));
        EXPECT_EQ(samples->currentText(), typed);  // not while typing
        box(w, "MasterClockTextbox")->setFocus();
        EXPECT_EQ(samples->currentText(), checked) << typed;
    }
    EXPECT_EQ(samples->count(), 5);  // typed texts never join the list
}

TEST_F(SarWindowTest, RunSendsTheWindowsSettingsAndHandsItsResultsOn) {
    auto w = open("Zylo570");
    answer(2);
    choose(list(w, "ADCChan"), 3);
    choose(list(w, "ConvTime"), 2);
    choose(list(w, "AcqTime"), 1);
    choose(list(w, "ADCRef"), 1);
    check(w, "DAC0Button")->setChecked(true);
    choose(list(w, "DAC0Range"), 1);
    // A different text in every box, so that each lands at its own offset; SCON is never sent.
    const std::pair<const char*, const char*> boxes[] = {
        {"DAC0Data", "FC18"}, {"DAC1Data", "123"}, {"TCONSFR", "11"},    {"TMODSFR", "22"},
        {"T0SFR", "1234"},    {"T1SFR", "5678"},   {"TIMECONSFR", "33"}, {"PWMCONSFR", "44"},
        {"PWM0HSFR", "55"},   {"PWM0LSFR", "66"},  {"PWM1HSFR", "77"},   {"PWM1LSFR", "88"},
        {"P0SFR", "99"},      {"P1_0SFR", "0"},    {"P1_1SFR", "1"},     {"P2SFR", "AA"},
        {"P3SFR", "00"},      {"SCONSFR", "AB"}};
    for (const auto& [name, text] : boxes) box(w, name)->setText(QString::fromLatin1(text));
    list(w, "NumSamples")->setEditText(QStringLiteral("150"));
    QSignalSpy analyses(w.get(), &SarWindow::analysisRequested);
    bool stopInRunsPlace = false;
    world.actAt(150, [&] {
        stopInRunsPlace = child<QPushButton>(w.get(), "StopButton")->isVisibleTo(w.get()) &&
                          !child<QPushButton>(w.get(), "RunButton")->isVisibleTo(w.get());
    });
    child<QPushButton>(w.get(), "RunButton")->click();

    ASSERT_EQ(world.port.writes.size(), 4u);  // C, R, R, S
    std::vector<int> sent;
    for (unsigned char byte : world.port.writes[0]) sent.push_back(byte);
    EXPECT_EQ(sent, (std::vector<int>{'C',  0xE4, 3,    0,    0x2D, 0xFC, 0x18, 0x01, 0x23,
                                      0x11, 0x22, 0x12, 0x34, 0x56, 0x78, 0x33, 0x44, 0x55,
                                      0x66, 0x77, 0x88, 0x99, 0,    1,    0xAA, 0x03}));
    EXPECT_TRUE(stopInRunsPlace);
    EXPECT_EQ(run.SampleCount, 200);
    EXPECT_EQ(child<platform::StripChart>(w.get(), "Graph")->extent(), 200);
    EXPECT_EQ(analyses.count(), 1);
    EXPECT_TRUE(messages.messages.empty());

    const analysis::SarRunSettings s = w->runSettings();
    EXPECT_EQ(s.ADCChan + "|" + s.ADCRef + "|" + s.ConvTime + "|" + s.AcqTime + "|" +
                  s.VrefTextbox + "|" + s.MasterClockTextbox + "|" + s.ConversionTimeTextbox + "|" +
                  s.SampFreqTextbox + "|" + s.GraphMaxLabel + "|" + s.GraphMidLabel + "|" +
                  s.GraphMinLabel,
              "ADC3|External|Mclk /8 |2 ADCclk|2.5|11.0592|13.021|76.7990169725827|808|800|7F7");
    EXPECT_EQ(s.graphUpperBound, 0x808);
    EXPECT_EQ(s.graphLowerBound, 0x7F7);
}

TEST_F(SarWindowTest, HowARunEndedReachesTheUser) {
    const struct {
        const char* name;
        std::function<void()> arrange;
        std::vector<std::string> texts;
    } cases[] = {
        {"completed", [this] { answer(2); }, {}},
        {"busy",
         [this] { world.port.openResult = platform::OpenError::Busy; },
         {"Com Port Already Open by another host"}},
        {"silent",
         [this] { answer(1); },
         {"The target stopped answering after 100 samples.\r\nCheck that the board is powered "
          "and connected, then press Run again."}},
        {"port failed",
         [this] { answer(1, [this] { world.port.failNow = true; }); },
         {"The serial port stopped working after 100 samples.\r\nCheck the cable and the port, "
          "then press Run again."}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto w = open("Zylo570");
        world.port.openResult = platform::OpenError::None;
        world.port.failNow = false;
        messages.messages.clear();
        c.arrange();
        list(w, "NumSamples")->setEditText(QStringLiteral("200"));
        child<QPushButton>(w.get(), "RunButton")->click();
        EXPECT_EQ(messages.texts(), c.texts);
        for (const auto& m : messages.messages) EXPECT_EQ(m.title, "Warning");
        EXPECT_FALSE(world.port.isOpen());
    }
}

TEST_F(SarWindowTest, RegisterFrameTogglesOnClicksOutsideTheBoxesAndNeverOnAKey) {
    auto w = open("Zylo570");
    w->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(w.get()));
    auto* frame = child<link::RegisterPanel>(w.get(), "DigitalFrame");
    const auto click = [](QWidget* on) { QTest::mouseClick(on, Qt::LeftButton, {}, {4, 4}); };

    // Below 35 counts as collapsed, 35 itself as expanded.
    const std::pair<double, double> threshold[] = {{34.9, 417.753}, {35, 31}};
    for (const auto& [height, after] : threshold) {
        frame->setFrameHeight(height);
        click(frame);
        EXPECT_DOUBLE_EQ(frame->frameHeight(), after) << height;
    }
    // Anywhere on the expanded frame: a group frame, a caption.
    for (const char* spot : {"Frame4", "Label27", "P0SFRHex"}) {
        click(frame);
        ASSERT_DOUBLE_EQ(frame->frameHeight(), 417.753);
        click(child<QWidget>(w.get(), spot));
        EXPECT_DOUBLE_EQ(frame->frameHeight(), 31) << spot;
    }
    click(frame);
    QWidget* box = child<QLineEdit>(w.get(), "T0SFR");
    click(box);  // the box's own
    EXPECT_DOUBLE_EQ(frame->frameHeight(), 417.753);
    for (QWidget* target : {box, static_cast<QWidget*>(frame)})
        for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
            QTest::keyClick(target, key);
            EXPECT_DOUBLE_EQ(frame->frameHeight(), 417.753) << key;
        }
}

TEST_F(SarWindowTest, ExitAndClosingAskTheProgramToEnd) {
    auto w = open("Zylo570");
    QSignalSpy exits(w.get(), &SarWindow::exitRequested);
    child<QAction>(w.get(), "FileExit")->trigger();
    EXPECT_EQ(exits.count(), 1);

    auto other = open("Zylo570");
    QSignalSpy closes(other.get(), &SarWindow::exitRequested);
    other->show();
    other->close();
    EXPECT_EQ(closes.count(), 1);
    EXPECT_TRUE(world.port.writes.empty());
}

}  // namespace
}  // namespace kelp::sar
