#pragma once

#include <QColor>
#include <QString>
#include <QVector>
#include <QWidget>

class QChart;
class QChartView;
class QStackedBarSeries;
class QBarCategoryAxis;
class QValueAxis;

namespace kelp::platform {

// A bar chart of one row of columns; every column has its own fill colour.
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
    void setRowLabel(const QString& label);
    QString rowLabel() const { return rowLabel_; }
    // Column numbers count from 1.
    void setColumnColor(int column, const QColor& color);
    QColor columnColor(int column) const;
    int value(int column) const;

    // Draws pending changes now; otherwise they are drawn once, on the next pass of the
    // event loop.
    void flush();

private:
    void rebuild();
    void scheduleRebuild();

    QChart* chart_;
    QChartView* view_;
    QVector<int> values_;
    QVector<QColor> colors_;
    int columns_ = 0;
    QString rowLabel_;
    bool pending_ = false;
};

}  // namespace kelp::platform
