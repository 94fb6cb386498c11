#include "analysis/sdanalysiswindow.h"

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
#include "analysis/sdfigures.h"
#include "link/controlkit.h"
#include "platform/barchart.h"
#include "platform/chartpanel.h"

namespace kelp::analysis {

struct SdAnalysisWindow::Ui {
    QGroupBox* Frame2 = nullptr;
    QLineEdit* Text6 = nullptr;
    QLineEdit* Text5 = nullptr;
    QLabel* Label1 = nullptr;
    QLabel* Label10 = nullptr;

    QGroupBox* Current = nullptr;
    QLineEdit* Text7 = nullptr;
    QLineEdit* Text8 = nullptr;
    QLineEdit* Text13 = nullptr;
    QLabel* Label13 = nullptr;
    QLabel* Label18 = nullptr;
    QLabel* Label19 = nullptr;

    QGroupBox* PrimaryADC = nullptr;
    QLineEdit* VrefTextbox = nullptr;
    QLineEdit* ADCChanTextbox = nullptr;
    QLineEdit* ADCRangeTextbox = nullptr;
    QLineEdit* MinCodeTextbox = nullptr;
    QLineEdit* MaxCodeTextBox = nullptr;
    QLineEdit* PPNoiseCodesTextbox = nullptr;
    QLineEdit* RMSNoiseuVTextbox = nullptr;
    QLineEdit* RMSNoiseBitsTextbox = nullptr;
    QLineEdit* PPNoiseuVTextbox = nullptr;
    QLineEdit* PPNoiseBitsTextbox = nullptr;
    QLabel* Label8 = nullptr;
    QLabel* Label7 = nullptr;
    QLabel* Label6 = nullptr;
    QLabel* Label22 = nullptr;
    QLabel* Label23 = nullptr;
    QLabel* Label21 = nullptr;
    QLabel* Label27 = nullptr;
    QLabel* Label28 = nullptr;
    QLabel* Label20 = nullptr;
    QLabel* Label26 = nullptr;
    QLineEdit* Star1 = nullptr;
    QLineEdit* Star2 = nullptr;
    QLineEdit* limitation = nullptr;

    QGroupBox* Frame1 = nullptr;
    QLineEdit* AuxVrefTextbox = nullptr;
    QLineEdit* AuxADCChanTextbox = nullptr;
    QLineEdit* AuxADCRangeTextbox = nullptr;
    QLineEdit* AuxMinCodeTextbox = nullptr;
    QLineEdit* AuxMaxCodeTextbox = nullptr;
    QLineEdit* AuxPPNoiseCodesTextbox = nullptr;
    QLineEdit* AuxRMSNoiseuVTextbox = nullptr;
    QLineEdit* AuxRMSNoiseBitsTextbox = nullptr;
    QLineEdit* AuxPPNoiseuVTextbox = nullptr;
    QLineEdit* AuxPPNoiseBitsTextbox = nullptr;
    QLabel* Label15 = nullptr;
    QLabel* Label16 = nullptr;
    QLabel* Label17 = nullptr;
    QLabel* Label29 = nullptr;
    QLabel* Label30 = nullptr;
    QLabel* Label25 = nullptr;
    QLabel* Label32 = nullptr;
    QLabel* Label33 = nullptr;
    QLabel* Label24 = nullptr;
    QLabel* Label31 = nullptr;

    platform::BarChart* Histogram = nullptr;
    QLineEdit* MinCodeHistogramTextbox = nullptr;
    QLineEdit* MidCodeHistogramTextbox = nullptr;
    QLineEdit* MaxCodeHistogramTextbox = nullptr;
    platform::BarChart* AuxHistogram = nullptr;
    QLineEdit* AuxMinCodeHistogramTextbox = nullptr;
    QLineEdit* AuxMidCodeHistogramTextbox = nullptr;
    QLineEdit* AuxMaxCodeHistogramTextbox = nullptr;

