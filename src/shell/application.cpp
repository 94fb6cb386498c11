#include "shell/application.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QMainWindow>
#include <QSerialPortInfo>

#include "analysis/saranalysiswindow.h"
#include "analysis/sarrunsettings.h"
#include "analysis/sdanalysiswindow.h"
#include "analysis/sdfigures.h"
#include "board/boardserver.h"
#include "link/evaluationwindow.h"
#include "link/link.h"
#include "platform/keyboard.h"
#include "platform/qteventqueue.h"
#include "platform/qtmessagesink.h"
#include "platform/qtserialport.h"
#include "platform/qtticktimer.h"
#include "sar/sarwindow.h"
#include "shell/mainwindow.h"
#include "sigmadelta/sdwindow.h"

namespace kelp::shell {

namespace {

const char* const kDefaultBoardModel = "Zylo570";

// Serial devices the system reports, other than the three behind COM 1 to COM 3.
std::vector<std::string> systemPorts() {
    std::vector<std::string> out;
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts())
        out.push_back(info.systemLocation().toStdString());
    return out;
}

}  // namespace

Application::Application(ApplicationOptions options, platform::MessageSink* messages)
    : options_(std::move(options)),
      port_(std::make_unique<platform::QtSerialPort>()),
      timer_(std::make_unique<platform::QtTickTimer>()),
      events_(std::make_unique<platform::QtEventQueue>()),
      messages_(messages),
      link_(std::make_unique<link::Link>(*port_, *timer_, *events_)) {
    if (!messages_) {
        ownMessages_ = std::make_unique<platform::QtMessageSink>();
        messages_ = ownMessages_.get();
    }

    // Escape in an analysis window means its return button.
    platform::InstallKeyboardConventions(this, QStringLiteral("ReturnButton"));
    main_ = std::make_unique<MainWindow>(state_, *link_, *messages_, options_.programFolder,
                                         portEntries());
    if (auto* sink = dynamic_cast<platform::QtMessageSink*>(messages_))
        sink->setParent(main_.get());

    connect(main_.get(), &MainWindow::evaluationRequested, this, &Application::openEvaluation);
    connect(main_.get(), &MainWindow::exitRequested, this, &Application::exitProgram);
    connect(main_.get(), &MainWindow::virtualBoardRequested, this, &Application::startVirtualBoard);
    connect(main_.get(), &MainWindow::portListOpening, this,
            [this] { main_->updatePorts(portEntries()); });
    connect(main_.get(), &MainWindow::modelChosen, this, [this](const QString& model) {
        if (board_ && findDevice(model.toStdString())) board_->setModel(model.toStdString());
    });
}

Application::~Application() {
    events_->setClosing();
    sarAnalysis_.reset();
    sdAnalysis_.reset();
    delete evaluation_.data();
    port_->close();
    if (board_) board_->stop();
}

void Application::show() { main_->show(); }

std::vector<PortEntry> Application::portEntries() const {
    std::vector<PortEntry> entries;
    std::vector<std::string> devices;
    if (options_.listSystemPorts) devices = systemPorts();
    devices.insert(devices.end(), options_.extraPorts.begin(), options_.extraPorts.end());
    for (const std::string& d : devices) {
        // COM 1 to COM 3 already stand for their devices.
        bool seen = false;
        for (int n = 1; n <= 3; ++n) seen = seen || d == MainWindow::comDevice(n);
        for (const PortEntry& e : entries) seen = seen || e.device == d;
        if (!seen) entries.push_back({QString::fromStdString(d), d, false});
    }
    if (options_.virtualBoard) entries.push_back({"Virtual board", boardDevice_, true});
    return entries;
}

std::vector<link::PortChoice> Application::portChoices() const {
    std::vector<link::PortChoice> choices;
    for (int n = 1; n <= 3; ++n) {
        const std::string device = MainWindow::comDevice(n);
        choices.push_back(
            {QString("COM %1 (%2)").arg(n).arg(QString::fromStdString(device)), device});
    }
    for (const PortEntry& e : portEntries())
        if (!e.device.empty()) choices.push_back({e.label, e.device});
    return choices;
}

