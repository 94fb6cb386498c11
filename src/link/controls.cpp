#include "link/controls.h"

#include <QEvent>
#include <QGroupBox>
#include <QStyleOptionGroupBox>
#include <QStylePainter>

namespace kelp::link {

namespace {

// Paints a frame as QGroupBox does, with its caption in the disabled text colour. The frame's
// palette stays as it is: a palette set on the frame would pass to every control in it, each
// new window would give them palettes never seen before, and the style would cache its
// drawings of them afresh for every window until its cache is full.
class GreyCaption final : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* frame = qobject_cast<QGroupBox*>(watched);
        // A check box in the caption would need the frame's own hover and press state.
        if (event->type() != QEvent::Paint || !frame || frame->isCheckable()) return false;
        QStyleOptionGroupBox option;
        option.initFrom(frame);
        option.text = frame->title();
        option.lineWidth = 1;
        option.midLineWidth = 0;
        option.textAlignment = frame->alignment();
        option.subControls = QStyle::SC_GroupBoxFrame;
        if (!option.text.isEmpty()) option.subControls |= QStyle::SC_GroupBoxLabel;
        if (frame->isFlat()) option.features |= QStyleOptionFrame::Flat;
        // Some styles take the caption's colour from the palette, others from textColor.
        const QColor grey = option.palette.color(QPalette::Disabled, QPalette::WindowText);
        option.palette.setColor(QPalette::Active, QPalette::WindowText, grey);
        option.palette.setColor(QPalette::Inactive, QPalette::WindowText, grey);
        option.textColor = grey;
        QStylePainter painter(frame);
        painter.drawComplexControl(QStyle::CC_GroupBox, option);
        return true;
    }
};

bool greyed(const QGroupBox* frame) {
    for (const QObject* child : frame->children())
        if (dynamic_cast<const GreyCaption*>(child)) return true;
    return false;
}

}  // namespace

void DisableControls(QWidget* window, std::span<const std::string_view> names) {
    for (std::string_view name : names) {
        auto* control = window->findChild<QWidget*>(
            QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
        if (!control) continue;
        auto* frame = qobject_cast<QGroupBox*>(control);
        if (!frame) {
            control->setEnabled(false);
        } else if (!greyed(frame)) {
            frame->installEventFilter(new GreyCaption(frame));
            frame->update();
        }
    }
}

}  // namespace kelp::link
