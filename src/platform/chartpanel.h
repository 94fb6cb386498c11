#pragma once

#include <QString>
#include <QWidget>

#include "platform/trace.h"

class QLabel;

namespace kelp::platform {

class StripChart;

// Object names and design texts of a chart and its three marks.
struct ChartNames {
    QString chart;
    QString upper, middle, lower;
    QString upperText, middleText, lowerText;
};

// A strip chart with the three marks beside its vertical axis (upper, middle, lower).
class ChartPanel final : public QWidget, public Trace {
    Q_OBJECT
public:
    explicit ChartPanel(const ChartNames& names, QWidget* parent = nullptr);

    StripChart* chart() const { return chart_; }

    void clear() override;
    void append(double value) override;
    double lowerBound() const override;
    double upperBound() const override;
    void setLowerBound(double value) override;
    void setUpperBound(double value) override;
    void setExtent(int samples) override;
    int extent() const override;
    void setLabels(const std::string& upper, const std::string& middle,
                   const std::string& lower) override;
    QString upperLabel() const;
    QString middleLabel() const;
    QString lowerLabel() const;

private:
    StripChart* chart_;
    QLabel* upper_;
    QLabel* middle_;
    QLabel* lower_;
};

}  // namespace kelp::platform
