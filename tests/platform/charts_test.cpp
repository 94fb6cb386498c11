#include <gtest/gtest.h>

#include <QChartView>
#include <QLineSeries>
#include <algorithm>

#include "platform/barchart.h"
#include "platform/stripchart.h"

namespace kelp::platform {
namespace {

QLineSeries* seriesOf(StripChart& chart) {
    auto* view = chart.findChild<QChartView*>();
    return qobject_cast<QLineSeries*>(view->chart()->series().value(0));
}

TEST(StripChart, BuffersPointsUntilFlushed) {
    StripChart chart;
    for (int i = 0; i < 150; ++i) chart.appendPoint(2048 + i % 3);
    EXPECT_EQ(chart.pointCount(), 150);
    EXPECT_EQ(seriesOf(chart)->count(), 0);  // nothing drawn per point
    chart.flush();
    EXPECT_EQ(seriesOf(chart)->count(), 150);
    EXPECT_EQ(chart.points().back(), QPointF(150, 2048 + 149 % 3));
    chart.clear();
    chart.flush();
    EXPECT_EQ(seriesOf(chart)->count(), 0);
}

TEST(StripChart, LongRunsAreDrawnAsTheirEnvelope) {
    StripChart chart;
    for (int i = 0; i < 10000; ++i)
        chart.appendPoint(i == 4321 ? 4000 : (i == 777 ? 5 : 2048 + i % 5));
    chart.flush();
    const auto drawn = seriesOf(chart)->points();
    EXPECT_LE(drawn.size(), 2 * 1000);
    double lo = 1e9, hi = -1e9;
    for (const QPointF& p : drawn) {
        lo = std::min(lo, p.y());
        hi = std::max(hi, p.y());
    }
    EXPECT_EQ(lo, 5);  // single outliers survive
    EXPECT_EQ(hi, 4000);
    EXPECT_EQ(chart.pointCount(), 10000);
}

TEST(StripChart, EnvelopeKeepsEachColumnsExtremesInOrder) {
    QList<QPointF> points;
    const double ys[] = {5, 1, 9, 3, 7, 7, 2, 8};
    for (int i = 0; i < 8; ++i) points.append(QPointF(i + 1, ys[i]));
    // Two columns: {5,1,9,3} -> 1 then 9; {7,7,2,8} -> 2 then 8.
    EXPECT_EQ(StripChart::envelope(points, 2), (QList<QPointF>{{2, 1}, {3, 9}, {7, 2}, {8, 8}}));
    // A flat column gives one point.
    EXPECT_EQ(StripChart::envelope({{1, 4}, {2, 4}}, 1), (QList<QPointF>{{1, 4}}));
    EXPECT_TRUE(StripChart::envelope({}, 10).isEmpty());
}

TEST(StripChart, BoundsAndExtent) {
    StripChart chart;
    chart.setLowerBound(0x7EF);
    chart.setUpperBound(0x813);
    chart.setExtent(400);
    EXPECT_EQ(chart.lowerBound(), 0x7EF);
    EXPECT_EQ(chart.upperBound(), 0x813);
    EXPECT_EQ(chart.extent(), 400);
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

}  // namespace
}  // namespace kelp::platform
