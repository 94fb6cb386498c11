#include "sigmadelta/sdwindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QVBoxLayout>
#include <algorithm>
#include <map>

#include "analysis/sdfigures.h"
#include "link/controlkit.h"
#include "link/controls.h"
#include "link/link.h"
#include "link/registerpanel.h"
#include "link/registerrules.h"
#include "link/targetport.h"
#include "platform/chartpanel.h"
#include "sigmadelta/clockdivider.h"
#include "sigmadelta/sdconfig.h"
#include "sigmadelta/sdrun.h"
#include "sigmadelta/sdsetup.h"

namespace kelp::sigmadelta {

namespace {

// 1 height unit = 1 pixel for the register panel; the sampling frame's units are a little
// larger, so that collapsed it still shows its first two rows.
constexpr link::FrameHeights kDigitalFrameHeights{30, 400, 25};
constexpr link::FrameHeights kSamplingFrameHeights{80, 160, 75, 1.15};
constexpr int kSettingsColumnWidth = 450;
constexpr const char* kFirmwareLinkSettings = "57600,N,8,1";

using link::entries;
using link::make;
using link::qs;
using link::text;

// A list with its design entries and, as at design time, no selection: the set-up's first
// selection is a change and runs the list's reaction.
QComboBox* makeList(QWidget* parent, const char* name, std::span<const std::string_view> items) {
    auto* list = make<QComboBox>(parent, name);
    list->addItems(entries(items));
    list->setCurrentIndex(-1);
    return list;
}

QLabel* makeLabel(QWidget* parent, const char* name, const char* caption, QWidget* buddy) {
    return link::makeCaption(parent, name, QString::fromLatin1(caption), buddy);
}

// Label and control rows of a frame's grid.
using Row = std::tuple<const char*, const char*, QWidget*>;
void addRows(QGridLayout* grid, int firstRow, std::initializer_list<Row> rows, QWidget* frame) {
    int r = firstRow;
    for (const auto& [name, caption, control] : rows) {
        grid->addWidget(makeLabel(frame, name, caption, control), r, 0);
        grid->addWidget(control, r, 1);
        ++r;
    }
}

// The sampling frame: SF, update rate and sample count always; the filter options folded.
class SamplingFrame final : public link::FoldingFrame {
public:
    SamplingFrame(SdWindow& window, QWidget* parent)
        : FoldingFrame(QStringLiteral("ADC Sampling - click for more options"),
                       kSamplingFrameHeights, parent),
          window_(window) {
        setObjectName(QStringLiteral("AdcSampFrame"));
        setToolTip(tr("Click the frame to show or hide the filter options"));
    }
    using FoldingFrame::foldedPart;

protected:
    void clicked() override { window_.AdcSampFrame_Click(); }

private:
    SdWindow& window_;
};

}  // namespace

struct SdWindow::Ui {
    Ui(link::Link& l, SdLinkState& s) : link(l), state(s) {}
    link::Link& link;
    SdLinkState& state;
    std::string model;
    bool is58XGroup = false;

    QCheckBox* PrimaryADCButton = nullptr;
    QComboBox* PrimaryMode = nullptr;
    QComboBox* PrimaryReference = nullptr;
    QComboBox* PrimaryInputChannel = nullptr;
    QComboBox* PrimaryInputRange = nullptr;
    QCheckBox* AuxillaryADCButton = nullptr;
    QComboBox* AuxMode = nullptr;
    QComboBox* AuxReference = nullptr;
    QComboBox* AuxInputChannel = nullptr;
    QLineEdit* AuxInputRange = nullptr;
    QLineEdit* VrefTextbox = nullptr;
    QCheckBox* IEXC1Button = nullptr;
    QComboBox* IEXC1Pin = nullptr;
    QCheckBox* IEXC2Button = nullptr;
    QComboBox* IEXC2Pin = nullptr;
    QCheckBox* DACButton = nullptr;
    QComboBox* DACRange = nullptr;
    QLineEdit* DACData = nullptr;
    QComboBox* DACPin = nullptr;
    SamplingFrame* AdcSampFrame = nullptr;
    QComboBox* SF = nullptr;
    QLineEdit* ConversionRate = nullptr;
    QComboBox* NumSamples = nullptr;
    QCheckBox* chopEnChkBox = nullptr;
    QCheckBox* notchEnChkBox = nullptr;
    QComboBox* bufCfgCBox = nullptr;
    link::RegisterPanel* DigitalFrame = nullptr;
    QComboBox* CDBits = nullptr;
    platform::ChartPanel* Graph = nullptr;
    platform::ChartPanel* AuxGraph = nullptr;

