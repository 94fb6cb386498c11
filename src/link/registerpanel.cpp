#include "link/registerpanel.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>
#include <string>
#include <string_view>

#include "link/registerrules.h"

namespace kelp::link {

namespace {

using Rule = std::string (*)(std::string_view);

// Rewrites the box to its canonical text. The rewrite is itself a change and comes back
// here once more, finding the text canonical; setText leaves the caret at the end.
void verifyBox(QLineEdit* box, Rule rule) {
    const QString canonical = QString::fromStdString(rule(box->text().toStdString()));
    if (canonical != box->text()) box->setText(canonical);
}

enum Group { kPwm, kGpio, kTimers, kUart, kGroupCount };

}  // namespace

struct RegisterPanel::Boxes {
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
};

namespace {

struct BoxRow {
    QLineEdit* RegisterPanel::Boxes::*box;
    const char* name;
    const char* label;
    const char* labelName;  // the labels the window names; nullptr for the others
    Group group;
    const char* start;                 // nullptr: the window fills it
    void (RegisterPanel::*handler)();  // nullptr: not verified
};

using P = RegisterPanel;
using B = RegisterPanel::Boxes;

const BoxRow kBoxes[] = {
    {&B::PWMCONSFR, "PWMCONSFR", "PWMCON", "Label27", kPwm, "00", &P::PWMCONSFR_Change},
    {&B::PWM0HSFR, "PWM0HSFR", "PWM0H", "Label29", kPwm, "00", &P::PWM0HSFR_Change},
    {&B::PWM0LSFR, "PWM0LSFR", "PWM0L", "Label30", kPwm, "00", &P::PWM0LSFR_Change},
    {&B::PWM1HSFR, "PWM1HSFR", "PWM1H", "Label31", kPwm, "00", &P::PWM1HSFR_Change},
    {&B::PWM1LSFR, "PWM1LSFR", "PWM1L", "Label32", kPwm, "00", &P::PWM1LSFR_Change},
    {&B::P0SFR, "P0SFR", "P0", nullptr, kGpio, "FF", &P::P0SFR_Change},
    {&B::P1_0SFR, "P1_0SFR", "P1.0", nullptr, kGpio, "1", &P::P1_0SFR_Change},
    {&B::P1_1SFR, "P1_1SFR", "P1.1", nullptr, kGpio, "1", &P::P1_1SFR_Change},
    {&B::P2SFR, "P2SFR", "P2", nullptr, kGpio, "FF", &P::P2SFR_Change},
    {&B::P3SFR, "P3SFR", "P3", nullptr, kGpio, "FF", &P::P3SFR_Change},
    {&B::TCONSFR, "TCONSFR", "TCON", nullptr, kTimers, "00", &P::TCONSFR_Change},
    {&B::TMODSFR, "TMODSFR", "TMOD", nullptr, kTimers, "00", &P::TMODSFR_Change},
    {&B::T0SFR, "T0SFR", "TH0/TL0", nullptr, kTimers, "0000", &P::T0SFR_Change},
    {&B::T1SFR, "T1SFR", "TH1/TL1", nullptr, kTimers, "0000", &P::T1SFR_Change},
    {&B::TIMECONSFR, "TIMECONSFR", "TIMECON", nullptr, kTimers, "00", &P::TIMECONSFR_Change},
    {&B::SCONSFR, "SCONSFR", "SCON", nullptr, kUart, nullptr, nullptr},
    {&B::T2CONSFR, "T2CONSFR", "T2CON", nullptr, kUart, nullptr, nullptr},
    {&B::RCAP2HSFR, "RCAP2HSFR", "RCAP2H", nullptr, kUart, nullptr, nullptr},
    {&B::RCAP2LSFR, "RCAP2LSFR", "RCAP2L", nullptr, kUart, nullptr, nullptr},
    {&B::PLLCONSFR, "PLLCONSFR", "PLLCON", nullptr, kUart, nullptr, nullptr},
};

struct GroupRow {
    QGroupBox* RegisterPanel::Boxes::*frame;
    const char* name;
    const char* caption;
};

const GroupRow kGroups[kGroupCount] = {
    {&B::PWMFrame, "PWMFrame", "PWM"},
    {&B::Frame5, "Frame5", "GPIO"},
    {&B::Frame4, "Frame4", "Timer/Counters"},
    {&B::Frame3, "Frame3", "UART Config"},
};

}  // namespace

RegisterPanel::RegisterPanel(const FrameHeights& heights, QWidget* parent)
    : FoldingFrame(QStringLiteral("DIGITAL Peripherals - Click to Configure"), heights, parent),
      boxes_(std::make_unique<Boxes>()) {
    setObjectName(QStringLiteral("DigitalFrame"));
    setToolTip(tr("Click the frame to show or hide the register boxes"));
    buildBoxes();
    connectHandlers();
    setFrameHeight(heights.expanded);
}

RegisterPanel::~RegisterPanel() = default;

void RegisterPanel::buildBoxes() {
    QWidget* content = foldedPart();
    auto* grid = new QGridLayout(content);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);

