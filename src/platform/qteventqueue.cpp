#include "platform/qteventqueue.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace kelp::platform {

void QtEventQueue::waitForEvent() {
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
}

void QtEventQueue::processPending() { QCoreApplication::processEvents(QEventLoop::AllEvents); }

}  // namespace kelp::platform
