#pragma once

#include <QMainWindow>
#include <functional>
#include <string>
#include <vector>

#include "link/runstate.h"

class QComboBox;
class QMenu;
class QPushButton;
class QScrollArea;

namespace kelp::platform {
class MessageSink;
class SerialPort;
}  // namespace kelp::platform

namespace kelp::link {

class FoldingFrame;

// A serial device the user may choose, as the Port menu lists it.
struct PortChoice {
    QString label;
    std::string device;
};
using PortLister = std::function<std::vector<PortChoice>()>;

// What both evaluation windows share: File > Exit and closing end the program (once), Run
// and Stop take turns in one place, the sample count is checked when its box is left, and a
// finished run asks for its analysis window. A family's window builds its controls, then
// calls the make* helpers for the shared ones.
class EvaluationWindow : public QMainWindow {
    Q_OBJECT
public:
    ~EvaluationWindow() override;

    void FileExit_Click();
    // Checks a sample count still being typed, then runs.
    void RunButton_Click();
    void StopButton_Click();
    virtual void NumSamples_LostFocus() = 0;

    // The Port menu lists what `list` gives each time it opens, so that an adapter that came
    // back under another name can be chosen without starting again.
    void offerPorts(PortLister list);

signals:
    void exitRequested();
    // A run has finished and its results wait for the analysis window.
    void analysisRequested();

protected:
    EvaluationWindow(platform::MessageSink& messages, platform::SerialPort& port, QWidget* parent);

    virtual RunResult run() = 0;
    virtual void stop() = 0;

    // The File menu with its Exit entry, and the Port menu.
    void makeFileMenu();
    // An editable list that keeps what is typed; checked when the focus leaves it.
    QComboBox* makeNumSamples(QWidget* parent, const QStringList& entries);
    // Run and Stop in one cell; Stop hidden until a run starts.
    QWidget* makeRunButtons(QWidget* parent);
    // The settings column: fixed width (at least `width`), leaving the rest to the charts; it
    // scrolls when folding frames make it taller than the window, and an opened frame is
    // brought into view.
    QWidget* makeSettingsColumn(QWidget* content, int width, QWidget* parent);
    void keepInView(FoldingFrame* frame);
    void showSampling(bool sampling);
    QComboBox* numSamples() const { return numSamples_; }
    // True from a Run click until its run has ended.
    bool running() const { return running_; }

    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void requestExit();
    void fillPortMenu();

    platform::MessageSink& messages_;
    platform::SerialPort& port_;
    PortLister listPorts_;
    QMenu* portMenu_ = nullptr;
    QComboBox* numSamples_ = nullptr;
    QScrollArea* settingsColumn_ = nullptr;
    QPushButton* runButton_ = nullptr;
    QPushButton* stopButton_ = nullptr;
    bool exitRequested_ = false;
    bool running_ = false;
};

}  // namespace kelp::link
