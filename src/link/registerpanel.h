#pragma once

#include <memory>
#include <string_view>

#include "link/foldingframe.h"
#include "link/registerrules.h"

class QLabel;
class QLineEdit;

namespace kelp::link {

// DigitalFrame: the digital-peripheral register boxes of both evaluation windows, in four
// group frames. Every verified box rewrites itself to its canonical text on every change,
// typed or set by the program; the UART boxes are free text. A click anywhere on the frame
// outside a box expands or collapses it; no key does.
class RegisterPanel final : public FoldingFrame {
    Q_OBJECT
public:
    explicit RegisterPanel(const FrameHeights& heights, QWidget* parent = nullptr);
    ~RegisterPanel() override;

    struct Boxes;  // the boxes and group frames, known only to the panel

    void DigitalFrame_Click();

    // A register box by its name ("T0SFR", "PLLCONSFR"); nullptr for an unknown name.
    QLineEdit* box(std::string_view name) const;
    // A group frame by its name ("Frame3"), for a window that adds a control of its own.
    QGroupBox* groupFrame(std::string_view name) const;
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

protected:
    void clicked() override { DigitalFrame_Click(); }

private:
    void buildBoxes();
    void connectHandlers();

    std::unique_ptr<Boxes> boxes_;
};

}  // namespace kelp::link