void Application::startVirtualBoard() {
    if (board_) return;
    board::BoardOptions opts;
    const std::string chosen = main_->vantorText().toStdString();
    opts.model = findDevice(chosen) ? chosen : kDefaultBoardModel;
    opts.pacing = options_.virtualBoardPacing;
    board_ = std::make_unique<board::BoardServer>(opts);
    boardDevice_ = board_->start();
    if (boardDevice_.empty()) {
        messages_->warning("The virtual board could not start: " + board_->error() +
                               "\r\nChoose a serial port instead.",
                           "Warning");
        board_.reset();
        return;
    }
    main_->setVirtualBoardDevice(boardDevice_);
}

void Application::openEvaluation(DeviceFamily family) {
    main_->hide();
    delete evaluation_.data();
    if (family == DeviceFamily::SAR) {
        auto* window = new sar::SarWindow(*link_, state_.run, state_.sar, *messages_);
        connect(window, &sar::SarWindow::exitRequested, this, &Application::exitProgram);
        connect(window, &sar::SarWindow::analysisRequested, this, &Application::openSarAnalysis);
        if (auto* sink = dynamic_cast<platform::QtMessageSink*>(messages_)) sink->setParent(window);
        evaluation_ = window;
        window->offerPorts([this] { return portChoices(); });
        window->load(state_.loader.ModelName);
        window->show();
    } else {
        auto* window =
            new sigmadelta::SdWindow(*link_, state_.run, state_.sd, state_.sdLink, *messages_);
        connect(window, &sigmadelta::SdWindow::exitRequested, this, &Application::exitProgram);
        connect(window, &sigmadelta::SdWindow::analysisRequested, this,
                &Application::openSdAnalysis);
        if (auto* sink = dynamic_cast<platform::QtMessageSink*>(messages_)) sink->setParent(window);
        evaluation_ = window;
        window->offerPorts([this] { return portChoices(); });
        window->load(state_.loader.ModelName, state_.Is58XGroup);
        window->show();
    }
    emit evaluationShown(evaluation_.data());
}

void Application::openSarAnalysis() {
    auto* window = qobject_cast<sar::SarWindow*>(evaluation_.data());
    if (!window) return;
    // A top-level window of its own, beside the run window; created once, then reused.
    if (!sarAnalysis_)
        sarAnalysis_ = std::make_unique<analysis::SarAnalysisWindow>(state_.loader.ModelName);
    sarAnalysis_->show();
    sarAnalysis_->raise();
    const sar::SarResults& r = state_.sar;
    sarAnalysis_->AnalyseData(window->runSettings(),
                              {r.SampleBuffer, state_.run.SampleCount, r.MinCode, r.MaxCode});
}

void Application::openSdAnalysis() {
    auto* window = qobject_cast<sigmadelta::SdWindow*>(evaluation_.data());
    if (!window) return;
    if (!sdAnalysis_)
        sdAnalysis_ = std::make_unique<analysis::SdAnalysisWindow>(state_.loader.ModelName);
    sdAnalysis_->show();
    sdAnalysis_->raise();
    const sigmadelta::SdResults& r = state_.sd;
    analysis::SdAnalysisInput input;
    input.ModelName = state_.loader.ModelName;
    input.results = {r.PrimaryCodeBuffer, r.PrimaryRawBuffer,    r.AuxCodeBuffer,
                     r.PrimaryMinCode,    r.PrimaryMaxCode,      r.AuxMinCode,
                     r.AuxMaxCode,        state_.run.SampleCount};
    input.settings = window->runSettings();
    sdAnalysis_->AnalyseData(input);
}

void Application::exitProgram() {
    if (exiting_) return;
    exiting_ = true;
    // Waits in progress see this and give up, so the handlers below them unwind at once.
    events_->setClosing();
    timer_->disable();
    port_->close();
    if (evaluation_) evaluation_->hide();
    if (sarAnalysis_) sarAnalysis_->hide();
    if (sdAnalysis_) sdAnalysis_->hide();
    main_->hide();
    QCoreApplication::exit(0);
}

}  // namespace kelp::shell