    std::map<QComboBox*, void (SdWindow::*)()> listReactions;
    std::unique_ptr<SdRun> runner;
};

// The window as the run sees it.
class SdWindow::RunView final : public SdRunView {
public:
    explicit RunView(SdWindow& w) : w_(w) {}

    SdConfiguration configuration() const override {
        const Ui& u = *w_.ui_;
        SdConfiguration c;
        c.PM = u.PrimaryMode->currentIndex();
        c.PRef = u.PrimaryReference->currentIndex();
        c.PCh = u.PrimaryInputChannel->currentIndex();
        c.PR = u.PrimaryInputRange->currentIndex();
        c.AM = u.AuxMode->currentIndex();
        c.ARef = u.AuxReference->currentIndex();
        c.ACh = u.AuxInputChannel->currentIndex();
        c.BUF = u.bufCfgCBox->currentIndex();
        c.PON = u.PrimaryADCButton->isChecked();
        c.AON = u.AuxillaryADCButton->isChecked();
        c.NOTCH = u.notchEnChkBox->isChecked();
        c.CHOPOFF = u.chopEnChkBox->isChecked();
        c.I1ON = u.IEXC1Button->isChecked();
        c.I2ON = u.IEXC2Button->isChecked();
        c.DON = u.DACButton->isChecked();
        c.I1PIN = u.IEXC1Pin->currentIndex();
        c.I2PIN = u.IEXC2Pin->currentIndex();
        c.DRANGE = u.DACRange->currentIndex();
        c.DPIN = u.DACPin->currentIndex();
        c.SF = u.SF->currentText().toStdString();
        c.DACData = text(u.DACData);
        c.registers = u.DigitalFrame->texts();
        return c;
    }
    std::string numSamplesText() const override {
        return w_.ui_->NumSamples->currentText().toStdString();
    }
    bool primaryOn() const override { return w_.ui_->PrimaryADCButton->isChecked(); }
    bool auxOn() const override { return w_.ui_->AuxillaryADCButton->isChecked(); }
    platform::Trace& primaryTrace() override { return *w_.ui_->Graph; }
    platform::Trace& auxTrace() override { return *w_.ui_->AuxGraph; }
    void showSampling(bool sampling) override { w_.showSampling(sampling); }
    void openAnalysis() override { emit w_.analysisRequested(); }

private:
    SdWindow& w_;
};

SdWindow::SdWindow(link::Link& link, link::RunState& run, SdResults& results, SdLinkState& state,
                   platform::MessageSink& messages, QWidget* parent)
    : EvaluationWindow(messages, link.port(), parent), ui_(std::make_unique<Ui>(link, state)) {
    setObjectName(QStringLiteral("SD_KELP"));
    setWindowTitle(QStringLiteral("KELP - Sigma Delta ADC"));
    Ui& u = *ui_;

    auto* central = new QWidget(this);
    auto* columns = new QHBoxLayout(central);
    columns->setContentsMargins(10, 10, 10, 10);
    columns->setSpacing(12);

    auto* left = new QWidget;
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->setSpacing(8);
    buildPrimaryFrame(left);
    buildAuxFrame(left);
    leftLayout->addWidget(left->findChild<QGroupBox*>(QStringLiteral("PrimaryADC")));
    leftLayout->addWidget(left->findChild<QGroupBox*>(QStringLiteral("AuxiliaryADC")));
    leftLayout->addWidget(buildReferenceAndCurrents(left));
    buildDacFrame(left);
    leftLayout->addWidget(left->findChild<QGroupBox*>(QStringLiteral("DAC")));
    buildSamplingFrame(left);
    leftLayout->addWidget(u.AdcSampFrame);
    buildRegisterPanel(left);
    leftLayout->addWidget(u.DigitalFrame);
    leftLayout->addStretch(1);

    columns->addWidget(makeSettingsColumn(left, kSettingsColumnWidth, central), 0);
    columns->addWidget(buildCharts(), 1);
    setCentralWidget(central);

    makeFileMenu();
    view_ = std::make_unique<RunView>(*this);
    u.runner = std::make_unique<SdRun>(link, run, results, state, *view_);
    connectHandlers();
    resize(1180, 780);
}

SdWindow::~SdWindow() = default;

void SdWindow::buildPrimaryFrame(QWidget* parent) {
    Ui& u = *ui_;
    auto* frame = make<QGroupBox>(parent, "PrimaryADC");
    frame->setTitle(QStringLiteral("Primary ADC"));
    auto* grid = new QGridLayout(frame);
    grid->setColumnStretch(1, 1);
    u.PrimaryADCButton = make<QCheckBox>(frame, "PrimaryADCButton");
    u.PrimaryADCButton->setText(QStringLiteral("ON/OFF"));
    u.PrimaryMode = makeList(frame, "PrimaryMode", ModeEntries());
    u.PrimaryReference = makeList(frame, "PrimaryReference", PrimaryReferenceEntries());
    u.PrimaryInputChannel = makeList(frame, "PrimaryInputChannel", DesignPrimaryChannels());
    u.PrimaryInputRange = makeList(frame, "PrimaryInputRange", DesignPrimaryRanges());
    grid->addWidget(u.PrimaryADCButton, 0, 0, 1, 2);
    addRows(grid, 1,
            {{"Label1", "Mode Select", u.PrimaryMode},
             {"Label2", "ADC Reference", u.PrimaryReference},
             {"Label3", "Input Channel", u.PrimaryInputChannel},
             {"Label4", "Input Range", u.PrimaryInputRange}},
            frame);
}

void SdWindow::buildAuxFrame(QWidget* parent) {
    Ui& u = *ui_;
    auto* frame = make<QGroupBox>(parent, "AuxiliaryADC");
    frame->setTitle(QStringLiteral("Auxiliary ADC"));
    auto* grid = new QGridLayout(frame);
    grid->setColumnStretch(1, 1);
    u.AuxillaryADCButton = make<QCheckBox>(frame, "AuxillaryADCButton");
    u.AuxillaryADCButton->setText(QStringLiteral("ON/OFF"));
    u.AuxMode = makeList(frame, "AuxMode", ModeEntries());
    u.AuxReference = makeList(frame, "AuxReference", AuxReferenceEntries());
    u.AuxInputChannel = makeList(frame, "AuxInputChannel", DesignAuxChannels());
    u.AuxInputRange = make<QLineEdit>(frame, "AuxInputRange");
    grid->addWidget(u.AuxillaryADCButton, 0, 0, 1, 2);
    addRows(grid, 1,
            {{"Label17", "Mode Select", u.AuxMode},
             {"Label16", "ADC Reference", u.AuxReference},
             {"Label7", "Input Channel", u.AuxInputChannel},
             {"Label6", "Input Range", u.AuxInputRange}},
            frame);
}

QWidget* SdWindow::buildReferenceAndCurrents(QWidget* parent) {
    Ui& u = *ui_;
    auto* row = new QWidget(parent);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);

