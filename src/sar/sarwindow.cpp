#include "sar/sarwindow.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <map>

#include "analysis/sarrunsettings.h"
#include "link/controlkit.h"
#include "link/controls.h"
#include "link/link.h"
#include "link/registerpanel.h"
#include "link/registerrules.h"
#include "platform/chartpanel.h"
#include "sar/sarconfig.h"
#include "sar/sarrun.h"
#include "sar/sarsetup.h"

namespace kelp::sar {

namespace {

// 1 height unit = 1 pixel; collapsed, only the caption shows.
constexpr link::FrameHeights kDigitalFrameHeights{35, 417.753, 31};
constexpr int kSettingsColumnWidth = 430;
constexpr const char* kFirmwareLinkSettings = "57600,N,8,1";

using link::entries;
using link::make;
using link::qs;
using link::text;

QLabel* makeLabel(QWidget* parent, const char* name, const char* caption, QWidget* buddy) {
    return link::makeCaption(parent, name, QString::fromLatin1(caption), buddy);
}

}  // namespace

struct SarWindow::Ui {
    explicit Ui(link::Link& l) : link(l) {}
    link::Link& link;
    std::string model;

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

    QGroupBox* DAC = nullptr;
    QCheckBox* DAC0Button = nullptr;
    QComboBox* DAC0Range = nullptr;
    QLineEdit* DAC0Data = nullptr;
    QCheckBox* DAC1Button = nullptr;
    QComboBox* DAC1Range = nullptr;
    QLineEdit* DAC1Data = nullptr;

    link::RegisterPanel* DigitalFrame = nullptr;
    QComboBox* NumSamples = nullptr;
    platform::ChartPanel* Graph = nullptr;

    std::map<QComboBox*, void (SarWindow::*)()> listReactions;
    std::unique_ptr<SarRun> runner;
};

// The window as the run sees it.
class SarWindow::RunView final : public SarRunView {
public:
    explicit RunView(SarWindow& w) : w_(w) {}

