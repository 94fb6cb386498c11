#include "link/link.h"

#include "platform/eventqueue.h"
#include "platform/serialport.h"
#include "platform/serialsettings.h"
#include "platform/ticktimer.h"

namespace kelp::link {

namespace {

// Below this, the bytes still missing arrive too soon for a nap to save anything.
constexpr double kNapMinimumMs = 2.0;

}  // namespace

Link::Link(platform::SerialPort& port, platform::TickTimer& timer, platform::EventQueue& events)
    : port_(port), timer_(timer), events_(events) {
    timer_.onTick = [this] { Timer1_Timer(); };
}

void Link::applySettings(std::string_view settingsText) {
    port_.setLineSettings(platform::requireLineSettings(settingsText));
}

void Link::send(const std::string& block) {
    TxBuffer = block;
    port_.write(TxBuffer);
}

void Link::discardInput() { port_.readAll(); }

std::string Link::readAll() { return port_.readAll(); }

int Link::bytesWaiting() { return port_.bytesWaiting(); }

void Link::arm(int milliseconds) {
    timer_.disable();
    TimerElapsed = false;
    timer_.setInterval(milliseconds);
    timer_.enable();
}

void Link::disarm() {
    timer_.disable();
    TimerElapsed = false;
}

WaitResult Link::await(Count mode, int count, bool restartOnProgress) {
    int seen = port_.bytesWaiting();
    bool napped = false;
    for (;;) {
        if (events_.closing()) return WaitResult::Closing;
        const int waiting = port_.bytesWaiting();
        if (mode == Count::Exactly ? waiting == count : waiting >= count) return WaitResult::Ready;
        if (port_.failed()) return WaitResult::PortFailed;
        if (restartOnProgress && waiting > seen) {
            seen = waiting;
            arm(timer_.interval());
        } else if (TimerElapsed) {
            return WaitResult::TimedOut;
        }
        // Bytes come one by one; rather than wake for each, let most of the missing ones
        // gather in the device (clicks and ticks still come through), then read them at once.
        const double missingMs = (count - waiting) * 10000.0 / port_.lineSettings().baud;
        napped = !napped && missingMs >= kNapMinimumMs;
        if (napped) {
            port_.holdInput(true);
            events_.waitForEvent(static_cast<int>(missingMs * 0.9));
            port_.holdInput(false);
        } else {
            events_.waitForEvent();
        }
    }
}

WaitResult Link::waitForBytes(Count mode, int count, int timeoutMs, bool restartOnProgress) {
    arm(timeoutMs);
    const WaitResult result = await(mode, count, restartOnProgress);
    disarm();
    return result;
}

WaitResult Link::pause(int milliseconds) {
    arm(milliseconds);
    while (!TimerElapsed && !events_.closing()) events_.waitForEvent();
    disarm();
    return events_.closing() ? WaitResult::Closing : WaitResult::Ready;
}

void Link::yield() { events_.processPending(); }

bool Link::closing() const { return events_.closing(); }

}  // namespace kelp::link
