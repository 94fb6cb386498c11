#pragma once

#include <QList>
#include <QPointF>
#include <QTimer>
#include <QWidget>

class QChart;
class QChartView;
class QLineSeries;
class QValueAxis;

namespace kelp::platform {

// A strip chart with one trace. Points are buffered and drawn at most every 40 ms, so
// appending point by point costs next to nothing while a run is receiving.
class StripChart final : public QWidget {
    Q_OBJECT
public:
    explicit StripChart(QWidget* parent = nullptr);

    void clear();
    void appendPoint(double value);
    // Vertical axis bounds.
    double lowerBound() const { return lower_; }
    double upperBound() const { return upper_; }
    void setLowerBound(double v);
    void setUpperBound(double v);
    // Horizontal extent: the axis spans samples 0 .. extent.
    void setExtent(int samples);
    int extent() const { return extent_; }
    int pointCount() const { return static_cast<int>(points_.size()); }
    const QList<QPointF>& points() const { return points_; }
    // Draws what is buffered now.
    void flush();
    // Each column's lowest and highest point, in their order: what a chart of that many
    // pixel columns can show of the points.
    static QList<QPointF> envelope(const QList<QPointF>& points, int columns);

private:
    void scheduleFlush();

    QChart* chart_;
    QChartView* view_;
    QLineSeries* series_;
    QValueAxis* xAxis_;
    QValueAxis* yAxis_;
    QList<QPointF> points_;
    QTimer flushTimer_;
    bool dirty_ = false;
    double lower_ = 0x7FF;
    double upper_ = 0x801;
    int extent_ = 0;
};

}  // namespace kelp::platform
