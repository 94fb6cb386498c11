#include "sar/sarwindow.h"

#include <QAction>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>

#include "analysis/saranalysiswindow.h"
#include "analysis/sarrunsettings.h"
#include "link/registerpanel.h"
#include "link/registerrules.h"
#include "platform/serialport.h"
#include "platform/stripchart.h"
#include "sar/sarconfig.h"
#include "sar/sarrun.h"
#include "sar/sarsetup.h"
#include "shell/programstate.h"

namespace kelp::sar {

namespace {

// 1 height unit = 1 pixel; collapsed, only the caption shows.
constexpr link::FrameHeights kDigitalFrameHeights{35, 417.753, 31};
constexpr int kNumSamplesDefault = 2;  // "4000"
constexpr int kSettingsColumnWidth = 430;

QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

void fill(QComboBox* list, std::span<const std::string_view> entries) {
    for (std::string_view e : entries) list->addItem(qs(e));
}

std::string text(const QLineEdit* box) { return box->text().toStdString(); }

QLabel* makeLabel(QWidget* parent, const char* name, const char* caption, QWidget* buddy) {
    auto* label = new QLabel(QString::fromLatin1(caption), parent);
    label->setObjectName(QString::fromLatin1(name));
    if (buddy) {
        label->setBuddy(buddy);
        buddy->setAccessibleName(label->text());
    }
    return label;
}

template <typename W>
W* make(QWidget* parent, const char* name) {
    auto* w = new W(parent);
    w->setObjectName(QString::fromLatin1(name));
    return w;
}

}  // namespace

// The window as the run sees it.
class SarWindow::RunView final : public SarRunView {
public:
    explicit RunView(SarWindow& w) : w_(w) {}

