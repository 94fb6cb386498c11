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

#include "analysis/sarrunsettings.h"
#include "analysis/statistics.h"
#include "link/textforms.h"
#include "platform/barchart.h"
#include "platform/stripchart.h"
#include "shell/programstate.h"

namespace kelp::analysis {

using link::DecimalText;
using link::HexCode;
using link::MiddleCode;

namespace {

using Box = QLineEdit* SarAnalysisWindow::*;
using Caption = QLabel* SarAnalysisWindow::*;

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
    {&SarAnalysisWindow::ADCChan, "ADCChan", &SarAnalysisWindow::Label3, "Label3", "Input Channel",
     "ADC0"},
    {&SarAnalysisWindow::ADCRef, "ADCRef", &SarAnalysisWindow::Label9, "Label9", "ADC Reference",
     "Int 2.5V"},
    {&SarAnalysisWindow::VrefTextbox, "VrefTextbox", &SarAnalysisWindow::Label5, "Label5",
     "External Vref (V)", "2.5"},
    {&SarAnalysisWindow::MasterClockTextbox, "MasterClockTextbox", &SarAnalysisWindow::Label2,
     "Label2", "Master Clock (MHz)", "11.0592"},
    {&SarAnalysisWindow::ConvTime, "ConvTime", &SarAnalysisWindow::Label12, "Label12",
     "Conversion Time", ""},
    {&SarAnalysisWindow::AcqTime, "AcqTime", &SarAnalysisWindow::Label4, "Label4", "Aquistion Time",
     ""},
    {&SarAnalysisWindow::SampFreqTextbox, "SampFreqTextbox", &SarAnalysisWindow::Label14, "Label14",
     "Sampling Freq (kHz)", ""},
    {&SarAnalysisWindow::ConversionTimeTextbox, "ConversionTimeTextbox",
     &SarAnalysisWindow::Label16, "Label16", "Conversion Time (us)", ""},
};

const Field kResultFields[] = {
    {&SarAnalysisWindow::MinCodeTextbox, "MinCodeTextbox", &SarAnalysisWindow::Label22, "Label22",
     "Min Code (Hex)", "7FF"},
    {&SarAnalysisWindow::MaxCodeTextBox, "MaxCodeTextBox", &SarAnalysisWindow::Label23, "Label23",
     "Max Code (Hex)", "801"},
    {&SarAnalysisWindow::CodeDistributionTextbox, "CodeDistributionTextbox",
     &SarAnalysisWindow::Label21, "Label21", "Code Distribution", ""},
    {&SarAnalysisWindow::NumberMinCode, "NumberMinCode", &SarAnalysisWindow::Label6, "Label6",
     "Occurances of Min Code", ""},
    {&SarAnalysisWindow::NumberMidCode, "NumberMidCode", &SarAnalysisWindow::Label7, "Label7",
     "Occurances of Median", ""},
    {&SarAnalysisWindow::NumberMaxCode, "NumberMaxCode", &SarAnalysisWindow::Label1, "Label1",
     "Occurances of Max Code", ""},
};

const QColor kBarColor(255, 0, 0);

QLineEdit* makeBox(const char* name, const QString& text, const QString& accessibleName,
                   QWidget* parent) {
    auto* box = new QLineEdit(text, parent);
    box->setObjectName(name);
    box->setReadOnly(true);
    box->setAccessibleName(accessibleName);
    return box;
}

QLabel* makeLabel(const char* name, const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(name);
    return label;
}

QString text(const std::string& s) { return QString::fromStdString(s); }

}  // namespace

SarAnalysisWindow::SarAnalysisWindow(const shell::ProgramState& state, QWidget* parent)
    : QMainWindow(parent), state_(state) {
    setObjectName("SAR_KELP_Analysis");
    setWindowTitle("KELP - " + text(state_.ModelName) + " - ADC Noise Analysis");

    auto* central = new QWidget(this);
    auto* root = new QVBoxLayout(central);
    root->addWidget(buildSettingsGroup());

    auto* middle = new QHBoxLayout();
    middle->addWidget(buildResultsGroup(), 0, Qt::AlignTop);
    middle->addWidget(buildHistogramPanel(), 1);
    root->addLayout(middle, 3);
    root->addWidget(buildGraphPanel(), 2);

    ReturnButton = new QPushButton("Return to Aquistion Window", central);
    ReturnButton->setObjectName("ReturnButton");
    auto* footer = new QHBoxLayout();
    footer->addStretch(1);
    footer->addWidget(ReturnButton);
    root->addLayout(footer);

    setCentralWidget(central);
    resize(1000, 700);

    connect(ReturnButton, &QPushButton::clicked, this, &SarAnalysisWindow::ReturnButton_Click);
    // The boxes are only read; the one thing to do here is go back.
    ReturnButton->setFocus();
}

