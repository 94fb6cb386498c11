#include "platform/stripchart.h"

#include <QChart>
#include <QChartView>
#include <QLineSeries>
#include <QVBoxLayout>
#include <QValueAxis>
#include <algorithm>

namespace kelp::platform {

StripChart::StripChart(QWidget* parent) : QWidget(parent) {
    chart_ = new QChart();
    chart_->legend()->hide();
    chart_->setMargins(QMargins(4, 4, 4, 4));
    chart_->setBackgroundRoundness(0);
    series_ = new QLineSeries(chart_);
    QPen pen(QColor(0x1f, 0x6f, 0xb4));
    pen.setWidthF(1.2);
    series_->setPen(pen);
    chart_->addSeries(series_);
    xAxis_ = new QValueAxis(chart_);
    yAxis_ = new QValueAxis(chart_);
    xAxis_->setLabelFormat("%d");
    xAxis_->setTickCount(6);
    yAxis_->setLabelsVisible(false);
    yAxis_->setTickCount(3);
    chart_->addAxis(xAxis_, Qt::AlignBottom);
    chart_->addAxis(yAxis_, Qt::AlignLeft);
    series_->attachAxis(xAxis_);
    series_->attachAxis(yAxis_);
    xAxis_->setRange(0, 100);
    yAxis_->setRange(lower_, upper_);

    view_ = new QChartView(chart_, this);
    view_->setRenderHint(QPainter::Antialiasing, false);
    view_->setMinimumSize(200, 120);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);

    flushTimer_.setSingleShot(true);
    flushTimer_.setInterval(40);
    connect(&flushTimer_, &QTimer::timeout, this, &StripChart::flush);
}

void StripChart::clear() {
    points_.clear();
    dirty_ = true;
    scheduleFlush();
}

void StripChart::appendPoint(double value) {
    points_.append(QPointF(static_cast<double>(points_.size() + 1), value));
    dirty_ = true;
    scheduleFlush();
}

void StripChart::setLowerBound(double v) {
    lower_ = v;
    dirty_ = true;
    scheduleFlush();
}

void StripChart::setUpperBound(double v) {
    upper_ = v;
    dirty_ = true;
    scheduleFlush();
}

void StripChart::setExtent(int samples) {
    extent_ = samples;
    dirty_ = true;
    scheduleFlush();
}

void StripChart::scheduleFlush() {
    if (!flushTimer_.isActive()) flushTimer_.start();
}

QList<QPointF> StripChart::envelope(const QList<QPointF>& points, int columns) {
    QList<QPointF> out;
    out.reserve(2 * columns + 2);
    const qsizetype n = points.size();
    for (int c = 0; c < columns; ++c) {
        const qsizetype first = n * c / columns;
        const qsizetype last = n * (c + 1) / columns;  // exclusive
        if (first >= last) continue;
        qsizetype lo = first, hi = first;
        for (qsizetype i = first + 1; i < last; ++i) {
            if (points[i].y() < points[lo].y()) lo = i;
            if (points[i].y() > points[hi].y()) hi = i;
        }
        out.append(points[std::min(lo, hi)]);
        if (lo != hi) out.append(points[std::max(lo, hi)]);
    }
    return out;
}

void StripChart::flush() {
    flushTimer_.stop();
    if (!dirty_) return;
    dirty_ = false;
    // replace() redraws once for the whole list; append() would relayout per point. Beyond
    // two points per pixel column only each column's extremes can be seen, so only they are
    // handed to the chart: the cost of a redraw stays bounded however long the run.
    const int columns = std::max(100, static_cast<int>(chart_->plotArea().width()));
    if (points_.size() <= 2 * columns) {
        series_->replace(points_);
    } else {
        series_->replace(envelope(points_, columns));
    }
    // Whole-sample ticks even before the first packet.
    xAxis_->setRange(0, extent_ >= 100 ? extent_ : 100);
    double lo = lower_, hi = upper_;
    if (hi <= lo) hi = lo + 1;
    yAxis_->setRange(lo, hi);
}

}  // namespace kelp::platform