    SarConfiguration configuration() const override {
        SarConfiguration c;
        c.model = w_.state_.ModelName;
        c.adc.adcOn = w_.ADCButton->isChecked();
        c.adc.reference = w_.ADCRef->currentIndex();
        c.adc.convTime = w_.ConvTime->currentIndex();
        c.adc.acqTime = w_.AcqTime->currentIndex();
        c.channel = w_.ADCChan->currentIndex();
        c.dac.dac0On = w_.DAC0Button->isChecked();
        c.dac.dac0Range = w_.DAC0Range->currentIndex();
        c.dac.dac1On = w_.DAC1Button->isChecked();
        c.dac.dac1Range = w_.DAC1Range->currentIndex();
        c.dac0Data = text(w_.DAC0Data);
        c.dac1Data = text(w_.DAC1Data);
        const link::RegisterPanel& p = *w_.DigitalFrame;
        RegisterTexts& r = c.registers;
        r.TCON = text(p.TCONSFR);
        r.TMOD = text(p.TMODSFR);
        r.T0 = text(p.T0SFR);
        r.T1 = text(p.T1SFR);
        r.TIMECON = text(p.TIMECONSFR);
        r.PWMCON = text(p.PWMCONSFR);
        r.PWM0H = text(p.PWM0HSFR);
        r.PWM0L = text(p.PWM0LSFR);
        r.PWM1H = text(p.PWM1HSFR);
        r.PWM1L = text(p.PWM1LSFR);
        r.P0 = text(p.P0SFR);
        r.P1_0 = text(p.P1_0SFR);
        r.P1_1 = text(p.P1_1SFR);
        r.P2 = text(p.P2SFR);
        r.P3 = text(p.P3SFR);
        return c;
    }
    std::string numSamplesText() const override {
        return w_.NumSamples->currentText().toStdString();
    }
    void clearChart() override { w_.Graph->clear(); }
    void appendPoint(double code) override { w_.Graph->appendPoint(code); }
    double lowerBound() const override { return w_.Graph->lowerBound(); }
    double upperBound() const override { return w_.Graph->upperBound(); }
    void setLowerBound(double value) override { w_.Graph->setLowerBound(value); }
    void setUpperBound(double value) override { w_.Graph->setUpperBound(value); }
    void setExtent(int samples) override { w_.Graph->setExtent(samples); }
    void setAxisLabels(const AxisLabels& labels) override {
        w_.GraphMaxLabel->setText(qs(labels.upper));
        w_.GraphMidLabel->setText(qs(labels.middle));
        w_.GraphMinLabel->setText(qs(labels.lower));
    }
    void showSampling(bool sampling) override {
        w_.RunButton->setVisible(!sampling);
        w_.StopButton->setVisible(sampling);
    }
    void openAnalysis() override { w_.openAnalysis(); }

private:
    SarWindow& w_;
};

SarWindow::SarWindow(shell::ProgramState& state, shell::SharedDevices& devices,
                     platform::MessageSink& messages, QWidget* parent)
    : QMainWindow(parent), state_(state), devices_(devices) {
    setObjectName(QStringLiteral("SAR_KELP"));
    setWindowTitle(QStringLiteral("KELP - SAR ADC"));

    auto* central = new QWidget(this);
    auto* columns = new QHBoxLayout(central);
    columns->setContentsMargins(10, 10, 10, 10);
    columns->setSpacing(12);

    auto* left = new QWidget;
    auto* leftLayout = new QVBoxLayout(left);
    leftLayout->setContentsMargins(0, 0, 0, 0);
    leftLayout->setSpacing(8);
    leftLayout->addWidget(buildAdcFrame());
    leftLayout->addWidget(buildDacFrame());
    DigitalFrame = new link::RegisterPanel(kDigitalFrameHeights, left);
    DigitalFrame->SCONSFR->setText(QStringLiteral("52"));
    DigitalFrame->T2CONSFR->setText(QStringLiteral("34"));
    DigitalFrame->RCAP2HSFR->setText(QStringLiteral("FF"));
    DigitalFrame->RCAP2LSFR->setText(qs(kDesignRcap2l));
    DigitalFrame->PLLCONSFR->setText(QStringLiteral("00"));
    leftLayout->addWidget(DigitalFrame);
    leftLayout->addStretch(1);

    // The expanded register panel is taller than the window; the column scrolls then.
    leftColumn_ = new QScrollArea(central);
    leftColumn_->setObjectName(QStringLiteral("SettingsColumn"));
    leftColumn_->setWidget(left);
    leftColumn_->setWidgetResizable(true);
    leftColumn_->setFrameShape(QFrame::NoFrame);
    leftColumn_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // A fixed column leaves the rest of the width to the chart; room is kept for the bar.
    const int columnWidth = std::max(kSettingsColumnWidth, left->minimumSizeHint().width());
    leftColumn_->setFixedWidth(columnWidth + leftColumn_->verticalScrollBar()->sizeHint().width());
    columns->addWidget(leftColumn_, 0);
    columns->addWidget(buildChartPanel(), 1);
    setCentralWidget(central);

    buildMenus();
    view_ = std::make_unique<RunView>(*this);
    run_ = std::make_unique<SarRun>(state_, devices_, messages, *view_);
    connectHandlers();
    StopButton->hide();
    resize(1100, 720);
}

SarWindow::~SarWindow() = default;

QWidget* SarWindow::buildAdcFrame() {
    ADC = new QGroupBox(QStringLiteral("ADC"));
    ADC->setObjectName(QStringLiteral("ADC"));
    auto* grid = new QGridLayout(ADC);
    grid->setColumnStretch(1, 1);
    grid->setVerticalSpacing(6);

    ADCButton = make<QCheckBox>(ADC, "ADCButton");
    ADCButton->setText(QStringLiteral("ON/OFF"));
    ADCChan = make<QComboBox>(ADC, "ADCChan");
    fill(ADCChan, DesignChannels());
    ADCRef = make<QComboBox>(ADC, "ADCRef");
    fill(ADCRef, ReferenceEntries());
    VrefTextbox = make<QLineEdit>(ADC, "VrefTextbox");
    VrefTextbox->setText(QStringLiteral("2.5"));
    MasterClockTextbox = make<QLineEdit>(ADC, "MasterClockTextbox");
    MasterClockTextbox->setText(qs(kDesignMasterClock));
    ConvTime = make<QComboBox>(ADC, "ConvTime");
    fill(ConvTime, DesignConvTimes());
    AcqTime = make<QComboBox>(ADC, "AcqTime");
    fill(AcqTime, AcqTimeEntries());
    ConversionTimeTextbox = make<QLineEdit>(ADC, "ConversionTimeTextbox");
    ConversionTimeTextbox->setReadOnly(true);
    SampFreqTextbox = make<QLineEdit>(ADC, "SampFreqTextbox");
    SampFreqTextbox->setReadOnly(true);

    Label3 = makeLabel(ADC, "Label3", "Input Channel", ADCChan);
    Label2 = makeLabel(ADC, "Label2", "ADC Reference", ADCRef);
    Label5 = makeLabel(ADC, "Label5", "External Vref (V)", VrefTextbox);
    Label1 = makeLabel(ADC, "Label1", "Master Clock (MHz)", MasterClockTextbox);
    Label12 = makeLabel(ADC, "Label12", "Conversion Time", ConvTime);
    Label4 = makeLabel(ADC, "Label4", "Aquistion Time", AcqTime);
    Label16 = makeLabel(ADC, "Label16", "Conversion Time (us)", ConversionTimeTextbox);
    Label14 = makeLabel(ADC, "Label14", "Sampling Freq (kHz)", SampFreqTextbox);

    grid->addWidget(ADCButton, 0, 0, 1, 2);
    const std::pair<QLabel*, QWidget*> rows[] = {
        {Label3, ADCChan},
        {Label2, ADCRef},
        {Label5, VrefTextbox},
        {Label1, MasterClockTextbox},
        {Label12, ConvTime},
        {Label4, AcqTime},
        {Label16, ConversionTimeTextbox},
        {Label14, SampFreqTextbox},
    };
    int r = 1;
    for (const auto& [label, control] : rows) {
        grid->addWidget(label, r, 0);
        grid->addWidget(control, r, 1);
        ++r;
    }
    return ADC;
}

QWidget* SarWindow::buildDacFrame() {
    DAC = new QGroupBox(QStringLiteral("DAC"));
    DAC->setObjectName(QStringLiteral("DAC"));
    auto* grid = new QGridLayout(DAC);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    grid->setColumnMinimumWidth(2, 90);

    DAC0Button = make<QCheckBox>(DAC, "DAC0Button");
    DAC0Button->setText(QStringLiteral("DAC0 ON/OFF"));
    DAC1Button = make<QCheckBox>(DAC, "DAC1Button");
    DAC1Button->setText(QStringLiteral("DAC1 ON/OFF"));
    DAC0Range = make<QComboBox>(DAC, "DAC0Range");
    fill(DAC0Range, DacRangeEntries());
    DAC1Range = make<QComboBox>(DAC, "DAC1Range");
    fill(DAC1Range, DacRangeEntries());
    DAC0Data = make<QLineEdit>(DAC, "DAC0Data");
    DAC0Data->setText(QStringLiteral("0"));
    DAC1Data = make<QLineEdit>(DAC, "DAC1Data");
    DAC1Data->setText(QStringLiteral("0"));
    Text1 = make<QLineEdit>(DAC, "Text1");
    Text1->setText(QStringLiteral("12 Bits"));
    Text1->setReadOnly(true);
    Text2 = make<QLineEdit>(DAC, "Text2");
    Text2->setText(QStringLiteral("12 Bits"));
    Text2->setReadOnly(true);

    Label8 = makeLabel(DAC, "Label8", "DAC0 Range", DAC0Range);
    Label9 = makeLabel(DAC, "Label9", "DAC0 Data (Hex)", DAC0Data);
    Label10 = makeLabel(DAC, "Label10", "DAC0 Resolution", Text1);
    Label13 = makeLabel(DAC, "Label13", "DAC1 Range", DAC1Range);
    Label7 = makeLabel(DAC, "Label7", "DAC1 Data (Hex)", DAC1Data);
    Label6 = makeLabel(DAC, "Label6", "DAC1 Resolution", Text2);

    // DAC0 on the left, DAC1 on the right, row by row.
    grid->addWidget(DAC0Button, 0, 0, 1, 2);
    grid->addWidget(DAC1Button, 0, 2, 1, 2);
    const std::pair<QLabel*, QWidget*> rows[][2] = {
        {{Label8, DAC0Range}, {Label13, DAC1Range}},
        {{Label9, DAC0Data}, {Label7, DAC1Data}},
        {{Label10, Text1}, {Label6, Text2}},
    };
    int r = 1;
    for (const auto& row : rows) {
        for (int side = 0; side < 2; ++side) {
            grid->addWidget(row[side].first, r, 2 * side);
            grid->addWidget(row[side].second, r, 2 * side + 1);
        }
        ++r;
    }
    return DAC;
}

QWidget* SarWindow::buildChartPanel() {
    auto* panel = new QWidget;
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);

