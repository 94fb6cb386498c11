#include "platform/chartpanel.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "platform/stripchart.h"

namespace kelp::platform {

ChartPanel::ChartPanel(const ChartNames& names, QWidget* parent) : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    auto* marks = new QVBoxLayout;
    // Roughly the chart's plot margins, so the marks sit at the axis ends.
    marks->setContentsMargins(0, 6, 0, 28);
    const auto mark = [this](const QString& name, const QString& text) {
        auto* label = new QLabel(text, this);
        label->setObjectName(name);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        label->setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("-FFFFFFH")));
        return label;
    };
    upper_ = mark(names.upper, names.upperText);
    middle_ = mark(names.middle, names.middleText);
    lower_ = mark(names.lower, names.lowerText);
    marks->addWidget(upper_);
    marks->addStretch(1);
    marks->addWidget(middle_);
    marks->addStretch(1);
    marks->addWidget(lower_);
    chart_ = new StripChart(this);
    chart_->setObjectName(names.chart);
    chart_->setAccessibleName(names.chart);
    row->addLayout(marks);
    row->addWidget(chart_, 1);
}

void ChartPanel::clear() { chart_->clear(); }
void ChartPanel::append(double value) { chart_->appendPoint(value); }
double ChartPanel::lowerBound() const { return chart_->lowerBound(); }
double ChartPanel::upperBound() const { return chart_->upperBound(); }
void ChartPanel::setLowerBound(double value) { chart_->setLowerBound(value); }
void ChartPanel::setUpperBound(double value) { chart_->setUpperBound(value); }
void ChartPanel::setExtent(int samples) { chart_->setExtent(samples); }
int ChartPanel::extent() const { return chart_->extent(); }

void ChartPanel::setLabels(const std::string& upper, const std::string& middle,
                           const std::string& lower) {
    upper_->setText(QString::fromStdString(upper));
    middle_->setText(QString::fromStdString(middle));
    lower_->setText(QString::fromStdString(lower));
}

QString ChartPanel::upperLabel() const { return upper_->text(); }
QString ChartPanel::middleLabel() const { return middle_->text(); }
QString ChartPanel::lowerLabel() const { return lower_->text(); }

}  // namespace kelp::platform
