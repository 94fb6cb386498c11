#pragma once

#include <QMainWindow>

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kelp::platform {
class BarChart;
class StripChart;
}  // namespace kelp::platform

namespace kelp::shell {
struct ProgramState;
}

namespace kelp::analysis {

struct SarRunSettings;

// SAR_KELP_Analysis: the noise analysis over the codes of the last SAR run. Created once,
// shown by every run, hidden (never closed) by ReturnButton. Reads the run's results from
// the program state, which must outlive the window.
class SarAnalysisWindow final : public QMainWindow {
    Q_OBJECT
public:
    explicit SarAnalysisWindow(const shell::ProgramState& state, QWidget* parent = nullptr);

    // Replaces every figure and both charts from the run's results and the run window's
    // settings. A run without samples (no count, or MinCode above MaxCode) leaves the code
    // boxes and marks empty, writes 0 as spread and counts, and an empty histogram.
    void AnalyseData(const SarRunSettings& settings);

    // Settings of the run.
    QGroupBox* ADC = nullptr;
    QLineEdit* ADCChan = nullptr;
    QLineEdit* ADCRef = nullptr;
    QLineEdit* ConvTime = nullptr;
    QLineEdit* AcqTime = nullptr;
    QLineEdit* VrefTextbox = nullptr;
    QLineEdit* MasterClockTextbox = nullptr;
    QLineEdit* SampFreqTextbox = nullptr;
    QLineEdit* ConversionTimeTextbox = nullptr;
    QLabel* Label9 = nullptr;
    QLabel* Label3 = nullptr;
    QLabel* Label2 = nullptr;
    QLabel* Label4 = nullptr;
    QLabel* Label12 = nullptr;
    QLabel* Label14 = nullptr;
    QLabel* Label16 = nullptr;
    QLabel* Label5 = nullptr;

    // Results.
    QGroupBox* PrimaryADC = nullptr;
    QLineEdit* MinCodeTextbox = nullptr;
    QLineEdit* MaxCodeTextBox = nullptr;
    QLineEdit* CodeDistributionTextbox = nullptr;
    QLineEdit* NumberMinCode = nullptr;
    QLineEdit* NumberMidCode = nullptr;
    QLineEdit* NumberMaxCode = nullptr;
    QLabel* Label22 = nullptr;
    QLabel* Label23 = nullptr;
    QLabel* Label21 = nullptr;
    QLabel* Label6 = nullptr;
    QLabel* Label7 = nullptr;
    QLabel* Label1 = nullptr;

    platform::BarChart* Histogram = nullptr;
    QLineEdit* MinCodeHistogramTextbox = nullptr;
    QLineEdit* MidCodeHistogramTextbox = nullptr;
    QLineEdit* MaxCodeHistogramTextbox = nullptr;

    platform::StripChart* Graph = nullptr;
    QLabel* GraphMaxLabel = nullptr;
    QLabel* GraphMidLabel = nullptr;
    QLabel* GraphMinLabel = nullptr;

    QPushButton* ReturnButton = nullptr;

private:
    void ReturnButton_Click();
    QWidget* buildSettingsGroup();
    QWidget* buildResultsGroup();
    QWidget* buildHistogramPanel();
    QWidget* buildGraphPanel();

    const shell::ProgramState& state_;
};

}  // namespace kelp::analysis