    auto* chartRow = new QHBoxLayout;
    chartRow->setSpacing(4);
    auto* marks = new QVBoxLayout;
    // Roughly the chart's plot margins, so the marks sit at the axis ends.
    marks->setContentsMargins(0, 6, 0, 28);
    GraphMaxLabel = make<QLabel>(panel, "GraphMaxLabel");
    GraphMaxLabel->setText(QStringLiteral("801H"));
    GraphMidLabel = make<QLabel>(panel, "GraphMidLabel");
    GraphMidLabel->setText(QStringLiteral("800H"));
    GraphMinLabel = make<QLabel>(panel, "GraphMinLabel");
    GraphMinLabel->setText(QStringLiteral("7FFH"));
    for (QLabel* mark : {GraphMaxLabel, GraphMidLabel, GraphMinLabel}) {
        mark->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        mark->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("-FFFFH")));
    }
    marks->addWidget(GraphMaxLabel);
    marks->addStretch(1);
    marks->addWidget(GraphMidLabel);
    marks->addStretch(1);
    marks->addWidget(GraphMinLabel);
    Graph = new platform::StripChart(panel);
    Graph->setObjectName(QStringLiteral("Graph"));
    Graph->setAccessibleName(QStringLiteral("Samples"));
    chartRow->addLayout(marks);
    chartRow->addWidget(Graph, 1);
    layout->addLayout(chartRow, 1);

    auto* controls = new QGridLayout;
    NumSamples = make<QComboBox>(panel, "NumSamples");
    NumSamples->setEditable(true);
    NumSamples->setInsertPolicy(QComboBox::NoInsert);
    NumSamples->setCompleter(nullptr);  // inline completion would turn a typed 1 into 1000
    fill(NumSamples, NumSamplesEntries());
    NumSamples->setMinimumWidth(110);
    Label15 = makeLabel(panel, "Label15", "Num of Samples:", NumSamples);
    RunButton = make<QPushButton>(panel, "RunButton");
    RunButton->setText(QStringLiteral("&Run"));
    StopButton = make<QPushButton>(panel, "StopButton");
    StopButton->setText(QStringLiteral("&Stop"));
    for (QPushButton* b : {RunButton, StopButton}) b->setMinimumSize(110, 32);
    controls->addWidget(Label15, 0, 0);
    controls->addWidget(NumSamples, 0, 1);
    controls->setColumnStretch(2, 1);
    // Both in one cell: a run shows one and hides the other.
    controls->addWidget(RunButton, 0, 3);
    controls->addWidget(StopButton, 0, 3);
    layout->addLayout(controls);
    return panel;
}

