#include "link/registerpanel.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QVBoxLayout>
#include <cmath>
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

struct BoxRow {
    QLineEdit* RegisterPanel::*box;
    const char* name;
    const char* label;
    QLabel* RegisterPanel::*labelMember;  // the labels the window names; others are unnamed
    const char* labelName;
    Group group;
    const char* start;                 // nullptr: the window fills it
    void (RegisterPanel::*handler)();  // nullptr: not verified
};

using P = RegisterPanel;

const BoxRow kBoxes[] = {
    {&P::PWMCONSFR, "PWMCONSFR", "PWMCON", &P::Label27, "Label27", kPwm, "00",
     &P::PWMCONSFR_Change},
    {&P::PWM0HSFR, "PWM0HSFR", "PWM0H", &P::Label29, "Label29", kPwm, "00", &P::PWM0HSFR_Change},
    {&P::PWM0LSFR, "PWM0LSFR", "PWM0L", &P::Label30, "Label30", kPwm, "00", &P::PWM0LSFR_Change},
    {&P::PWM1HSFR, "PWM1HSFR", "PWM1H", &P::Label31, "Label31", kPwm, "00", &P::PWM1HSFR_Change},
    {&P::PWM1LSFR, "PWM1LSFR", "PWM1L", &P::Label32, "Label32", kPwm, "00", &P::PWM1LSFR_Change},
    {&P::P0SFR, "P0SFR", "P0", nullptr, nullptr, kGpio, "FF", &P::P0SFR_Change},
    {&P::P1_0SFR, "P1_0SFR", "P1.0", nullptr, nullptr, kGpio, "1", &P::P1_0SFR_Change},
    {&P::P1_1SFR, "P1_1SFR", "P1.1", nullptr, nullptr, kGpio, "1", &P::P1_1SFR_Change},
    {&P::P2SFR, "P2SFR", "P2", nullptr, nullptr, kGpio, "FF", &P::P2SFR_Change},
    {&P::P3SFR, "P3SFR", "P3", nullptr, nullptr, kGpio, "FF", &P::P3SFR_Change},
    {&P::TCONSFR, "TCONSFR", "TCON", nullptr, nullptr, kTimers, "00", &P::TCONSFR_Change},
    {&P::TMODSFR, "TMODSFR", "TMOD", nullptr, nullptr, kTimers, "00", &P::TMODSFR_Change},
    {&P::T0SFR, "T0SFR", "TH0/TL0", nullptr, nullptr, kTimers, "0000", &P::T0SFR_Change},
    {&P::T1SFR, "T1SFR", "TH1/TL1", nullptr, nullptr, kTimers, "0000", &P::T1SFR_Change},
    {&P::TIMECONSFR, "TIMECONSFR", "TIMECON", nullptr, nullptr, kTimers, "00",
     &P::TIMECONSFR_Change},
    {&P::SCONSFR, "SCONSFR", "SCON", nullptr, nullptr, kUart, nullptr, nullptr},
    {&P::T2CONSFR, "T2CONSFR", "T2CON", nullptr, nullptr, kUart, nullptr, nullptr},
    {&P::RCAP2HSFR, "RCAP2HSFR", "RCAP2H", nullptr, nullptr, kUart, nullptr, nullptr},
    {&P::RCAP2LSFR, "RCAP2LSFR", "RCAP2L", nullptr, nullptr, kUart, nullptr, nullptr},
    {&P::PLLCONSFR, "PLLCONSFR", "PLLCON", nullptr, nullptr, kUart, nullptr, nullptr},
};

struct GroupRow {
    QGroupBox* RegisterPanel::*frame;
    const char* name;
    const char* caption;
};

const GroupRow kGroups[kGroupCount] = {
    {&P::PWMFrame, "PWMFrame", "PWM"},
    {&P::Frame5, "Frame5", "GPIO"},
    {&P::Frame4, "Frame4", "Timer/Counters"},
    {&P::Frame3, "Frame3", "UART Config"},
};

}  // namespace

RegisterPanel::RegisterPanel(const FrameHeights& heights, QWidget* parent)
    : QGroupBox(QStringLiteral("DIGITAL Peripherals - Click to Configure"), parent),
      heights_(heights),
      height_(heights.expanded) {
    setObjectName(QStringLiteral("DigitalFrame"));
    setAccessibleName(title());
    setToolTip(tr("Click the caption to show or hide the register boxes"));
    setFocusPolicy(Qt::TabFocus);
    setMouseTracking(true);
    buildBoxes();
    connectHandlers();
    setFrameHeight(height_);
}

