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

QLabel* captionOf(const QLineEdit* box) {
    for (QLabel* l : box->parentWidget()->findChildren<QLabel*>())
        if (l->buddy() == box) return l;
    return nullptr;
}

struct LayoutRow {
    const char* box;
    const char* label;
    const char* frame;
    const char* frameTitle;
    const char* start;
    const char* named;  // the caption's own name, when the window refers to it
    const char* is1ff;  // what "1ff" becomes: its rule's canonical text, or kept as typed
};

TEST(RegisterPanel, EveryBoxWithItsCaptionFrameStartingTextAndRule) {
    RegisterPanel panel(kSarHeights);
    EXPECT_EQ(panel.objectName(), "DigitalFrame");
    EXPECT_EQ(panel.title(), "DIGITAL Peripherals - Click to Configure");
    // clang-format off
    const LayoutRow rows[] = {
        {"PWMCONSFR", "PWMCON", "PWMFrame", "PWM", "00", "Label27", "0"},
        {"PWM0HSFR", "PWM0H", "PWMFrame", "PWM", "00", "Label29", "0"},
        {"PWM0LSFR", "PWM0L", "PWMFrame", "PWM", "00", "Label30", "0"},
        {"PWM1HSFR", "PWM1H", "PWMFrame", "PWM", "00", "Label31", "0"},
        {"PWM1LSFR", "PWM1L", "PWMFrame", "PWM", "00", "Label32", "0"},
        {"P0SFR", "P0", "Frame5", "GPIO", "FF", nullptr, "0"},
        {"P1_0SFR", "P1.0", "Frame5", "GPIO", "1", nullptr, "1"},
        {"P1_1SFR", "P1.1", "Frame5", "GPIO", "1", nullptr, "1"},
        {"P2SFR", "P2", "Frame5", "GPIO", "FF", nullptr, "0"},
        {"P3SFR", "P3", "Frame5", "GPIO", "FF", nullptr, "0"},
        {"TCONSFR", "TCON", "Frame4", "Timer/Counters", "00", nullptr, "0"},
        {"TMODSFR", "TMOD", "Frame4", "Timer/Counters", "00", nullptr, "0"},
        {"T0SFR", "TH0/TL0", "Frame4", "Timer/Counters", "0000", nullptr, "1FF"},
        {"T1SFR", "TH1/TL1", "Frame4", "Timer/Counters", "0000", nullptr, "1FF"},
        {"TIMECONSFR", "TIMECON", "Frame4", "Timer/Counters", "00", nullptr, "0"},
        {"SCONSFR", "SCON", "Frame3", "UART Config", "", nullptr, "1ff"},
        {"T2CONSFR", "T2CON", "Frame3", "UART Config", "", nullptr, "1ff"},
        {"RCAP2HSFR", "RCAP2H", "Frame3", "UART Config", "", nullptr, "1ff"},
        {"RCAP2LSFR", "RCAP2L", "Frame3", "UART Config", "", nullptr, "1ff"},
        {"PLLCONSFR", "PLLCON", "Frame3", "UART Config", "", nullptr, "1ff"},
    };
    // clang-format on
    for (const auto& r : rows) {
        SCOPED_TRACE(r.box);
        auto* b = panel.findChild<QLineEdit*>(QString::fromLatin1(r.box));
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->accessibleName(), r.label);
        EXPECT_EQ(b->text(), r.start);
        auto* frame = qobject_cast<QGroupBox*>(b->parentWidget());
        ASSERT_NE(frame, nullptr);
        EXPECT_EQ(frame->objectName(), r.frame);
        EXPECT_EQ(frame->title(), r.frameTitle);
        QLabel* caption = captionOf(b);
        ASSERT_NE(caption, nullptr);
        EXPECT_EQ(caption->text(), r.label);
        EXPECT_TRUE(!r.named || caption->objectName() == r.named)
            << caption->objectName().toStdString();
        b->setText(QStringLiteral("1ff"));  // set by the program, not typed
        EXPECT_EQ(b->text(), r.is1ff);
    }
}

TEST(RegisterPanel, TypingRewritesAfterEveryKeyWithTheCaretAtTheEnd) {
    RegisterPanel panel(kSarHeights);
    panel.setFrameHeight(kSarHeights.expanded);
    // "1001" on an 8-bit box: "100" already reads 0, so the rest gives "01" -> "1", where a
    // rewrite of the whole typed text would give "0".
    const struct {
        QLineEdit* box;
        const char *typed, *shown;
    } cases[] = {
        {panel.TCONSFR, "1001", "1"}, {panel.T0SFR, "ffff", "FFFF"}, {panel.P1_0SFR, "7", "1"}};
    for (const auto& c : cases) {
        c.box->clear();
        QTest::keyClicks(c.box, QString::fromLatin1(c.typed));
        EXPECT_EQ(c.box->text(), c.shown) << c.typed;
        EXPECT_EQ(c.box->cursorPosition(), c.box->text().size()) << c.typed;
    }
}

TEST(RegisterPanel, ClickOnTheCaptionTogglesTheHeight) {
    RegisterPanel panel(kSarHeights);
    panel.resize(420, 40);
    panel.setFrameHeight(31);
    EXPECT_EQ(panel.height(), 31);
    EXPECT_FALSE(panel.T0SFR->isVisibleTo(&panel));

    QSignalSpy changes(&panel, &RegisterPanel::frameHeightChanged);
    QTest::mouseClick(&panel, Qt::LeftButton, {}, QPoint(30, 8));
    EXPECT_DOUBLE_EQ(panel.frameHeight(), 417.753);
    EXPECT_EQ(panel.height(), 418);
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

TEST(RegisterPanel, ThresholdRuleOfBothWindows) {
    const struct {
        FrameHeights heights;
        double start, after;
    } cases[] = {
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
