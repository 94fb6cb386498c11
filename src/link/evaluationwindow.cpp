#include "link/evaluationwindow.h"

#include <QAction>
#include <QCloseEvent>
#include <QComboBox>
#include <QFocusEvent>
#include <QGridLayout>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>

#include "link/foldingframe.h"
#include "link/targetport.h"
#include "platform/messages.h"
#include "platform/serialport.h"

namespace kelp::link {

EvaluationWindow::EvaluationWindow(platform::MessageSink& messages, platform::SerialPort& port,
                                   QWidget* parent)
    : QMainWindow(parent), messages_(messages), port_(port) {}

EvaluationWindow::~EvaluationWindow() = default;

void EvaluationWindow::makeFileMenu() {
    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("File"));
    QAction* exit = file->addAction(QStringLiteral("&Exit"));
    exit->setObjectName(QStringLiteral("FileExit"));
    connect(exit, &QAction::triggered, this, &EvaluationWindow::FileExit_Click);

    portMenu_ = menuBar()->addMenu(QStringLiteral("&Port"));
    portMenu_->setObjectName(QStringLiteral("PortMenu"));
    connect(portMenu_, &QMenu::aboutToShow, this, &EvaluationWindow::fillPortMenu);
    portMenu_->menuAction()->setVisible(false);
}

void EvaluationWindow::offerPorts(PortLister list) {
    listPorts_ = std::move(list);
    if (portMenu_) portMenu_->menuAction()->setVisible(static_cast<bool>(listPorts_));
}

void EvaluationWindow::fillPortMenu() {
    portMenu_->clear();
    const std::vector<PortChoice> choices = listPorts_ ? listPorts_() : std::vector<PortChoice>{};
    const std::string current = port_.portName();
    bool listed = false;
    for (const PortChoice& choice : choices) {
        QAction* action = portMenu_->addAction(choice.label);
        action->setCheckable(true);
        action->setChecked(choice.device == current);
        listed = listed || choice.device == current;
        // A run holds the port open; the next run takes the new one.
        action->setEnabled(!running_);
        const std::string device = choice.device;
        connect(action, &QAction::triggered, this, [this, device] {
            if (!running_ && !port_.isOpen()) port_.setPortName(device);
        });
    }
    if (!listed && !current.empty()) {
        QAction* gone = portMenu_->addAction(QString::fromStdString(current + " (not present)"));
        gone->setCheckable(true);
        gone->setChecked(true);
        gone->setEnabled(false);
    }
    if (choices.empty())
        portMenu_->addAction(QStringLiteral("No serial port found"))->setEnabled(false);
}

QComboBox* EvaluationWindow::makeNumSamples(QWidget* parent, const QStringList& entries) {
    numSamples_ = new QComboBox(parent);
    numSamples_->setObjectName(QStringLiteral("NumSamples"));
    numSamples_->setEditable(true);
    numSamples_->setInsertPolicy(QComboBox::NoInsert);
    numSamples_->setCompleter(nullptr);  // inline completion would turn a typed 1 into 1000
    numSamples_->addItems(entries);
    // The combo box holds the focus for its line edit and gets the focus events.
    numSamples_->installEventFilter(this);
    return numSamples_;
}

QWidget* EvaluationWindow::makeRunButtons(QWidget* parent) {
    auto* cell = new QWidget(parent);
    auto* grid = new QGridLayout(cell);
    grid->setContentsMargins(0, 0, 0, 0);
    runButton_ = new QPushButton(QStringLiteral("&Run"), cell);
    runButton_->setObjectName(QStringLiteral("RunButton"));
    stopButton_ = new QPushButton(QStringLiteral("&Stop"), cell);
    stopButton_->setObjectName(QStringLiteral("StopButton"));
    for (QPushButton* b : {runButton_, stopButton_}) {
        b->setMinimumSize(110, 32);
        // Both in one cell: a run shows one and hides the other.
        grid->addWidget(b, 0, 0);
    }
    stopButton_->hide();
    connect(runButton_, &QPushButton::clicked, this, &EvaluationWindow::RunButton_Click);
    connect(stopButton_, &QPushButton::clicked, this, &EvaluationWindow::StopButton_Click);
    return cell;
}

QWidget* EvaluationWindow::makeSettingsColumn(QWidget* content, int width, QWidget* parent) {
    settingsColumn_ = new QScrollArea(parent);
    settingsColumn_->setObjectName(QStringLiteral("SettingsColumn"));
    settingsColumn_->setWidget(content);
    settingsColumn_->setWidgetResizable(true);
    settingsColumn_->setFrameShape(QFrame::NoFrame);
    settingsColumn_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Room is kept for the scroll bar.
    settingsColumn_->setFixedWidth(std::max(width, content->minimumSizeHint().width()) +
                                   settingsColumn_->verticalScrollBar()->sizeHint().width());
    return settingsColumn_;
}

void EvaluationWindow::keepInView(FoldingFrame* frame) {
    connect(frame, &FoldingFrame::frameHeightChanged, this, [this, frame] {
        // Once the column has been laid out again.
        if (frame->isExpanded() && settingsColumn_)
            QTimer::singleShot(0, this,
                               [this, frame] { settingsColumn_->ensureWidgetVisible(frame); });
    });
}

void EvaluationWindow::showSampling(bool sampling) {
    runButton_->setVisible(!sampling);
    stopButton_->setVisible(sampling);
}

void EvaluationWindow::RunButton_Click() {
    // An access key leaves the focus where it was; the sample count must be checked first.
    if (numSamples_ && numSamples_->hasFocus()) NumSamples_LostFocus();
    // A second click during the settling wait runs too, and finds the port open.
    const bool outer = !running_;
    running_ = true;
    const RunResult result = run();
    if (outer) running_ = false;
    const std::string text = link::RunOutcomeText(result, port_.portName());
    if (!text.empty() && !exitRequested_) messages_.warning(text, "Warning");
}

void EvaluationWindow::StopButton_Click() { stop(); }

void EvaluationWindow::FileExit_Click() {
    requestExit();
    close();
}

void EvaluationWindow::requestExit() {
    if (exitRequested_) return;
    exitRequested_ = true;
    emit exitRequested();
}

void EvaluationWindow::closeEvent(QCloseEvent* event) {
    requestExit();
    event->accept();
}

bool EvaluationWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == numSamples_ && event->type() == QEvent::FocusOut) {
        // The list's own popup and a switch to another program are no leaving of the box.
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason)
            NumSamples_LostFocus();
    }
    return QMainWindow::eventFilter(watched, event);
}

}  // namespace kelp::link
