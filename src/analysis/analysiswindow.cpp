#include "analysis/analysiswindow.h"

#include <QAction>
#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSaveFile>
#include <QStandardPaths>
#include <QSvgGenerator>
#include <QVBoxLayout>

#include "analysis/noisefigures.h"
#include "link/controlkit.h"
#include "platform/barchart.h"
#include "platform/qtmessagesink.h"
#include "platform/stripchart.h"

namespace kelp::analysis {

namespace {

// The extra figures: box name (after the block's prefix), caption, what it means.
struct NoiseField {
    std::string NoiseTexts::*text;
    const char* name;
    const char* caption;
    const char* tip;
};
const NoiseField kNoiseFields[] = {
    {&NoiseTexts::sampleCount, "SampleCountTextbox", "Samples", "Number of samples analysed"},
    {&NoiseTexts::meanCode, "MeanCodeTextbox", "Mean Code", "Mean of the codes, in decimal"},
    {&NoiseTexts::meanVolts, "MeanVoltsTextbox", "Mean (V)",
     "Mean code in volts at the block's reference and range"},
    {&NoiseTexts::stdDevCodes, "StdDevCodesTextbox", "Std Dev (Codes)",
     "Standard deviation of the codes (RMS noise in codes, divisor N)"},
    {&NoiseTexts::ppEstimateCodes, "PPEstimateCodesTextbox", "Pk-Pk 6.6σ (Codes)",
     "Peak-to-peak noise estimated as 6.6 standard deviations"},
    {&NoiseTexts::effectiveBits, "EffectiveBitsTextbox", "Effective Res (Bits)",
     "Effective resolution: log2(full scale / RMS noise)"},
    {&NoiseTexts::noiseFreeBits, "NoiseFreeBitsTextbox", "Noise-Free Res (Bits)",
     "Noise-free resolution: log2(full scale / (6.6 x RMS noise))"},
};

QString fileNamePart(QString text) { return text.replace(' ', '-'); }

// Draws what the charts have gathered, so that the picture shows all of it.
void flushCharts(QWidget* panel) {
    for (auto* bars : panel->findChildren<platform::BarChart*>()) bars->flush();
    for (auto* strip : panel->findChildren<platform::StripChart*>()) strip->flush();
}

}  // namespace

AnalysisWindow::AnalysisWindow(const char* name, const std::string& model, QWidget* parent)
    : QMainWindow(parent) {
    setObjectName(QString::fromLatin1(name));
    setWindowTitle(QStringLiteral("KELP - ") + QString::fromStdString(model) +
                   QStringLiteral(" - ADC Noise Analysis"));
}

AnalysisWindow::~AnalysisWindow() = default;

void AnalysisWindow::finish(QWidget* central, QVBoxLayout* root, int width, int height) {
    auto* back = new QPushButton(QStringLiteral("Return to Aquistion Window"), central);
    back->setObjectName(QStringLiteral("ReturnButton"));
    auto* footer = new QHBoxLayout();
    footer->addStretch(1);
    footer->addWidget(back);
    root->addLayout(footer);
    setCentralWidget(central);
    buildMenus(central);
    resize(width, height);
    connect(back, &QPushButton::clicked, this, &AnalysisWindow::ReturnButton_Click);
    // The boxes are only read; the one thing to do here is go back.
    back->setFocus();
}

void AnalysisWindow::addChart(const QString& name, QWidget* panel, platform::BarChart* histogram) {
    charts_.push_back({name, panel, histogram});
}

void AnalysisWindow::addFigure(const QString& name, const QLineEdit* box) {
    figures_.emplace_back(name, box);
}

void AnalysisWindow::buildMenus(QWidget* central) {
    const auto action = [this](const QString& text, const char* name) {
        auto* a = new QAction(text, this);
        a->setObjectName(QString::fromLatin1(name));
        return a;
    };
    QAction* samples = action(tr("Export Samples as CSV..."), "ExportSamplesAction");
    connect(samples, &QAction::triggered, this, [this] { exportSamples(); });
    QAction* copy = action(tr("Copy Figures"), "CopyFiguresAction");
    connect(copy, &QAction::triggered, this, &AnalysisWindow::copyFigures);
    gaussian_ = action(tr("Gaussian Curve over Histogram"), "GaussianAction");
    gaussian_->setCheckable(true);
    gaussian_->setChecked(true);
    connect(gaussian_, &QAction::toggled, this, &AnalysisWindow::setGaussianShown);

    // One submenu per picture format, one entry per chart.
    auto* png = new QMenu(tr("Export Chart as PNG"), this);
    png->setObjectName("ExportPngMenu");
    auto* svg = new QMenu(tr("Export Chart as SVG"), this);
    svg->setObjectName("ExportSvgMenu");
    for (int i = 0; i < static_cast<int>(charts_.size()); ++i) {
        const Chart& chart = charts_[static_cast<size_t>(i)];
        for (const auto& [menu, format] :
             {std::pair(png, ChartFormat::Png), std::pair(svg, ChartFormat::Svg)}) {
            connect(menu->addAction(chart.name + "..."), &QAction::triggered, this,
                    [this, i, format] { exportChart(i, format); });
        }
        // The chart's own menu exports that chart.
        auto* ownPng = new QAction(tr("Export Chart as PNG..."), chart.panel);
        auto* ownSvg = new QAction(tr("Export Chart as SVG..."), chart.panel);
        connect(ownPng, &QAction::triggered, this, [this, i] { exportChart(i, ChartFormat::Png); });
        connect(ownSvg, &QAction::triggered, this, [this, i] { exportChart(i, ChartFormat::Svg); });
        auto* separator = new QAction(chart.panel);
        separator->setSeparator(true);
        chart.panel->addActions({ownPng, ownSvg, separator, samples, copy});
        if (chart.histogram) chart.panel->addAction(gaussian_);
        chart.panel->setContextMenuPolicy(Qt::ActionsContextMenu);
    }

    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName("FileMenu");
    file->addAction(samples);
    file->addMenu(png);
    file->addMenu(svg);
    file->addSeparator();
    file->addAction(copy);
    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->setObjectName("ViewMenu");
    view->addAction(gaussian_);

    auto* separator = new QAction(central);
    separator->setSeparator(true);
    central->addActions(
        {samples, png->menuAction(), svg->menuAction(), separator, copy, gaussian_});
    central->setContextMenuPolicy(Qt::ActionsContextMenu);
}

void AnalysisWindow::setFileChooser(FileChooser chooser) { chooser_ = std::move(chooser); }

void AnalysisWindow::setMessageSink(platform::MessageSink* sink) { messages_ = sink; }

QString AnalysisWindow::chooseFile(const QString& caption, const QString& suggestedName,
                                   const QString& filter) {
    const QString suggested =
        QDir(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation))
            .filePath(suggestedName);
    QString path = chooser_ ? chooser_(this, caption, suggested, filter)
                            : QFileDialog::getSaveFileName(this, caption, suggested, filter);
    // A name typed without its extension gets the format's.
    if (!path.isEmpty() && QFileInfo(path).suffix().isEmpty())
        path += '.' + QFileInfo(suggestedName).suffix();
    return path;
}