    auto* ref = make<QGroupBox>(row, "ExtVRef");
    ref->setTitle(QStringLiteral("External Vref"));
    auto* refGrid = new QGridLayout(ref);
    u.VrefTextbox = make<QLineEdit>(ref, "VrefTextbox");
    u.VrefTextbox->setText(qs(kDesignVref));
    u.VrefTextbox->setMaximumWidth(80);
    addRows(refGrid, 0, {{"Label5", "ADC Vref", u.VrefTextbox}}, ref);
    refGrid->setRowStretch(1, 1);

    auto* current = make<QGroupBox>(row, "Current");
    current->setTitle(QStringLiteral("Current Sources"));
    auto* grid = new QGridLayout(current);
    u.IEXC1Button = make<QCheckBox>(current, "IEXC1Button");
    u.IEXC1Button->setText(QStringLiteral("IEXC1"));
    u.IEXC1Pin = makeList(current, "IEXC1Pin", Iexc1PinEntries());
    u.IEXC2Button = make<QCheckBox>(current, "IEXC2Button");
    u.IEXC2Button->setText(QStringLiteral("IEXC2"));
    u.IEXC2Pin = makeList(current, "IEXC2Pin", Iexc2PinEntries());
    u.IEXC1Pin->setAccessibleName(QStringLiteral("IEXC1 pin"));
    u.IEXC2Pin->setAccessibleName(QStringLiteral("IEXC2 pin"));
    grid->addWidget(u.IEXC1Button, 0, 0);
    grid->addWidget(u.IEXC1Pin, 0, 1);
    grid->addWidget(u.IEXC2Button, 1, 0);
    grid->addWidget(u.IEXC2Pin, 1, 1);