    platform::ChartPanel* Graph = nullptr;
    platform::ChartPanel* AuxGraph = nullptr;
};

namespace {

using Ui = SdAnalysisWindow::Ui;
using Box = QLineEdit* Ui::*;
using Caption = QLabel* Ui::*;

// One caption with its box; the caption's text is also the box's accessible name.
struct Field {
    Box box;
    const char* boxName;
    Caption label;
    const char* labelName;
    const char* caption;
    const char* designText;
};

// Update rate, labels over the boxes.
const Field kRateFields[] = {
    {&Ui::Text6, "Text6", &Ui::Label1, "Label1", "Update Rate (Hz)", "19.79"},
    {&Ui::Text5, "Text5", &Ui::Label10, "Label10", "SF (Hex)", ""},
};

// Analog peripherals, each label beside its box.
const Field kPeripheralFields[] = {
    {&Ui::Text7, "Text7", &Ui::Label13, "Label13", "IEXC1", "200uA (pin 3)"},
    {&Ui::Text8, "Text8", &Ui::Label18, "Label18", "IEXC2", "200uA (pin 4)"},
    {&Ui::Text13, "Text13", &Ui::Label19, "Label19", "DAC", "0.625V (pin 12)"},
};

// One box of a result block as it appears in the primary or the auxiliary block.
struct Side {
    Box box;
    const char* boxName;
    Caption label;
    const char* labelName;
    const char* caption;
};

struct BlockField {
    std::string BlockFigures::*figure;
    const char* designText;
    // A block switched off greys eight of its ten captions; its reference and max-code
    // captions stay as they are.
    bool captionGreys;
    Side primary;
    Side aux;
};

// Settings and codes in the left column, noise figures in the right one, five rows each.
// clang-format off
const BlockField kBlockFields[] = {
    {&BlockFigures::VrefTextbox, "External", false,
     {&Ui::VrefTextbox, "VrefTextbox", &Ui::Label8, "Label8", "ADC Reference"},
     {&Ui::AuxVrefTextbox, "AuxVrefTextbox", &Ui::Label15, "Label15", "ADC Reference"}},
    {&BlockFigures::ADCChanTextbox, "AIN2 - AIN2", true,
     {&Ui::ADCChanTextbox, "ADCChanTextbox", &Ui::Label7, "Label7", "Input Channel"},
     {&Ui::AuxADCChanTextbox, "AuxADCChanTextbox", &Ui::Label16, "Label16", "Input Channel"}},
    {&BlockFigures::ADCRangeTextbox, "0 to 2.56", true,
     {&Ui::ADCRangeTextbox, "ADCRangeTextbox", &Ui::Label6, "Label6", "Input Range"},
     {&Ui::AuxADCRangeTextbox, "AuxADCRangeTextbox", &Ui::Label17, "Label17", "Input Range"}},
    {&BlockFigures::MinCodeTextbox, "7FFFF0", true,
     {&Ui::MinCodeTextbox, "MinCodeTextbox", &Ui::Label22, "Label22", "Min Code (Hex)"},
     {&Ui::AuxMinCodeTextbox, "AuxMinCodeTextbox", &Ui::Label29, "Label29", "Min Code (Hex)"}},
    {&BlockFigures::MaxCodeTextBox, "800010", false,
     {&Ui::MaxCodeTextBox, "MaxCodeTextBox", &Ui::Label23, "Label23", "Max Code (Hex)"},
     {&Ui::AuxMaxCodeTextbox, "AuxMaxCodeTextbox", &Ui::Label30, "Label30", "Max Code (Hex)"}},
    {&BlockFigures::PPNoiseCodesTextbox, "", true,
     {&Ui::PPNoiseCodesTextbox, "PPNoiseCodesTextbox", &Ui::Label21, "Label21",
      "Pk-Pk Noise Codes"},
     {&Ui::AuxPPNoiseCodesTextbox, "AuxPPNoiseCodesTextbox", &Ui::Label25, "Label25",
      "Pk-Pk Noise Codes"}},
    {&BlockFigures::RMSNoiseuVTextbox, "0.73", true,
     {&Ui::RMSNoiseuVTextbox, "RMSNoiseuVTextbox", &Ui::Label27, "Label27", "RMS Noise (uV)"},
     {&Ui::AuxRMSNoiseuVTextbox, "AuxRMSNoiseuVTextbox", &Ui::Label32, "Label32",
      "RMS Noise (uV)"}},
    {&BlockFigures::RMSNoiseBitsTextbox, "21.7", true,
     {&Ui::RMSNoiseBitsTextbox, "RMSNoiseBitsTextbox", &Ui::Label28, "Label28", "RMS Res (Bits)"},
     {&Ui::AuxRMSNoiseBitsTextbox, "AuxRMSNoiseBitsTextbox", &Ui::Label33, "Label33",
      "RMS Noise (Bits)"}},
    {&BlockFigures::PPNoiseuVTextbox, "4.88", true,
     {&Ui::PPNoiseuVTextbox, "PPNoiseuVTextbox", &Ui::Label20, "Label20", "Pk-PK Noise (uV)"},
     {&Ui::AuxPPNoiseuVTextbox, "AuxPPNoiseuVTextbox", &Ui::Label24, "Label24",
      "Pk-PK Noise (uV)"}},
    {&BlockFigures::PPNoiseBitsTextbox, "", true,
     {&Ui::PPNoiseBitsTextbox, "PPNoiseBitsTextbox", &Ui::Label26, "Label26", "Pk-PK Res (Bits)"},
     {&Ui::AuxPPNoiseBitsTextbox, "AuxPPNoiseBitsTextbox", &Ui::Label31, "Label31",
      "Pk-PK Noise (Bits)"}},
};
// clang-format on
constexpr int kBlockRows = 5;

// A star sits beside the resolution it marks.
struct StarMark {
    Box star;
    const char* name;
    Box beside;
    Mark SdFigures::*mark;
    const char* accessibleName;
};
const StarMark kStars[] = {
    {&Ui::Star1, "Star1", &Ui::PPNoiseBitsTextbox, &SdFigures::Star1,
     "Peak-to-peak resolution limited by the ADC"},
    {&Ui::Star2, "Star2", &Ui::RMSNoiseBitsTextbox, &SdFigures::Star2,
     "RMS resolution limited by the ADC"},
};

// One result block: its frame, which names its boxes take, its charts and its samples.
struct Block {
    Side BlockField::*side;
    QGroupBox* Ui::*frame;
    const char* frameName;
    const char* title;
    platform::BarChart* Ui::*histogram;
    const char* histogramName;
    const char* histogramTitle;
    Box marks[3];  // lowest, middle and highest code under the histogram
    const char* markNames[3];
    platform::ChartPanel* Ui::*graph;
    platform::ChartNames graphNames;
    platform::MarkTexts graphTexts;
    std::span<const int32_t> SdRunResults::*codes;
    SdBlock block;
    const char* noiseGroupName;
    const char* noisePrefix;  // of the extra figures' box names
    const char* graphTitle;   // of the strip chart, in menus
};

const Block kPrimary{
    &BlockField::primary,
    &Ui::PrimaryADC,
    "PrimaryADC",
    "Primary ADC",
    &Ui::Histogram,
    "Histogram",
    "Primary ADC Histogram",
    {&Ui::MinCodeHistogramTextbox, &Ui::MidCodeHistogramTextbox, &Ui::MaxCodeHistogramTextbox},
    {"MinCodeHistogramTextbox", "MidCodeHistogramTextbox", "MaxCodeHistogramTextbox"},
    &Ui::Graph,
    {"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"},
    {"800100H", "800000H", "7FFE00H"},
    &SdRunResults::PrimaryCodeBuffer,
    SdBlock::Primary,
    "PrimaryNoiseFigures",
    "",
    "Primary ADC Strip Chart",
};

const Block kAux{
    &BlockField::aux,
    &Ui::Frame1,
    "Frame1",
    "Auxiliary ADC",
    &Ui::AuxHistogram,
    "AuxHistogram",
    "Auxiliary ADC Histogram",
    {&Ui::AuxMinCodeHistogramTextbox, &Ui::AuxMidCodeHistogramTextbox,
     &Ui::AuxMaxCodeHistogramTextbox},
    {"AuxMinCodeHistogramTextbox", "AuxMidCodeHistogramTextbox", "AuxMaxCodeHistogramTextbox"},
    &Ui::AuxGraph,
    {"AuxGraph", "AuxGraphMaxLabel", "AuxGraphMidLabel", "AuxGraphMinLabel"},
    {"800100H", "800000H", "7FFE00H"},
    &SdRunResults::AuxCodeBuffer,
    SdBlock::Aux,
    "AuxNoiseFigures",
    "Aux",
    "Auxiliary ADC Strip Chart",
};

// Design texts of the histogram marks, lowest code first.
constexpr const char* kMarkTexts[3] = {"7FFE00H", "800000H", "800100H"};
constexpr const char* kMarkAccessibleNames[3] = {"Histogram lowest code", "Histogram middle code",
                                                 "Histogram highest code"};
constexpr Qt::Alignment kMarkAlignments[3] = {Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight};

const QColor kBarColor(255, 0, 0);

// The widest texts the boxes show whole. The update rate carries up to 15 significant digits;
// the block figures are rounded to a few decimals, so eight integer digits bound them, and
// the longest setting is an input channel.
constexpr const char* kLongRate = "8888.88888888888";
constexpr const char* kLongFigure = "-88888888.888";
constexpr const char* kLongSetting = "AIN10-AINCOM";

QLineEdit* makeBox(const char* name, const QString& text, const QString& accessibleName,
                   QWidget* parent) {
    return link::makeFigureBox(parent, name, text, accessibleName);
}

QLabel* makeLabel(const char* name, const QString& text, QWidget* parent) {
    return link::makeCaption(parent, name, text);
}

// A box that reads as plain text on the window: marks under a chart, stars and the note.
void flatten(QLineEdit* box) {
    box->setFrame(false);
    QPalette palette = box->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    box->setPalette(palette);
}

int textWidth(const QWidget* w, const QString& text) {
    return w->fontMetrics().horizontalAdvance(text) + 12;
}

QString text(const std::string& s) { return link::qs(s); }

// The stars beside the primary resolutions and the note under the figures.
void addLimitMarks(Ui& ui, QGridLayout* grid, QGroupBox* frame, int starWidth) {
    for (const StarMark& s : kStars) {
        QLineEdit* star = makeBox(s.name, "*", s.accessibleName, frame);
        flatten(star);
        star->setFixedWidth(starWidth);
        int row = 0, column = 0, rowSpan = 0, columnSpan = 0;
        grid->getItemPosition(grid->indexOf(ui.*s.beside), &row, &column, &rowSpan, &columnSpan);
        grid->addWidget(star, row, column + 1);
        ui.*s.star = star;
    }
    ui.limitation =
        makeBox("limitation", "* limited only by the number of bits available from the ADC",
                "Resolution note", frame);
    flatten(ui.limitation);
    ui.limitation->setMinimumWidth(textWidth(ui.limitation, ui.limitation->text()));
    grid->addWidget(ui.limitation, kBlockRows, 0, 1, 5);
    // Out of sight until an analysis calls for them; their place is kept so that the figures
    // do not move when they appear.
    for (QLineEdit* note : {ui.Star1, ui.Star2, ui.limitation}) {
        QSizePolicy policy = note->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        note->setSizePolicy(policy);
        note->setVisible(false);
    }
}

QWidget* buildBlockFrame(Ui& ui, const Block& block) {
    auto* frame = new QGroupBox(block.title);
    frame->setObjectName(block.frameName);
    ui.*block.frame = frame;
    auto* grid = new QGridLayout(frame);
    int i = 0;
    for (const BlockField& f : kBlockFields) {
        const Side& s = f.*block.side;
        QLabel* label = makeLabel(s.labelName, s.caption, frame);
        QLineEdit* box = makeBox(s.boxName, f.designText, s.caption, frame);
        label->setBuddy(box);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        box->setAlignment(Qt::AlignRight);
        const bool figure = i >= kBlockRows;
        box->setMinimumWidth(textWidth(box, figure ? kLongFigure : kLongSetting));
        ui.*s.label = label;
        ui.*s.box = box;
        // Columns: caption and box of a setting, caption and box of a figure, star.
        const int column = figure ? 2 : 0;
        grid->addWidget(label, i % kBlockRows, column);
        grid->addWidget(box, i % kBlockRows, column + 1);
        ++i;
    }
    grid->setHorizontalSpacing(4);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    // Both blocks keep the star column and the note's row, so that their figures line up.
    const int starWidth = frame->fontMetrics().horizontalAdvance("*") + 6;
    grid->setColumnMinimumWidth(4, starWidth);
    grid->setRowMinimumHeight(kBlockRows, frame->fontMetrics().height() + 6);
    if (block.side == &BlockField::primary) addLimitMarks(ui, grid, frame, starWidth);
    return frame;
}

QVector<QPointF> gaussianCurve(const HistogramResult& h, int32_t minCode, int32_t maxCode,
                               const NoiseFigures& noise) {
    QVector<QPointF> curve;
    for (const auto& [x, y] : HistogramGaussian(h, minCode, maxCode, noise.meanCode,
                                                noise.stdDevCodes, noise.sampleCount))
        curve.append({x, y});
    return curve;
}

QWidget* buildHistogramPanel(Ui& ui, const Block& block) {
    auto* panel = new QWidget();
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    auto* chart = new platform::BarChart(panel);
    chart->setObjectName(block.histogramName);
    chart->setAccessibleName(block.histogramTitle);
    chart->setTitle(block.histogramTitle);
    ui.*block.histogram = chart;
    layout->addWidget(chart, 1);

    // The marks sit under the chart's left end, middle and right end.
    auto* marks = new QHBoxLayout();
    for (int i = 0; i < 3; ++i) {
        QLineEdit* mark =
            makeBox(block.markNames[i], kMarkTexts[i], kMarkAccessibleNames[i], panel);
        flatten(mark);
        mark->setAlignment(kMarkAlignments[i]);
        mark->setFixedWidth(textWidth(mark, "-FFFFFFFFH"));
        ui.*block.marks[i] = mark;
        if (i > 0) marks->addStretch(1);
        marks->addWidget(mark);
    }
    layout->addLayout(marks);
    return panel;
}

// Texts, greying, histogram and strip chart of one block.
void showBlock(Ui& ui, const Block& block, const BlockFigures& figures,
               const SdAnalysisInput& input) {
    // The frame stays enabled; only its captions and boxes grey out.
    for (const BlockField& f : kBlockFields) {
        const Side& s = f.*block.side;
        (ui.*s.box)->setText(text(figures.*f.figure));
        (ui.*s.box)->setEnabled(figures.enabled);
        if (f.captionGreys) (ui.*s.label)->setEnabled(figures.enabled);
    }

    platform::BarChart* histogram = ui.*block.histogram;
    const HistogramResult& h = figures.histogram;
    histogram->setData(QVector<int>(h.histogram.counts.begin(), h.histogram.counts.end()));
    if (figures.enabled) {
        if (!h.binned) histogram->setColumnCount(h.columnCount);
        for (int i = 1; i <= histogram->columnCount(); ++i) histogram->setColumnColor(i, kBarColor);
        histogram->setRowLabel(QString());
    }
    const std::string* markTexts[3] = {&figures.MinCodeHistogramTextbox,
                                       &figures.MidCodeHistogramTextbox,
                                       &figures.MaxCodeHistogramTextbox};
    for (int i = 0; i < 3; ++i) (ui.*block.marks[i])->setText(text(*markTexts[i]));

    platform::ChartPanel* graph = ui.*block.graph;
    if (!figures.enabled) {
        graph->clear();
        graph->setLabels("", "", "");
        return;
    }
    // Every sample again, on the run window's scale.
    const ChartCopy& copy = figures.graph;
    graph->setUpperBound(copy.upperBound);
    graph->setLowerBound(copy.lowerBound);
    graph->setLabels(copy.maxLabel, copy.midLabel, copy.minLabel);
    graph->clear();
    const int count = input.results.SampleCount;
    graph->setExtent(std::max(count, 0));
    // A count beyond the buffer plots what exists.
    const std::span<const int32_t> codes = input.results.*block.codes;
    const int last = std::min(count, static_cast<int>(codes.size()));
    for (int j = 0; j < last; ++j) graph->append(codes[j]);
}

}  // namespace

SdAnalysisWindow::SdAnalysisWindow(const std::string& model, QWidget* parent)
    : AnalysisWindow("SD_KELP_Analysis", model, parent), ui_(std::make_unique<Ui>()) {
    auto* central = new QWidget(this);
    auto* root = new QVBoxLayout(central);
    root->addWidget(buildSummary());

    // Primary left, auxiliary right; each column reads down from the figures to the charts.
    auto* blocks = new QGridLayout();
    int column = 0;
    for (const Block* block : {&kPrimary, &kAux}) {
        const QString title = QString::fromLatin1(block->title);
        blocks->addWidget(buildBlockFrame(*ui_, *block), 0, column);
        QWidget* histogram = buildHistogramPanel(*ui_, *block);
        blocks->addWidget(histogram, 1, column);
        auto* graph = new platform::ChartPanel(block->graphNames, block->graphTexts);
        ui_.get()->*block->graph = graph;
        blocks->addWidget(graph, 2, column);
        blocks->setColumnStretch(column, 1);
        addChart(block->histogramTitle, histogram, ui_.get()->*block->histogram);
        addChart(block->graphTitle, graph);
        for (const BlockField& f : kBlockFields) {
            const Side& side = f.*block->side;
            addFigure(title + " " + side.caption, ui_.get()->*side.box);
        }
        // The extra figures of the block, under its charts.
        NoiseBoxes& noise = block == &kPrimary ? primaryNoise_ : auxNoise_;
        noise = makeNoiseGroup(title + " Noise Figures", block->noiseGroupName, block->noisePrefix,
                               title + " ", 2);
        blocks->addWidget(noise.group, 3, column++);
    }
    blocks->setRowStretch(1, 3);
    blocks->setRowStretch(2, 2);
    root->addLayout(blocks, 1);

    finish(central, root, 1000, 900);
}

std::string SdAnalysisWindow::samplesCsv() const { return SdSamplesCsv(last_); }

QWidget* SdAnalysisWindow::buildSummary() {
    auto* row = new QWidget();
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);

