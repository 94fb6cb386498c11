#include "analysis/saranalysiswindow.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <span>

#include "analysis/noisefigures.h"
#include "analysis/samplescsv.h"
#include "analysis/sarfigures.h"
#include "analysis/sarrunsettings.h"
#include "analysis/statistics.h"
#include "link/controlkit.h"
#include "link/textforms.h"
#include "platform/barchart.h"
#include "platform/chartpanel.h"

namespace kelp::analysis {

struct SarAnalysisWindow::Ui {
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

    platform::ChartPanel* Graph = nullptr;
};

namespace {

using Box = QLineEdit* SarAnalysisWindow::Ui::*;
using Caption = QLabel* SarAnalysisWindow::Ui::*;

// One caption with its box; the caption's text is also the box's accessible name.
struct Field {
    Box box;
    const char* boxName;
    Caption label;
    const char* labelName;
    const char* caption;
    const char* designText;
};

// Row-major over a grid of two rows of four.
const Field kSettingsFields[] = {
    {&SarAnalysisWindow::Ui::ADCChan, "ADCChan", &SarAnalysisWindow::Ui::Label3, "Label3",
     "Input Channel", "ADC0"},
    {&SarAnalysisWindow::Ui::ADCRef, "ADCRef", &SarAnalysisWindow::Ui::Label9, "Label9",
     "ADC Reference", "Int 2.5V"},
    {&SarAnalysisWindow::Ui::VrefTextbox, "VrefTextbox", &SarAnalysisWindow::Ui::Label5, "Label5",
     "External Vref (V)", "2.5"},
    {&SarAnalysisWindow::Ui::MasterClockTextbox, "MasterClockTextbox",
     &SarAnalysisWindow::Ui::Label2, "Label2", "Master Clock (MHz)", "11.0592"},
    {&SarAnalysisWindow::Ui::ConvTime, "ConvTime", &SarAnalysisWindow::Ui::Label12, "Label12",
     "Conversion Time", ""},
    {&SarAnalysisWindow::Ui::AcqTime, "AcqTime", &SarAnalysisWindow::Ui::Label4, "Label4",
     "Aquistion Time", ""},
    {&SarAnalysisWindow::Ui::SampFreqTextbox, "SampFreqTextbox", &SarAnalysisWindow::Ui::Label14,
     "Label14", "Sampling Freq (kHz)", ""},
    {&SarAnalysisWindow::Ui::ConversionTimeTextbox, "ConversionTimeTextbox",
     &SarAnalysisWindow::Ui::Label16, "Label16", "Conversion Time (us)", ""},
};

const Field kResultFields[] = {
    {&SarAnalysisWindow::Ui::MinCodeTextbox, "MinCodeTextbox", &SarAnalysisWindow::Ui::Label22,
     "Label22", "Min Code (Hex)", "7FF"},
    {&SarAnalysisWindow::Ui::MaxCodeTextBox, "MaxCodeTextBox", &SarAnalysisWindow::Ui::Label23,
     "Label23", "Max Code (Hex)", "801"},
    {&SarAnalysisWindow::Ui::CodeDistributionTextbox, "CodeDistributionTextbox",
     &SarAnalysisWindow::Ui::Label21, "Label21", "Code Distribution", ""},
    {&SarAnalysisWindow::Ui::NumberMinCode, "NumberMinCode", &SarAnalysisWindow::Ui::Label6,
     "Label6", "Occurances of Min Code", ""},
    {&SarAnalysisWindow::Ui::NumberMidCode, "NumberMidCode", &SarAnalysisWindow::Ui::Label7,
     "Label7", "Occurances of Median", ""},
    {&SarAnalysisWindow::Ui::NumberMaxCode, "NumberMaxCode", &SarAnalysisWindow::Ui::Label1,
     "Label1", "Occurances of Max Code", ""},
};

const QColor kBarColor(255, 0, 0);

QLineEdit* makeBox(const char* name, const QString& text, const QString& accessibleName,
                   QWidget* parent) {
    return link::makeFigureBox(parent, name, text, accessibleName);
}

QLabel* makeLabel(const char* name, const QString& text, QWidget* parent) {
    return link::makeCaption(parent, name, text);
}

QString text(const std::string& s) { return link::qs(s); }

}  // namespace

SarAnalysisWindow::SarAnalysisWindow(const std::string& model, QWidget* parent)
    : AnalysisWindow("SAR_KELP_Analysis", model, parent), ui_(std::make_unique<Ui>()) {
    auto* central = new QWidget(this);
    auto* root = new QVBoxLayout(central);
    root->addWidget(buildSettingsGroup());

    // The extra figures sit under the fixed ones.
    auto* figures = new QVBoxLayout();
    figures->addWidget(buildResultsGroup());
    noise_ = makeNoiseGroup("Noise Figures", "NoiseFigures", "", "", 1);
    figures->addWidget(noise_.group);
    figures->addStretch(1);
    auto* middle = new QHBoxLayout();
    middle->addLayout(figures);
    middle->addWidget(buildHistogramPanel(), 1);
    root->addLayout(middle, 3);
    root->addWidget(buildGraphPanel(), 2);

    finish(central, root, 1000, 760);
}

std::string SarAnalysisWindow::samplesCsv() const {
    return SarSamplesCsv(lastSettings_, lastData_);
}

QWidget* SarAnalysisWindow::buildSettingsGroup() {
    ui_->ADC = new QGroupBox("ADC");
    ui_->ADC->setObjectName("ADC");
    auto* grid = new QGridLayout(ui_->ADC);
    constexpr int kPerRow = 4;
    int i = 0;
    for (const Field& f : kSettingsFields) {
        QLabel* label = makeLabel(f.labelName, f.caption, ui_->ADC);
        QLineEdit* box = makeBox(f.boxName, f.designText, f.caption, ui_->ADC);
        label->setBuddy(box);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        // The sampling frequency carries up to 15 digits; the other settings are short.
        const bool longFigure = f.box == &SarAnalysisWindow::Ui::SampFreqTextbox;
        box->setMinimumWidth(
            longFigure ? box->fontMetrics().horizontalAdvance("888.888888888888") + 12 : 80);
        ui_.get()->*f.label = label;
        ui_.get()->*f.box = box;
        addFigure(f.caption, box);
        grid->addWidget(label, i / kPerRow, 2 * (i % kPerRow));
        grid->addWidget(box, i / kPerRow, 2 * (i % kPerRow) + 1);
        ++i;
    }
    for (int c = 0; c < kPerRow; ++c) grid->setColumnStretch(2 * c + 1, 1);
    return ui_->ADC;
}

QWidget* SarAnalysisWindow::buildResultsGroup() {
    ui_->PrimaryADC = new QGroupBox("ADC Data Analysis");
    ui_->PrimaryADC->setObjectName("PrimaryADC");
    auto* form = new QFormLayout(ui_->PrimaryADC);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    for (const Field& f : kResultFields) {
        QLabel* label = makeLabel(f.labelName, f.caption, ui_->PrimaryADC);
        QLineEdit* box = makeBox(f.boxName, f.designText, f.caption, ui_->PrimaryADC);
        label->setBuddy(box);
        box->setAlignment(Qt::AlignRight);
        box->setFixedWidth(100);
        ui_.get()->*f.label = label;
        ui_.get()->*f.box = box;
        addFigure(f.caption, box);
        form->addRow(label, box);
    }
    return ui_->PrimaryADC;
}

QWidget* SarAnalysisWindow::buildHistogramPanel() {
    auto* panel = new QWidget();
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);