    layout->addWidget(ref, 1);
    layout->addWidget(current, 2);
    return row;
}

void SdWindow::buildDacFrame(QWidget* parent) {
    Ui& u = *ui_;
    auto* frame = make<QGroupBox>(parent, "DAC");
    frame->setTitle(QStringLiteral("DAC"));
    auto* grid = new QGridLayout(frame);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    u.DACButton = make<QCheckBox>(frame, "DACButton");
    u.DACButton->setText(QStringLiteral("ON/OFF"));
    u.DACRange = makeList(frame, "DACRange", DacRangeEntries());
    u.DACData = make<QLineEdit>(frame, "DACData");
    u.DACData->setText(qs(kDesignDacData));
    u.DACPin = makeList(frame, "DACPin", DesignDacPins());
    grid->addWidget(u.DACButton, 0, 0, 1, 2);
    grid->addWidget(makeLabel(frame, "Label8", "Range", u.DACRange), 1, 0);
    grid->addWidget(u.DACRange, 1, 1);
    grid->addWidget(makeLabel(frame, "Label10", "DAC Pin", u.DACPin), 1, 2);
    grid->addWidget(u.DACPin, 1, 3);
    grid->addWidget(makeLabel(frame, "Label9", "DAC Data (Hex)", u.DACData), 2, 0);
    grid->addWidget(u.DACData, 2, 1);
}

void SdWindow::buildSamplingFrame(QWidget* parent) {
    Ui& u = *ui_;
    u.AdcSampFrame = new SamplingFrame(*this, parent);
    auto* outer = new QVBoxLayout(u.AdcSampFrame);
    outer->setContentsMargins(8, 2, 8, 4);
    outer->setSpacing(4);
    auto* basics = new QGridLayout;
    basics->setVerticalSpacing(3);
    u.SF = make<QComboBox>(u.AdcSampFrame, "SF");
    u.SF->setEditable(true);
    u.SF->setInsertPolicy(QComboBox::NoInsert);
    u.SF->setCompleter(nullptr);
    u.SF->addItems(entries(SfEntries()));
    u.SF->setCurrentIndex(-1);
    u.SF->setEditText(QStringLiteral("45"));
    u.ConversionRate = make<QLineEdit>(u.AdcSampFrame, "ConversionRate");
    u.ConversionRate->setText(qs(kDesignConversionRate));
    u.ConversionRate->setReadOnly(true);
    u.NumSamples = makeNumSamples(u.AdcSampFrame, entries(NumSamplesEntries()));
    u.NumSamples->setCurrentIndex(-1);
    basics->addWidget(makeLabel(u.AdcSampFrame, "Label14", "SF (Hex)", u.SF), 0, 0);
    basics->addWidget(u.SF, 0, 1);
    basics->addWidget(makeLabel(u.AdcSampFrame, "Label15", "Update Rate (Hz)", u.ConversionRate), 0,
                      2);
    basics->addWidget(u.ConversionRate, 0, 3);
    basics->addWidget(makeLabel(u.AdcSampFrame, "Label13", "Num of Samples", u.NumSamples), 1, 0);
    basics->addWidget(u.NumSamples, 1, 1);
    basics->setColumnStretch(3, 1);
    outer->addLayout(basics);

    QWidget* folded = u.AdcSampFrame->foldedPart();
    auto* options = new QGridLayout(folded);
    options->setContentsMargins(0, 0, 0, 0);
    options->setVerticalSpacing(3);
    u.chopEnChkBox = make<QCheckBox>(folded, "chopEnChkBox");
    u.notchEnChkBox = make<QCheckBox>(folded, "notchEnChkBox");
    u.bufCfgCBox = makeList(folded, "bufCfgCBox", BufferEntries());
    options->addWidget(makeLabel(folded, "Label12", "Chop Disable", u.chopEnChkBox), 0, 0);
    options->addWidget(u.chopEnChkBox, 0, 1);
    options->addWidget(makeLabel(folded, "Label22", "Notch Enable", u.notchEnChkBox), 0, 2);
    options->addWidget(u.notchEnChkBox, 0, 3);
    options->addWidget(makeLabel(folded, "Label28", "Buffer Configuration", u.bufCfgCBox), 1, 0, 1,
                       2);
    options->addWidget(u.bufCfgCBox, 1, 2, 1, 2);
    options->setColumnStretch(4, 1);
    outer->addWidget(folded);
    outer->addStretch(1);
}

