#include "link/foldingframe.h"

#include <QMouseEvent>
#include <cmath>

namespace kelp::link {

FoldingFrame::FoldingFrame(const QString& caption, const FrameHeights& heights, QWidget* parent)
    : QGroupBox(caption, parent),
      heights_(heights),
      height_(heights.expanded),
      folded_(new QWidget(this)) {
    setAccessibleName(caption);
    setCursor(Qt::PointingHandCursor);
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

}  // namespace kelp::link