void RegisterPanel::buildBoxes() {
    content_ = new QWidget(this);
    auto* grid = new QGridLayout(content_);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);

    QGridLayout* groupLayouts[kGroupCount];
    for (int g = 0; g < kGroupCount; ++g) {
        auto* frame = new QGroupBox(QString::fromLatin1(kGroups[g].caption), content_);
        frame->setObjectName(QString::fromLatin1(kGroups[g].name));
        this->*kGroups[g].frame = frame;
        groupLayouts[g] = new QGridLayout(frame);
        groupLayouts[g]->setContentsMargins(8, 4, 8, 6);
        groupLayouts[g]->setVerticalSpacing(3);
        groupLayouts[g]->setColumnStretch(0, 1);
        grid->addWidget(frame, g / 2, g % 2);
    }

    int rows[kGroupCount] = {};
    for (const BoxRow& row : kBoxes) {
        QGroupBox* frame = this->*kGroups[row.group].frame;
        auto* box = new QLineEdit(frame);
        box->setObjectName(QString::fromLatin1(row.name));
        box->setAccessibleName(QString::fromLatin1(row.label));
        box->setFixedWidth(56);
        if (row.start) box->setText(QString::fromLatin1(row.start));
        this->*row.box = box;

        auto* label = new QLabel(QString::fromLatin1(row.label), frame);
        label->setBuddy(box);
        if (row.labelMember) {
            this->*row.labelMember = label;
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
    outer->addWidget(content_);
    outer->addStretch(1);
}

// Connected after the starting texts are in, so those stay as designed ("00") until edited.
void RegisterPanel::connectHandlers() {
    for (const BoxRow& row : kBoxes) {
        if (row.handler) connect(this->*row.box, &QLineEdit::textChanged, this, row.handler);
    }
}

void RegisterPanel::PWMCONSFR_Change() { verifyBox(PWMCONSFR, Verify8bitSFR); }
void RegisterPanel::PWM0HSFR_Change() { verifyBox(PWM0HSFR, Verify8bitSFR); }
void RegisterPanel::PWM0LSFR_Change() { verifyBox(PWM0LSFR, Verify8bitSFR); }
void RegisterPanel::PWM1HSFR_Change() { verifyBox(PWM1HSFR, Verify8bitSFR); }
void RegisterPanel::PWM1LSFR_Change() { verifyBox(PWM1LSFR, Verify8bitSFR); }
void RegisterPanel::P0SFR_Change() { verifyBox(P0SFR, Verify8bitSFR); }
void RegisterPanel::P1_0SFR_Change() { verifyBox(P1_0SFR, Verify1bitSFR); }
void RegisterPanel::P1_1SFR_Change() { verifyBox(P1_1SFR, Verify1bitSFR); }
void RegisterPanel::P2SFR_Change() { verifyBox(P2SFR, Verify8bitSFR); }
void RegisterPanel::P3SFR_Change() { verifyBox(P3SFR, Verify8bitSFR); }
void RegisterPanel::TCONSFR_Change() { verifyBox(TCONSFR, Verify8bitSFR); }
void RegisterPanel::TMODSFR_Change() { verifyBox(TMODSFR, Verify8bitSFR); }
void RegisterPanel::T0SFR_Change() { verifyBox(T0SFR, Verify16bitSFR); }
void RegisterPanel::T1SFR_Change() { verifyBox(T1SFR, Verify16bitSFR); }
void RegisterPanel::TIMECONSFR_Change() { verifyBox(TIMECONSFR, Verify8bitSFR); }

bool RegisterPanel::isExpanded() const { return height_ >= heights_.threshold; }

void RegisterPanel::setFrameHeight(double height) {
    if (!std::isfinite(height) || height < 0) height = heights_.collapsed;
    height_ = height;
    content_->setVisible(isExpanded());
    setFixedHeight(static_cast<int>(std::lround(height_)));
    emit frameHeightChanged(height_);
}

void RegisterPanel::DigitalFrame_Click() {
    setFrameHeight(height_ < heights_.threshold ? heights_.expanded : heights_.collapsed);
}

bool RegisterPanel::inCaption(const QPointF& position) const {
    // Collapsed, the frame is all caption; expanded, the band above the group frames.
    if (!isExpanded()) return rect().contains(position.toPoint());
    return position.y() >= 0 && position.y() < contentsRect().top() + 4;
}

void RegisterPanel::mousePressEvent(QMouseEvent* event) {
    pressedInCaption_ = event->button() == Qt::LeftButton && inCaption(event->position());
    if (pressedInCaption_) {
        event->accept();
        return;
    }
    QGroupBox::mousePressEvent(event);
}

void RegisterPanel::mouseReleaseEvent(QMouseEvent* event) {
    const bool click =
        pressedInCaption_ && event->button() == Qt::LeftButton && inCaption(event->position());
    pressedInCaption_ = false;
    if (click) {
        event->accept();
        DigitalFrame_Click();
        return;
    }
    QGroupBox::mouseReleaseEvent(event);
}

void RegisterPanel::mouseMoveEvent(QMouseEvent* event) {
    setCursor(inCaption(event->position()) ? Qt::PointingHandCursor : Qt::ArrowCursor);
    QGroupBox::mouseMoveEvent(event);
}

// Keyboard users toggle with Space or Enter once the frame has the focus. Taken here, since
// the group box itself swallows Space for its (unused) check box.
bool RegisterPanel::event(QEvent* event) {
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool toggleKey = key->key() == Qt::Key_Space || key->key() == Qt::Key_Return ||
                               key->key() == Qt::Key_Enter;
        if (toggleKey) {
            if (event->type() == QEvent::KeyPress && !key->isAutoRepeat()) DigitalFrame_Click();
            return true;
        }
    }
    return QGroupBox::event(event);
}

}  // namespace kelp::link