QWidget* SarAnalysisWindow::buildSettingsGroup() {
    ADC = new QGroupBox("ADC");
    ADC->setObjectName("ADC");
    auto* grid = new QGridLayout(ADC);
    constexpr int kPerRow = 4;
    int i = 0;
    for (const Field& f : kSettingsFields) {
        QLabel* label = makeLabel(f.labelName, f.caption, ADC);
        QLineEdit* box = makeBox(f.boxName, f.designText, f.caption, ADC);
        label->setBuddy(box);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        // The sampling frequency carries up to 15 digits; the other settings are short.
        const bool longFigure = f.box == &SarAnalysisWindow::SampFreqTextbox;
        box->setMinimumWidth(
            longFigure ? box->fontMetrics().horizontalAdvance("888.888888888888") + 12 : 80);
        this->*f.label = label;
        this->*f.box = box;
        grid->addWidget(label, i / kPerRow, 2 * (i % kPerRow));
        grid->addWidget(box, i / kPerRow, 2 * (i % kPerRow) + 1);
        ++i;
    }
    for (int c = 0; c < kPerRow; ++c) grid->setColumnStretch(2 * c + 1, 1);
    return ADC;
}

QWidget* SarAnalysisWindow::buildResultsGroup() {
    PrimaryADC = new QGroupBox("ADC Data Analysis");
    PrimaryADC->setObjectName("PrimaryADC");
    auto* form = new QFormLayout(PrimaryADC);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    for (const Field& f : kResultFields) {
        QLabel* label = makeLabel(f.labelName, f.caption, PrimaryADC);
        QLineEdit* box = makeBox(f.boxName, f.designText, f.caption, PrimaryADC);
        label->setBuddy(box);
        box->setAlignment(Qt::AlignRight);
        box->setFixedWidth(100);
        this->*f.label = label;
        this->*f.box = box;
        form->addRow(label, box);
    }
    return PrimaryADC;
}

QWidget* SarAnalysisWindow::buildHistogramPanel() {
    auto* panel = new QWidget();
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);

    Histogram = new platform::BarChart(panel);
    Histogram->setObjectName("Histogram");
    Histogram->setAccessibleName("ADC Codes Histogram");
    Histogram->setTitle("ADC Codes Histogram");
    Histogram->setMinimumHeight(220);
    layout->addWidget(Histogram, 1);

    // The marks sit under the chart's left end, middle and right end.
    MinCodeHistogramTextbox =
        makeBox("MinCodeHistogramTextbox", "7FFH", "Histogram lowest code", panel);
    MidCodeHistogramTextbox =
        makeBox("MidCodeHistogramTextbox", "800H", "Histogram middle code", panel);
    MaxCodeHistogramTextbox =
        makeBox("MaxCodeHistogramTextbox", "801H", "Histogram highest code", panel);
    MinCodeHistogramTextbox->setAlignment(Qt::AlignLeft);
    MidCodeHistogramTextbox->setAlignment(Qt::AlignHCenter);
    MaxCodeHistogramTextbox->setAlignment(Qt::AlignRight);
    auto* marks = new QHBoxLayout();
    for (QLineEdit* mark :
         {MinCodeHistogramTextbox, MidCodeHistogramTextbox, MaxCodeHistogramTextbox}) {
        mark->setFrame(false);
        mark->setFixedWidth(90);
        QPalette palette = mark->palette();
        palette.setColor(QPalette::Base, palette.color(QPalette::Window));
        mark->setPalette(palette);
    }
    marks->addWidget(MinCodeHistogramTextbox);
    marks->addStretch(1);
    marks->addWidget(MidCodeHistogramTextbox);
    marks->addStretch(1);
    marks->addWidget(MaxCodeHistogramTextbox);
    layout->addLayout(marks);
    return panel;
}

