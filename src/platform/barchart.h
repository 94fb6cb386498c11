#pragma once

#include <QColor>
#include <QPointF>
#include <QString>
#include <QVector>
#include <QWidget>

class QChart;
class QChartView;
class QGraphicsPathItem;
class QLineSeries;
class QStackedBarSeries;
class QValueAxis;

namespace kelp::platform {

// A bar chart of one row of columns; every column has its own fill colour. Changes are
// gathered and drawn together: however many calls an analysis makes, the chart is rebuilt
// once, on the next pass of the event loop (or at flush()). The chart, its series and its
// axes live as long as the widget; a rebuild only hands the series new bars.
class BarChart final : public QWidget {
    Q_OBJECT
public:
    explicit BarChart(QWidget* parent = nullptr);

    void setTitle(const QString& title);
    QString title() const;
    // One row; sets the column count to the number of values.
    void setData(const QVector<int>& values);
    void setColumnCount(int count);
    int columnCount() const { return columns_; }
    // The row's label, shown under the columns.
    void setRowLabel(const QString& label);
    QString rowLabel() const { return rowLabel_; }
    // Column numbers count from 1.
    void setColumnColor(int column, const QColor& color);
    QColor columnColor(int column) const;
    int value(int column) const;

    // A curve over the columns, in their units: x is a column number (from 1; positions
    // between columns allowed), y a count. Drawn over the bars while visible.
    void setCurve(const QVector<QPointF>& points);
    QVector<QPointF> curve() const { return curvePoints_; }
    void setCurveVisible(bool visible);
    bool curveVisible() const { return curveVisible_; }

    // Draws pending changes now.
    void flush();
    // How many times the chart has been rebuilt since it was made.
    int rebuildCount() const { return rebuilds_; }

private:
    void rebuild();
    void scheduleRebuild();
    void placeColumnMarks();

    QChart* chart_;
    QChartView* view_;
    QStackedBarSeries* series_;
    QValueAxis* xAxis_;
    QValueAxis* yAxis_;
    QGraphicsPathItem* columnMarks_;
    QLineSeries* curve_;
    QVector<QPointF> curvePoints_;
    bool curveVisible_ = true;
    QVector<int> values_;
    QVector<QColor> colors_;
    int columns_ = 0;
    QString rowLabel_;
    bool pending_ = false;
    int rebuilds_ = 0;
};

}  // namespace kelp::platform
