#include "link/foldingframe.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>
#include <cmath>

namespace kelp::link {

FoldingFrame::FoldingFrame(const QString& caption, const FrameHeights& heights, QWidget* parent)
    : QGroupBox(caption, parent),
      heights_(heights),
      height_(heights.expanded),
      folded_(new QWidget(this)) {
    setAccessibleName(caption);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
}

bool FoldingFrame::isExpanded() const { return height_ >= heights_.threshold; }

void FoldingFrame::setFrameHeight(double height) {
    if (!std::isfinite(height) || height < 0) height = heights_.collapsed;
    height_ = height;
    folded_->setVisible(isExpanded());
    setFixedHeight(static_cast<int>(std::lround(height_ * heights_.pixelsPerUnit)));
    emit frameHeightChanged(height_);
}

void FoldingFrame::toggle() {
    setFrameHeight(height_ < heights_.threshold ? heights_.expanded : heights_.collapsed);
}

// Clicks on a control are the control's own; any other click on the frame, its inner frames
// or its labels comes here.
void FoldingFrame::mousePressEvent(QMouseEvent* event) {
    pressed_ = event->button() == Qt::LeftButton;
    event->accept();
}

void FoldingFrame::mouseReleaseEvent(QMouseEvent* event) {
    const bool click = pressed_ && event->button() == Qt::LeftButton &&
                       rect().contains(event->position().toPoint());
    pressed_ = false;
    event->accept();
    if (click) clicked();
}

// A group box takes Space for itself before its key handler sees it; only Space pressed on the
// frame itself folds it (keys that a control inside ignores, like Enter in a box, pass on).
bool FoldingFrame::event(QEvent* event) {
    if (event->type() == QEvent::KeyPress && hasFocus()) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) {
            if (!key->isAutoRepeat()) clicked();
            return true;
        }
    }
    return QGroupBox::event(event);
}

// The style draws no focus mark on a plain group box: mark the caption while it has the focus.
void FoldingFrame::paintEvent(QPaintEvent* event) {
    QGroupBox::paintEvent(event);
    if (!hasFocus()) return;
    QStyleOptionGroupBox box;
    initStyleOption(&box);
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    focus.rect = style()
                     ->subControlRect(QStyle::CC_GroupBox, &box, QStyle::SC_GroupBoxLabel, this)
                     .adjusted(-2, 0, 2, 0);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

}  // namespace kelp::link
