// Whatever the user types or pastes into the boxes of both evaluation windows: each box shows
// what its rule makes of the text, and a run against a scripted target sends those values.

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <string>
#include <vector>

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

enum Rule { k8bit, k16bit, k1bit, kAsTyped };

struct Box {
    const char* name;
    Rule rule;
};

// The boxes both windows share; each window adds its own.
const std::vector<Box> kRegisterBoxes = {
    {"PWMCONSFR", k8bit},    {"PWM0HSFR", k8bit},     {"PWM0LSFR", k8bit},
    {"PWM1HSFR", k8bit},     {"PWM1LSFR", k8bit},     {"P0SFR", k8bit},
    {"P1_0SFR", k1bit},      {"P1_1SFR", k1bit},      {"P2SFR", k8bit},
    {"P3SFR", k8bit},        {"TCONSFR", k8bit},      {"TMODSFR", k8bit},
    {"T0SFR", k16bit},       {"T1SFR", k16bit},       {"TIMECONSFR", k8bit},
    {"SCONSFR", kAsTyped},   {"T2CONSFR", kAsTyped},  {"RCAP2HSFR", kAsTyped},
    {"RCAP2LSFR", kAsTyped}, {"PLLCONSFR", kAsTyped}, {"VrefTextbox", kAsTyped}};

struct Typed {
    const char* text;
    const char* rules[3];    // what the 8-bit, 16-bit and 1-bit rules make of it
    const char* sarSamples;  // NumSamples once left, and the samples a run then takes
    int sarTaken;
    const char* sdSamples;
    int sdTaken;
    const char* sf;  // SF once left, and the update rate it gives
    const char* rate;
    const char* conversionTime;  // SAR, after the next ConvTime choice
    const char* primaryRange;    // SD, the eighth entry, the one selected
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
            if (block != "R") return;
            std::string packet;
            for (int j = 0; j < 100; ++j) packet += "\r0802";
            if (!sigmaDelta) world.deliverAfter(80, packet);
            for (int k = 1; sigmaDelta && k <= 2000; ++k)
                world.deliverAfter(2 * k, "\r800000800000");
        };
    }
    QLineEdit* box(QWidget* w, const char* name) { return child<QLineEdit>(w, name); }
    // Pastes `text` into every box (each rule sees it whole), leaves NumSamples, then runs.
    void typeAndRun(link::EvaluationWindow* w, const std::vector<Box>& boxes, const char* text) {
        for (const Box& b : boxes) box(w, b.name)->setText(QString::fromUtf8(text));
        child<QComboBox>(w, "NumSamples")->setEditText(QString::fromUtf8(text));
        w->NumSamples_LostFocus();
        world.port.writes.clear();
        child<QPushButton>(w, "RunButton")->click();
    }
    void expectShown(QWidget* w, const std::vector<Box>& boxes, const Typed& t) {
        for (const Box& b : boxes)
            EXPECT_EQ(box(w, b.name)->text().toStdString(),
                      b.rule == kAsTyped ? t.text : t.rules[b.rule])
                << b.name;
    }

    testing::FakeWorld world;
    link::Link link{world.port, world.timer, world.events};
    link::RunState run;
    platform::RecordingMessageSink messages;
};

TEST(TypedTexts, EveryBoxOfBothWindowsShowsAndSendsWhatItsRuleMakesOfIt) {
    // clang-format off
    const Typed cases[] = {
        {"", {"0", "0", "0"}, "1", 100, "1", 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {"   ", {"0", "0", "0"}, "1", 100, "1", 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {" 1 2 ", {"12", "12", "1"}, "12", 100, "12", 12, "12", "75.8518518518518", "5.667",
         "+/- 12.288V"},
        {"99999999999999999999", {"0", "0", "1"}, "10000", 10000, "2000", 2000, "0D",
         "105.025641025641", "6.149", "+/- 1.024E+20V"},
        {"-5", {"0", "0", "0"}, "-5", 0, "-5", 0, "0D", "105.025641025641", "6.149", "+/- -5120mV"},
        {"äöü", {"0", "0", "0"}, "1", 100, "1", 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {"数字", {"0", "0", "0"}, "1", 100, "1", 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
        {"😀", {"0", "0", "0"}, "1", 100, "1", 1, "0D", "105.025641025641", "6.149", "+/- 0mV"},
    };
    // clang-format on
    for (const Typed& t : cases) {
        SCOPED_TRACE(std::string("typed \"") + t.text + "\"");
        {
            Rig rig(false);
            sar::SarResults results;
            sar::SarWindow w(rig.link, rig.run, results, rig.messages);
            w.load("Zylo570");
            testing::choose(child<QComboBox>(&w, "ADCRef"), 1);  // enables VrefTextbox
            for (const char* dac : {"DAC0Button", "DAC1Button"})
                child<QCheckBox>(&w, dac)->setChecked(true);
            std::vector<Box> boxes = kRegisterBoxes;
            boxes.insert(
                boxes.end(),
                {{"DAC0Data", k16bit}, {"DAC1Data", k16bit}, {"MasterClockTextbox", kAsTyped}});
            rig.typeAndRun(&w, boxes, t.text);
            auto* convTime = child<QComboBox>(&w, "ConvTime");
            testing::choose(convTime, convTime->currentIndex());
            rig.expectShown(&w, boxes, t);
            EXPECT_EQ(testing::texts(&w, "NumSamples|ConversionTimeTextbox"),
                      std::string(t.sarSamples) + "|" + t.conversionTime);
            EXPECT_EQ(rig.run.SampleCount, t.sarTaken);
            ASSERT_EQ(rig.world.port.writes.size(), 2u + t.sarTaken / 100);
            EXPECT_EQ(rig.world.port.writes[0].substr(5), word(t) + word(t) + registerBytes(t));
            EXPECT_TRUE(rig.messages.messages.empty());
        }
        {
            Rig rig(true);
            sigmadelta::SdResults results;
            sigmadelta::SdLinkState state;
            sigmadelta::SdWindow w(rig.link, rig.run, results, state, rig.messages);
            w.load("Zylo560", false);
            testing::choose(child<QComboBox>(&w, "AuxReference"), 1);  // shows Vref as typed
            child<QCheckBox>(&w, "DACButton")->setChecked(true);
            std::vector<Box> boxes = kRegisterBoxes;
            boxes.push_back({"DACData", k16bit});
            child<QComboBox>(&w, "SF")->setEditText(QString::fromUtf8(t.text));
            w.SF_LostFocus();
            rig.typeAndRun(&w, boxes, t.text);
            rig.expectShown(&w, boxes, t);
            EXPECT_EQ(testing::texts(&w,
                                     "NumSamples|SF|ConversionRate|PrimaryInputRange|"
                                     "AuxInputRange"),
                      std::string(t.sdSamples) + "|" + t.sf + "|" + t.rate + "|" + t.primaryRange +
                          "|+/- " + t.text);
            EXPECT_EQ(rig.run.SampleCount, t.sdTaken);
            ASSERT_EQ(rig.world.port.writes.size(), 3u);  // the message, "R", "S"
            const std::string& sent = rig.world.port.writes[0];
            EXPECT_EQ(sent[4], static_cast<char>(value(t.sf)));
            EXPECT_EQ(sent.substr(7), word(t) + registerBytes(t) + '\0');
            EXPECT_TRUE(rig.messages.messages.empty());
        }
    }
}

}  // namespace
}  // namespace kelp
