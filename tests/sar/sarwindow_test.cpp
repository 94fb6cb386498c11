#include "sar/sarwindow.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <memory>

#include "link/link.h"
#include "link/registerpanel.h"
#include "platform/recordingmessagesink.h"
#include "platform/serialsettings.h"
#include "sar/sarrun.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp::sar {
namespace {

using testing::choose;
using testing::texts;

class SarWindowTest : public ::testing::Test {
protected:
    void open(const char* model) {
        w = std::make_unique<SarWindow>(link, run, results, messages);
        w->load(model);
    }
    template <class W = QWidget>
    W* get(const char* name) {
        return testing::child<W>(w.get(), name);
    }
    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState run;
    SarResults results;
    platform::RecordingMessageSink messages;
    std::unique_ptr<SarWindow> w;
};

TEST_F(SarWindowTest, SetUpOfEveryModel) {
    const std::string pwm =
        "Label27|Label29|Label30|Label31|Label32|PWMCONSFR|PWM0HSFR|PWM0LSFR|"
        "PWM1HSFR|PWM1LSFR";
    const struct {
        const char* model;
        const char* shown;     // conversion time at divider 4 of the model's clock, RCAP2L
        std::string disabled;  // for the life of the window
        std::string usable;    // beside them: the Hex labels and the resolution displays
    } cases[] = {
        {"Zylo510", "6.149|FA", pwm, "PWM0HSFRHex|PWM1LSFRHex|P0SFR|P2SFR|DAC0Button"},
        {"Zylo520", "4.053|F7", pwm + "|P0SFR|P2SFR", "PWMCONSFRHex|P0SFRHex|P3SFR"},
        {"Zylo551", "4.053|F7", "", "PWM1LSFR"},
        {"Zylo570", "6.149|EE", "", "PWM1LSFR"},
        {"Zylo572", "4.053|F7",
         "DAC0Button|DAC1Button|DAC0Range|DAC1Range|DAC0Data|DAC1Data|Label6|Label7|Label8|"
         "Label9|Label10|Label13",
         "Text1|Text2|PWM1LSFR"},
        {"Zylo999", "6.149|FA", "", "PWM1LSFR"},  // no row of its own: the design-time window
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        open(c.model);
        EXPECT_EQ(w->windowTitle().toStdString(), std::string("KELP - ") + c.model);
        EXPECT_EQ(platform::lineSettingsText(world.port.lineSettings()), "57600,N,8,1");
        EXPECT_EQ(texts(w.get(), "ConversionTimeTextbox|RCAP2LSFR"), c.shown);
        const std::string idle = "|VrefTextbox|DAC0Range|DAC1Range|DAC0Data|DAC1Data";
        for (const auto& [names, enabled] : {std::pair{c.disabled + idle, false}, {c.usable, true}})
            for (const QString& n : QString::fromStdString(names).split('|', Qt::SkipEmptyParts))
                EXPECT_EQ(get(qPrintable(n))->isEnabled(), enabled) << n.toStdString();
        EXPECT_EQ(texts(w.get(), "AcqTime|ADCRef|DAC0Range|DAC1Range|NumSamples"),
                  "1 ADCclk|Internal|0-Vref|0-Vref|4000");
    }
}

TEST_F(SarWindowTest, TimingFiguresFollowEveryChoiceOfTheLists) {
    open("Zylo550");
    auto* conv = get<QComboBox>("ConvTime");
    auto* acq = get<QComboBox>("AcqTime");
    const char* const shown = "ConversionTimeTextbox|SampFreqTextbox";
    choose(acq, 3);
    choose(conv, 3);  // "Mclk /8 "
    EXPECT_EQ(texts(w.get(), shown), "14.468|69.1180536356096");
    // A typed clock waits for the next choice, even one of the entry already shown.
    get<QLineEdit>("MasterClockTextbox")->setText("1.6777e1");
    EXPECT_EQ(texts(w.get(), shown), "14.468|69.1180536356096");
    emit conv->activated(conv->currentIndex());
    EXPECT_EQ(texts(w.get(), shown), "9.537|104.854776135053");
    get<QLineEdit>("MasterClockTextbox")->setText("11.0592");
    emit acq->activated(acq->currentIndex());
    EXPECT_EQ(texts(w.get(), shown), "14.468|69.1180536356096");
}

// The bounds, the analysis and the absence of a message after a run are the end-to-end tests'.
TEST_F(SarWindowTest, RunSendsEveryBoxAtItsOffsetWithStopInRunsPlace) {
    open("Zylo570");
    for (const auto& [list, position] :
         {std::pair{"ADCChan", 3}, {"ConvTime", 2}, {"AcqTime", 1}, {"ADCRef", 1}})
        choose(get<QComboBox>(list), position);
    get<QCheckBox>("DAC0Button")->setChecked(true);  // DAC1 stays off: its data goes all the same
    // A different text in each box; SCON is never sent.
    for (const QString& box : QString("DAC0Data=FC18 DAC1Data=123 TCONSFR=11 TMODSFR=22 T0SFR=8000 "
                                      "T1SFR=5678 TIMECONSFR=33 PWMCONSFR=44 PWM0HSFR=55 "
                                      "PWM0LSFR=66 PWM1HSFR=77 PWM1LSFR=88 P0SFR=99 P1_0SFR=0 "
                                      "P1_1SFR=1 P2SFR=AA P3SFR=F2 SCONSFR=AB")
                                  .split(' '))
        get<QLineEdit>(qPrintable(box.section('=', 0, 0)))->setText(box.section('=', 1));
    bool stopInRunsPlace = false;
    world.actAt(150, [&] {
        stopInRunsPlace =
            get("StopButton")->isVisibleTo(w.get()) && !get("RunButton")->isVisibleTo(w.get());
    });
    world.port.onWrite = [this](const std::string& block) {
        std::string packet;  // 100 records
        for (int j = 0; j < 50; ++j) packet += "\r07F7\r0802";
        if (block == "R") world.deliverAfter(87, packet);
    };
    get<QComboBox>("NumSamples")->setEditText("150");
    get<QPushButton>("RunButton")->click();
    ASSERT_EQ(world.port.writes.size(), 4u);  // C, R, R, S
    const char kSent[] =
        "C\xE4\x03\x00\x0D\xFC\x18\x01\x23\x11\x22\x80\x00\x56\x78\x33\x44"
        "\x55\x66\x77\x88\x99\x00\x01\xAA\xF3";
    EXPECT_EQ(world.port.writes[0], std::string(kSent, 26));
    EXPECT_TRUE(stopInRunsPlace && get("RunButton")->isVisibleTo(w.get()));
}

TEST_F(SarWindowTest, RegisterFrameTogglesOnClicksOutsideTheBoxesAndOnSpaceOnItselfOnly) {
    open("Zylo570");
    w->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(w.get()));
    auto* frame = get<link::RegisterPanel>("DigitalFrame");
    EXPECT_DOUBLE_EQ(frame->frameHeight(), 31);
    const auto click = [](QWidget* on) { QTest::mouseClick(on, Qt::LeftButton, {}, {4, 4}); };
    // Below 35 counts as collapsed, 35 itself as expanded.
    for (const auto& [height, after] : {std::pair{34.9, 417.753}, {35.0, 31.0}}) {
        frame->setFrameHeight(height);
        click(frame);
        EXPECT_DOUBLE_EQ(frame->frameHeight(), after) << height;
    }
    // Anywhere on the expanded frame: a group frame, a caption.
    for (const char* spot : {"Frame4", "Label27", "P0SFRHex"}) {
        click(frame);
        click(get(spot));
        EXPECT_DOUBLE_EQ(frame->frameHeight(), 31) << spot;
    }
    click(frame);
    click(get("T0SFR"));  // the box's own
    for (QWidget* target : {get("T0SFR"), static_cast<QWidget*>(frame)})
        for (Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
            if (target == frame && key == Qt::Key_Space) continue;
            target->setFocus();
            QTest::keyClick(target, key);
            EXPECT_DOUBLE_EQ(frame->frameHeight(), 417.753) << key;
        }
    // The keyboard's way: Space on the frame itself, as a click.
    w->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(w.get()));
    frame->setFocus();
    QTest::keyClick(frame, Qt::Key_Space);
    EXPECT_DOUBLE_EQ(frame->frameHeight(), 31);
}

// File > Exit is the end-to-end tests'.
TEST_F(SarWindowTest, ClosingAsksTheProgramToEnd) {
    open("Zylo570");
    QSignalSpy exits(w.get(), &SarWindow::exitRequested);
    w->close();
    EXPECT_EQ(exits.count(), 1);
}

}  // namespace
}  // namespace kelp::sar
