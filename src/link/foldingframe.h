#pragma once

#include <QGroupBox>

namespace kelp::link {

// The collapsible frame heights of an evaluation window, in the window's units. A click
// expands a frame lower than `threshold` and collapses any other.
struct FrameHeights {
    double threshold;
    double expanded;
    double collapsed;
    double pixelsPerUnit = 1.0;
};

// A frame that a click anywhere on it, outside its own controls, expands or collapses. For the
// keyboard it is a Tab stop of its own: Space while the frame itself has the focus does what a
// click does; no other key folds it, nor any key typed in its controls (Enter in a box). Its folded
// part shows only while it is expanded.
class FoldingFrame : public QGroupBox {
    Q_OBJECT
public:
    FoldingFrame(const QString& caption, const FrameHeights& heights, QWidget* parent = nullptr);

    // The frame's height in the window's units (pixels; fractions are kept for the rule
    // and rounded for display).
    double frameHeight() const { return height_; }
    void setFrameHeight(double height);
    bool isExpanded() const;
    // Expands a frame below the threshold, collapses any other.
    void toggle();

signals:
    void frameHeightChanged(double height);

protected:
    // The part shown only while expanded; the frame's subclass fills it.
    QWidget* foldedPart() const { return folded_; }
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    // The click handler named after the frame.
    virtual void clicked() { toggle(); }

private:
    FrameHeights heights_;
    double height_;
    QWidget* folded_;
    bool pressed_ = false;
};

}  // namespace kelp::link
