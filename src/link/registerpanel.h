#pragma once

#include <QGroupBox>
#include <memory>
#include <string_view>

#include "link/registerrules.h"

class QLabel;
class QLineEdit;

namespace kelp::link {

// The collapsible frame heights of an evaluation window, in pixels. A click on the caption
// expands a frame lower than `threshold` and collapses any other.
struct FrameHeights {
    double threshold;
    double expanded;
    double collapsed;
};

// DigitalFrame: the digital-peripheral register boxes of both evaluation windows, in four
// group frames. Every verified box rewrites itself to its canonical text on every change,
// typed or set by the program; the UART boxes are free text. A click anywhere on the frame
// outside a box expands or collapses it; no key does.
class RegisterPanel final : public QGroupBox {
    Q_OBJECT
public:
    explicit RegisterPanel(const FrameHeights& heights, QWidget* parent = nullptr);
    ~RegisterPanel() override;

    struct Boxes;  // the boxes and group frames, known only to the panel

    // The frame's height in the window's units (pixels; fractions are kept for the rule
    // and rounded for display). The boxes show only when the frame is expanded.
    double frameHeight() const { return height_; }
    void setFrameHeight(double height);
    bool isExpanded() const;

    void DigitalFrame_Click();

    // A register box by its name ("T0SFR", "PLLCONSFR"); nullptr for an unknown name.
    QLineEdit* box(std::string_view name) const;
    // The texts a configuration message carries.
    RegisterTexts texts() const;

    // Edit handlers: each rewrites its box to the canonical text.
    void PWMCONSFR_Change();
    void PWM0HSFR_Change();
    void PWM0LSFR_Change();
    void PWM1HSFR_Change();
    void PWM1LSFR_Change();
    void P0SFR_Change();
    void P1_0SFR_Change();
    void P1_1SFR_Change();
    void P2SFR_Change();
    void P3SFR_Change();
    void TCONSFR_Change();
    void TMODSFR_Change();
    void T0SFR_Change();
    void T1SFR_Change();
    void TIMECONSFR_Change();

signals:
    void frameHeightChanged(double height);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void buildBoxes();
    void connectHandlers();

    std::unique_ptr<Boxes> boxes_;
    FrameHeights heights_;
    double height_;
    QWidget* content_ = nullptr;
    bool pressed_ = false;
};

}  // namespace kelp::link
