#pragma once

#include <memory>
#include <string>

#include "link/evaluationwindow.h"

namespace kelp::platform {
class MessageSink;
}
namespace kelp::link {
class Link;
struct RunState;
}  // namespace kelp::link
namespace kelp::analysis {
struct SdRunSettings;
}

namespace kelp::sigmadelta {

struct SdResults;
struct SdLinkState;
struct ModelSetup;

// SD_KELP: the evaluation window of the sigma-delta models. Its set-up relies on the program's
// own selections running the same reactions as the user's (whenever they change the value);
// a user's choice in a list runs its reaction even when it picks the entry already shown.
class SdWindow final : public link::EvaluationWindow {
    Q_OBJECT
public:
    SdWindow(link::Link& link, link::RunState& run, SdResults& results, SdLinkState& state,
             platform::MessageSink& messages, QWidget* parent = nullptr);
    ~SdWindow() override;

    // The set-up for a model; call once, after construction, before showing.
    void load(const std::string& model, bool is58XGroup);

    // What the analysis window copies from this one.
    analysis::SdRunSettings runSettings() const;

    // Reactions, named after their control and event.
    void PrimaryADCButton_Click();
    void AuxillaryADCButton_Click();
    void PrimaryMode_Click();
    void PrimaryReference_Click();
    void PrimaryInputChannel_Click();
    void PrimaryInputRange_Click();
    void AuxMode_Click();
    void AuxReference_Click();
    void AuxInputChannel_Click();
    void VrefTextbox_Change();
    void IEXC1Button_Click();
    void IEXC2Button_Click();
    void DACButton_Click();
    void DACData_Change();
    void SF_Click();
    void SF_LostFocus();
    void chopEnChkBox_Click();
    void NumSamples_LostFocus() override;
    void CDBits_Click();
    void AdcSampFrame_Click();
    void UpdatePrimaryRange();
    void UpdateAuxRange();

    struct Ui;  // the window's controls, found by name from outside

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class RunView;

    link::RunResult run() override;
    void stop() override;
    void buildPrimaryFrame(QWidget* parent);
    void buildAuxFrame(QWidget* parent);
    QWidget* buildReferenceAndCurrents(QWidget* parent);
    void buildDacFrame(QWidget* parent);
    void buildSamplingFrame(QWidget* parent);
    void buildRegisterPanel(QWidget* parent);
    QWidget* buildCharts();
    void connectHandlers();
    // Selects a position; the list's reaction runs when that changes the selection.
    void select(QComboBox* list, int position);
    void applyModelSetup(const ModelSetup& setup);
    void showBothCharts(bool both);
    void showUpdateRate(bool chopOff);

    std::unique_ptr<Ui> ui_;
    std::unique_ptr<RunView> view_;
};

}  // namespace kelp::sigmadelta
