#pragma once

#include <QGroupBox>

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
// typed or set by the program; the UART boxes are free text.
class RegisterPanel final : public QGroupBox {
    Q_OBJECT
public:
    explicit RegisterPanel(const FrameHeights& heights, QWidget* parent = nullptr);

    // The frame's height in the window's units (pixels; fractions are kept for the rule
    // and rounded for display). The boxes show only when the frame is expanded.
    double frameHeight() const { return height_; }
    void setFrameHeight(double height);
    bool isExpanded() const;

    void DigitalFrame_Click();

    QGroupBox* PWMFrame = nullptr;
    QGroupBox* Frame5 = nullptr;
    QGroupBox* Frame4 = nullptr;
    QGroupBox* Frame3 = nullptr;

    QLineEdit* PWMCONSFR = nullptr;
    QLineEdit* PWM0HSFR = nullptr;
    QLineEdit* PWM0LSFR = nullptr;
    QLineEdit* PWM1HSFR = nullptr;
    QLineEdit* PWM1LSFR = nullptr;
    QLineEdit* P0SFR = nullptr;
    QLineEdit* P1_0SFR = nullptr;
    QLineEdit* P1_1SFR = nullptr;
    QLineEdit* P2SFR = nullptr;
    QLineEdit* P3SFR = nullptr;
    QLineEdit* TCONSFR = nullptr;
    QLineEdit* TMODSFR = nullptr;
    QLineEdit* T0SFR = nullptr;
    QLineEdit* T1SFR = nullptr;
    QLineEdit* TIMECONSFR = nullptr;
    QLineEdit* SCONSFR = nullptr;
    QLineEdit* T2CONSFR = nullptr;
    QLineEdit* RCAP2HSFR = nullptr;
    QLineEdit* RCAP2LSFR = nullptr;
    QLineEdit* PLLCONSFR = nullptr;

    QLabel* Label27 = nullptr;
    QLabel* Label29 = nullptr;
    QLabel* Label30 = nullptr;
    QLabel* Label31 = nullptr;
    QLabel* Label32 = nullptr;

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
    void mouseMoveEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    void buildBoxes();
    void connectHandlers();
    bool inCaption(const QPointF& position) const;

    FrameHeights heights_;
    double height_;
    QWidget* content_ = nullptr;
    bool pressedInCaption_ = false;
};

}  // namespace kelp::link