    ui_->Histogram = new platform::BarChart(panel);
    ui_->Histogram->setObjectName("Histogram");
    ui_->Histogram->setAccessibleName("ADC Codes Histogram");
    ui_->Histogram->setTitle("ADC Codes Histogram");
    ui_->Histogram->setMinimumHeight(220);
    layout->addWidget(ui_->Histogram, 1);

    // The marks sit under the chart's left end, middle and right end.
    ui_->MinCodeHistogramTextbox =
        makeBox("MinCodeHistogramTextbox", "7FFH", "Histogram lowest code", panel);
    ui_->MidCodeHistogramTextbox =
        makeBox("MidCodeHistogramTextbox", "800H", "Histogram middle code", panel);
    ui_->MaxCodeHistogramTextbox =
        makeBox("MaxCodeHistogramTextbox", "801H", "Histogram highest code", panel);
    ui_->MinCodeHistogramTextbox->setAlignment(Qt::AlignLeft);
    ui_->MidCodeHistogramTextbox->setAlignment(Qt::AlignHCenter);
    ui_->MaxCodeHistogramTextbox->setAlignment(Qt::AlignRight);
    auto* marks = new QHBoxLayout();
    for (QLineEdit* mark : {ui_->MinCodeHistogramTextbox, ui_->MidCodeHistogramTextbox,
                            ui_->MaxCodeHistogramTextbox}) {
        mark->setFrame(false);
        mark->setFixedWidth(90);
        QPalette palette = mark->palette();
        palette.setColor(QPalette::Base, palette.color(QPalette::Window));
        mark->setPalette(palette);
    }
    marks->addWidget(ui_->MinCodeHistogramTextbox);
    marks->addStretch(1);
    marks->addWidget(ui_->MidCodeHistogramTextbox);
    marks->addStretch(1);
    marks->addWidget(ui_->MaxCodeHistogramTextbox);
    layout->addLayout(marks);
    addChart("Histogram", panel, ui_->Histogram);
    return panel;
}