    SarConfiguration configuration() const override {
        const Ui& u = *w_.ui_;
        SarConfiguration c;
        c.model = u.model;
        c.adc.adcOn = u.ADCButton->isChecked();
        c.adc.reference = u.ADCRef->currentIndex();
        c.adc.convTime = u.ConvTime->currentIndex();
        c.adc.acqTime = u.AcqTime->currentIndex();
        c.channel = u.ADCChan->currentIndex();
        c.dac.dac0On = u.DAC0Button->isChecked();
        c.dac.dac0Range = u.DAC0Range->currentIndex();
        c.dac.dac1On = u.DAC1Button->isChecked();
        c.dac.dac1Range = u.DAC1Range->currentIndex();
        c.dac0Data = text(u.DAC0Data);
        c.dac1Data = text(u.DAC1Data);
        c.registers = u.DigitalFrame->texts();
        return c;
    }
    std::string numSamplesText() const override {
        return w_.ui_->NumSamples->currentText().toStdString();
    }
    platform::Trace& trace() override { return *w_.ui_->Graph; }
    void showSampling(bool sampling) override { w_.showSampling(sampling); }
    void openAnalysis() override { emit w_.analysisRequested(); }

private:
    SarWindow& w_;
};

SarWindow::SarWindow(link::Link& link, link::RunState& run, SarResults& results,
                     platform::MessageSink& messages, QWidget* parent)
    : EvaluationWindow(messages, link.port(), parent), ui_(std::make_unique<Ui>(link)) {
    setObjectName(QStringLiteral("SAR_KELP"));
    setWindowTitle(QStringLiteral("KELP - SAR ADC"));
    Ui& u = *ui_;

    auto* central = new QWidget(this);
    auto* columns = new QHBoxLayout(central);
    columns->setContentsMargins(10, 10, 10, 10);
    columns->setSpacing(12);

    auto* left = new QWidget;
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->setSpacing(8);
    buildAdcFrame();
    buildDacFrame();
    leftLayout->addWidget(u.ADC);
    leftLayout->addWidget(u.DAC);
    u.DigitalFrame = new link::RegisterPanel(kDigitalFrameHeights, left);
    const std::pair<const char*, std::string_view> uart[] = {{"SCONSFR", "52"},
                                                             {"T2CONSFR", "34"},
                                                             {"RCAP2HSFR", "FF"},
                                                             {"RCAP2LSFR", kDesignRcap2l},
                                                             {"PLLCONSFR", "00"}};
    for (const auto& [name, start] : uart) u.DigitalFrame->box(name)->setText(qs(start));
    leftLayout->addWidget(u.DigitalFrame);
    leftLayout->addStretch(1);

    columns->addWidget(makeSettingsColumn(left, kSettingsColumnWidth, central), 0);
    columns->addWidget(buildChartPanel(), 1);
    setCentralWidget(central);

    makeFileMenu();
    buildHelpMenu();
    view_ = std::make_unique<RunView>(*this);
    u.runner = std::make_unique<SarRun>(link, run, results, *view_);
    connectHandlers();
    resize(1100, 720);
}

SarWindow::~SarWindow() = default;

void SarWindow::buildAdcFrame() {
    Ui& u = *ui_;
    u.ADC = new QGroupBox(QStringLiteral("ADC"));
    u.ADC->setObjectName(QStringLiteral("ADC"));
    auto* grid = new QGridLayout(u.ADC);
    grid->setColumnStretch(1, 1);
    grid->setVerticalSpacing(6);

    u.ADCButton = make<QCheckBox>(u.ADC, "ADCButton");
    u.ADCButton->setText(QStringLiteral("ON/OFF"));
    u.ADCChan = make<QComboBox>(u.ADC, "ADCChan");
    u.ADCChan->addItems(entries(DesignChannels()));
    u.ADCRef = make<QComboBox>(u.ADC, "ADCRef");
    u.ADCRef->addItems(entries(ReferenceEntries()));
    u.VrefTextbox = make<QLineEdit>(u.ADC, "VrefTextbox");
    u.VrefTextbox->setText(qs(kDesignVref));
    u.MasterClockTextbox = make<QLineEdit>(u.ADC, "MasterClockTextbox");
    u.MasterClockTextbox->setText(qs(kDesignMasterClock));
    u.ConvTime = make<QComboBox>(u.ADC, "ConvTime");
    u.ConvTime->addItems(entries(DesignConvTimes()));
    u.AcqTime = make<QComboBox>(u.ADC, "AcqTime");
    u.AcqTime->addItems(entries(AcqTimeEntries()));
    u.ConversionTimeTextbox = make<QLineEdit>(u.ADC, "ConversionTimeTextbox");
    u.ConversionTimeTextbox->setReadOnly(true);
    u.SampFreqTextbox = make<QLineEdit>(u.ADC, "SampFreqTextbox");
    u.SampFreqTextbox->setReadOnly(true);

    grid->addWidget(u.ADCButton, 0, 0, 1, 2);
    const std::tuple<const char*, const char*, QWidget*> rows[] = {
        {"Label3", "Input Channel", u.ADCChan},
        {"Label2", "ADC Reference", u.ADCRef},
        {"Label5", "External Vref (V)", u.VrefTextbox},
        {"Label1", "Master Clock (MHz)", u.MasterClockTextbox},
        {"Label12", "Conversion Time", u.ConvTime},
        {"Label4", "Aquistion Time", u.AcqTime},
        {"Label16", "Conversion Time (us)", u.ConversionTimeTextbox},
        {"Label14", "Sampling Freq (kHz)", u.SampFreqTextbox},
    };
    int r = 1;
    for (const auto& [name, caption, control] : rows) {
        grid->addWidget(makeLabel(u.ADC, name, caption, control), r, 0);
        grid->addWidget(control, r, 1);
        ++r;
    }
}

void SarWindow::buildDacFrame() {
    Ui& u = *ui_;
    u.DAC = new QGroupBox(QStringLiteral("DAC"));
    u.DAC->setObjectName(QStringLiteral("DAC"));
    auto* grid = new QGridLayout(u.DAC);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    grid->setColumnMinimumWidth(2, 90);

    u.DAC0Button = make<QCheckBox>(u.DAC, "DAC0Button");
    u.DAC0Button->setText(QStringLiteral("DAC0 ON/OFF"));
    u.DAC1Button = make<QCheckBox>(u.DAC, "DAC1Button");
    u.DAC1Button->setText(QStringLiteral("DAC1 ON/OFF"));
    u.DAC0Range = make<QComboBox>(u.DAC, "DAC0Range");
    u.DAC0Range->addItems(entries(DacRangeEntries()));
    u.DAC1Range = make<QComboBox>(u.DAC, "DAC1Range");
    u.DAC1Range->addItems(entries(DacRangeEntries()));
    u.DAC0Data = make<QLineEdit>(u.DAC, "DAC0Data");
    u.DAC0Data->setText(qs(kDesignDacData));
    u.DAC1Data = make<QLineEdit>(u.DAC, "DAC1Data");
    u.DAC1Data->setText(qs(kDesignDacData));
    auto* text1 = make<QLineEdit>(u.DAC, "Text1");
    auto* text2 = make<QLineEdit>(u.DAC, "Text2");
    for (QLineEdit* resolution : {text1, text2}) {
        resolution->setText(QStringLiteral("12 Bits"));
        resolution->setReadOnly(true);
    }

    // DAC0 on the left, DAC1 on the right, row by row.
    grid->addWidget(u.DAC0Button, 0, 0, 1, 2);
    grid->addWidget(u.DAC1Button, 0, 2, 1, 2);
    using Row = std::tuple<const char*, const char*, QWidget*>;
    const Row rows[][2] = {
        {{"Label8", "DAC0 Range", u.DAC0Range}, {"Label13", "DAC1 Range", u.DAC1Range}},
        {{"Label9", "DAC0 Data (Hex)", u.DAC0Data}, {"Label7", "DAC1 Data (Hex)", u.DAC1Data}},
        {{"Label10", "DAC0 Resolution", text1}, {"Label6", "DAC1 Resolution", text2}},
    };
    int r = 1;
    for (const auto& row : rows) {
        for (int side = 0; side < 2; ++side) {
            const auto& [name, caption, control] = row[side];
            grid->addWidget(makeLabel(u.DAC, name, caption, control), r, 2 * side);
            grid->addWidget(control, r, 2 * side + 1);
        }
        ++r;
    }
}

QWidget* SarWindow::buildChartPanel() {
    Ui& u = *ui_;
    auto* panel = new QWidget;
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    u.Graph = new platform::ChartPanel({"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"},
                                       {"801H", "800H", "7FFH"}, panel);
    layout->addWidget(u.Graph, 1);

    auto* controls = new QHBoxLayout;
    u.NumSamples = makeNumSamples(panel, entries(NumSamplesEntries()));
    u.NumSamples->setMinimumWidth(110);
    controls->addWidget(makeLabel(panel, "Label15", "Num of Samples:", u.NumSamples));
    controls->addWidget(u.NumSamples);
    controls->addStretch(1);
    controls->addWidget(makeRunButtons(panel));
    layout->addLayout(controls);
    return panel;
}

void SarWindow::buildHelpMenu() {
    QMenu* help = menuBar()->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("Menu_help"));
    help->addAction(QStringLiteral("&Help"))->setObjectName(QStringLiteral("HelpHelp"));
    help->addAction(QStringLiteral("A&bout"))->setObjectName(QStringLiteral("HelpAbout"));
}

