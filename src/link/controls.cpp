#include "link/controls.h"

#include <QGroupBox>
#include <QLabel>
#include <QPalette>

namespace kelp::link {

void DisableControls(QWidget* window, std::span<const std::string_view> names) {
    for (std::string_view name : names) {
        auto* control = window->findChild<QWidget*>(
            QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
        if (!control) continue;
        auto* frame = qobject_cast<QGroupBox*>(control);
        if (!frame) {
            control->setEnabled(false);
            continue;
        }
        const QPalette normal = frame->palette();
        QPalette greyed = normal;
        greyed.setColor(QPalette::Active, QPalette::WindowText,
                        normal.color(QPalette::Disabled, QPalette::WindowText));
        greyed.setColor(QPalette::Inactive, QPalette::WindowText,
                        normal.color(QPalette::Disabled, QPalette::WindowText));
        frame->setPalette(greyed);
        // Labels inherit the frame's palette; those still in use keep the normal look.
        for (QLabel* label : frame->findChildren<QLabel*>())
            if (label->isEnabled()) label->setPalette(normal);
    }
}

}  // namespace kelp::link
