// Walks every window of the program with the keyboard: the Tab chain, the names assistive
// tools read, the mnemonics, Escape and Enter.

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <functional>
#include <map>

#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "link/foldingframe.h"
#include "shell/application.h"
#include "support/widgets.h"

namespace kelp::shell {
namespace {

using testing::child;

bool isInput(const QWidget* w) {
    if (qobject_cast<const QLineEdit*>(w))
        return !qobject_cast<const QComboBox*>(w->parentWidget());
    return qobject_cast<const QAbstractButton*>(w) || qobject_cast<const QComboBox*>(w) ||
           qobject_cast<const link::FoldingFrame*>(w) || qobject_cast<const QAbstractSpinBox*>(w);
}

QList<QWidget*> inputs(QWidget* window) {
    QList<QWidget*> out;
    for (QWidget* w : window->findChildren<QWidget*>())
        if (isInput(w) && w->isVisible() && w->isEnabled() && w->focusPolicy() & Qt::TabFocus)
            out << w;
    return out;
}

// The controls Tab visits, from the one focused on activation round to it again.
QList<QWidget*> tabChain(QWidget* window) {
    window->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window));
    if (!QApplication::focusWidget()) QTest::keyClick(window, Qt::Key_Tab);
    QList<QWidget*> chain;
    for (QWidget* w = QApplication::focusWidget(); w && chain.size() < 400;) {
        if (chain.contains(w)) break;
        chain << w;
        QTest::keyClick(w, Qt::Key_Tab);
        w = QApplication::focusWidget();
    }
    return chain;
}

// The group box a control sits in (null for none).
const QGroupBox* groupOf(const QWidget* w) {
    for (QWidget* p = w->parentWidget(); p && !p->isWindow(); p = p->parentWidget())
        if (auto* box = qobject_cast<QGroupBox*>(p)) return box;
    return nullptr;
}

QChar mnemonic(const QString& text) {
    const qsizetype at = text.indexOf(QRegularExpression("&[^&]"));
    return at < 0 ? QChar() : text.at(at + 1).toUpper();
}

struct Windows {
    Windows() : kelp(options()) {
        kelp.show();
        child<QComboBox>(kelp.mainWindow(), "ComSelect")->setCurrentIndex(1);
    }
    static ApplicationOptions options() {
        ApplicationOptions o;
        o.listSystemPorts = false;
        o.virtualBoard = false;
        return o;
    }
    QWidget* next(const char* model) {
        child<QComboBox>(kelp.mainWindow(), "VantorCombobox")->setCurrentText(model);
        child<QPushButton>(kelp.mainWindow(), "NextButton")->click();
        return kelp.evaluationWindow();
    }
    template <class W>
    QWidget* analysis() {
        opened = std::make_unique<W>("Zylo580");
        opened->show();
        return opened.get();
    }
    Application kelp;
    std::unique_ptr<QWidget> opened;
};

struct WindowCase {
    const char* name;
    std::function<QWidget*(Windows&)> open;
    const char* first;  // focused when the window opens
    const char* last;   // Tab goes round from here
    bool escapeHides;   // Escape and Enter on the return button hide the window
};

class KeyboardTest : public ::testing::TestWithParam<WindowCase> {};

TEST_P(KeyboardTest, TabReachesEveryControlOnceGroupByGroupFromTheFirstToTheAction) {
    Windows windows;
    QWidget* window = GetParam().open(windows);
    ASSERT_TRUE(window);
    const QList<QWidget*> chain = tabChain(window);
    ASSERT_FALSE(chain.isEmpty());
    EXPECT_EQ(chain.first()->objectName().toStdString(), GetParam().first);
    EXPECT_EQ(chain.last()->objectName().toStdString(), GetParam().last);
    for (QWidget* w : inputs(window))
        EXPECT_EQ(chain.count(w), 1) << w->objectName().toStdString() << " not in the Tab chain";
    for (QWidget* w : chain)
        EXPECT_TRUE(isInput(w)) << "Tab stops at a " << w->metaObject()->className();
    // Tab does not leave a group and come back to it.
    std::vector<const QGroupBox*> left;
    for (qsizetype i = 1; i < chain.size(); ++i) {
        const QGroupBox* before = groupOf(chain[i - 1]);
        const QGroupBox* now = groupOf(chain[i]);
        if (before == now) continue;
        if (before) left.push_back(before);
        EXPECT_EQ(std::count(left.begin(), left.end(), now), 0)
            << "Tab comes back to " << now->title().toStdString() << " at "
            << chain[i]->objectName().toStdString();
    }
}

TEST_P(KeyboardTest, EveryControlHasANameAndMnemonicsAreUnique) {
    Windows windows;
    QWidget* window = GetParam().open(windows);
    ASSERT_TRUE(window);
    std::map<QChar, QString> letters;
    auto claim = [&](const QString& text, const QString& owner) {
        const QChar letter = mnemonic(text);
        if (letter.isNull()) return;
        EXPECT_FALSE(letters.count(letter))
            << "&" << QString(letter).toStdString() << " of " << owner.toStdString() << " is also "
            << letters[letter].toStdString();
        letters[letter] = owner;
    };
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (!isInput(w) || !w->isVisible()) continue;
        QAccessibleInterface* a = QAccessible::queryAccessibleInterface(w);
        EXPECT_FALSE(a->text(QAccessible::Name).trimmed().isEmpty())
            << w->objectName().toStdString() << " has no accessible name";
        if (auto* b = qobject_cast<QAbstractButton*>(w)) claim(b->text(), b->objectName());
    }
    for (QLabel* l : window->findChildren<QLabel*>())
        if (l->buddy() && l->isVisible()) claim(l->text(), l->objectName());
    if (auto* bar = window->findChild<QMenuBar*>())
        for (QAction* menu : bar->actions()) claim(menu->text(), menu->text());
}

TEST_P(KeyboardTest, EscapeAndEnterReturnFromAnAnalysisOnly) {
    Windows windows;
    QWidget* window = GetParam().open(windows);
    ASSERT_TRUE(window);
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_EQ(window->isVisible(), !GetParam().escapeHides);
    if (!GetParam().escapeHides) return;
    window->show();
    auto* back = child<QPushButton>(window, "ReturnButton");
    back->setFocus();
    QTest::keyClick(back, Qt::Key_Return);
    EXPECT_FALSE(window->isVisible());
}

INSTANTIATE_TEST_SUITE_P(
    Windows, KeyboardTest,
    ::testing::Values(
        WindowCase{"KELP", [](Windows& w) -> QWidget* { return w.kelp.mainWindow(); }, "ComSelect",
                   "NextButton", false},
        WindowCase{"SAR_KELP", [](Windows& w) { return w.next("Zylo570"); }, "ADCButton",
                   "RunButton", false},
        WindowCase{"SD_KELP", [](Windows& w) { return w.next("Zylo580"); }, "PrimaryADCButton",
                   "RunButton", false},
        WindowCase{"SAR_KELP_Analysis",
                   [](Windows& w) { return w.analysis<analysis::SarAnalysisWindow>(); },
                   "ReturnButton", "MaxCodeHistogramTextbox", true},
        WindowCase{"SD_KELP_Analysis",
                   [](Windows& w) { return w.analysis<analysis::SdAnalysisWindow>(); },
                   "ReturnButton", "AuxNoiseFreeBitsTextbox", true}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace kelp::shell