void SarWindow::buildMenus() {
    File = menuBar()->addMenu(QStringLiteral("&File"));
    File->setObjectName(QStringLiteral("File"));
    FileExit = File->addAction(QStringLiteral("&Exit"));
    FileExit->setObjectName(QStringLiteral("FileExit"));
    Menu_help = menuBar()->addMenu(QStringLiteral("&Help"));
    Menu_help->setObjectName(QStringLiteral("Menu_help"));
    HelpHelp = Menu_help->addAction(QStringLiteral("&Help"));
    HelpHelp->setObjectName(QStringLiteral("HelpHelp"));
    HelpAbout = Menu_help->addAction(QStringLiteral("A&bout"));
    HelpAbout->setObjectName(QStringLiteral("HelpAbout"));
}

void SarWindow::connectHandlers() {
    listReactions_ = {
        {ADCChan, &SarWindow::ADCChan_Click},
        {ADCRef, &SarWindow::ADCRef_Click},
        {ConvTime, &SarWindow::ConvTime_Click},
        {AcqTime, &SarWindow::AcqTime_Click},
    };
    for (const auto& [list, reaction] : listReactions_)
        connect(list, &QComboBox::currentIndexChanged, this, reaction);
    connect(DAC0Button, &QCheckBox::toggled, this, &SarWindow::DAC0Button_Click);
    connect(DAC1Button, &QCheckBox::toggled, this, &SarWindow::DAC1Button_Click);
    connect(DAC0Data, &QLineEdit::textChanged, this, &SarWindow::DAC0Data_Change);
    connect(DAC1Data, &QLineEdit::textChanged, this, &SarWindow::DAC1Data_Change);
    // The combo box holds the focus for its line edit and gets the focus events.
    NumSamples->installEventFilter(this);
    connect(RunButton, &QPushButton::clicked, this, &SarWindow::RunButton_Click);
    connect(StopButton, &QPushButton::clicked, this, &SarWindow::StopButton_Click);
    connect(FileExit, &QAction::triggered, this, &SarWindow::FileExit_Click);
    connect(DigitalFrame, &link::RegisterPanel::frameHeightChanged, this, [this] {
        // Bring the opened panel into view once the column has been laid out again.
        if (DigitalFrame->isExpanded())
            QTimer::singleShot(0, this, [this] { leftColumn_->ensureWidgetVisible(DigitalFrame); });
    });
}