void SdWindow::buildRegisterPanel(QWidget* parent) {
    Ui& u = *ui_;
    u.DigitalFrame = new link::RegisterPanel(kDigitalFrameHeights, parent);
    // The divider choice sits with the UART boxes, below PLLCON.
    QGroupBox* uart = u.DigitalFrame->groupFrame("Frame3");
    auto* grid = qobject_cast<QGridLayout*>(uart->layout());
    u.CDBits = make<QComboBox>(uart, "CDBits");
    for (const CDBitsEntry& e : CDBits()) u.CDBits->addItem(qs(e.entry));
    u.CDBits->setCurrentIndex(-1);
    const int row = grid->rowCount();
    grid->addWidget(makeLabel(uart, "Label33", "CD = ", u.CDBits), row, 0);
    grid->addWidget(u.CDBits, row, 1, 1, 2);
}

QWidget* SdWindow::buildCharts() {
    Ui& u = *ui_;
    auto* panel = new QWidget;
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    u.Graph = new platform::ChartPanel({"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"},
                                       {"800100H", "800000H", "7FFE00H"}, panel);
    u.AuxGraph = new platform::ChartPanel(
        {"AuxGraph", "AuxGraphMaxLabel", "AuxGraphMidLabel", "AuxGraphMinLabel"},
        {"8001H", "8000H", "7FFEH"}, panel);
    // Stacked charts line their marks up.
    const int marks = std::max(u.Graph->markWidth(), u.AuxGraph->markWidth());
    u.Graph->setMarkWidth(marks);
    u.AuxGraph->setMarkWidth(marks);
    layout->addWidget(u.Graph, 1);
    layout->addWidget(u.AuxGraph, 1);
    auto* controls = new QHBoxLayout;
    controls->addStretch(1);
    controls->addWidget(makeRunButtons(panel));
    layout->addLayout(controls);
    return panel;
}

void SdWindow::connectHandlers() {
    Ui& u = *ui_;
    u.listReactions = {
        {u.PrimaryMode, &SdWindow::PrimaryMode_Click},
        {u.PrimaryReference, &SdWindow::PrimaryReference_Click},
        {u.PrimaryInputChannel, &SdWindow::PrimaryInputChannel_Click},
        {u.PrimaryInputRange, &SdWindow::PrimaryInputRange_Click},
        {u.AuxMode, &SdWindow::AuxMode_Click},
        {u.AuxReference, &SdWindow::AuxReference_Click},
        {u.AuxInputChannel, &SdWindow::AuxInputChannel_Click},
        {u.SF, &SdWindow::SF_Click},
        {u.CDBits, &SdWindow::CDBits_Click},
    };
    for (const auto& [list, reaction] : u.listReactions)
        connect(list, &QComboBox::activated, this, reaction);
    const std::pair<QCheckBox*, void (SdWindow::*)()> switches[] = {
        {u.PrimaryADCButton, &SdWindow::PrimaryADCButton_Click},
        {u.AuxillaryADCButton, &SdWindow::AuxillaryADCButton_Click},
        {u.IEXC1Button, &SdWindow::IEXC1Button_Click},
        {u.IEXC2Button, &SdWindow::IEXC2Button_Click},
        {u.DACButton, &SdWindow::DACButton_Click},
        {u.chopEnChkBox, &SdWindow::chopEnChkBox_Click},
    };
    for (const auto& [box, reaction] : switches) connect(box, &QCheckBox::toggled, this, reaction);
    connect(u.VrefTextbox, &QLineEdit::textChanged, this, &SdWindow::VrefTextbox_Change);
    connect(u.DACData, &QLineEdit::textChanged, this, &SdWindow::DACData_Change);
    u.SF->installEventFilter(this);
    keepInView(u.AdcSampFrame);
    keepInView(u.DigitalFrame);
}

