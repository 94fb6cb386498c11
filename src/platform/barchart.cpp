#include "platform/barchart.h"

#include <QBarCategoryAxis>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QStackedBarSeries>
#include <QTimer>
#include <QVBoxLayout>
#include <QValueAxis>
#include <algorithm>

namespace kelp::platform {

BarChart::BarChart(QWidget* parent) : QWidget(parent) {
    chart_ = new QChart();
    chart_->legend()->hide();
    chart_->setMargins(QMargins(4, 4, 4, 4));
    chart_->setBackgroundRoundness(0);
    view_ = new QChartView(chart_, this);
    view_->setMinimumSize(200, 150);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
    rebuild();
}

void BarChart::setTitle(const QString& title) { chart_->setTitle(title); }
QString BarChart::title() const { return chart_->title(); }

void BarChart::setData(const QVector<int>& values) {
    values_ = values;
    columns_ = static_cast<int>(values.size());
    colors_.resize(columns_, QColor(Qt::gray));
    scheduleRebuild();
}

void BarChart::setColumnCount(int count) {
    columns_ = std::clamp(count, 0, static_cast<int>(values_.size()));
    scheduleRebuild();
}

void BarChart::setRowLabel(const QString& label) {
    rowLabel_ = label;
    scheduleRebuild();
}

void BarChart::setColumnColor(int column, const QColor& color) {
    if (column < 1 || column > colors_.size()) return;
    colors_[column - 1] = color;
    scheduleRebuild();
}

QColor BarChart::columnColor(int column) const {
    if (column < 1 || column > colors_.size()) return {};
    return colors_[column - 1];
}

int BarChart::value(int column) const {
    if (column < 1 || column > values_.size()) return 0;
    return values_[column - 1];
}

void BarChart::scheduleRebuild() {
    if (pending_) return;
    pending_ = true;
    QTimer::singleShot(0, this, &BarChart::flush);
}

void BarChart::flush() {
    if (!pending_) return;
    pending_ = false;
    rebuild();
}

void BarChart::rebuild() {
    chart_->removeAllSeries();
    for (QAbstractAxis* axis : chart_->axes()) {
        chart_->removeAxis(axis);
        delete axis;
    }
    // One stacked set per colour, holding the columns of that colour and zero elsewhere:
    // every column shows in its own colour, and a one-colour chart is a single set.
    auto* series = new QStackedBarSeries();
    series->setBarWidth(0.9);
    int top = 1;
    QVector<QColor> done;
    for (int c = 0; c < columns_; ++c) {
        top = std::max(top, values_[c]);
        if (done.contains(colors_[c])) continue;
        done.append(colors_[c]);
        auto* set = new QBarSet(QString());
        for (int i = 0; i < columns_; ++i) *set << (colors_[i] == colors_[c] ? values_[i] : 0);
        set->setColor(colors_[c]);
        set->setBorderColor(colors_[c].darker(130));
        series->append(set);
    }
    chart_->addSeries(series);
    auto* xAxis = new QBarCategoryAxis();
    QStringList categories;
    for (int i = 0; i < columns_; ++i) categories << QString(i, QChar(' '));
    if (columns_ > 0 && !rowLabel_.isEmpty()) categories[0] = rowLabel_;
    xAxis->append(categories);
    xAxis->setLabelsVisible(!rowLabel_.isEmpty());
    xAxis->setGridLineVisible(false);
    auto* yAxis = new QValueAxis();
    yAxis->setRange(0, top + top / 10 + 1);
    yAxis->setLabelFormat("%d");
    chart_->addAxis(xAxis, Qt::AlignBottom);
    chart_->addAxis(yAxis, Qt::AlignLeft);
    series->attachAxis(xAxis);
    series->attachAxis(yAxis);
}

}  // namespace kelp::platform