void SarWindow::selectEntry(QComboBox* list, int position) {
    if (list->currentIndex() == position) {
        const auto reaction = listReactions_.find(list);
        if (reaction != listReactions_.end()) (this->*reaction->second)();
        return;
    }
    list->setCurrentIndex(position);
}

void SarWindow::load() {
    const std::string& model = state_.ModelName;
    setWindowTitle(QStringLiteral("KELP - ") + qs(model));
    devices_.MSComm1.setSettings("57600,N,8,1");

    ADCButton->setChecked(true);
    selectEntry(ADCChan, 0);
    selectEntry(ADCRef, 0);
    selectEntry(ConvTime, 2);
    selectEntry(AcqTime, 0);

    if (const ModelSetup* setup = FindModelSetup(model)) applyModelSetup(*setup);

    DAC0Button->setChecked(false);
    DAC1Button->setChecked(false);
    for (QComboBox* range : {DAC0Range, DAC1Range}) {
        range->setCurrentIndex(0);
        range->setEnabled(false);
    }
    DAC0Data->setEnabled(false);
    DAC1Data->setEnabled(false);

    NumSamples->setCurrentIndex(kNumSamplesDefault);
    DigitalFrame->setFrameHeight(kDigitalFrameHeights.collapsed);
    UpdateADCFrame();
}

void SarWindow::applyModelSetup(const ModelSetup& setup) {
    // Clearing and refilling is no choice of the user's; only the selection that follows is.
    const auto replace = [](QComboBox* list, std::span<const std::string_view> entries) {
        if (entries.empty()) return;
        const QSignalBlocker quiet(list);
        list->clear();
        fill(list, entries);
    };
    replace(ADCChan, setup.channels);
    selectEntry(ADCChan, setup.channelSelection - 1);
    replace(ConvTime, setup.convTimes);
    selectEntry(ConvTime, setup.convTimeSelection - 1);
    if (!setup.masterClock.empty()) MasterClockTextbox->setText(qs(setup.masterClock));
    if (!setup.rcap2l.empty()) DigitalFrame->RCAP2LSFR->setText(qs(setup.rcap2l));
    for (DisabledGroup group : {kPwmGroup, kP0P2Boxes, kDacGroup}) {
        if (!(setup.disabled & group)) continue;
        for (std::string_view name : ControlsOf(group)) {
            if (auto* control = findChild<QWidget*>(qs(name))) control->setEnabled(false);
        }
    }
}

