#include <gtest/gtest.h>

#include <QApplication>
#include <QBarSet>
#include <QChartView>
#include <QLabel>
#include <QScreen>
#include <QStackedBarSeries>
#include <algorithm>
#include <functional>
#include <random>

#include "platform/barchart.h"
#include "platform/chartpanel.h"
#include "platform/stripchart.h"

namespace kelp::platform {
namespace {

// The range the horizontal axis must show: the span (at least 100), scrolled on by the points
// beyond it.
StripChart::Range expectedRange(int extent, int points) {
    const double span = std::max(extent, 100);
    const double last = std::max(span, static_cast<double>(points));
    return {last - span, last};
}

// Drawn as a flush left it, against the envelope worked out from scratch.
void expectDrawnAsFromScratch(const StripChart& chart, const char* when) {
    const auto range = expectedRange(chart.extent(), chart.pointCount());
    EXPECT_EQ(chart.axisRange(), range) << when;
    EXPECT_EQ(chart.drawnPoints(), StripChart::envelope(chart.points(), range, chart.columns()))
        << when;
}

TEST(StripChartEnvelope, KeepsEachColumnsExtremesInOrder) {
    QList<QPointF> points;
    const double ys[] = {5, 1, 9, 3, 7, 7, 2, 8, 4, 4};
    for (int i = 0; i < 10; ++i) points.append(QPointF(i + 1, ys[i]));
    struct Case {
        StripChart::Range range;
        int columns;
        QList<QPointF> drawn;
    };
    const Case cases[] = {
        // Columns of four: {5,1,9,3} -> 1 then 9; {7,7,2,8} -> 2 then 8; {4,4} -> one point.
        {{0.5, 12.5}, 3, {{2, 1}, {3, 9}, {7, 2}, {8, 8}, {9, 4}}},
        // One point per column: all of them.
        {{0.5, 10.5}, 10, points},
        // The right end of the range belongs to the last column.
        {{0, 10}, 5, {{1, 5}, {2, 1}, {3, 9}, {4, 3}, {5, 7}, {6, 7}, {7, 2}, {8, 8}, {9, 4}}},
        // Points left of the range are out of view.
        {{6, 10}, 1, {{7, 2}, {8, 8}}},
        {{0, 10}, 0, {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(StripChart::envelope(points, c.range, c.columns), c.drawn) << c.columns;
}

struct GrowthCase {
    const char* name;
    int width;
    int initialExtent;
    int chunks;
    std::function<int(int)> chunkSize;  // by chunk number
    bool extentFollowsCount;            // as a SAR run sets it after every packet
    int clearAtChunk;                   // -1: never
};

TEST(StripChartDrawing, FlushAfterFlushDrawsWhatAFreshEnvelopeDraws) {
    const GrowthCase cases[] = {
        {"packets, extent following", 560, 0, 100, [](int) { return 100; }, true, -1},
        {"odd chunks, fixed extent", 560, 10000, 400, [](int i) { return 1 + i * 7 % 37; }, false,
         -1},
        {"one point at a time, many per column", 300, 4000, 1500, [](int) { return 1; }, false, -1},
        {"scrolling", 560, 100, 200, [](int i) { return 1 + i % 5; }, false, -1},
        {"extent following uneven chunks", 400, 0, 60, [](int i) { return 13 + i % 90; }, true, -1},
        {"cleared halfway", 560, 3000, 100, [](int) { return 29; }, false, 50},
    };
    for (const GrowthCase& c : cases) {
        StripChart chart;
        chart.resize(c.width, 300);
        chart.setExtent(c.initialExtent);
        std::mt19937 noise(7);
        for (int i = 0; i < c.chunks; ++i) {
            if (i == c.clearAtChunk) chart.clear();
            for (int k = c.chunkSize(i); k > 0; --k)
                chart.appendPoint(2048 + static_cast<int>(noise() % 41) - 20);
            if (c.extentFollowsCount) chart.setExtent(chart.pointCount());
            chart.flush();
            expectDrawnAsFromScratch(chart, c.name);
            if (HasFailure()) return;
        }
    }
}

TEST(StripChartDrawing, PointsWaitForTheFlushAndEveryPointIsKept) {
    StripChart chart;
    chart.resize(560, 300);
    chart.setExtent(150);
    for (int i = 0; i < 150; ++i) chart.appendPoint(2048 + i % 3);
    EXPECT_TRUE(chart.drawnPoints().isEmpty());  // nothing drawn per point
    chart.flush();
    EXPECT_EQ(chart.drawnPoints(), chart.points());  // fewer points than pixel columns
    EXPECT_EQ(chart.points().back(), QPointF(150, 2048 + 149 % 3));
    for (int i = 0; i < 9850; ++i) chart.appendPoint(i == 4321 ? 4000 : (i == 777 ? 5 : 2048));
    chart.setExtent(10000);
    chart.flush();
    EXPECT_EQ(chart.pointCount(), 10000);
    EXPECT_LE(chart.drawnPoints().size(), 2 * chart.columns());
    const auto [lo, hi] =
        std::minmax_element(chart.drawnPoints().begin(), chart.drawnPoints().end(),
                            [](const QPointF& a, const QPointF& b) { return a.y() < b.y(); });
    EXPECT_EQ(lo->y(), 5);  // single outliers survive
    EXPECT_EQ(hi->y(), 4000);
}

// What is on screen after a run of partial repaints is what a full repaint of the same points
// shows: the strips repainted reach as far as the change. The last point, a spike to the upper
// bound, is drawn where it belongs.
TEST(StripChartDrawing, RepaintedStripsLeaveTheSamePictureAsAFullRepaint) {
    StripChart chart;
    chart.resize(500, 300);
    chart.setExtent(3000);
    chart.show();
    std::mt19937 noise(3);
    for (int i = 0; i < 60; ++i) {
        for (int k = 0; k < 1 + i * 11 % 53; ++k) chart.appendPoint(2047 + noise() % 2);
        if (i == 59) chart.appendPoint(chart.upperBound());
        chart.flush();
        QApplication::processEvents();
    }
    const QImage shown = QGuiApplication::primaryScreen()->grabWindow(chart.winId()).toImage();
    ASSERT_FALSE(shown.isNull());
    const QImage full = chart.grab().toImage().convertToFormat(QImage::Format_RGB32);
    EXPECT_EQ(shown.convertToFormat(QImage::Format_RGB32), full);

    const QRectF plot = chart.plotArea();
    const auto range = chart.axisRange();
    const int x = static_cast<int>(plot.left() + (chart.pointCount() - range.first) * plot.width() /
                                                     (range.last - range.first));
    const int y = static_cast<int>(plot.top());
    const QRgb trace = qRgb(0x1f, 0x6f, 0xb4);
    EXPECT_TRUE(full.pixel(x - 1, y) == trace || full.pixel(x, y) == trace ||
                full.pixel(x + 1, y) == trace);
}

TEST(StripChartScale, BoundsAndExtentAndTheAxisTheyGive) {
    struct Case {
        int extent;
        int points;
    };
    for (const Case c : {Case{0, 0}, Case{400, 400}, Case{100, 250}, Case{50, 30}, Case{400, 7}}) {
        StripChart chart;
        chart.setLowerBound(0x7EF);
        chart.setUpperBound(0x813);
        chart.setExtent(c.extent);
        for (int i = 0; i < c.points; ++i) chart.appendPoint(i);
        chart.flush();
        EXPECT_EQ(chart.lowerBound(), 0x7EF);
        EXPECT_EQ(chart.upperBound(), 0x813);
        EXPECT_EQ(chart.extent(), c.extent);
        EXPECT_EQ(chart.axisRange(), expectedRange(c.extent, c.points)) << c.extent << c.points;
    }
}

struct PanelCase {
    ChartNames names;
    MarkTexts texts;
};

const PanelCase kPanels[] = {
    {{"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"}, {"801H", "800H", "7FFH"}},
    {{"AuxGraph", "AuxGraphMaxLabel", "AuxGraphMidLabel", "AuxGraphMinLabel"},
     {"8001H", "8000H", "7FFEH"}},
};

TEST(ChartPanel, NamedChartAndMarksWithTheirDesignTexts) {
    for (const PanelCase& c : kPanels) {
        QWidget window;
        auto* panel = new ChartPanel(c.names, c.texts, &window);
        EXPECT_EQ(window.findChild<StripChart*>(c.names.chart), panel->chart());
        const std::pair<QString, QString> marks[] = {{c.names.upper, c.texts.upper},
                                                     {c.names.middle, c.texts.middle},
                                                     {c.names.lower, c.texts.lower}};
        for (const auto& [name, text] : marks) {
            auto* label = window.findChild<QLabel*>(name);
            ASSERT_NE(label, nullptr) << name.toStdString();
            EXPECT_EQ(label->text(), text);
            // Room for a code one digit longer than the design's, in the widest digit.
            EXPECT_GE(label->minimumWidth(),
                      label->fontMetrics().horizontalAdvance(QString(c.texts.upper.size(), 'D')));
        }
    }
}

TEST(ChartPanel, TraceCallsReachTheChartAndTheMarks) {
    ChartPanel panel(kPanels[0].names, kPanels[0].texts);
    Trace& trace = panel;
    trace.setUpperBound(0x813);
    trace.setLowerBound(0x7EF);
    trace.setExtent(400);
    trace.setLabels("813", "801", "7EF");
    for (double v : {0x7F0, 0x812, 0x801}) trace.append(v);
    EXPECT_EQ(panel.chart()->points(), (QList<QPointF>{{1, 0x7F0}, {2, 0x812}, {3, 0x801}}));
    EXPECT_EQ(panel.chart()->upperBound(), 0x813);
    EXPECT_EQ(trace.lowerBound(), 0x7EF);
    EXPECT_EQ(panel.chart()->extent(), 400);
    EXPECT_EQ(panel.upperLabel()->text() + panel.middleLabel()->text() + panel.lowerLabel()->text(),
              "8138017EF");
    trace.clear();
    EXPECT_EQ(panel.chart()->pointCount(), 0);
    EXPECT_EQ(trace.upperBound(), 0x813);  // bounds and marks outlive the points
    EXPECT_EQ(panel.upperLabel()->text(), "813");
}

// The marks sit level with the plot's top, middle and bottom, whatever height the chart has.
TEST(ChartPanel, MarksFollowThePlotAtEveryHeight) {
    ChartPanel panel(kPanels[0].names, kPanels[0].texts);
    panel.resize(600, 500);
    panel.show();
    for (int height : {408, 200, 0}) {
        panel.setChartHeight(height);
        QApplication::processEvents();
        if (height > 0) {
            EXPECT_EQ(panel.chart()->height(), height);
        }
        const StripChart* chart = panel.chart();
        const int top = chart->y() + chart->plotTopInset();
        const int bottom = chart->y() + chart->height() - 1 - chart->plotBottomInset();
        const std::pair<QLabel*, int> marks[] = {{panel.upperLabel(), top},
                                                 {panel.middleLabel(), (top + bottom) / 2},
                                                 {panel.lowerLabel(), bottom}};
        for (const auto& [label, level] : marks)
            EXPECT_NEAR(label->geometry().center().y(), level, 1)
                << height << " " << label->objectName().toStdString();
    }
}

TEST(BarChart, ColumnsValuesAndColours) {
    BarChart chart;
    QVector<int> values(50);
    for (int i = 0; i < 50; ++i) values[i] = i * 2;
    chart.setData(values);
    EXPECT_EQ(chart.columnCount(), 50);
    chart.setColumnCount(3);
    EXPECT_EQ(chart.columnCount(), 3);
    chart.setColumnCount(80);
    EXPECT_EQ(chart.columnCount(), 50);
    chart.setColumnColor(2, QColor(255, 0, 0));
    EXPECT_EQ(chart.columnColor(2), QColor(255, 0, 0));
    EXPECT_EQ(chart.value(50), 98);
    EXPECT_EQ(chart.value(51), 0);
    chart.setRowLabel("");
    EXPECT_EQ(chart.rowLabel(), "");
}

// An analysis sets data, column count, a colour per column and the row label: one rebuild,
// whose bars show each column's value in its colour.
TEST(BarChart, OneRebuildDrawsEveryChangeOfABatch) {
    BarChart chart;
    QApplication::processEvents();
    const int before = chart.rebuildCount();
    chart.setData({4, 9, 6, 30, 1});
    chart.setColumnCount(4);
    for (int c = 1; c <= 4; ++c) chart.setColumnColor(c, c == 2 ? Qt::blue : Qt::red);
    chart.setRowLabel("");
    QApplication::processEvents();
    EXPECT_EQ(chart.rebuildCount(), before + 1);

    auto* series = qobject_cast<QStackedBarSeries*>(
        chart.findChild<QChartView*>()->chart()->series().value(0));
    ASSERT_NE(series, nullptr);
    QList<QColor> shown(4);
    QList<qreal> heights(4, 0);
    for (QBarSet* set : series->barSets()) {
        ASSERT_EQ(set->count(), 4);
        for (int i = 0; i < 4; ++i) {
            heights[i] += set->at(i);
            if (set->at(i) > 0) shown[i] = set->color();
        }
    }
    EXPECT_EQ(heights, (QList<qreal>{4, 9, 6, 30}));
    EXPECT_EQ(shown, (QList<QColor>{Qt::red, Qt::blue, Qt::red, Qt::red}));
}

}  // namespace
}  // namespace kelp::platform