QWidget* SarAnalysisWindow::buildGraphPanel() {
    auto* panel = new QWidget();
    auto* layout = new QHBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);

    GraphMaxLabel = makeLabel("GraphMaxLabel", "801H", panel);
    GraphMidLabel = makeLabel("GraphMidLabel", "800H", panel);
    GraphMinLabel = makeLabel("GraphMinLabel", "7FFH", panel);
    auto* scale = new QVBoxLayout();
    // Roughly the chart's own margins above and below its plot area, so the outer labels
    // sit level with the plot's top and bottom edges.
    scale->setContentsMargins(0, 6, 0, 26);
    scale->addWidget(GraphMaxLabel, 0, Qt::AlignRight | Qt::AlignTop);
    scale->addStretch(1);
    scale->addWidget(GraphMidLabel, 0, Qt::AlignRight);
    scale->addStretch(1);
    scale->addWidget(GraphMinLabel, 0, Qt::AlignRight | Qt::AlignBottom);
    for (QLabel* l : {GraphMaxLabel, GraphMidLabel, GraphMinLabel})
        l->setMinimumWidth(l->fontMetrics().horizontalAdvance("FFFFFFFFH"));
    layout->addLayout(scale);

    Graph = new platform::StripChart(panel);
    Graph->setObjectName("Graph");
    Graph->setAccessibleName("Samples of the run");
    Graph->setMinimumHeight(160);
    layout->addWidget(Graph, 1);
    return panel;
}

void SarAnalysisWindow::ReturnButton_Click() { hide(); }

void SarAnalysisWindow::AnalyseData(const SarRunSettings& settings) {
    // The run window's settings, as they were for this run.
    ADCChan->setText(text(settings.ADCChan));
    ADCRef->setText(text(settings.ADCRef));
    ConvTime->setText(text(settings.ConvTime));
    AcqTime->setText(text(settings.AcqTime));
    VrefTextbox->setText(text(settings.VrefTextbox));
    MasterClockTextbox->setText(text(settings.MasterClockTextbox));
    SampFreqTextbox->setText(text(settings.SampFreqTextbox));
    ConversionTimeTextbox->setText(text(settings.ConversionTimeTextbox));

    // Histogram; the charts draw once, when the event loop next runs.
    const int count = state_.SampleCount;
    const int minCode = state_.MinCode;
    const int maxCode = state_.MaxCode;
    const HistogramResult h = BuildCodeHistogram(std::span<const int16_t>(state_.SampleBuffer), 1,
                                                 count, minCode, maxCode, kSarExactLimit);
    const bool noSamples = h.columnCount == 0;
    Histogram->setData(QVector<int>(h.histogram.counts.begin(), h.histogram.counts.end()));
    if (!h.binned) Histogram->setColumnCount(h.columnCount);
    const int columns = Histogram->columnCount();
    for (int i = 1; i <= columns; ++i) Histogram->setColumnColor(i, kBarColor);
    Histogram->setRowLabel(QString());

    // Codes, spread and counts; a run without samples has no codes to show.
    const QString minText = noSamples ? QString() : text(HexCode(minCode));
    const QString maxText = noSamples ? QString() : text(HexCode(maxCode));
    MaxCodeHistogramTextbox->setText(maxText);
    MidCodeHistogramTextbox->setText(noSamples ? QString() : text(MiddleCode(minCode, maxCode)));
    MinCodeHistogramTextbox->setText(minText);
    MaxCodeTextBox->setText(maxText);
    MinCodeTextbox->setText(minText);
    CodeDistributionTextbox->setText(
        text(DecimalText(noSamples ? 0 : CodeSpread(maxCode, minCode))));
    NumberMinCode->setText(text(DecimalText(h.histogram.slot(1))));
    NumberMidCode->setText(text(DecimalText(h.PeakCount)));
    NumberMaxCode->setText(text(DecimalText(h.histogram.slot(columns))));

    // Every sample again, on the run window's scale.
    Graph->setUpperBound(settings.graphUpperBound);
    Graph->setLowerBound(settings.graphLowerBound);
    GraphMaxLabel->setText(text(settings.GraphMaxLabel));
    GraphMidLabel->setText(text(settings.GraphMidLabel));
    GraphMinLabel->setText(text(settings.GraphMinLabel));
    Graph->clear();
    Graph->setExtent(std::max(count, 0));
    // Sample k sits at index k; a count beyond the buffer plots what exists.
    const int last = std::min(count, static_cast<int>(state_.SampleBuffer.size()) - 1);
    for (int k = 1; k <= last; ++k) Graph->appendPoint(state_.SampleBuffer[k]);
}

}  // namespace kelp::analysis
