#pragma once

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <memory>
#include <string>
#include <vector>

#include "shell/catalogue.h"
#include "shell/mainwindow.h"
#include "shell/programstate.h"

namespace kelp::platform {
class MessageSink;
class QtEventQueue;
class QtSerialPort;
class QtTickTimer;
}  // namespace kelp::platform

namespace kelp::board {
class BoardServer;
}
namespace kelp::link {
class Link;
struct PortChoice;
}  // namespace kelp::link
namespace kelp::analysis {
class SarAnalysisWindow;
class SdAnalysisWindow;
}  // namespace kelp::analysis

namespace kelp::shell {

class MainWindow;

struct ApplicationOptions {
    std::string programFolder;            // the ASM folder lies here
    std::vector<std::string> extraPorts;  // devices named on the command line
    bool listSystemPorts = true;
    bool virtualBoard = true;
    bool virtualBoardPacing = true;
};

// The composition root: owns the shared devices, the link and the state, builds the windows
// and knows which window follows which (a finished run reaches its analysis window here).
class Application final : public QObject {
    Q_OBJECT
public:
    // `messages` may be null: message boxes are then shown on screen.
    explicit Application(ApplicationOptions options, platform::MessageSink* messages = nullptr);
    ~Application() override;

    MainWindow* mainWindow() const { return main_.get(); }
    QMainWindow* evaluationWindow() const { return evaluation_.data(); }
    ProgramState& state() { return state_; }
    link::Link& link() { return *link_; }
    // The SAR analysis window, once a run has opened it.
    analysis::SarAnalysisWindow* sarAnalysis() const { return sarAnalysis_.get(); }
    analysis::SdAnalysisWindow* sdAnalysis() const { return sdAnalysis_.get(); }
    // The device of the built-in virtual board, once started.
    std::string virtualBoardDevice() const { return boardDevice_; }
    bool exiting() const { return exiting_; }

    void show();

signals:
    void evaluationShown(QMainWindow* window);

private:
    void openEvaluation(DeviceFamily family);
    void openSarAnalysis();
    void openSdAnalysis();
    void startVirtualBoard();
    // The devices below COM 1 to COM 3, listed now.
    std::vector<PortEntry> portEntries() const;
    // Every device an evaluation window's Port menu offers.
    std::vector<link::PortChoice> portChoices() const;
    void exitProgram();

    ApplicationOptions options_;
    std::unique_ptr<platform::QtSerialPort> port_;
    std::unique_ptr<platform::QtTickTimer> timer_;
    std::unique_ptr<platform::QtEventQueue> events_;
    std::unique_ptr<platform::MessageSink> ownMessages_;
    platform::MessageSink* messages_;
    std::unique_ptr<link::Link> link_;
    ProgramState state_;
    std::unique_ptr<MainWindow> main_;
    QPointer<QMainWindow> evaluation_;
    std::unique_ptr<analysis::SarAnalysisWindow> sarAnalysis_;
    std::unique_ptr<analysis::SdAnalysisWindow> sdAnalysis_;
    std::unique_ptr<board::BoardServer> board_;
    std::string boardDevice_;
    bool exiting_ = false;
};

}  // namespace kelp::shell