QWidget* SarAnalysisWindow::buildGraphPanel() {
    ui_->Graph = new platform::ChartPanel(
        {"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"}, {"801H", "800H", "7FFH"});
    ui_->Graph->setMinimumHeight(160);
    addChart("Strip Chart", ui_->Graph);
    return ui_->Graph;
}

SarAnalysisWindow::~SarAnalysisWindow() = default;

void SarAnalysisWindow::AnalyseData(const SarRunSettings& settings, const SarRunData& data) {
    // The run window's settings, as they were for this run.
    ui_->ADCChan->setText(text(settings.ADCChan));
    ui_->ADCRef->setText(text(settings.ADCRef));
    ui_->ConvTime->setText(text(settings.ConvTime));
    ui_->AcqTime->setText(text(settings.AcqTime));
    ui_->VrefTextbox->setText(text(settings.VrefTextbox));
    ui_->MasterClockTextbox->setText(text(settings.MasterClockTextbox));
    ui_->SampFreqTextbox->setText(text(settings.SampFreqTextbox));
    ui_->ConversionTimeTextbox->setText(text(settings.ConversionTimeTextbox));

    // Kept for the export: the buffer and the settings may change with the next run.
    lastSettings_ = settings;
    lastBuffer_.assign(data.SampleBuffer.begin(), data.SampleBuffer.end());
    lastData_ = data;
    lastData_.SampleBuffer = lastBuffer_;

    // Histogram; the charts draw once, when the event loop next runs.
    const SarFigures f = ComputeSarFigures(data);
    const HistogramResult& h = f.histogram;
    ui_->Histogram->setData(QVector<int>(h.histogram.counts.begin(), h.histogram.counts.end()));
    if (!h.binned) ui_->Histogram->setColumnCount(h.columnCount);
    const int columns = ui_->Histogram->columnCount();
    for (int i = 1; i <= columns; ++i) ui_->Histogram->setColumnColor(i, kBarColor);
    ui_->Histogram->setRowLabel(QString());

    ui_->MaxCodeHistogramTextbox->setText(text(f.MaxCodeHistogramTextbox));
    ui_->MidCodeHistogramTextbox->setText(text(f.MidCodeHistogramTextbox));
    ui_->MinCodeHistogramTextbox->setText(text(f.MinCodeHistogramTextbox));
    ui_->MaxCodeTextBox->setText(text(f.MaxCodeTextBox));
    ui_->MinCodeTextbox->setText(text(f.MinCodeTextbox));
    ui_->CodeDistributionTextbox->setText(text(f.CodeDistributionTextbox));
    ui_->NumberMinCode->setText(text(f.NumberMinCode));
    ui_->NumberMidCode->setText(text(f.NumberMidCode));
    ui_->NumberMaxCode->setText(text(f.NumberMaxCode));

    const NoiseFigures noise = SarNoiseFigures(settings, data);
    showNoise(noise_, NoiseFigureTexts(noise), true);
    QVector<QPointF> curve;
    for (const auto& [x, y] : HistogramGaussian(h, data.MinCode, data.MaxCode, noise.meanCode,
                                                noise.stdDevCodes, noise.sampleCount))
        curve.append({x, y});
    ui_->Histogram->setCurve(curve);

    // Every sample again, on the run window's scale.
    ui_->Graph->setUpperBound(settings.graphUpperBound);
    ui_->Graph->setLowerBound(settings.graphLowerBound);
    ui_->Graph->setLabels(settings.GraphMaxLabel, settings.GraphMidLabel, settings.GraphMinLabel);
    ui_->Graph->clear();
    const int count = data.SampleCount;
    ui_->Graph->setExtent(std::max(count, 0));
    // Sample k sits at index k; a count beyond the buffer plots what exists.
    const int last = std::min(count, static_cast<int>(data.SampleBuffer.size()) - 1);
    for (int k = 1; k <= last; ++k) ui_->Graph->append(data.SampleBuffer[k]);
}

}  // namespace kelp::analysis