    ui_->Frame2 = new QGroupBox("Update Rate", row);
    ui_->Frame2->setObjectName("Frame2");
    auto* rate = new QGridLayout(ui_->Frame2);
    int column = 0;
    for (const Field& f : kRateFields) {
        QLabel* label = makeLabel(f.labelName, f.caption, ui_->Frame2);
        QLineEdit* box = makeBox(f.boxName, f.designText, f.caption, ui_->Frame2);
        label->setBuddy(box);
        box->setMinimumWidth(textWidth(box, f.box == &Ui::Text6 ? kLongRate : "8888"));
        ui_.get()->*f.label = label;
        ui_.get()->*f.box = box;
        addFigure(f.caption, box);
        rate->addWidget(label, 0, column);
        rate->addWidget(box, 1, column++);
    }
    layout->addWidget(ui_->Frame2);

    ui_->Current = new QGroupBox("Analog Peripherals", row);
    ui_->Current->setObjectName("Current");
    auto* peripherals = new QGridLayout(ui_->Current);
    column = 0;
    for (const Field& f : kPeripheralFields) {
        QLabel* label = makeLabel(f.labelName, f.caption, ui_->Current);
        QLineEdit* box = makeBox(f.boxName, f.designText, f.caption, ui_->Current);
        label->setBuddy(box);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        box->setMinimumWidth(textWidth(box, "Code FFFF at pin12"));
        ui_.get()->*f.label = label;
        ui_.get()->*f.box = box;
        addFigure(f.caption, box);
        peripherals->addWidget(label, 0, column);
        peripherals->addWidget(box, 0, column + 1);
        peripherals->setColumnStretch(column + 1, 1);
        column += 2;
    }
    layout->addWidget(ui_->Current, 1);
    return row;
}

