#include "platform/charttheme.h"

#include <QApplication>
#include <QChart>
#include <QEvent>
#include <QStyle>
#include <QStyleFactory>
#include <QWidget>
#include <cstring>
#include <utility>

namespace kelp::platform {

namespace {

// Re-themes its chart when the watched widget's palette changes.
class PaletteFollower final : public QObject {
public:
    PaletteFollower(QWidget* widget, QChart* chart, std::function<void()> themed)
        : QObject(widget), widget_(widget), chart_(chart), themed_(std::move(themed)) {
        widget->installEventFilter(this);
        apply();
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched == widget_ && (event->type() == QEvent::PaletteChange ||
                                   event->type() == QEvent::ApplicationPaletteChange))
            apply();
        return false;
    }

private:
    void apply() {
        const auto theme =
            isDark(widget_->palette()) ? QChart::ChartThemeDark : QChart::ChartThemeLight;
        if (chart_->theme() == theme) return;
        chart_->setTheme(theme);
        if (themed_) themed_();
    }

    QWidget* widget_;
    QChart* chart_;
    std::function<void()> themed_;
};

QPalette darkPalette() {
    QPalette p;
    const QColor window(0x2b, 0x2d, 0x30), base(0x1e, 0x1f, 0x22), text(0xe6, 0xe6, 0xe6);
    const QColor greyed(0x80, 0x82, 0x86);
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, window);
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::PlaceholderText, greyed);
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::Button, QColor(0x3a, 0x3c, 0x40));
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, QColor(0xff, 0x6b, 0x6b));
    p.setColor(QPalette::Light, QColor(0x4a, 0x4c, 0x50));
    p.setColor(QPalette::Midlight, QColor(0x40, 0x42, 0x46));
    p.setColor(QPalette::Mid, QColor(0x30, 0x32, 0x35));
    p.setColor(QPalette::Dark, QColor(0x18, 0x19, 0x1b));
    p.setColor(QPalette::Shadow, Qt::black);
    p.setColor(QPalette::Highlight, QColor(0x3d, 0x8e, 0xd8));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, QColor(0x6c, 0xb4, 0xf0));
    for (auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, greyed);
    p.setColor(QPalette::Disabled, QPalette::Base, window);
    return p;
}

}  // namespace

bool isDark(const QPalette& palette) { return palette.color(QPalette::Window).lightness() < 128; }

ChartColours chartColours(const QPalette& palette) {
    if (isDark(palette))
        return {QColor(0x1e, 0x1f, 0x22), QColor(0x3a, 0x3c, 0x40), QColor(0x60, 0x62, 0x66),
                QColor(0xd8, 0xd8, 0xdc), QColor(0x5a, 0xaa, 0xf0)};
    return {Qt::white, QColor(0xe2, 0xe2, 0xe2), QColor(0xd6, 0xd6, 0xd6), QColor(0x40, 0x40, 0x44),
            QColor(0x1f, 0x6f, 0xb4)};
}

void followPalette(QWidget* widget, QChart* chart, std::function<void()> themed) {
    new PaletteFollower(widget, chart, std::move(themed));
}

void chooseAppearance(const QString& choice) {
    if (choice != "dark" && choice != "light") return;
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(choice == "dark" ? darkPalette()
                                              : QApplication::style()->standardPalette());
}

QString appearanceChoice(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--dark") == 0) return "dark";
        if (std::strcmp(argv[i], "--light") == 0) return "light";
    }
    return qEnvironmentVariable("KELP_THEME").toLower();
}

}  // namespace kelp::platform
