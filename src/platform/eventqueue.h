#pragma once

namespace kelp::platform {

// The single thread's event queue, as seen by code that waits on the target.
class EventQueue {
public:
    virtual ~EventQueue() = default;
    // Blocks until at least one event (serial data, timer tick, click) has been handled.
    // The caller must have armed something that will produce an event.
    virtual void waitForEvent() = 0;
    // The same, but returns after at most `milliseconds` even when nothing else happened.
    virtual void waitForEvent(int milliseconds) = 0;
    // Handles whatever is pending and returns at once.
    virtual void processPending() = 0;
    // True once the program is ending; every wait gives up when it sees this.
    virtual bool closing() const = 0;
};

}  // namespace kelp::platform