SdAnalysisWindow::~SdAnalysisWindow() = default;

void SdAnalysisWindow::AnalyseData(const SdAnalysisInput& input) {
    const SdFigures figures = ComputeSdFigures(input);
    // Kept for the export: the buffers and the settings may change with the next run.
    last_ = input;
    const SdRunResults& r = input.results;
    lastPrimary_.assign(r.PrimaryCodeBuffer.begin(), r.PrimaryCodeBuffer.end());
    lastRaw_.assign(r.PrimaryRawBuffer.begin(), r.PrimaryRawBuffer.end());
    lastAux_.assign(r.AuxCodeBuffer.begin(), r.AuxCodeBuffer.end());
    last_.results.PrimaryCodeBuffer = lastPrimary_;
    last_.results.PrimaryRawBuffer = lastRaw_;
    last_.results.AuxCodeBuffer = lastAux_;

    ui_->Text5->setText(text(figures.Text5));
    ui_->Text6->setText(text(figures.Text6));
    ui_->Text7->setText(text(figures.Text7));
    ui_->Text8->setText(text(figures.Text8));
    ui_->Text13->setText(text(figures.Text13));

    showBlock(*ui_, kPrimary, figures.primary, input);
    // A primary block switched off leaves the stars and the note as the last analysis put them.
    const auto apply = [](QWidget* w, Mark mark) {
        if (mark != Mark::Unchanged) w->setVisible(mark == Mark::Shown);
    };
    for (const StarMark& s : kStars) apply(ui_.get()->*s.star, figures.*s.mark);
    apply(ui_->limitation, figures.limitation);

    showBlock(*ui_, kAux, figures.aux, input);

    const struct {
        const Block& block;
        const BlockFigures& figures;
        const NoiseBoxes& boxes;
        int32_t minCode, maxCode;
    } extras[] = {
        {kPrimary, figures.primary, primaryNoise_, r.PrimaryMinCode, r.PrimaryMaxCode},
        {kAux, figures.aux, auxNoise_, r.AuxMinCode, r.AuxMaxCode},
    };
    for (const auto& e : extras) {
        const NoiseFigures noise = SdNoiseFigures(input, e.block.block);
        showNoise(e.boxes, NoiseFigureTexts(noise), e.figures.enabled);
        (ui_.get()->*e.block.histogram)
            ->setCurve(gaussianCurve(e.figures.histogram, e.minCode, e.maxCode, noise));
    }
}

}  // namespace kelp::analysis
