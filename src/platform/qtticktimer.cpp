#include "platform/qtticktimer.h"

namespace kelp::platform {

QtTickTimer::QtTickTimer(QObject* parent) : QObject(parent) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(0);
    connect(&timer_, &QTimer::timeout, this, [this] {
        if (onTick) onTick();
    });
}

void QtTickTimer::setInterval(int milliseconds) { timer_.setInterval(milliseconds); }

void QtTickTimer::enable() {
    // An interval of 0 would tick on every pass of the event loop; a disabled-by-design
    // timer with no interval stays quiet.
    if (timer_.interval() > 0) timer_.start();
}

}  // namespace kelp::platform
