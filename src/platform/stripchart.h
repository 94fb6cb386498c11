#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QString>
#include <QTimer>
#include <QWidget>
#include <vector>

namespace kelp::platform {

// A strip chart with one trace, painted by hand: white plot area with a light grid, sample
// numbers under the horizontal axis, no numbers at the vertical axis (the marks beside it are
// labels of their own, see ChartPanel).
//
// Points are buffered and drawn at most every 40 ms, so appending point by point costs next
// to nothing while a run is receiving. What is drawn is kept between flushes: new points are
// added to it and only the strip they cover is repainted; a change of bounds, extent or size
// redraws the whole plot. Beyond two points per pixel column only each column's lowest and
// highest point are drawn; every point stays in points().
class StripChart final : public QWidget {
    Q_OBJECT
public:
    explicit StripChart(QWidget* parent = nullptr);

    void clear();
    // The point's horizontal position is its number, counted from 1.
    void appendPoint(double value);
    // Vertical axis bounds.
    double lowerBound() const { return lower_; }
    double upperBound() const { return upper_; }
    void setLowerBound(double v);
    void setUpperBound(double v);
    // Horizontal span in samples (at least 100 are shown). While there are no more points, the
    // axis runs from 0 to the span; beyond it, it scrolls with the newest point at its right end.
    void setExtent(int samples);
    int extent() const { return extent_; }
    int pointCount() const { return static_cast<int>(points_.size()); }
    const QList<QPointF>& points() const { return points_; }

    struct Range {
        double first = 0;
        double last = 0;
        bool operator==(const Range&) const = default;
    };
    // The horizontal axis as it is drawn now (after the last flush).
    Range axisRange() const { return built_.range; }
    // The pixel columns the plot has now (never fewer than 100).
    int columns() const;
    // What the last flush left drawn: a polyline through the points in view.
    const QList<QPointF>& drawnPoints() const { return drawn_; }

    // Draws what is buffered now.
    void flush();

    // The points whose position lies in `range`, reduced to each column's lowest and highest
    // point in their order (one point when they are equal), with `columns` equal columns across
    // the range. A column of one or two points keeps them all.
    static QList<QPointF> envelope(const QList<QPointF>& points, Range range, int columns);

    // The plot in the widget's pixels: its edges are the first and last pixel rows and columns
    // a point can be drawn on.
    QRectF plotArea() const;
    // Distances of the plot's top and bottom edges from the widget's top and bottom: where
    // marks beside the vertical axis line up.
    int plotTopInset() const;
    int plotBottomInset() const;

    QSize sizeHint() const override { return {400, 300}; }
    QSize minimumSizeHint() const override { return {200, 120}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Scale {
        Range range;
        int columns = 0;
        bool operator==(const Scale&) const = default;
    };
    Scale currentScale() const;
    QPointF toPixel(const QPointF& p, const QRectF& plot) const;
    void scheduleFlush();
    void rebuild();
    // Adds the points not yet drawn; returns the index of the first drawn point that changed.
    qsizetype extend();
    void layoutTicks();

    QList<QPointF> points_;
    QTimer flushTimer_;
    double lower_ = 0x7FF;
    double upper_ = 0x801;
    int extent_ = 0;

    // What is drawn, for the scale it was built for.
    QList<QPointF> drawn_;
    Scale built_;
    bool valid_ = false;
    bool boundsChanged_ = false;
    qsizetype consumed_ = 0;   // points_ taken into drawn_
    int openColumn_ = -1;      // the last column drawn, which later points may still join
    qsizetype openPoint_ = 0;  // its first point in points_
    qsizetype openDrawn_ = 0;  // its first point in drawn_

    struct Tick {
        double x;
        QString text;
    };
    std::vector<Tick> ticks_;
    std::vector<QPointF> pixels_;  // reused by each paint
};

}  // namespace kelp::platform
