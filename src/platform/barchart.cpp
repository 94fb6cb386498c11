#include "platform/barchart.h"

#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QGraphicsPathItem>
#include <QLineSeries>
#include <QPainterPath>
#include <QPen>
#include <QStackedBarSeries>
#include <QTimer>
#include <QVBoxLayout>
#include <QValueAxis>
#include <algorithm>
#include <cmath>

#include "platform/charttheme.h"

namespace kelp::platform {

namespace {
constexpr int kColumnMarkLength = 4;
}

BarChart::BarChart(QWidget* parent) : QWidget(parent) {
    chart_ = new QChart();
    chart_->legend()->hide();
    chart_->setMargins(QMargins(4, 4, 4, 4));
    chart_->setBackgroundRoundness(0);
    series_ = new QStackedBarSeries(chart_);
    series_->setBarWidth(0.9);
    chart_->addSeries(series_);
    // Column i stands at i - 1 on a plain number axis whose title is the row label. An axis
    // lays out a text for every tick, shown or not, at every layout pass: this one has only its
    // two end ticks, and the marks between the columns are a path of their own.
    xAxis_ = new QValueAxis(chart_);
    xAxis_->setLabelsVisible(false);
    xAxis_->setGridLineVisible(false);
    xAxis_->setTickCount(2);
    yAxis_ = new QValueAxis(chart_);
    yAxis_->setLabelFormat("%d");
    chart_->addAxis(xAxis_, Qt::AlignBottom);
    chart_->addAxis(yAxis_, Qt::AlignLeft);
    series_->attachAxis(xAxis_);
    series_->attachAxis(yAxis_);
    curve_ = new QLineSeries(chart_);
    curve_->setPen(QPen(QColor(0, 0, 160), 2));
    chart_->addSeries(curve_);
    curve_->attachAxis(xAxis_);
    curve_->attachAxis(yAxis_);
    columnMarks_ = new QGraphicsPathItem(chart_);
    columnMarks_->setPen(QPen(xAxis_->linePenColor(), 0));
    connect(chart_, &QChart::plotAreaChanged, this, &BarChart::placeColumnMarks);
    view_ = new QChartView(chart_, this);
    view_->setMinimumSize(200, 150);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
    followPalette(this, chart_, [this] {
        columnMarks_->setPen(QPen(xAxis_->linePenColor(), 0));
        scheduleRebuild();
    });
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
    if (column < 1 || column > colors_.size() || colors_[column - 1] == color) return;
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

void BarChart::setCurve(const QVector<QPointF>& points) {
    curvePoints_ = points;
    scheduleRebuild();
}

void BarChart::setCurveVisible(bool visible) {
    if (curveVisible_ == visible) return;
    curveVisible_ = visible;
    scheduleRebuild();
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
    ++rebuilds_;
    // One stacked set per colour, holding the columns of that colour and zero elsewhere:
    // every column shows in its own colour, and a one-colour chart is a single set.
    QList<QBarSet*> sets;
    QVector<QColor> done;
    int top = 1;
    for (int c = 0; c < columns_; ++c) {
        top = std::max(top, values_[c]);
        if (done.contains(colors_[c])) continue;
        done.append(colors_[c]);
        auto* set = new QBarSet(QString());
        QList<qreal> heights(columns_, 0);
        for (int i = 0; i < columns_; ++i)
            if (colors_[i] == colors_[c]) heights[i] = values_[i];
        set->append(heights);
        set->setColor(colors_[c]);
        set->setBorderColor(colors_[c].darker(130));
        sets.append(set);
    }
    series_->clear();
    series_->append(sets);
    // Column i stands at i - 1; the curve's top counts for the scale only while it shows.
    QList<QPointF> shifted;
    const bool showCurve = curveVisible_ && columns_ > 0;
    for (const QPointF& p : curvePoints_) {
        shifted.append({p.x() - 1, p.y()});
        if (showCurve) top = std::max(top, static_cast<int>(std::ceil(p.y())));
    }
    curve_->replace(shifted);
    curve_->setVisible(showCurve);
    xAxis_->setRange(-0.5, std::max(columns_, 1) - 0.5);
    xAxis_->setTitleText(rowLabel_);
    xAxis_->setTitleVisible(!rowLabel_.isEmpty());
    yAxis_->setRange(0, top + top / 10 + 1);
    placeColumnMarks();
}

void BarChart::placeColumnMarks() {
    const QRectF plot = chart_->plotArea();
    const int n = std::max(columns_, 1);
    QPainterPath marks;
    for (int i = 0; i <= n; ++i) {
        const double x = plot.left() + i * plot.width() / n;
        marks.moveTo(x, plot.bottom());
        marks.lineTo(x, plot.bottom() + kColumnMarkLength);
    }
    columnMarks_->setPath(marks);
}

}  // namespace kelp::platform
