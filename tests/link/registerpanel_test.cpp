#include "link/registerpanel.h"

#include <gtest/gtest.h>

#include <QLineEdit>
#include <QTest>

#include "support/widgets.h"

namespace kelp::link {
namespace {

using testing::child;

constexpr FrameHeights kHeights{35, 417.753, 31};

// A text set by the program is rewritten like a typed one, by that box's own rule; the UART
// boxes keep any text.
TEST(RegisterPanel, EveryBoxKeepsToItsOwnRule) {
    RegisterPanel panel(kHeights);
    EXPECT_EQ(child<QLineEdit>(&panel, "PWMCONSFR")->text(), "00");  // as designed until edited
    QStringList shown;
    for (const char* name :
         {"PWMCONSFR",  "PWM0HSFR", "PWM0LSFR", "PWM1HSFR",  "PWM1LSFR",  "P0SFR",    "P1_0SFR",
          "P1_1SFR",    "P2SFR",    "P3SFR",    "TCONSFR",   "TMODSFR",   "T0SFR",    "T1SFR",
          "TIMECONSFR", "SCONSFR",  "T2CONSFR", "RCAP2HSFR", "RCAP2LSFR", "PLLCONSFR"}) {
        auto* box = child<QLineEdit>(&panel, name);
        box->setText(QStringLiteral("1ff"));
        shown << box->text();
    }
    EXPECT_EQ(shown.join(' ').toStdString(),
              "0 0 0 0 0 0 1 1 0 0 0 0 1FF 1FF 0 1ff 1ff 1ff 1ff 1ff");
}

// Every key rewrites the box: "1001" in an 8-bit box reads 0 at "100", then "01" gives "1",
// where one rewrite of the whole text would give "0".
TEST(RegisterPanel, TypingRewritesAfterEveryKeyWithTheCaretAtTheEnd) {
    RegisterPanel panel(kHeights);
    const struct {
        const char *box, *typed, *shown;
    } cases[] = {{"TCONSFR", "1001", "1"}, {"T0SFR", "ffff", "FFFF"}, {"P1_0SFR", "7", "1"}};
    for (const auto& c : cases) {
        auto* box = child<QLineEdit>(&panel, c.box);
        box->clear();
        QTest::keyClicks(box, QString::fromLatin1(c.typed));
        EXPECT_EQ(box->text(), c.shown) << c.typed;
        EXPECT_EQ(box->cursorPosition(), box->text().size()) << c.typed;
    }
}

}  // namespace
}  // namespace kelp::link