void SdWindow::select(QComboBox* list, int position) {
    if (list->currentIndex() == position) return;
    list->setCurrentIndex(position);
    const auto reaction = ui_->listReactions.find(list);
    if (reaction != ui_->listReactions.end()) (this->*reaction->second)();
}

void SdWindow::load(const std::string& model, bool is58XGroup) {
    Ui& u = *ui_;
    SdLinkState& s = u.state;
    u.model = model;
    u.is58XGroup = is58XGroup;
    const CommonSetup& c = kCommonSetup;

    setWindowTitle(QStringLiteral("KELP - ") + qs(model));
    u.link.applySettings(kFirmwareLinkSettings);
    s.PrimaryRangeIndex = static_cast<int16_t>(c.primaryRangeIndex);
    link::DisableControls(this, SamplingOptionControls());
    s.SetupInProgress = true;
    u.PrimaryADCButton->setChecked(true);
    select(u.PrimaryMode, c.primaryMode);
    select(u.PrimaryReference, c.primaryReference);
    select(u.PrimaryInputChannel, c.primaryChannel);
    select(u.PrimaryInputRange, s.PrimaryRangeIndex);
    select(u.AuxMode, c.auxMode);
    select(u.AuxReference, c.auxReference);
    select(u.AuxInputChannel, c.auxChannel);
    u.VrefTextbox->setText(qs(kDesignVref));
    u.IEXC1Button->setChecked(false);
    u.IEXC2Button->setChecked(false);
    select(u.IEXC1Pin, c.iexc1Pin);
    u.IEXC1Pin->setEnabled(false);
    select(u.IEXC2Pin, c.iexc2Pin);
    u.IEXC2Pin->setEnabled(false);
    u.DACButton->setChecked(false);
    select(u.DACRange, c.dacRange);
    select(u.DACPin, c.dacPin);
    for (QWidget* w : {static_cast<QWidget*>(u.DACPin), static_cast<QWidget*>(u.DACRange),
                       static_cast<QWidget*>(u.DACData)})
        w->setEnabled(false);
    select(u.SF, c.sf);
    select(u.NumSamples, c.numSamples);
    const std::pair<const char*, std::string_view> uart[] = {{"PLLCONSFR", c.PLLCON},
                                                             {"SCONSFR", c.SCON},
                                                             {"T2CONSFR", c.T2CON},
                                                             {"RCAP2HSFR", c.RCAP2H},
                                                             {"RCAP2LSFR", c.RCAP2L}};
    for (const auto& [name, start] : uart) {
        QLineEdit* box = u.DigitalFrame->box(name);
        box->setText(qs(start));
        box->setEnabled(std::string_view(name) == "PLLCONSFR");
    }
    UpdateAuxRange();
    UpdatePrimaryRange();
    for (QWidget* w :
         {static_cast<QWidget*>(u.AuxMode), static_cast<QWidget*>(u.AuxReference),
          static_cast<QWidget*>(u.AuxInputChannel), static_cast<QWidget*>(u.AuxInputRange)})
        w->setEnabled(false);
    s.SetupInProgress = false;
    select(u.CDBits, 0);
    s.CurrentClockDivider = 0;
    if (const ModelSetup* setup = FindModelSetup(model)) applyModelSetup(*setup);
    showBothCharts(false);
    select(u.bufCfgCBox, c.buffer);
    u.DigitalFrame->setFrameHeight(kDigitalFrameHeights.collapsed);
    u.AdcSampFrame->setFrameHeight(kSamplingFrameHeights.collapsed);
    s.SetupInProgress = false;
}

void SdWindow::applyModelSetup(const ModelSetup& setup) {
    Ui& u = *ui_;
    // Clearing and refilling is no choice of the user's; only the selection that follows is.
    const auto replace = [this](QComboBox* list, std::span<const std::string_view> items,
                                int selection) {
        if (items.empty()) return;
        list->clear();
        list->addItems(entries(items));
        list->setCurrentIndex(-1);
        select(list, selection);
    };
    replace(u.PrimaryInputChannel, setup.primaryChannels, setup.channelSelection);
    replace(u.AuxInputChannel, setup.auxChannels, setup.channelSelection);
    replace(u.DACPin, setup.dacPins, setup.dacPinSelection);
    for (std::string_view name : setup.enabledAgain)
        if (auto* w = findChild<QWidget*>(qs(name))) w->setEnabled(true);
    link::DisableControls(this, setup.disabled);
    if (setup.cdBitsPosition >= 0) {
        const CDBitsEntry* entry = CDBitsAt(setup.cdBitsPosition);
        u.DigitalFrame->box("PLLCONSFR")->setText(qs(entry->PLLCON));
        select(u.CDBits, setup.cdBitsPosition);
        u.state.CurrentClockDivider = static_cast<int16_t>(entry->divider);
    }
}