bool AnalysisWindow::writeFile(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return true;
    if (!messages_) {
        ownMessages_ = std::make_unique<platform::QtMessageSink>(this);
        messages_ = ownMessages_.get();
    }
    messages_->warning(tr("Could not save %1: %2.\r\nChoose another folder or file name.")
                           .arg(QDir::toNativeSeparators(path), file.errorString())
                           .toStdString());
    return false;
}

bool AnalysisWindow::exportSamples() {
    const QString path = chooseFile(tr("Export Samples as CSV"), objectName() + "-samples.csv",
                                    tr("CSV files (*.csv)"));
    if (path.isEmpty()) return false;
    return writeFile(path, QByteArray::fromStdString(samplesCsv()));
}

QStringList AnalysisWindow::chartNames() const {
    QStringList names;
    for (const Chart& c : charts_) names << c.name;
    return names;
}

bool AnalysisWindow::exportChart(int index, ChartFormat format) {
    if (index < 0 || index >= static_cast<int>(charts_.size())) return false;
    const Chart& chart = charts_[static_cast<size_t>(index)];
    const bool png = format == ChartFormat::Png;
    const QString path =
        chooseFile(png ? tr("Export Chart as PNG") : tr("Export Chart as SVG"),
                   objectName() + "-" + fileNamePart(chart.name) + (png ? ".png" : ".svg"),
                   png ? tr("PNG images (*.png)") : tr("SVG drawings (*.svg)"));
    if (path.isEmpty()) return false;

    flushCharts(chart.panel);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    if (png) {
        chart.panel->grab().save(&buffer, "PNG");
    } else {
        const QSize size = chart.panel->size();
        QSvgGenerator svg;
        svg.setOutputDevice(&buffer);
        svg.setSize(size);
        svg.setViewBox(QRect(QPoint(0, 0), size));
        svg.setTitle(chart.name);
        svg.setDescription(windowTitle());
        QPainter painter(&svg);
        chart.panel->render(&painter);
    }
    return writeFile(path, buffer.data());
}