void SarWindow::ADCChan_Click() {
    // Channels 6 and 7 of this part share their pins with the DAC outputs.
    if (state_.ModelName != "Zylo520") return;
    const int position = ADCChan->currentIndex();
    const std::pair<int, QCheckBox*> shared[] = {{6, DAC0Button}, {7, DAC1Button}};
    for (const auto& [channel, button] : shared) {
        if (position == channel) button->setChecked(false);
        button->setEnabled(position != channel);
    }
}

void SarWindow::ADCRef_Click() { VrefTextbox->setEnabled(ADCRef->currentIndex() == 1); }

void SarWindow::ConvTime_Click() { UpdateADCFrame(); }

void SarWindow::AcqTime_Click() { UpdateADCFrame(); }

void SarWindow::DAC0Button_Click() {
    DAC0Range->setEnabled(DAC0Button->isChecked());
    DAC0Data->setEnabled(DAC0Button->isChecked());
}

void SarWindow::DAC1Button_Click() {
    DAC1Range->setEnabled(DAC1Button->isChecked());
    DAC1Data->setEnabled(DAC1Button->isChecked());
}

void SarWindow::DAC0Data_Change() {
    const QString canonical = qs(link::Verify16bitSFR(text(DAC0Data)));
    if (canonical != DAC0Data->text()) DAC0Data->setText(canonical);
}

void SarWindow::DAC1Data_Change() {
    const QString canonical = qs(link::Verify16bitSFR(text(DAC1Data)));
    if (canonical != DAC1Data->text()) DAC1Data->setText(canonical);
}

void SarWindow::NumSamples_LostFocus() {
    const QString checked = qs(CheckNumSamples(NumSamples->currentText().toStdString()));
    if (checked != NumSamples->currentText()) NumSamples->setEditText(checked);
}

void SarWindow::UpdateADCFrame() {
    const auto figures = ComputeTimingFigures(AcqTime->currentIndex(), text(MasterClockTextbox),
                                              ConvTime->currentText().toStdString());
    if (!figures) return;  // a clock of 0 or no number: keep what is shown
    ConversionTimeTextbox->setText(qs(figures->conversionTimeText));
    SampFreqTextbox->setText(qs(figures->frequencyText));
}

void SarWindow::RunButton_Click() {
    // An access key leaves the focus where it was; the sample count must be checked first.
    if (NumSamples->hasFocus()) NumSamples_LostFocus();
    run_->execute();
}

void SarWindow::StopButton_Click() { run_->requestStop(); }

void SarWindow::FileExit_Click() {
    requestExit();
    close();
}

void SarWindow::requestExit() {
    if (exitRequested_) return;
    exitRequested_ = true;
    emit exitRequested();
}

void SarWindow::closeEvent(QCloseEvent* event) {
    requestExit();
    event->accept();
}

bool SarWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == NumSamples && event->type() == QEvent::FocusOut) {
        // The list's own popup and a switch to another program are no leaving of the box.
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason)
            NumSamples_LostFocus();
    }
    return QMainWindow::eventFilter(watched, event);
}

analysis::SarRunSettings SarWindow::runSettings() const {
    analysis::SarRunSettings s;
    s.ADCChan = ADCChan->currentText().toStdString();
    s.ADCRef = ADCRef->currentText().toStdString();
    s.ConvTime = ConvTime->currentText().toStdString();
    s.AcqTime = AcqTime->currentText().toStdString();
    s.VrefTextbox = text(VrefTextbox);
    s.MasterClockTextbox = text(MasterClockTextbox);
    s.SampFreqTextbox = text(SampFreqTextbox);
    s.ConversionTimeTextbox = text(ConversionTimeTextbox);
    s.GraphMaxLabel = GraphMaxLabel->text().toStdString();
    s.GraphMidLabel = GraphMidLabel->text().toStdString();
    s.GraphMinLabel = GraphMinLabel->text().toStdString();
    s.graphUpperBound = Graph->upperBound();
    s.graphLowerBound = Graph->lowerBound();
    return s;
}

void SarWindow::openAnalysis() {
    // A top-level window of its own, beside this one; created once, then reused.
    if (!analysis_) analysis_ = std::make_unique<analysis::SarAnalysisWindow>(state_);
    analysis_->show();
    analysis_->raise();
    analysis_->AnalyseData(runSettings());
}

}  // namespace kelp::sar