void SdWindow::showBothCharts(bool both) {
    // The primary chart takes the whole height alone, half of it beside the auxiliary one.
    ui_->AuxGraph->setVisible(both);
}

void SdWindow::PrimaryADCButton_Click() {
    Ui& u = *ui_;
    const bool on = u.PrimaryADCButton->isChecked();
    for (QWidget* w :
         {u.PrimaryMode, u.PrimaryReference, u.PrimaryInputChannel, u.PrimaryInputRange})
        w->setEnabled(on);
}

void SdWindow::AuxillaryADCButton_Click() {
    Ui& u = *ui_;
    const bool on = u.AuxillaryADCButton->isChecked();
    for (QWidget* w :
         {static_cast<QWidget*>(u.AuxMode), static_cast<QWidget*>(u.AuxReference),
          static_cast<QWidget*>(u.AuxInputChannel), static_cast<QWidget*>(u.AuxInputRange)})
        w->setEnabled(on);
    showBothCharts(on);
}

void SdWindow::PrimaryMode_Click() { UpdatePrimaryRange(); }
void SdWindow::PrimaryReference_Click() { UpdatePrimaryRange(); }
void SdWindow::PrimaryInputChannel_Click() { UpdatePrimaryRange(); }

void SdWindow::PrimaryInputRange_Click() {
    ui_->state.PrimaryRangeIndex = static_cast<int16_t>(ui_->PrimaryInputRange->currentIndex());
}

void SdWindow::AuxMode_Click() { UpdateAuxRange(); }
void SdWindow::AuxReference_Click() { UpdateAuxRange(); }
void SdWindow::AuxInputChannel_Click() { UpdateAuxRange(); }

void SdWindow::VrefTextbox_Change() {
    UpdatePrimaryRange();
    UpdateAuxRange();
}

void SdWindow::IEXC1Button_Click() { ui_->IEXC1Pin->setEnabled(ui_->IEXC1Button->isChecked()); }

void SdWindow::IEXC2Button_Click() { ui_->IEXC2Pin->setEnabled(ui_->IEXC2Button->isChecked()); }

void SdWindow::DACButton_Click() {
    Ui& u = *ui_;
    const bool on = u.DACButton->isChecked();
    for (QWidget* w : {static_cast<QWidget*>(u.DACPin), static_cast<QWidget*>(u.DACRange),
                       static_cast<QWidget*>(u.DACData)})
        w->setEnabled(on);
}

void SdWindow::DACData_Change() {
    const QString canonical = qs(link::Verify16bitSFR(text(ui_->DACData)));
    if (canonical != ui_->DACData->text()) ui_->DACData->setText(canonical);
}

void SdWindow::showUpdateRate(bool chopOff) {
    const std::string rate = UpdateRateText(ui_->SF->currentText().toStdString(), chopOff);
    if (!rate.empty()) ui_->ConversionRate->setText(qs(rate));
}

void SdWindow::SF_Click() {
    // A new SF always shows the chopping-on figure.
    showUpdateRate(false);
    ui_->notchEnChkBox->setEnabled(ui_->SF->currentIndex() != 0);
}

void SdWindow::SF_LostFocus() {
    QComboBox* sf = ui_->SF;
    const QString checked = qs(CheckSF(sf->currentText().toStdString()));
    if (checked != sf->currentText()) sf->setEditText(checked);
    showUpdateRate(false);
}

void SdWindow::chopEnChkBox_Click() { showUpdateRate(ui_->chopEnChkBox->isChecked()); }

void SdWindow::NumSamples_LostFocus() {
    QComboBox* box = ui_->NumSamples;
    const QString checked = qs(CheckNumSamples(box->currentText().toStdString()));
    if (checked != box->currentText()) box->setEditText(checked);
}

