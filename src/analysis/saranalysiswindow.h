#pragma once

#include <memory>
#include <string>

#include "analysis/analysiswindow.h"

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace kelp::platform {
class BarChart;
class ChartPanel;
}  // namespace kelp::platform

namespace kelp::analysis {

struct SarRunSettings;
struct SarRunData;

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

private:
    QWidget* buildSettingsGroup();
    QWidget* buildResultsGroup();
    QWidget* buildHistogramPanel();
    QWidget* buildGraphPanel();

    std::unique_ptr<Ui> ui_;
};

}  // namespace kelp::analysis
