// The charts alone. A chart panel driven through its trace like a 10000-sample SAR run at 57600
// baud (one packet of 100 samples every 87 ms, the bounds and marks widening as the run widens
// them, the extent following the count): CPU spent on the chart against the wall time of the
// run. The bar chart filled as
// an analysis fills its histogram (data, column count, a colour per column, row label), then
// drawn: CPU per analysis. With a folder argument it also saves pictures of both.

#include <QApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QTimer>
#include <cstdio>

#include "benchsupport.h"
#include "platform/barchart.h"
#include "platform/chartpanel.h"
#include "platform/stripchart.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    kelp::platform::ChooseEventDispatcher();
    QApplication app(argc, argv);
    kelp::platform::ChartPanel panel({"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"},
                                     {"801H", "800H", "7FFH"});
    panel.resize(610, 620);
    panel.show();
    kelp::platform::Trace& trace = panel;
    const kelp::platform::StripChart& chart = *panel.chart();
    auto hex = [](double v) {
        return QString::number(static_cast<int>(v), 16).toUpper().toStdString();
    };
    QApplication::processEvents();

    constexpr int kPackets = 100;
    constexpr int kPacketMs = 87;  // 501 bytes at 57600 baud
    QRandomGenerator noise(1);
    int minCode = 4096, maxCode = 0, count = 0;

    const double cpu0 = kelp::bench::cpuSeconds();
    const double t0 = kelp::bench::wallSeconds();
    for (int p = 0; p < kPackets; ++p) {
        bool due = false;
        QTimer::singleShot(kPacketMs, Qt::PreciseTimer, [&due] { due = true; });
        for (int j = 0; j < 100; ++j) {
            const int code = 0x500 + static_cast<int>(noise.bounded(9)) - 4 +
                             (noise.bounded(200) == 0 ? static_cast<int>(noise.bounded(9)) - 4 : 0);
            const bool wider = code > maxCode || code < minCode;
            if (code > maxCode) trace.setUpperBound((maxCode = code) + 1.0);
            if (code < minCode) trace.setLowerBound((minCode = code) - 1.0);
            if (wider) {
                const double lo = trace.lowerBound(), hi = trace.upperBound();
                trace.setLabels(hex(hi), hex((lo + hi) / 2), hex(lo));
            }
            trace.append(code);
        }
        count += 100;
        trace.setExtent(count);
        while (!due) QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    const double wall = kelp::bench::wallSeconds() - t0;
    const double cpu = kelp::bench::cpuSeconds() - cpu0;

    std::printf("chart panel, %d packets of 100 samples every %d ms: %d points\n", kPackets,
                kPacketMs, chart.pointCount());
    std::printf("  wall %.3f s, cpu %.3f s = %.2f %% of wall, %.3f ms per packet\n", wall, cpu,
                100.0 * cpu / wall, 1000.0 * cpu / kPackets);

    kelp::platform::BarChart bars;
    bars.resize(680, 290);
    bars.setTitle("ADC Codes Histogram");
    bars.show();
    QApplication::processEvents();
    constexpr int kAnalyses = 50;
    // The column count stays (binned histograms, 50 columns) or changes every time (binned and
    // exact in turn).
    auto analyses = [&](bool changing) {
        const double cpu0 = kelp::bench::cpuSeconds();
        for (int a = 0; a < kAnalyses; ++a) {
            const int columns = changing && a % 2 ? 9 : 50;
            QVector<int> counts(50, 0);
            for (int c = 0; c < columns; ++c) counts[c] = 1 + static_cast<int>(noise.bounded(1300));
            bars.setData(counts);
            if (columns < 50) bars.setColumnCount(columns);
            for (int c = 1; c <= bars.columnCount(); ++c) bars.setColumnColor(c, QColor(255, 0, 0));
            bars.setRowLabel(QString());
            for (int pass = 0; pass < 3; ++pass) QApplication::processEvents();
        }
        return kelp::bench::cpuSeconds() - cpu0;
    };
    for (bool changing : {false, true}) {
        const double barCpu = analyses(changing);
        std::printf(
            "bar chart, %d histograms filled and drawn, column count %s: cpu %.3f s, "
            "%.3f ms per histogram\n",
            kAnalyses, changing ? "changing" : "the same", barCpu, 1000.0 * barCpu / kAnalyses);
    }

    if (argc > 1) {
        QDir().mkpath(argv[1]);
        const QString folder = QString::fromLocal8Bit(argv[1]);
        if (panel.grab().save(folder + "/chart-panel.png"))
            std::printf("  %s/chart-panel.png\n", qPrintable(folder));
        if (bars.grab().save(folder + "/bar-chart.png"))
            std::printf("  %s/bar-chart.png\n", qPrintable(folder));
    }
    return chart.pointCount() == kPackets * 100 ? 0 : 1;
}
