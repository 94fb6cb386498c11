#include <gtest/gtest.h>

#include <QApplication>
#include <QBarSet>
#include <QChartView>
#include <QLabel>
#include <QScreen>
#include <QStackedBarSeries>
#include <random>

#include "platform/barchart.h"
#include "platform/chartpanel.h"
#include "platform/stripchart.h"

namespace kelp::platform {
namespace {

TEST(StripChart, EnvelopeKeepsEachColumnsExtremesInOrder) {
    QList<QPointF> points;
    for (double y : {5, 1, 9, 3, 7, 7, 2, 8, 4, 0}) points.append(QPointF(points.size() + 1, y));
    const struct {
        StripChart::Range range;
        int columns;
        QList<QPointF> drawn;
    } cases[] = {
        // Columns {5,1,9,3}, {7,7,2,8}, {4,0}: lowest and highest, in the order they came.
        {{0.5, 12.5}, 3, {{2, 1}, {3, 9}, {7, 2}, {8, 8}, {9, 4}, {10, 0}}},
        {{0.5, 10.5}, 10, points},
        // Points left of the range are out of view; its right end belongs to the last column.
        {{6, 10}, 1, {{8, 8}, {10, 0}}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(StripChart::envelope(points, c.range, c.columns), c.drawn) << c.columns;
}

// Flush after flush, cleared halfway, the chart keeps every point appended and draws what a fresh
// envelope of them draws, on an axis spanning the extent (at least 100), scrolled to the newest.
TEST(StripChart, DrawsIncrementallyWhatARebuildDrawsAndKeepsEveryPoint) {
    const struct {
        const char* name;
        int width, chunks, extent;  // extent -1: the count after each chunk, as a SAR run sets it
        int (*chunkSize)(int chunk);
    } cases[] = {
        // clang-format off
        {"packets, extent following", 560, 100, -1, [](int) { return 100; }},
        {"odd chunks", 560, 400, 10000, [](int i) { return 1 + i * 7 % 37; }},
        {"one at a time, many per column", 300, 1500, 4000, [](int) { return 1; }},
        {"short extent, scrolling", 560, 200, 50, [](int i) { return 1 + i % 5; }},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        StripChart chart;
        chart.resize(c.width, 300);
        chart.setExtent(c.extent);
        std::mt19937 noise(7);
        int count = 0;
        for (int i = 0; i < c.chunks && !HasFailure(); ++i) {
            if (i == c.chunks / 2) chart.clear(), count = 0;
            const QList<QPointF> drawnBefore = chart.drawnPoints();
            double value = 0;
            for (int k = c.chunkSize(i); k > 0; --k, ++count)
                chart.appendPoint(value = 2028 + static_cast<int>(noise() % 41));
            EXPECT_EQ(chart.drawnPoints(), drawnBefore);  // nothing drawn per point
            if (c.extent < 0) chart.setExtent(count);
            chart.flush();
            ASSERT_EQ(chart.pointCount(), count);
            EXPECT_EQ(chart.points().back(), QPointF(count, value));
            const double last = std::max({chart.extent(), 100, count});
            const StripChart::Range range{last - std::max(chart.extent(), 100), last};
            EXPECT_EQ(chart.axisRange(), range);
            EXPECT_EQ(chart.drawnPoints(),
                      StripChart::envelope(chart.points(), range, chart.columns()));
        }
    }
}

// After a run of partial repaints the screen shows what a full repaint shows.
TEST(StripChart, RepaintedStripsLeaveTheSamePictureAsAFullRepaint) {
    StripChart chart;
    chart.resize(500, 300);
    chart.setExtent(3000);
    chart.show();
    std::mt19937 noise(3);
    for (int i = 0; i < 60; ++i) {
        for (int k = 0; k < 1 + i * 11 % 53; ++k) chart.appendPoint(2047 + noise() % 2);
        chart.flush();
        QApplication::processEvents();
    }
    const QImage shown = QGuiApplication::primaryScreen()->grabWindow(chart.winId()).toImage();
    const QImage full = chart.grab().toImage();
    EXPECT_EQ(shown.convertToFormat(QImage::Format_RGB32),
              full.convertToFormat(QImage::Format_RGB32));
}

// The marks sit level with the plot's top, middle and bottom whatever height the chart has,
// with room for a code one digit longer than the design's, in the widest digit.
TEST(ChartPanel, MarksLevelWithThePlotAtEveryHeight) {
    ChartPanel panel({"Graph", "GraphMaxLabel", "GraphMidLabel", "GraphMinLabel"},
                     {"801H", "800H", "7FFH"});
    QLabel* const marks[] = {panel.upperLabel(), panel.middleLabel(), panel.lowerLabel()};
    EXPECT_GE(marks[0]->minimumWidth(), marks[0]->fontMetrics().horizontalAdvance("DDDD"));
    panel.resize(600, 500);
    panel.show();
    for (int height : {408, 200, 0}) {
        panel.setChartHeight(height);
        QApplication::processEvents();
        const StripChart* chart = panel.chart();
        EXPECT_TRUE(height == 0 || chart->height() == height) << height;
        const int top = chart->y() + chart->plotTopInset();
        const int bottom = chart->y() + chart->height() - 1 - chart->plotBottomInset();
        const int levels[] = {top, (top + bottom) / 2, bottom};
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(marks[i]->geometry().center().y(), levels[i], 1) << height << " " << i;
    }
}

// However many calls an analysis makes, one rebuild draws them: each column's value in its
// colour. The column count never exceeds the data.
TEST(BarChart, OneRebuildDrawsEachColumnInItsColour) {
    BarChart chart;
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
    QMap<int, QString> shown;  // value and colour of the bars in each column
    for (QBarSet* set : series->barSets())
        for (int i = 0; i < set->count(); ++i)
            if (set->at(i) > 0) shown[i] += QString::number(set->at(i)) + set->color().name();
    EXPECT_EQ(QStringList(shown.values()).join(' '), "4#ff0000 9#0000ff 6#ff0000 30#ff0000");
    chart.setColumnCount(80);
    EXPECT_EQ(chart.columnCount(), 5);
}

}  // namespace
}  // namespace kelp::platform