void SarWindow::connectHandlers() {
    Ui& u = *ui_;
    u.listReactions = {
        {u.ADCChan, &SarWindow::ADCChan_Click},
        {u.ADCRef, &SarWindow::ADCRef_Click},
        {u.ConvTime, &SarWindow::ConvTime_Click},
        {u.AcqTime, &SarWindow::AcqTime_Click},
    };
    // A user's choice counts even when it picks the entry already shown; the program's own
    // selections go through selectEntry.
    for (const auto& [list, reaction] : u.listReactions)
        connect(list, &QComboBox::activated, this, reaction);
    connect(u.DAC0Button, &QCheckBox::toggled, this, &SarWindow::DAC0Button_Click);
    connect(u.DAC1Button, &QCheckBox::toggled, this, &SarWindow::DAC1Button_Click);
    connect(u.DAC0Data, &QLineEdit::textChanged, this, &SarWindow::DAC0Data_Change);
    connect(u.DAC1Data, &QLineEdit::textChanged, this, &SarWindow::DAC1Data_Change);
    keepInView(u.DigitalFrame);
}

void SarWindow::selectEntry(QComboBox* list, int position) {
    list->setCurrentIndex(position);
    const auto reaction = ui_->listReactions.find(list);
    if (reaction != ui_->listReactions.end()) (this->*reaction->second)();
}

void SarWindow::load(const std::string& model) {
    Ui& u = *ui_;
    u.model = model;
    setWindowTitle(QStringLiteral("KELP - ") + qs(model));
    u.link.applySettings(kFirmwareLinkSettings);

    const LoadDefaults& d = kLoadDefaults;
    u.ADCButton->setChecked(d.adcOn);
    selectEntry(u.ADCChan, d.channel);
    selectEntry(u.ADCRef, d.reference);
    selectEntry(u.ConvTime, d.convTime);
    selectEntry(u.AcqTime, d.acqTime);

    if (const ModelSetup* setup = FindModelSetup(model)) applyModelSetup(*setup);

    u.DAC0Button->setChecked(false);
    u.DAC1Button->setChecked(false);
    for (QComboBox* range : {u.DAC0Range, u.DAC1Range}) {
        range->setCurrentIndex(0);
        range->setEnabled(false);
    }
    u.DAC0Data->setEnabled(false);
    u.DAC1Data->setEnabled(false);

    u.NumSamples->setCurrentIndex(kLoadDefaults.numSamples);
    u.DigitalFrame->setFrameHeight(kDigitalFrameHeights.collapsed);
    UpdateADCFrame();
}

