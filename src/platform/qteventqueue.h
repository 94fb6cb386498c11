#pragma once

#include <QTimer>

#include "platform/eventqueue.h"

namespace kelp::platform {

// Call before the application object exists. Qt's own event dispatcher wakes a wait a quarter
// of a millisecond sooner than the GLib one, which adds up over a download's hundreds of
// exchanges; a choice the user made in the environment stands.
void ChooseEventDispatcher();

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
