#include <gtest/gtest.h>

#include <QChartView>
#include <QLineSeries>

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
    for (int i = 0; i < 1000; ++i) chart.appendPoint(2048 + i % 3);
    EXPECT_EQ(chart.pointCount(), 1000);
    EXPECT_EQ(seriesOf(chart)->count(), 0);  // nothing drawn per point
    chart.flush();
    EXPECT_EQ(seriesOf(chart)->count(), 1000);
    EXPECT_EQ(chart.points().back(), QPointF(1000, 2048 + 999 % 3));
    chart.clear();
    chart.flush();
    EXPECT_EQ(seriesOf(chart)->count(), 0);
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
