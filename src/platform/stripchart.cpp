#include "platform/stripchart.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "platform/charttheme.h"

namespace kelp::platform {

namespace {

// Window-coloured border, then the chart; inside it the plot's insets.
constexpr int kBorder = 9;
constexpr int kLeft = 24;  // room for the ticks of the vertical axis
constexpr int kTop = 4;
constexpr int kRight = 24;  // half a sample number under the axis' right end
constexpr int kTickLength = 5;
constexpr int kTickCount = 6;
constexpr int kMinimumColumns = 100;
constexpr int kFlushMs = 40;  // 25 pictures a second at most

int columnOf(double x, const StripChart::Range& range, int columns) {
    const double c = std::floor((x - range.first) * columns / (range.last - range.first));
    return static_cast<int>(std::clamp(c, 0.0, static_cast<double>(columns - 1)));
}

// The first point at or right of x; points are in order of x.
qsizetype firstAtOrAfter(const QList<QPointF>& points, double x) {
    return std::lower_bound(points.begin(), points.end(), x,
                            [](const QPointF& p, double v) { return p.x() < v; }) -
           points.begin();
}

}  // namespace

StripChart::StripChart(QWidget* parent) : QWidget(parent) {
    // Every pixel is painted here; nothing needs erasing first.
    setAttribute(Qt::WA_OpaquePaintEvent);
    flushTimer_.setSingleShot(true);
    flushTimer_.setInterval(kFlushMs);
    connect(&flushTimer_, &QTimer::timeout, this, &StripChart::flush);
    built_ = currentScale();
}

void StripChart::clear() {
    points_.clear();
    valid_ = false;
    scheduleFlush();
}

void StripChart::appendPoint(double value) {
    points_.append(QPointF(static_cast<double>(points_.size() + 1), value));
    scheduleFlush();
}

void StripChart::setLowerBound(double v) {
    if (v == lower_) return;
    lower_ = v;
    boundsChanged_ = true;
    scheduleFlush();
}

void StripChart::setUpperBound(double v) {
    if (v == upper_) return;
    upper_ = v;
    boundsChanged_ = true;
    scheduleFlush();
}

void StripChart::setExtent(int samples) {
    if (samples == extent_) return;
    extent_ = samples;
    scheduleFlush();
}

void StripChart::scheduleFlush() {
    if (!flushTimer_.isActive()) flushTimer_.start();
}

int StripChart::plotTopInset() const { return kBorder + kTop; }

int StripChart::plotBottomInset() const {
    return kBorder + kTickLength + fontMetrics().height() + 5;
}

QRectF StripChart::plotArea() const {
    const double left = kBorder + kLeft;
    const double top = plotTopInset();
    const double right = width() - 1 - kBorder - kRight;
    const double bottom = height() - 1 - plotBottomInset();
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

int StripChart::columns() const {
    return std::max(kMinimumColumns, static_cast<int>(plotArea().width()));
}

StripChart::Scale StripChart::currentScale() const {
    const double span = std::max(extent_, kMinimumColumns);
    // Points sit at 1 .. n; beyond the span the axis follows the newest.
    const double last = std::max(span, static_cast<double>(points_.size()));
    return {{last - span, last}, columns()};
}

QList<QPointF> StripChart::envelope(const QList<QPointF>& points, Range range, int columns) {
    QList<QPointF> out;
    if (columns < 1 || range.last <= range.first) return out;
    std::vector<std::vector<QPointF>> byColumn(static_cast<size_t>(columns));
    for (const QPointF& p : points)
        if (p.x() >= range.first && p.x() <= range.last)
            byColumn[static_cast<size_t>(columnOf(p.x(), range, columns))].push_back(p);
    for (const auto& column : byColumn) {
        if (column.empty()) continue;
        size_t lo = 0, hi = 0;
        for (size_t i = 1; i < column.size(); ++i) {
            if (column[i].y() < column[lo].y()) lo = i;
            if (column[i].y() > column[hi].y()) hi = i;
        }
        out.append(column[std::min(lo, hi)]);
        if (lo != hi) out.append(column[std::max(lo, hi)]);
    }
    return out;
}

void StripChart::rebuild() {
    drawn_.clear();
    openColumn_ = -1;
    consumed_ = firstAtOrAfter(points_, built_.range.first);
    valid_ = true;
    extend();
    layoutTicks();
}

qsizetype StripChart::extend() {
    // The last column drawn may gain points, and with them new extremes: it is taken again.
    qsizetype i = consumed_;
    if (openColumn_ >= 0) {
        drawn_.resize(openDrawn_);
        i = openPoint_;
    }
    const qsizetype from = drawn_.size();
    const Range range = built_.range;
    const int columns = built_.columns;
    const qsizetype n = points_.size();
    while (i < n && points_[i].x() <= range.last) {
        const int column = columnOf(points_[i].x(), range, columns);
        qsizetype lo = i, hi = i, end = i + 1;
        for (; end < n && points_[end].x() <= range.last &&
               columnOf(points_[end].x(), range, columns) == column;
             ++end) {
            if (points_[end].y() < points_[lo].y()) lo = end;
            if (points_[end].y() > points_[hi].y()) hi = end;
        }
        openColumn_ = column;
        openPoint_ = i;
        openDrawn_ = drawn_.size();
        drawn_.append(points_[std::min(lo, hi)]);
        if (lo != hi) drawn_.append(points_[std::max(lo, hi)]);
        i = end;
    }
    consumed_ = n;
    return from;
}

void StripChart::layoutTicks() {
    ticks_.clear();
    const Range range = built_.range;
    for (int k = 0; k < kTickCount; ++k) {
        const double x = range.first + k * (range.last - range.first) / (kTickCount - 1);
        // Whole samples, cut as a "%d" format would cut them.
        ticks_.push_back({x, QString::number(static_cast<qint64>(x + 1e-9))});
    }
}

void StripChart::flush() {
    flushTimer_.stop();
    const Scale scale = currentScale();
    if (!valid_ || scale != built_) {
        built_ = scale;
        rebuild();
        boundsChanged_ = false;
        update();
        return;
    }
    if (consumed_ == points_.size() && !boundsChanged_) return;
    const qsizetype from = extend();
    if (boundsChanged_ || drawn_.isEmpty()) {
        boundsChanged_ = false;
        update();
        return;
    }
    // Only the strip from the last unchanged point to the newest one is painted again.
    const QRectF plot = plotArea();
    const double left = from > 0 ? toPixel(drawn_[from - 1], plot).x() : plot.left();
    const double right = toPixel(drawn_.last(), plot).x();
    update(
        QRect(QPoint(static_cast<int>(std::floor(left)) - 1, static_cast<int>(plot.top()) - 1),
              QPoint(static_cast<int>(std::ceil(right)) + 1, static_cast<int>(plot.bottom()) + 1)));
}

QPointF StripChart::toPixel(const QPointF& p, const QRectF& plot) const {
    const Range range = built_.range;
    const double hi = upper_ > lower_ ? upper_ : lower_ + 1;
    return {plot.left() + (p.x() - range.first) * plot.width() / (range.last - range.first),
            plot.bottom() - (p.y() - lower_) * plot.height() / (hi - lower_)};
}

void StripChart::paintEvent(QPaintEvent* event) {
    const QRect area = event->rect();
    const QRectF plot = plotArea();
    QPainter painter(this);
    const ChartColours colours = chartColours(palette());
    painter.fillRect(area, palette().window());
    painter.fillRect(rect().adjusted(kBorder, kBorder, -kBorder, -kBorder) & area,
                     colours.background);
    if (plot.width() <= 0 || plot.height() <= 0) return;

    const Range range = built_.range;
    auto tickX = [&](double x) {
        return plot.left() + (x - range.first) * plot.width() / (range.last - range.first);
    };
    const double middle = (plot.top() + plot.bottom()) / 2;
    painter.setPen(QPen(colours.grid, 0));
    painter.drawLine(QPointF(plot.left(), plot.top()), QPointF(plot.right(), plot.top()));
    painter.drawLine(QPointF(plot.left(), middle), QPointF(plot.right(), middle));
    for (size_t k = 1; k < ticks_.size(); ++k) {
        const double x = tickX(ticks_[k].x);
        painter.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
    }
    painter.setPen(QPen(colours.axis, 0));
    painter.drawLine(plot.topLeft(), plot.bottomLeft());
    painter.drawLine(QPointF(plot.left() - kTickLength + 1, plot.bottom()), plot.bottomRight());
    for (double y : {plot.top(), middle})
        painter.drawLine(QPointF(plot.left() - kTickLength + 1, y), QPointF(plot.left(), y));
    for (const Tick& tick : ticks_) {
        const double x = tickX(tick.x);
        painter.drawLine(QPointF(x, plot.bottom()), QPointF(x, plot.bottom() + kTickLength - 1));
    }

    const QFontMetrics metrics = fontMetrics();
    const int textTop = static_cast<int>(plot.bottom()) + kTickLength + 2;
    if (area.bottom() >= textTop) {
        painter.setPen(colours.text);
        for (const Tick& tick : ticks_) {
            const int w = metrics.horizontalAdvance(tick.text);
            const QRect box(static_cast<int>(std::lround(tickX(tick.x))) - w / 2, textTop, w + 1,
                            metrics.height());
            if (box.intersects(area))
                painter.drawText(box, Qt::AlignLeft | Qt::AlignTop, tick.text);
        }
    }

    if (drawn_.isEmpty()) return;
    // Only the segments that reach into the area, one point beyond it on either side.
    const double perPixel = (range.last - range.first) / plot.width();
    const qsizetype first = std::max<qsizetype>(
        0, firstAtOrAfter(drawn_, range.first + (area.left() - 1 - plot.left()) * perPixel) - 1);
    const qsizetype end = std::min<qsizetype>(
        drawn_.size(),
        firstAtOrAfter(drawn_, range.first + (area.right() + 1 - plot.left()) * perPixel) + 1);
    pixels_.clear();
    for (qsizetype i = first; i < end; ++i) pixels_.push_back(toPixel(drawn_[i], plot));
    painter.setClipRect(plot.adjusted(0, 0, 1, 1).toAlignedRect() & area);
    painter.setPen(QPen(colours.trace, 0));
    if (pixels_.size() == 1)
        painter.drawPoint(pixels_.front());
    else
        painter.drawPolyline(pixels_.data(), static_cast<int>(pixels_.size()));
}

void StripChart::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The columns follow the width: the next flush draws the points again.
    if (columns() != built_.columns) scheduleFlush();
}

void StripChart::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange) update();
}

}  // namespace kelp::platform
