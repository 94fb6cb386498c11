#pragma once

#include <QMainWindow>
#include <string>
#include <vector>

#include "shell/catalogue.h"

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QProgressBar;
class QPushButton;

namespace kelp::platform {
enum class OpenError;
class MessageSink;
class QtProgress;
}  // namespace kelp::platform

namespace kelp::shell {

struct ProgramState;
struct SharedDevices;

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
    MainWindow(ProgramState& state, SharedDevices& devices, platform::MessageSink& messages,
               std::string programFolder, std::vector<PortEntry> extraPorts,
               QWidget* parent = nullptr);
    ~MainWindow() override;

    // Device paths of "COM 1" to "COM 3".
    static std::string comDevice(int number);

    void Form_Load();
    void ComSelect_Click();
    void DownloadButton_Click();
    void NextButton_Click();
    void Menu_exit_Click();
    void Timer1_Timer();
    void DisableButtons();
    void EnableButtons();
    bool OpenCommPort();

    // Controls, named as the window's design names them.
    QLabel* Label8;
    QLabel* Label7;
    QComboBox* ComSelect;
    QComboBox* VantorCombobox;
    QLineEdit* VantorText;
    QPushButton* DownloadButton;
    QPushButton* NextButton;
    QProgressBar* ProgressBar;
    QMenu* Menu_file;
    QAction* Menu_exit;

    // The model list's text: "Vantor Select" while nothing is chosen.
    QString vantorText() const;

signals:
    // A download or Next chose the evaluation window of this family.
    void evaluationRequested(kelp::shell::DeviceFamily family);
    void exitRequested();
    // The user chose the "Virtual board" entry; the root starts it and answers with its device.
    void virtualBoardRequested();
    void modelChosen(const QString& model);

public:
    // The virtual board's device, once it runs (or empty with a reason when it could not start).
    void setVirtualBoardDevice(const std::string& device);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildControls();
    void connectHandlers();
    void showFailure(const std::string& text, const std::string& title = "Warning");

    ProgramState& state_;
    SharedDevices& devices_;
    platform::MessageSink& messages_;
    std::string programFolder_;
    std::vector<PortEntry> extraPorts_;
    platform::QtProgress* progress_ = nullptr;
    bool exiting_ = false;
    platform::OpenError lastOpenError_{};
};

}  // namespace kelp::shell