void AnalysisWindow::copyFigures() {
    QString lines;
    for (const auto& [name, box] : figures_) lines += name + '\t' + box->text() + '\n';
    QGuiApplication::clipboard()->setText(lines);
}

void AnalysisWindow::setGaussianShown(bool shown) {
    if (gaussian_ && gaussian_->isChecked() != shown) gaussian_->setChecked(shown);
    for (const Chart& c : charts_)
        if (c.histogram) c.histogram->setCurveVisible(shown);
}

bool AnalysisWindow::gaussianShown() const { return !gaussian_ || gaussian_->isChecked(); }

AnalysisWindow::NoiseBoxes AnalysisWindow::makeNoiseGroup(const QString& title,
                                                          const char* groupName, const char* prefix,
                                                          const QString& figurePrefix, int perRow) {
    NoiseBoxes out;
    out.group = new QGroupBox(title);
    out.group->setObjectName(QString::fromLatin1(groupName));
    auto* grid = new QGridLayout(out.group);
    int i = 0;
    for (const NoiseField& f : kNoiseFields) {
        const std::string name = std::string(prefix) + f.name;
        QLineEdit* box = link::makeFigureBox(out.group, name.c_str(), "", f.caption);
        const std::string labelName = name + "Label";
        QLabel* label = link::makeCaption(out.group, labelName.c_str(), f.caption, box);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        box->setAlignment(Qt::AlignRight);
        box->setToolTip(f.tip);
        label->setToolTip(f.tip);
        box->setMinimumWidth(box->fontMetrics().horizontalAdvance("8888888.888") + 12);
        grid->addWidget(label, i / perRow, 2 * (i % perRow));
        grid->addWidget(box, i / perRow, 2 * (i % perRow) + 1);
        out.captions.push_back(label);
        out.boxes.push_back(box);
        addFigure(figurePrefix + f.caption, box);
        ++i;
    }
    for (int c = 0; c < perRow; ++c) grid->setColumnStretch(2 * c + 1, 1);
    return out;
}

void AnalysisWindow::showNoise(const NoiseBoxes& boxes, const NoiseTexts& texts, bool enabled) {
    for (size_t i = 0; i < boxes.boxes.size(); ++i) {
        boxes.boxes[i]->setText(link::qs(texts.*kNoiseFields[i].text));
        boxes.boxes[i]->setEnabled(enabled);
        boxes.captions[i]->setEnabled(enabled);
    }
}

}  // namespace kelp::analysis