void SarWindow::applyModelSetup(const ModelSetup& setup) {
    Ui& u = *ui_;
    // Clearing and refilling is no choice of the user's; only the selection that follows is.
    const auto replace = [](QComboBox* list, std::span<const std::string_view> items) {
        if (items.empty()) return;
        list->clear();
        list->addItems(entries(items));
    };
    replace(u.ADCChan, setup.channels);
    selectEntry(u.ADCChan, setup.channelSelection - 1);
    replace(u.ConvTime, setup.convTimes);
    selectEntry(u.ConvTime, setup.convTimeSelection - 1);
    if (!setup.masterClock.empty()) u.MasterClockTextbox->setText(qs(setup.masterClock));
    if (!setup.rcap2l.empty()) u.DigitalFrame->box("RCAP2LSFR")->setText(qs(setup.rcap2l));
    for (DisabledGroup group : {kPwmGroup, kP0P2Boxes, kDacGroup})
        if (setup.disabled & group) link::DisableControls(this, ControlsOf(group));
}

void SarWindow::ADCChan_Click() {
    Ui& u = *ui_;
    // Channels 6 and 7 of this part share their pins with the DAC outputs.
    if (u.model != "Zylo520") return;
    const int position = u.ADCChan->currentIndex();
    const std::pair<int, QCheckBox*> shared[] = {{6, u.DAC0Button}, {7, u.DAC1Button}};
    for (const auto& [channel, button] : shared) {
        if (position == channel) button->setChecked(false);
        button->setEnabled(position != channel);
    }
}

void SarWindow::ADCRef_Click() { ui_->VrefTextbox->setEnabled(ui_->ADCRef->currentIndex() == 1); }

void SarWindow::ConvTime_Click() { UpdateADCFrame(); }

void SarWindow::AcqTime_Click() { UpdateADCFrame(); }

void SarWindow::DAC0Button_Click() {
    ui_->DAC0Range->setEnabled(ui_->DAC0Button->isChecked());
    ui_->DAC0Data->setEnabled(ui_->DAC0Button->isChecked());
}

void SarWindow::DAC1Button_Click() {
    ui_->DAC1Range->setEnabled(ui_->DAC1Button->isChecked());
    ui_->DAC1Data->setEnabled(ui_->DAC1Button->isChecked());
}

void SarWindow::DAC0Data_Change() {
    const QString canonical = qs(link::Verify16bitSFR(text(ui_->DAC0Data)));
    if (canonical != ui_->DAC0Data->text()) ui_->DAC0Data->setText(canonical);
}

void SarWindow::DAC1Data_Change() {
    const QString canonical = qs(link::Verify16bitSFR(text(ui_->DAC1Data)));
    if (canonical != ui_->DAC1Data->text()) ui_->DAC1Data->setText(canonical);
}

void SarWindow::NumSamples_LostFocus() {
    QComboBox* box = ui_->NumSamples;
    const QString checked = qs(CheckNumSamples(box->currentText().toStdString()));
    if (checked != box->currentText()) box->setEditText(checked);
}

void SarWindow::UpdateADCFrame() {
    Ui& u = *ui_;
    const auto figures = ComputeTimingFigures(u.AcqTime->currentIndex(), text(u.MasterClockTextbox),
                                              u.ConvTime->currentText().toStdString());
    if (!figures) return;  // a clock of 0 or no number: keep what is shown
    u.ConversionTimeTextbox->setText(qs(figures->conversionTimeText));
    u.SampFreqTextbox->setText(qs(figures->frequencyText));
}

link::RunResult SarWindow::run() { return ui_->runner->execute(); }

void SarWindow::stop() { ui_->runner->requestStop(); }

analysis::SarRunSettings SarWindow::runSettings() const {
    const Ui& u = *ui_;
    analysis::SarRunSettings s;
    s.ADCChan = u.ADCChan->currentText().toStdString();
    s.ADCRef = u.ADCRef->currentText().toStdString();
    s.ConvTime = u.ConvTime->currentText().toStdString();
    s.AcqTime = u.AcqTime->currentText().toStdString();
    s.VrefTextbox = text(u.VrefTextbox);
    s.MasterClockTextbox = text(u.MasterClockTextbox);
    s.SampFreqTextbox = text(u.SampFreqTextbox);
    s.ConversionTimeTextbox = text(u.ConversionTimeTextbox);
    s.GraphMaxLabel = u.Graph->upperLabel()->text().toStdString();
    s.GraphMidLabel = u.Graph->middleLabel()->text().toStdString();
    s.GraphMinLabel = u.Graph->lowerLabel()->text().toStdString();
    s.graphUpperBound = u.Graph->upperBound();
    s.graphLowerBound = u.Graph->lowerBound();
    return s;
}

}  // namespace kelp::sar
