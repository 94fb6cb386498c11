#include <gtest/gtest.h>

#include <QAction>
#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <vector>

#include "analysis/samplescsv.h"
#include "analysis/saranalysiswindow.h"
#include "analysis/sdanalysiswindow.h"
#include "platform/barchart.h"
#include "platform/recordingmessagesink.h"
#include "support/widgets.h"

namespace kelp::analysis {
namespace {

using testing::child;

QByteArray contents(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// A SAR window over known samples, whose exports land in a temporary folder.
struct SarFixture {
    QTemporaryDir dir;
    QString answer;  // what the file chooser answers next: a name in dir, or "" to cancel
    platform::RecordingMessageSink messages;
    SarRunSettings settings{"ADC0", "External", "", "", "2.5", "11.0592", "", "", "", "", "", 0, 0};
    std::vector<int16_t> buffer{0, 2046, 2047, 2048, 2049, 2050, 2048};
    SarAnalysisWindow window{"Zylo570"};

    SarFixture() {
        window.setFileChooser([this](QWidget*, const QString&, const QString&, const QString&) {
            return answer.isEmpty() ? answer : dir.filePath(answer);
        });
        window.setMessageSink(&messages);
        window.resize(1000, 760);
        window.show();
        window.AnalyseData(settings, {buffer, 6, 2046, 2050});
    }
    QStringList files() const { return QDir(dir.path()).entryList(QDir::Files); }
};

TEST(AnalysisExport, SarFiguresCurveAndExports) {
    SarFixture f;
    auto* histogram = child<platform::BarChart>(&f.window, "Histogram");
    EXPECT_EQ(histogram->curve().size(), 5 * 8 + 1);  // 8 points a column, both ends
    for (const bool shown : {false, true}) {
        child<QAction>(&f.window, "GaussianAction")->trigger();
        EXPECT_EQ(histogram->curveVisible(), shown);
    }
    // Analysing, switching the curve and a cancelled dialog write nothing.
    EXPECT_FALSE(f.window.exportSamples());
    EXPECT_TRUE(f.files().isEmpty());

    f.answer = "samples";  // the extension is added
    child<QAction>(&f.window, "ExportSamplesAction")->trigger();
    const auto read =
        ReadSamplesCsv(contents(f.dir.filePath("samples.csv")).toStdString(), nullptr);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->primary, (std::vector<int32_t>{2046, 2047, 2048, 2049, 2050, 2048}));

    // Each chart's own menu: PNG first, SVG second.
    QWidget* panels[] = {histogram->parentWidget(),
                         child<QWidget>(&f.window, "Graph")->parentWidget()};
    for (QWidget* panel : panels) {
        ASSERT_GE(panel->actions().size(), 2);
        f.answer = "chart.png";
        panel->actions().at(0)->trigger();
        const QImage png(f.dir.filePath("chart.png"));
        EXPECT_EQ(png.size(), panel->size());
        f.answer = "chart.svg";
        panel->actions().at(1)->trigger();
        const QByteArray svg = contents(f.dir.filePath("chart.svg"));
        QXmlStreamReader xml(svg);
        while (!xml.atEnd()) xml.readNext();
        EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
        EXPECT_TRUE(svg.contains("<path") || svg.contains("<polyline"));
    }
    EXPECT_EQ(f.files(), (QStringList{"chart.png", "chart.svg", "samples.csv"}));
    EXPECT_TRUE(f.messages.messages.empty());

    f.answer = "missing-folder/samples.csv";
    EXPECT_FALSE(f.window.exportSamples());
    ASSERT_EQ(f.messages.messages.size(), 1u);
    EXPECT_EQ(f.messages.messages[0].text.rfind("Could not save ", 0), 0u);
}

TEST(AnalysisExport, CopyFiguresOfBothWindows) {
    SarFixture f;
    child<QAction>(&f.window, "CopyFiguresAction")->trigger();
    const QStringList sar = QGuiApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(sar.size(), 8 + 6 + 7);
    for (const char* line :
         {"External Vref (V)\t2.5", "Min Code (Hex)\t7FE", "Occurances of Median\t2",
          "Std Dev (Codes)\t1.291", "Effective Res (Bits)\t11.63"})
        EXPECT_TRUE(sar.contains(line)) << line;

    // Sigma-delta: the auxiliary block switched off greys its extra figures too.
    const std::vector<int32_t> codes{0x800000, 0x800002, 0x800004};
    SdAnalysisInput in{"Zylo540", {codes, codes, codes}, {}};
    in.results.SampleCount = 3, in.results.PrimaryMinCode = 0x800000;
    in.results.PrimaryMaxCode = 0x800004;
    in.settings.PrimaryADCButton = true;
    SdAnalysisWindow sd{"Zylo540"};
    sd.AnalyseData(in);
    EXPECT_TRUE(child<QWidget>(&sd, "StdDevCodesTextbox")->isEnabled());
    EXPECT_FALSE(child<QWidget>(&sd, "AuxStdDevCodesTextbox")->isEnabled());
    EXPECT_EQ(sd.chartNames(),
              (QStringList{"Primary ADC Histogram", "Primary ADC Strip Chart",
                           "Auxiliary ADC Histogram", "Auxiliary ADC Strip Chart"}));
    sd.copyFigures();
    const QString copied = QGuiApplication::clipboard()->text();
    EXPECT_TRUE(copied.contains("Primary ADC Pk-Pk Noise Codes\t4\n"));
    EXPECT_TRUE(copied.contains("Primary ADC Std Dev (Codes)\t1.633\n"));
    EXPECT_TRUE(copied.contains("Auxiliary ADC Samples\t0\n"));
}

}  // namespace
}  // namespace kelp::analysis
