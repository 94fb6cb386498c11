#pragma once

#include <QTimer>

#include "platform/eventqueue.h"

namespace kelp::platform {

// Waits sleep in the event dispatcher until the next event; nothing spins.
class QtEventQueue final : public EventQueue {
public:
    QtEventQueue();
    void waitForEvent() override;
    void waitForEvent(int milliseconds) override;
    void processPending() override;
    bool closing() const override { return closing_; }
    void setClosing() { closing_ = true; }

private:
    bool closing_ = false;
    QTimer nap_;
};

}  // namespace kelp::platform
