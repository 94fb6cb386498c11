#pragma once

// A scripted target on a simulated clock: the serial port, the tick timer and the event
// queue of the platform interfaces, for tests of protocol logic without an event loop.
// waitForEvent() jumps the clock to the next scheduled event (byte arrival or tick).

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/eventqueue.h"
#include "platform/serialport.h"
#include "platform/ticktimer.h"

namespace kelp::testing {

class FakeWorld;

class FakeSerialPort final : public platform::SerialPort {
public:
    explicit FakeSerialPort(FakeWorld& world) : world_(world) {}
    void setPortName(const std::string& device) override { device_ = device; }
    std::string portName() const override { return device_; }
    void setLineSettings(const platform::LineSettings& s) override { settings_ = s; }
    platform::LineSettings lineSettings() const override { return settings_; }
    platform::OpenError open() override {
        if (open_) return platform::OpenError::AlreadyOpen;
        if (openResult != platform::OpenError::None) return openResult;
        open_ = true;
        ++openCount;
        return platform::OpenError::None;
    }
    bool isOpen() const override { return open_; }
    void close() override { open_ = false; }
    void write(const std::string& block) override;
    int bytesWaiting() override { return static_cast<int>(input.size()); }
    std::string readAll() override {
        std::string out;
        out.swap(input);
        return out;
    }
    bool failed() const override { return open_ && failNow; }
    void holdInput(bool hold) override { held = hold; }

    platform::OpenError openResult = platform::OpenError::None;
    std::string input;                // bytes waiting
    std::vector<std::string> writes;  // every block written, in order
    std::vector<int> baudAtWrite;  // the speed in force for each block
    bool failNow = false;           // the device has gone
    bool held = false;
    int openCount = 0;
    // Called for every block written; may schedule answers through the world.
    std::function<void(const std::string& block)> onWrite;

private:
    FakeWorld& world_;
    std::string device_;
    platform::LineSettings settings_;
    bool open_ = false;
};

class FakeTimer final : public platform::TickTimer {
public:
    explicit FakeTimer(FakeWorld& world) : world_(world) {}
    void setInterval(int ms) override { interval_ = ms; }
    int interval() const override { return interval_; }
    void enable() override;
    void disable() override { enabled_ = false; }
    bool enabled() const override { return enabled_; }
    double nextTick = 0;

private:
    friend class FakeWorld;
    FakeWorld& world_;
    int interval_ = 0;
    bool enabled_ = false;
};

class FakeEventQueue final : public platform::EventQueue {
public:
    explicit FakeEventQueue(FakeWorld& world) : world_(world) {}
    void waitForEvent() override;
    void waitForEvent(int milliseconds) override;
    void processPending() override;
    bool closing() const override { return closing_; }
    bool closing_ = false;

private:
    FakeWorld& world_;
};

class FakeWorld {
public:
    FakeWorld() : port(*this), timer(*this), events(*this) {}

    // Bytes that reach the port's input at the given simulated time (ms).
    void deliverAt(double time, const std::string& bytes) { arrivals.emplace(time, bytes); }
    void deliverAfter(double delay, const std::string& bytes) { deliverAt(now + delay, bytes); }
    // Something (a click, say) that happens at the given time.
    void actAt(double time, std::function<void()> action) {
        actions.emplace(time, std::move(action));
    }

    // Runs the earliest pending event; false when nothing is pending.
    bool step(bool mayAdvance) {
        double next = 1e300;
        if (!arrivals.empty()) next = arrivals.begin()->first;
        if (!actions.empty()) next = std::min(next, actions.begin()->first);
        if (timer.enabled_ && timer.interval_ > 0) next = std::min(next, timer.nextTick);
        if (next == 1e300) return false;
        if (next > now && !mayAdvance) return false;
        if (next > now) now = next;
        ++eventsHandled;
        if (!arrivals.empty() && arrivals.begin()->first <= now) {
            port.input += arrivals.begin()->second;
            arrivals.erase(arrivals.begin());
            return true;
        }
        if (!actions.empty() && actions.begin()->first <= now) {
            auto action = std::move(actions.begin()->second);
            actions.erase(actions.begin());
            action();
            return true;
        }
        timer.nextTick = now + timer.interval_;
        if (timer.onTick) timer.onTick();
        return true;
    }

    double now = 0;
    long eventsHandled = 0;
    long maxEvents = 10'000'000;
    std::multimap<double, std::string> arrivals;
    std::multimap<double, std::function<void()>> actions;
    FakeSerialPort port;
    FakeTimer timer;
    FakeEventQueue events;
};

inline void FakeSerialPort::write(const std::string& block) {
    writes.push_back(block);
    baudAtWrite.push_back(settings_.baud);
    if (onWrite) onWrite(block);
}

inline void FakeTimer::enable() {
    enabled_ = true;
    nextTick = world_.now + interval_;
}

inline void FakeEventQueue::waitForEvent() {
    if (!world_.step(true)) throw std::logic_error("wait with nothing that could wake it");
    if (world_.eventsHandled > world_.maxEvents) throw std::logic_error("too many events");
}

// Wakes at the next event or after `milliseconds`, whichever comes first.
inline void FakeEventQueue::waitForEvent(int milliseconds) {
    const double until = world_.now + milliseconds;
    world_.actAt(until, [] {});
    waitForEvent();
}

inline void FakeEventQueue::processPending() {
    while (world_.step(false)) {
    }
}

}  // namespace kelp::testing
