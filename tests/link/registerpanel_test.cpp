#include "link/registerpanel.h"

#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTest>

namespace kelp::link {
namespace {

constexpr FrameHeights kSarHeights{35, 417.753, 31};
constexpr FrameHeights kSigmaDeltaHeights{30, 400, 25};

QLineEdit* box(RegisterPanel& panel, const char* name) {
    auto* b = panel.findChild<QLineEdit*>(QString::fromLatin1(name));
    EXPECT_NE(b, nullptr) << name;
    return b;
}

struct LayoutRow {
    const char* box;
    const char* label;
    const char* frame;
    const char* start;
};

TEST(RegisterPanel, EveryBoxWithItsNameLabelFrameAndStartingText) {
    RegisterPanel panel(kSarHeights);
    EXPECT_EQ(panel.objectName(), "DigitalFrame");
    EXPECT_EQ(panel.title(), "DIGITAL Peripherals - Click to Configure");
    const LayoutRow rows[] = {
        {"PWMCONSFR", "PWMCON", "PWMFrame", "00"}, {"PWM0HSFR", "PWM0H", "PWMFrame", "00"},
        {"PWM0LSFR", "PWM0L", "PWMFrame", "00"},   {"PWM1HSFR", "PWM1H", "PWMFrame", "00"},
        {"PWM1LSFR", "PWM1L", "PWMFrame", "00"},   {"P0SFR", "P0", "Frame5", "FF"},
        {"P1_0SFR", "P1.0", "Frame5", "1"},        {"P1_1SFR", "P1.1", "Frame5", "1"},
        {"P2SFR", "P2", "Frame5", "FF"},           {"P3SFR", "P3", "Frame5", "FF"},
        {"TCONSFR", "TCON", "Frame4", "00"},       {"TMODSFR", "TMOD", "Frame4", "00"},
        {"T0SFR", "TH0/TL0", "Frame4", "0000"},    {"T1SFR", "TH1/TL1", "Frame4", "0000"},
        {"TIMECONSFR", "TIMECON", "Frame4", "00"}, {"SCONSFR", "SCON", "Frame3", ""},
        {"T2CONSFR", "T2CON", "Frame3", ""},       {"RCAP2HSFR", "RCAP2H", "Frame3", ""},
        {"RCAP2LSFR", "RCAP2L", "Frame3", ""},     {"PLLCONSFR", "PLLCON", "Frame3", ""},
    };
    for (const auto& r : rows) {
        QLineEdit* b = box(panel, r.box);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->accessibleName(), r.label) << r.box;
        EXPECT_EQ(b->text(), r.start) << r.box;
        ASSERT_NE(b->parentWidget(), nullptr);
        EXPECT_EQ(b->parentWidget()->objectName(), r.frame) << r.box;
    }
    EXPECT_EQ(panel.PWMFrame->title(), "PWM");
    EXPECT_EQ(panel.Frame5->title(), "GPIO");
    EXPECT_EQ(panel.Frame4->title(), "Timer/Counters");
    EXPECT_EQ(panel.Frame3->title(), "UART Config");
    const char* pwmLabels[] = {"Label27", "Label29", "Label30", "Label31", "Label32"};
    for (int i = 0; i < 5; ++i) {
        auto* label = panel.findChild<QLabel*>(QString::fromLatin1(pwmLabels[i]));
        ASSERT_NE(label, nullptr) << pwmLabels[i];
        EXPECT_EQ(label->buddy()->objectName(), rows[i].box) << pwmLabels[i];
    }
    EXPECT_EQ(panel.Label30->text(), "PWM0L");
}

struct EditCase {
    const char* box;
    const char* text;
    const char* canonical;
};

TEST(RegisterPanel, ProgramSetTextsBecomeCanonical) {
    RegisterPanel panel(kSarHeights);
    const EditCase cases[] = {
        {"T0SFR", "FFFF", "FFFF"},  {"T0SFR", "8000", "8000"},
        {"T0SFR", "10000", "0"},    {"T0SFR", "FFFFFFFF", "FFFF"},
        {"T0SFR", "00FF", "FF"},    {"T1SFR", "fc18", "FC18"},
        {"TCONSFR", "1FF", "0"},    {"TMODSFR", "ff", "FF"},
        {"P0SFR", "G5", "0"},       {"P2SFR", "5G", "5"},
        {"PWMCONSFR", "a", "A"},    {"PWM1LSFR", "000", "0"},
        {"TIMECONSFR", "100", "0"}, {"P3SFR", "", "0"},
        {"P1_0SFR", "2", "1"},      {"P1_0SFR", "0", "0"},
        {"P1_1SFR", "A", "1"},      {"P0SFR", "8000", "0"},
        {"P1_1SFR", "FFFF", "1"},   {"PWM0HSFR", "123456789", "0"},
    };
    for (const auto& c : cases) {
        QLineEdit* b = box(panel, c.box);
        b->setText(QString::fromLatin1(c.text));
        EXPECT_EQ(b->text(), c.canonical) << c.box << " " << c.text;
    }
}

TEST(RegisterPanel, TypingRewritesAfterEveryKeyWithTheCaretAtTheEnd) {
    RegisterPanel panel(kSarHeights);
    panel.setFrameHeight(kSarHeights.expanded);
    const EditCase cases[] = {
        {"T0SFR", "ffff", "FFFF"}, {"T0SFR", "10000", "0"}, {"TCONSFR", "1ff", "0"},
        {"P0SFR", "0a", "A"},      {"P1_0SFR", "7", "1"},   {"PWM0LSFR", "3c", "3C"},
    };
    for (const auto& c : cases) {
        QLineEdit* b = box(panel, c.box);
        b->clear();
        QTest::keyClicks(b, QString::fromLatin1(c.text));
        EXPECT_EQ(b->text(), c.canonical) << c.box << " " << c.text;
        EXPECT_EQ(b->cursorPosition(), b->text().size()) << c.box << " " << c.text;
    }
}

TEST(RegisterPanel, ClickOnTheCaptionTogglesTheHeight) {
    RegisterPanel panel(kSarHeights);
    panel.resize(420, 40);
    panel.setFrameHeight(31);
    EXPECT_FALSE(panel.isExpanded());
    EXPECT_EQ(panel.height(), 31);
    EXPECT_FALSE(panel.T0SFR->isVisibleTo(&panel));

    QSignalSpy changes(&panel, &RegisterPanel::frameHeightChanged);
    QTest::mouseClick(&panel, Qt::LeftButton, {}, QPoint(30, 8));
    EXPECT_DOUBLE_EQ(panel.frameHeight(), 417.753);
    EXPECT_EQ(panel.height(), 418);
    EXPECT_TRUE(panel.isExpanded());
    EXPECT_TRUE(panel.T0SFR->isVisibleTo(&panel));
    EXPECT_EQ(changes.count(), 1);

    // A click below the caption, among the group frames, changes nothing.
    QTest::mouseClick(&panel, Qt::LeftButton, {}, QPoint(5, 300));
    EXPECT_DOUBLE_EQ(panel.frameHeight(), 417.753);

    QTest::mouseClick(&panel, Qt::LeftButton, {}, QPoint(30, 8));
    EXPECT_DOUBLE_EQ(panel.frameHeight(), 31);
    EXPECT_FALSE(panel.T0SFR->isVisibleTo(&panel));
    EXPECT_EQ(changes.count(), 2);

    // From the keyboard too (the group box would otherwise swallow Space).
    QTest::keyClick(&panel, Qt::Key_Space);
    EXPECT_DOUBLE_EQ(panel.frameHeight(), 417.753);
    QTest::keyClick(&panel, Qt::Key_Return);
    EXPECT_DOUBLE_EQ(panel.frameHeight(), 31);
}

struct ThresholdCase {
    FrameHeights heights;
    double start;
    double after;
};

TEST(RegisterPanel, ThresholdRuleOfBothWindows) {
    const ThresholdCase cases[] = {
        {kSarHeights, 31, 417.753},      {kSarHeights, 34.99, 417.753},
        {kSarHeights, 35, 31},           {kSarHeights, 417.753, 31},
        {kSarHeights, 0, 417.753},       {kSigmaDeltaHeights, 25, 400},
        {kSigmaDeltaHeights, 29.5, 400}, {kSigmaDeltaHeights, 30, 25},
        {kSigmaDeltaHeights, 400, 25},
    };
    for (const auto& c : cases) {
        RegisterPanel panel(c.heights);
        panel.setFrameHeight(c.start);
        panel.DigitalFrame_Click();
        EXPECT_DOUBLE_EQ(panel.frameHeight(), c.after) << c.start;
        // Two clicks come back to the starting height class.
        panel.DigitalFrame_Click();
        EXPECT_EQ(panel.isExpanded(), c.start >= c.heights.threshold) << c.start;
    }
}

}  // namespace
}  // namespace kelp::link
