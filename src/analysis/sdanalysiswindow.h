#pragma once

#include <memory>
#include <string>

#include "analysis/analysiswindow.h"

namespace kelp::analysis {

struct SdAnalysisInput;

// SD_KELP_Analysis: the noise analysis of both converters of the last sigma-delta run.
// Created once, shown by every run, hidden (never closed) by ReturnButton.
class SdAnalysisWindow final : public AnalysisWindow {
    Q_OBJECT
public:
    explicit SdAnalysisWindow(const std::string& model, QWidget* parent = nullptr);
    ~SdAnalysisWindow() override;

    // Replaces every figure, both histograms and both strip charts from the run's results and
    // the run window's settings. A block switched off is greyed with "0" in its boxes and
    // empty charts; the star marks and the note keep their state when the primary block is off.
    void AnalyseData(const SdAnalysisInput& input);

    struct Ui;  // the window's controls, found by name from outside

private:
    QWidget* buildSummary();

    std::unique_ptr<Ui> ui_;
};

}  // namespace kelp::analysis
