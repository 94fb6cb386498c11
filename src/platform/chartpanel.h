#pragma once

#include <QString>
#include <QWidget>
#include <string_view>

#include "platform/trace.h"

class QLabel;
class QVBoxLayout;

namespace kelp::platform {

class StripChart;

// Object names of a chart and of its marks, e.g. {"Graph", "GraphMaxLabel", "GraphMidLabel",
// "GraphMinLabel"}; a window finds them with findChild.
struct ChartNames {
    QString chart;
    QString upper;
    QString middle;
    QString lower;
};

// Texts of the three marks, top to bottom, e.g. {"801H", "800H", "7FFH"}.
struct MarkTexts {
    QString upper;
    QString middle;
    QString lower;
};

// A strip chart with its three marks beside the vertical axis: the upper one level with the
// top of the plot, the middle one with its middle, the lower one with its bottom. The marks
// follow the plot whatever height the panel is given.
class ChartPanel final : public QWidget, public Trace {
    Q_OBJECT
public:
    ChartPanel(const ChartNames& names, const MarkTexts& designTexts, QWidget* parent = nullptr);

    StripChart* chart() const { return chart_; }
    QLabel* upperLabel() const { return upper_; }
    QLabel* middleLabel() const { return middle_; }
    QLabel* lowerLabel() const { return lower_; }

    void clear() override;
    void append(double value) override;
    double lowerBound() const override;
    double upperBound() const override;
    void setLowerBound(double value) override;
    void setUpperBound(double value) override;
    void setExtent(int samples) override;
    int extent() const override;
    void setLabels(std::string_view upper, std::string_view middle,
                   std::string_view lower) override;

    // The column of marks starts wide enough for a sign, the longest design text and one digit
    // more; panels stacked above one another line up when given a common width.
    int markWidth() const;
    void setMarkWidth(int pixels);
    // A fixed height for the chart (and so the panel); 0 lets it stretch again.
    void setChartHeight(int pixels);

protected:
    void changeEvent(QEvent* event) override;

private:
    void alignMarks();

    StripChart* chart_;
    QLabel* upper_;
    QLabel* middle_;
    QLabel* lower_;
    QVBoxLayout* marks_;
};

}  // namespace kelp::platform
