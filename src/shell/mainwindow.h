#pragma once

#include <QMainWindow>
#include <memory>
#include <string>
#include <vector>

#include "shell/catalogue.h"

namespace kelp::platform {
class MessageSink;
}
namespace kelp::link {
class Link;
}
namespace kelp::loader {
struct DownloadResult;
}

namespace kelp::shell {

struct ProgramState;

// One entry of the port list below the four fixed ones.
struct PortEntry {
    QString label;
    std::string device;  // empty for the virtual board until it runs
    bool virtualBoard = false;
};

// The first window: port and model choice, Download and Next.
class MainWindow final : public QMainWindow {
    Q_OBJECT
public:
    MainWindow(ProgramState& state, link::Link& link, platform::MessageSink& messages,
               std::string programFolder, std::vector<PortEntry> extraPorts,
               QWidget* parent = nullptr);
    ~MainWindow() override;

    // Device paths of "COM 1" to "COM 3".
    static std::string comDevice(int number);
    // The reset failure message, CR/LF as the chip's instructions have them.
    static const char* const kResetFailure;

    void Form_Load();
    void ComSelect_Click();
    void DownloadButton_Click();
    void NextButton_Click();
    void Menu_exit_Click();
    void DisableButtons();
    void EnableButtons();

    // The model list's text: "Vantor Select" while nothing is chosen.
    QString vantorText() const;
    // The virtual board's device, once it runs.
    void setVirtualBoardDevice(const std::string& device);
    // The entries below the four fixed ones, as the system lists them now; the chosen entry
    // stays chosen, listed even when its device has gone.
    void updatePorts(std::vector<PortEntry> extraPorts);

    struct Ui;  // the window's controls, found by name from outside

signals:
    // A download or Next chose the evaluation window of this family.
    void evaluationRequested(kelp::shell::DeviceFamily family);
    void exitRequested();
    // The user chose the "Virtual board" entry; the root starts it and answers with its device.
    void virtualBoardRequested();
    void modelChosen(const QString& model);
    // The port list is about to open: a moment to list the devices again.
    void portListOpening();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildControls();
    void connectHandlers();
    void reportDownload(const loader::DownloadResult& result);
    void showFailure(const std::string& text, const std::string& title = "Warning");

    std::unique_ptr<Ui> ui_;
    ProgramState& state_;
    link::Link& link_;
    platform::MessageSink& messages_;
    std::string programFolder_;
    std::vector<PortEntry> extraPorts_;
    bool exiting_ = false;
};

}  // namespace kelp::shell
