#include "platform/qteventqueue.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace kelp::platform {

void QtEventQueue::waitForEvent() {
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

void ChooseEventDispatcher() {
    if (!qEnvironmentVariableIsSet("QT_NO_GLIB")) qputenv("QT_NO_GLIB", "1");
}

QtEventQueue::QtEventQueue() {
    nap_.setSingleShot(true);
    nap_.setTimerType(Qt::PreciseTimer);
}

void QtEventQueue::waitForEvent(int milliseconds) {
    // The timer's own event ends the wait if nothing else does first.
    nap_.start(milliseconds);
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    nap_.stop();
}

void QtEventQueue::processPending() { QCoreApplication::processEvents(QEventLoop::AllEvents); }

}  // namespace kelp::platform
