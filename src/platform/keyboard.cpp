#include "platform/keyboard.h"

#include <QApplication>
#include <QEvent>
#include <QGraphicsView>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QWidget>

namespace kelp::platform {

namespace {

const char* const kApplied = "kelpKeyboardConventions";

class Conventions final : public QObject {
public:
    Conventions(QObject* owner, QString escapeButton)
        : QObject(owner), escapeButton_(std::move(escapeButton)) {
        qApp->installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && watched->isWidgetType()) {
            auto* w = static_cast<QWidget*>(watched);
            if (w->isWindow()) ApplyKeyboardConventions(w, escapeButton_);
        }
        return false;
    }

private:
    QString escapeButton_;
};

}  // namespace

void ApplyKeyboardConventions(QWidget* window, const QString& escapeButton) {
    if (window->property(kApplied).toBool()) return;
    window->setProperty(kApplied, true);
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (auto* button = qobject_cast<QPushButton*>(w)) button->setAutoDefault(true);
        // A chart or a scrolling column is no stop of its own: Tab goes to the controls.
        if (qobject_cast<QGraphicsView*>(w) || qobject_cast<QScrollArea*>(w))
            w->setFocusPolicy(Qt::NoFocus);
    }
    if (escapeButton.isEmpty()) return;
    auto* button = window->findChild<QPushButton*>(escapeButton);
    if (!button) return;
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), window);
    QObject::connect(escape, &QShortcut::activated, button, [button] {
        if (button->isVisible() && button->isEnabled()) button->click();
    });
}

void InstallKeyboardConventions(QObject* owner, const QString& escapeButton) {
    new Conventions(owner, escapeButton);
}

}  // namespace kelp::platform
