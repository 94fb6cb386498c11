#include "platform/chartpanel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/stripchart.h"

namespace kelp::platform {

namespace {

QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

ChartPanel::ChartPanel(const ChartNames& names, const MarkTexts& designTexts, QWidget* parent)
    : QWidget(parent) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(4);
    marks_ = new QVBoxLayout;
    marks_->setSpacing(0);
    auto mark = [this](const QString& name, const QString& text) {
        auto* label = new QLabel(text, this);
        label->setObjectName(name);
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
        return label;
    };
    upper_ = mark(names.upper, designTexts.upper);
    middle_ = mark(names.middle, designTexts.middle);
    lower_ = mark(names.lower, designTexts.lower);
    marks_->addWidget(upper_);
    marks_->addStretch(1);
    marks_->addWidget(middle_);
    marks_->addStretch(1);
    marks_->addWidget(lower_);
    chart_ = new StripChart(this);
    chart_->setObjectName(names.chart);
    row->addLayout(marks_);
    row->addWidget(chart_, 1);

    const qsizetype longest =
        std::max({designTexts.upper.size(), designTexts.middle.size(), designTexts.lower.size()});
    setMarkWidth(fontMetrics().horizontalAdvance(QLatin1Char('-') + QString(longest, u'F') +
                                                 QLatin1Char('H')));
    alignMarks();
}

void ChartPanel::alignMarks() {
    // Each outer mark is centred on the plot's edge; equal stretches put the middle one midway.
    const int half = upper_->sizeHint().height() / 2;
    marks_->setContentsMargins(0, std::max(0, chart_->plotTopInset() - half), 0,
                               std::max(0, chart_->plotBottomInset() - half));
}

void ChartPanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) alignMarks();
}

int ChartPanel::markWidth() const { return upper_->minimumWidth(); }

void ChartPanel::setMarkWidth(int pixels) {
    for (QLabel* label : {upper_, middle_, lower_}) label->setMinimumWidth(pixels);
}

void ChartPanel::setChartHeight(int pixels) {
    if (pixels > 0) {
        setFixedHeight(pixels);
    } else {
        setMinimumHeight(0);
        setMaximumHeight(QWIDGETSIZE_MAX);
    }
}

void ChartPanel::clear() { chart_->clear(); }
void ChartPanel::append(double value) { chart_->appendPoint(value); }
double ChartPanel::lowerBound() const { return chart_->lowerBound(); }
double ChartPanel::upperBound() const { return chart_->upperBound(); }
void ChartPanel::setLowerBound(double value) { chart_->setLowerBound(value); }
void ChartPanel::setUpperBound(double value) { chart_->setUpperBound(value); }
void ChartPanel::setExtent(int samples) { chart_->setExtent(samples); }
int ChartPanel::extent() const { return chart_->extent(); }

void ChartPanel::setLabels(std::string_view upper, std::string_view middle,
                           std::string_view lower) {
    upper_->setText(qs(upper));
    middle_->setText(qs(middle));
    lower_->setText(qs(lower));
}

}  // namespace kelp::platform
