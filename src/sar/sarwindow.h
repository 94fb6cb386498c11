#pragma once

#include <memory>

#include "link/evaluationwindow.h"

namespace kelp::platform {
class MessageSink;
}
namespace kelp::link {
class Link;
struct RunState;
}  // namespace kelp::link
namespace kelp::analysis {
struct SarRunSettings;
}

namespace kelp::sar {

struct ModelSetup;
struct SarResults;

// SAR_KELP: the evaluation window of the SAR models. Every setting lives in its controls,
// which keep the names the rest of the program knows them by (objectName). A finished run
// emits analysisRequested() before the port closes; File > Exit and closing emit
// exitRequested().
class SarWindow final : public link::EvaluationWindow {
    Q_OBJECT
public:
    SarWindow(link::Link& link, link::RunState& run, SarResults& results,
              platform::MessageSink& messages, QWidget* parent = nullptr);
    ~SarWindow() override;

    // The set-up for a model; call once, after construction, before showing.
    void load(const std::string& model);

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
    void NumSamples_LostFocus() override;
    void UpdateADCFrame();

private:
    struct Ui;
    class RunView;

    link::RunResult run() override;
    void stop() override;
    void buildAdcFrame();
    void buildDacFrame();
    QWidget* buildChartPanel();
    void buildHelpMenu();
    void connectHandlers();
    // Selects an entry and runs the list's reaction even when the entry was already chosen,
    // as a user's choice would.
    void selectEntry(QComboBox* list, int position);
    void applyModelSetup(const ModelSetup& setup);

    std::unique_ptr<Ui> ui_;
    std::unique_ptr<RunView> view_;
};

}  // namespace kelp::sar
