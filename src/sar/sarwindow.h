#pragma once

#include <QMainWindow>
#include <map>
#include <memory>

class QAction;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QScrollArea;

namespace kelp::platform {
class MessageSink;
class StripChart;
}  // namespace kelp::platform
namespace kelp::shell {
struct ProgramState;
struct SharedDevices;
}  // namespace kelp::shell
namespace kelp::link {
class RegisterPanel;
}
namespace kelp::analysis {
class SarAnalysisWindow;
struct SarRunSettings;
}  // namespace kelp::analysis

namespace kelp::sar {

class SarRun;
struct ModelSetup;

// SAR_KELP: the evaluation window of the SAR models. Every setting lives in its controls,
// which keep the names the rest of the program (and the analysis window) knows them by.
// Closing it or File > Exit emits exitRequested(); the composition root ends the program and
// should make the event queue report closing() so that a run in progress stops at once.
class SarWindow final : public QMainWindow {
    Q_OBJECT
public:
    SarWindow(shell::ProgramState& state, shell::SharedDevices& devices,
              platform::MessageSink& messages, QWidget* parent = nullptr);
    ~SarWindow() override;

    // The set-up for ModelName; call once, after construction, before showing.
    void load();

    // Created by the first run; nullptr before.
    analysis::SarAnalysisWindow* analysisWindow() const { return analysis_.get(); }
    // What the analysis window copies from this one.
    analysis::SarRunSettings runSettings() const;

    // Reactions, named after their control and event.
    void ADCChan_Click();
    void ADCRef_Click();
    void ConvTime_Click();
    void AcqTime_Click();
    void DAC0Button_Click();
    void DAC1Button_Click();
    void DAC0Data_Change();
    void DAC1Data_Change();
    void NumSamples_LostFocus();
    void UpdateADCFrame();
    void RunButton_Click();
    void StopButton_Click();
    void FileExit_Click();

    QGroupBox* ADC = nullptr;
    QCheckBox* ADCButton = nullptr;
    QComboBox* ADCChan = nullptr;
    QComboBox* ADCRef = nullptr;
    QLineEdit* VrefTextbox = nullptr;
    QLineEdit* MasterClockTextbox = nullptr;
    QComboBox* ConvTime = nullptr;
    QComboBox* AcqTime = nullptr;
    QLineEdit* ConversionTimeTextbox = nullptr;
    QLineEdit* SampFreqTextbox = nullptr;
    QLabel* Label1 = nullptr;
    QLabel* Label2 = nullptr;
    QLabel* Label3 = nullptr;
    QLabel* Label4 = nullptr;
    QLabel* Label5 = nullptr;
    QLabel* Label12 = nullptr;
    QLabel* Label14 = nullptr;
    QLabel* Label16 = nullptr;

    QGroupBox* DAC = nullptr;
    QCheckBox* DAC0Button = nullptr;
    QComboBox* DAC0Range = nullptr;
    QLineEdit* DAC0Data = nullptr;
    QCheckBox* DAC1Button = nullptr;
    QComboBox* DAC1Range = nullptr;
    QLineEdit* DAC1Data = nullptr;
    QLineEdit* Text1 = nullptr;
    QLineEdit* Text2 = nullptr;
    QLabel* Label6 = nullptr;
    QLabel* Label7 = nullptr;
    QLabel* Label8 = nullptr;
    QLabel* Label9 = nullptr;
    QLabel* Label10 = nullptr;
    QLabel* Label13 = nullptr;

    link::RegisterPanel* DigitalFrame = nullptr;

    QComboBox* NumSamples = nullptr;
    QLabel* Label15 = nullptr;
    QPushButton* RunButton = nullptr;
    QPushButton* StopButton = nullptr;
    platform::StripChart* Graph = nullptr;
    QLabel* GraphMaxLabel = nullptr;
    QLabel* GraphMidLabel = nullptr;
    QLabel* GraphMinLabel = nullptr;

    QMenu* File = nullptr;
    QAction* FileExit = nullptr;
    QMenu* Menu_help = nullptr;
    QAction* HelpHelp = nullptr;
    QAction* HelpAbout = nullptr;

signals:
    void exitRequested();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class RunView;

    QWidget* buildAdcFrame();
    QWidget* buildDacFrame();
    QWidget* buildChartPanel();
    void buildMenus();
    void connectHandlers();
    // Selects an entry and runs the list's reaction even when the entry was already chosen,
    // as a user's choice would.
    void selectEntry(QComboBox* list, int position);
    void applyModelSetup(const ModelSetup& setup);
    void requestExit();
    void openAnalysis();

    shell::ProgramState& state_;
    shell::SharedDevices& devices_;
    QScrollArea* leftColumn_ = nullptr;
    std::map<QComboBox*, void (SarWindow::*)()> listReactions_;
    std::unique_ptr<RunView> view_;
    std::unique_ptr<SarRun> run_;
    std::unique_ptr<analysis::SarAnalysisWindow> analysis_;
    bool exitRequested_ = false;
};

}  // namespace kelp::sar
