#pragma once

#include <QString>

class QObject;
class QWidget;

namespace kelp::platform {

// The program's keyboard conventions, given to each top-level window when it is first shown:
// - Enter or Return presses the focused push button, as Space does;
// - Escape clicks the window's push button named `escapeButton`, if it has one that is
//   visible and enabled (the analysis windows' return button); elsewhere it does nothing;
// - charts and scrolling columns are no Tab stops of their own.
// The conventions live as long as `owner`.
void InstallKeyboardConventions(QObject* owner, const QString& escapeButton);

// The conventions for one window now; the filter above calls this.
void ApplyKeyboardConventions(QWidget* window, const QString& escapeButton);

}  // namespace kelp::platform
