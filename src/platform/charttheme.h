#pragma once

#include <QColor>
#include <QPalette>
#include <QString>
#include <functional>

class QChart;
class QWidget;

namespace kelp::platform {

// A palette is dark when its window colour is.
bool isDark(const QPalette& palette);

// The colours a chart draws with, fitting the palette of the widget it lies in: a light chart
// in a light window, a dark one in a dark window. The trace keeps its hue in both; data
// colours (histogram bars) are the caller's and stay as they are.
struct ChartColours {
    QColor background;
    QColor grid;
    QColor axis;
    QColor text;
    QColor trace;
};
ChartColours chartColours(const QPalette& palette);

// Gives `chart` the light or dark theme of `widget`'s palette now and whenever that palette
// changes; `themed` runs after each change (a theme resets series colours).
void followPalette(QWidget* widget, QChart* chart, std::function<void()> themed = {});

// The program's look: "dark" or "light" set a palette of that kind on the Fusion style;
// anything else keeps what the desktop gives. Call once QApplication exists, before windows.
void chooseAppearance(const QString& choice);

// What the user asked for: `--dark` or `--light` on the command line, else the KELP_THEME
// environment variable, else nothing (the desktop's palette).
QString appearanceChoice(int argc, char** argv);

}  // namespace kelp::platform
