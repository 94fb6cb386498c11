// Whatever the user types or pastes into the boxes of both evaluation windows: each box shows
// what its rule makes of the text, and a run against a scripted target sends those values.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <array>
#include <string>

#include "link/link.h"
#include "link/runstate.h"
#include "platform/recordingmessagesink.h"
#include "sar/sarrun.h"
#include "sar/sarwindow.h"
#include "sigmadelta/sdrun.h"
#include "sigmadelta/sdwindow.h"
#include "support/fakes.h"
#include "support/widgets.h"

namespace kelp {
namespace {

using testing::child;
using testing::choose;

// Box names by the rule that rewrites them: 8-bit, 16-bit, 1-bit, none (kept as typed).
using Boxes = std::array<QString, 4>;
const Boxes kShared = {
    "PWMCONSFR PWM0HSFR PWM0LSFR PWM1HSFR PWM1LSFR P0SFR P2SFR P3SFR TCONSFR TMODSFR TIMECONSFR",
    "T0SFR T1SFR", "P1_0SFR P1_1SFR", "SCONSFR T2CONSFR RCAP2HSFR RCAP2LSFR PLLCONSFR VrefTextbox"};

struct Typed {
    const char* text;
    const char* rules[3];                // what the 8-bit, 16-bit and 1-bit rules make of it
    const char *sarSamples, *sdSamples;  // NumSamples once left,
    int sarTaken, sdTaken;               // and the samples a run then takes
    const char *sf, *rate;               // SF once left, and the update rate it gives
    const char* conversionTime;          // SAR, after the next ConvTime choice
    const char* primaryRange;            // SD, the eighth entry, the one selected
};

int value(const char* hex) { return std::stoi(hex, nullptr, 16); }

// A 16-bit box as sent, high byte first, read back from what it shows.
std::string word(const Typed& t) {
    return {static_cast<char>(value(t.rules[1]) >> 8), static_cast<char>(value(t.rules[1]))};
}

// The register boxes as both families send them: TCON, TMOD, T0, T1, TIMECON, the PWM
// boxes, P0, P1.0, P1.1, P2, and P3 with its two low bits on.
std::string registerBytes(const Typed& t) {
    const char b8 = static_cast<char>(value(t.rules[0]));
    const char b1 = static_cast<char>(value(t.rules[2]));
    return std::string(2, b8) + word(t) + word(t) + std::string(7, b8) + b1 + b1 + b8 +
           static_cast<char>(b8 | 0x03);
}

// A scripted target: the SAR firmware answers each request with 100 samples, the
// sigma-delta one streams a frame every 2 ms after its single request.
struct Rig {
    explicit Rig(bool sigmaDelta) {
        world.port.onWrite = [this, sigmaDelta](const std::string& block) {
            for (int k = 1; block == "R" && k <= (sigmaDelta ? 2000 : 100); ++k)
                world.deliverAfter(sigmaDelta ? 2 * k : 80,
                                   sigmaDelta ? "\r800000800000" : "\r0802");
        };
    }
    // Pastes the text into every box (each rule sees it whole), leaves NumSamples, runs, then
    // finds each box showing what its rule makes of the text.
    void pasteAndRun(link::EvaluationWindow* w, const Boxes& boxes, const Typed& t) {
        const auto each = [&](auto act) {
            for (int rule = 0; rule < 4; ++rule)
                for (const QString& name : boxes[rule].split(' '))
                    act(child<QLineEdit>(w, qPrintable(name)), rule < 3 ? t.rules[rule] : t.text);
        };
        each([&](QLineEdit* box, const char*) { box->setText(QString::fromUtf8(t.text)); });
        child<QComboBox>(w, "NumSamples")->setEditText(QString::fromUtf8(t.text));
        w->NumSamples_LostFocus();
        world.port.writes.clear();
        child<QPushButton>(w, "RunButton")->click();
        each([](QLineEdit* box, const char* shown) {
            EXPECT_EQ(box->text().toStdString(), shown) << box->objectName().toStdString();
        });
        EXPECT_TRUE(messages.messages.empty());
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState run;
    platform::RecordingMessageSink messages;
};

TEST(TypedTexts, EveryBoxOfBothWindowsShowsAndSendsWhatItsRuleMakesOfIt) {
    // clang-format off
    const Typed cases[] = {
        {"", {"0", "0", "0"}, "1", "1", 100, 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {"   ", {"0", "0", "0"}, "1", "1", 100, 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {" 1 2 ", {"12", "12", "1"}, "12", "12", 100, 12, "12", "75.8518518518518", "5.667",
         "+/- 12.288V"},
        {"99999999999999999999", {"0", "0", "1"}, "10000", "2000", 10000, 2000, "0D",
         "105.025641025641", "6.149", "+/- 1.024E+20V"},
        {"-5", {"0", "0", "0"}, "-5", "-5", 0, 0, "0D", "105.025641025641", "6.149", "+/- -5120mV"},
        {"äöü", {"0", "0", "0"}, "1", "1", 100, 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {"数字", {"0", "0", "0"}, "1", "1", 100, 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {"😀", {"0", "0", "0"}, "1", "1", 100, 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
    };
    // clang-format on
    for (const Typed& t : cases) {
        SCOPED_TRACE(std::string("typed \"") + t.text + "\"");
        {
            Rig rig(false);
            sar::SarResults results;
            sar::SarWindow w(rig.link, rig.run, results, rig.messages);
            w.load("Zylo570");
            choose(child<QComboBox>(&w, "ADCRef"), 1);  // enables VrefTextbox
            child<QCheckBox>(&w, "DAC0Button")->setChecked(true);
            child<QCheckBox>(&w, "DAC1Button")->setChecked(true);
            Boxes boxes = kShared;
            boxes[1] += " DAC0Data DAC1Data";
            boxes[3] += " MasterClockTextbox";
            rig.pasteAndRun(&w, boxes, t);
            choose(child<QComboBox>(&w, "ConvTime"),
                   child<QComboBox>(&w, "ConvTime")->currentIndex());
            EXPECT_EQ(testing::texts(&w, "NumSamples|ConversionTimeTextbox"),
                      std::string(t.sarSamples) + "|" + t.conversionTime);
            EXPECT_EQ(rig.run.SampleCount, t.sarTaken);
            ASSERT_EQ(rig.world.port.writes.size(), 2u + t.sarTaken / 100);  // C, R..., S
            EXPECT_EQ(rig.world.port.writes[0].substr(5), word(t) + word(t) + registerBytes(t));
        }
        Rig rig(true);
        sigmadelta::SdResults results;
        sigmadelta::SdLinkState state;
        sigmadelta::SdWindow w(rig.link, rig.run, results, state, rig.messages);
        w.load("Zylo560", false);
        choose(child<QComboBox>(&w, "AuxReference"), 1);  // shows Vref as typed
        child<QCheckBox>(&w, "DACButton")->setChecked(true);
        child<QComboBox>(&w, "SF")->setEditText(QString::fromUtf8(t.text));
        w.SF_LostFocus();
        Boxes boxes = kShared;
        boxes[1] += " DACData";
        rig.pasteAndRun(&w, boxes, t);
        EXPECT_EQ(
            testing::texts(&w, "NumSamples|SF|ConversionRate|PrimaryInputRange|AuxInputRange"),
            std::string(t.sdSamples) + "|" + t.sf + "|" + t.rate + "|" + t.primaryRange + "|+/- " +
                t.text);
        EXPECT_EQ(rig.run.SampleCount, t.sdTaken);
        ASSERT_EQ(rig.world.port.writes.size(), 3u);  // the message, "R", "S"
        EXPECT_EQ(rig.world.port.writes[0][4], static_cast<char>(value(t.sf)));
        EXPECT_EQ(rig.world.port.writes[0].substr(7), word(t) + registerBytes(t) + '\0');
    }
}

}  // namespace
}  // namespace kelp
