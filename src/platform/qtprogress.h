#pragma once

#include <QPointer>
#include <QProgressBar>

#include "platform/progress.h"

namespace kelp::platform {

class QtProgress final : public ProgressIndicator {
public:
    explicit QtProgress(QProgressBar* bar) : bar_(bar) {}
    void setVisible(bool visible) override {
        if (bar_) bar_->setVisible(visible);
    }
    void setRange(int minimum, int maximum) override {
        // A range of one point would make QProgressBar show a busy indicator; show it full.
        if (bar_) bar_->setRange(minimum, maximum > minimum ? maximum : minimum + 1);
        if (bar_ && maximum <= minimum) bar_->setValue(minimum + 1);
    }
    void setValue(int value) override {
        if (bar_) bar_->setValue(value < bar_->maximum() ? value : bar_->maximum());
    }

private:
    QPointer<QProgressBar> bar_;
};

}  // namespace kelp::platform