void SdWindow::CDBits_Click() {
    Ui& u = *ui_;
    if (u.state.SetupInProgress) return;
    if (running()) {
        // The run reads from the port this would close; the target keeps its divider.
        const QSignalBlocker quiet(u.CDBits);
        const auto shown = std::find_if(CDBits().begin(), CDBits().end(), [&](const auto& e) {
            return e.divider == u.state.CurrentClockDivider;
        });
        u.CDBits->setCurrentIndex(static_cast<int>(shown - CDBits().begin()));
        statusBar()->showMessage(tr("The clock divider cannot change during a run; press Stop "
                                    "first."),
                                 5000);
        return;
    }
    const DividerSent sent = ChooseClockDivider(u.link, u.state, u.CDBits->currentIndex());
    u.DigitalFrame->box("PLLCONSFR")->setText(qs(sent.PLLCON));
    if (!sent.sent)
        statusBar()->showMessage(
            qs(link::PortOpenMessage(sent.openError, u.link.port().portName()))
                    .replace("\r\n", " ") +
                tr(" The clock divider was not sent; choose it again once the port opens."),
            8000);
}

void SdWindow::AdcSampFrame_Click() { ui_->AdcSampFrame->toggle(); }

void SdWindow::UpdatePrimaryRange() {
    Ui& u = *ui_;
    const auto texts = PrimaryRangeEntries(u.PrimaryMode->currentIndex(),
                                           u.PrimaryReference->currentIndex(), text(u.VrefTextbox));
    u.PrimaryInputRange->clear();
    for (const std::string& t : texts) u.PrimaryInputRange->addItem(qs(t));
    u.PrimaryInputRange->setCurrentIndex(-1);
    select(u.PrimaryInputRange, u.state.PrimaryRangeIndex);
}

void SdWindow::UpdateAuxRange() {
    Ui& u = *ui_;
    u.AuxInputRange->setText(qs(AuxRangeText(u.AuxMode->currentIndex(),
                                             u.AuxReference->currentIndex(), text(u.VrefTextbox))));
}

bool SdWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ui_->SF && event->type() == QEvent::FocusOut) {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason) SF_LostFocus();
    }
    return EvaluationWindow::eventFilter(watched, event);
}

link::RunResult SdWindow::run() {
    if (ui_->SF->hasFocus()) SF_LostFocus();
    return ui_->runner->execute(ui_->model, ui_->is58XGroup);
}

void SdWindow::stop() { ui_->runner->requestStop(); }

analysis::SdRunSettings SdWindow::runSettings() const {
    const Ui& u = *ui_;
    const auto chart = [](const platform::ChartPanel* c) {
        return analysis::ChartCopy{
            c->upperBound(), c->lowerBound(), c->upperLabel()->text().toStdString(),
            c->middleLabel()->text().toStdString(), c->lowerLabel()->text().toStdString()};
    };
    analysis::SdRunSettings s;
    s.VrefTextbox = text(u.VrefTextbox);
    s.SF = u.SF->currentText().toStdString();
    s.ConversionRate = text(u.ConversionRate);
    s.DACButton = u.DACButton->isChecked();
    s.DACData = text(u.DACData);
    s.DACPin = u.DACPin->currentIndex();
    s.IEXC1Button = u.IEXC1Button->isChecked();
    s.IEXC1Pin = u.IEXC1Pin->currentIndex();
    s.IEXC2Button = u.IEXC2Button->isChecked();
    s.IEXC2Pin = u.IEXC2Pin->currentIndex();
    s.PrimaryADCButton = u.PrimaryADCButton->isChecked();
    s.PrimaryReference = u.PrimaryReference->currentIndex();
    s.PrimaryMode = u.PrimaryMode->currentIndex();
    s.PrimaryInputRange = u.PrimaryInputRange->currentIndex();
    s.PrimaryInputRangeText = u.PrimaryInputRange->currentText().toStdString();
    s.PrimaryInputChannel = u.PrimaryInputChannel->currentText().toStdString();
    s.Graph = chart(u.Graph);
    s.AuxillaryADCButton = u.AuxillaryADCButton->isChecked();
    s.AuxReference = u.AuxReference->currentIndex();
    s.AuxMode = u.AuxMode->currentIndex();
    s.AuxInputChannel = u.AuxInputChannel->currentText().toStdString();
    s.AuxInputRange = text(u.AuxInputRange);
    s.AuxGraph = chart(u.AuxGraph);
    return s;
}

}  // namespace kelp::sigmadelta
