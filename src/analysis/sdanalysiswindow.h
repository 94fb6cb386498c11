#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "analysis/analysiswindow.h"
#include "analysis/sdfigures.h"

namespace kelp::analysis {

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

protected:
    std::string samplesCsv() const override;

private:
    QWidget* buildSummary();

    std::unique_ptr<Ui> ui_;
    NoiseBoxes primaryNoise_;
    NoiseBoxes auxNoise_;
    // The last run, kept for the samples export, over buffers of its own.
    SdAnalysisInput last_;
    std::vector<int32_t> lastPrimary_, lastRaw_, lastAux_;
};

}  // namespace kelp::analysis
