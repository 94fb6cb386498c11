#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "analysis/analysiswindow.h"
#include "analysis/sarrunsettings.h"

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kelp::platform {
class BarChart;
class ChartPanel;
}  // namespace kelp::platform

namespace kelp::analysis {

// SAR_KELP_Analysis: the noise analysis over the codes of the last SAR run. Created once,
// shown by every run, hidden (never closed) by ReturnButton.
class SarAnalysisWindow final : public AnalysisWindow {
    Q_OBJECT
public:
    explicit SarAnalysisWindow(const std::string& model, QWidget* parent = nullptr);
    ~SarAnalysisWindow() override;

    // Replaces every figure and both charts from the run's results and the run window's
    // settings. A run without samples (no count, or MinCode above MaxCode) leaves the code
    // boxes and marks empty, writes 0 as spread and counts, and an empty histogram.
    void AnalyseData(const SarRunSettings& settings, const SarRunData& data);

    struct Ui;  // the window's controls, found by name from outside

protected:
    std::string samplesCsv() const override;

private:
    QWidget* buildSettingsGroup();
    QWidget* buildResultsGroup();
    QWidget* buildHistogramPanel();
    QWidget* buildGraphPanel();

    std::unique_ptr<Ui> ui_;
    NoiseBoxes noise_;
    // The last run, kept for the samples export: its settings and its samples from index 1.
    SarRunSettings lastSettings_;
    std::vector<int16_t> lastBuffer_;
    SarRunData lastData_;
};

}  // namespace kelp::analysis