    QGridLayout* groupLayouts[kGroupCount];
    for (int g = 0; g < kGroupCount; ++g) {
        auto* frame = new QGroupBox(QString::fromLatin1(kGroups[g].caption), content);
        frame->setObjectName(QString::fromLatin1(kGroups[g].name));
        boxes_.get()->*kGroups[g].frame = frame;
        groupLayouts[g] = new QGridLayout(frame);
        groupLayouts[g]->setContentsMargins(8, 4, 8, 6);
        groupLayouts[g]->setVerticalSpacing(3);
        groupLayouts[g]->setColumnStretch(0, 1);
        grid->addWidget(frame, g / 2, g % 2);
    }

    int rows[kGroupCount] = {};
    for (const BoxRow& row : kBoxes) {
        QGroupBox* frame = boxes_.get()->*kGroups[row.group].frame;
        auto* box = new QLineEdit(frame);
        box->setObjectName(QString::fromLatin1(row.name));
        box->setAccessibleName(QString::fromLatin1(row.label));
        box->setFixedWidth(56);
        if (row.start) box->setText(QString::fromLatin1(row.start));
        box->setCursor(Qt::IBeamCursor);
        boxes_.get()->*row.box = box;

        auto* label = new QLabel(QString::fromLatin1(row.label), frame);
        label->setBuddy(box);
        if (row.labelName) {
            label->setObjectName(QString::fromLatin1(row.labelName));
        } else {
            label->setObjectName(QString::fromLatin1(row.name) + QStringLiteral("Label"));
        }
        auto* hex = new QLabel(QStringLiteral("Hex"), frame);
        hex->setObjectName(QString::fromLatin1(row.name) + QStringLiteral("Hex"));

        const int r = rows[row.group]++;
        groupLayouts[row.group]->addWidget(label, r, 0);
        groupLayouts[row.group]->addWidget(box, r, 1);
        groupLayouts[row.group]->addWidget(hex, r, 2);
    }

    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(8, 4, 8, 8);
    outer->addWidget(content);
    outer->addStretch(1);
}

// Connected after the starting texts are in, so those stay as designed ("00") until edited.
void RegisterPanel::connectHandlers() {
    for (const BoxRow& row : kBoxes) {
        if (row.handler)
            connect(boxes_.get()->*row.box, &QLineEdit::textChanged, this, row.handler);
    }
}

void RegisterPanel::PWMCONSFR_Change() { verifyBox(boxes_->PWMCONSFR, Verify8bitSFR); }
void RegisterPanel::PWM0HSFR_Change() { verifyBox(boxes_->PWM0HSFR, Verify8bitSFR); }
void RegisterPanel::PWM0LSFR_Change() { verifyBox(boxes_->PWM0LSFR, Verify8bitSFR); }
void RegisterPanel::PWM1HSFR_Change() { verifyBox(boxes_->PWM1HSFR, Verify8bitSFR); }
void RegisterPanel::PWM1LSFR_Change() { verifyBox(boxes_->PWM1LSFR, Verify8bitSFR); }
void RegisterPanel::P0SFR_Change() { verifyBox(boxes_->P0SFR, Verify8bitSFR); }
void RegisterPanel::P1_0SFR_Change() { verifyBox(boxes_->P1_0SFR, Verify1bitSFR); }
void RegisterPanel::P1_1SFR_Change() { verifyBox(boxes_->P1_1SFR, Verify1bitSFR); }
void RegisterPanel::P2SFR_Change() { verifyBox(boxes_->P2SFR, Verify8bitSFR); }
void RegisterPanel::P3SFR_Change() { verifyBox(boxes_->P3SFR, Verify8bitSFR); }
void RegisterPanel::TCONSFR_Change() { verifyBox(boxes_->TCONSFR, Verify8bitSFR); }
void RegisterPanel::TMODSFR_Change() { verifyBox(boxes_->TMODSFR, Verify8bitSFR); }
void RegisterPanel::T0SFR_Change() { verifyBox(boxes_->T0SFR, Verify16bitSFR); }
void RegisterPanel::T1SFR_Change() { verifyBox(boxes_->T1SFR, Verify16bitSFR); }
void RegisterPanel::TIMECONSFR_Change() { verifyBox(boxes_->TIMECONSFR, Verify8bitSFR); }

void RegisterPanel::DigitalFrame_Click() { toggle(); }

QLineEdit* RegisterPanel::box(std::string_view name) const {
    for (const BoxRow& row : kBoxes)
        if (name == row.name) return boxes_.get()->*row.box;
    return nullptr;
}

QGroupBox* RegisterPanel::groupFrame(std::string_view name) const {
    for (const GroupRow& g : kGroups)
        if (name == g.name) return boxes_.get()->*g.frame;
    return nullptr;
}

RegisterTexts RegisterPanel::texts() const {
    RegisterTexts r;
    for (const SentRegisterBox& b : SentRegisterBoxes())
        r.*b.field = box(b.name)->text().toStdString();
    return r;
}

}  // namespace kelp::link
