#pragma once

#include <QObject>
#include <QTimer>

#include "platform/ticktimer.h"

namespace kelp::platform {

class QtTickTimer final : public QObject, public TickTimer {
    Q_OBJECT
public:
    explicit QtTickTimer(QObject* parent = nullptr);
    void setInterval(int milliseconds) override;
    int interval() const override { return timer_.interval(); }
    void enable() override;
    void disable() override { timer_.stop(); }
    bool enabled() const override { return timer_.isActive(); }

private:
    QTimer timer_;
};

}  // namespace kelp::platform
