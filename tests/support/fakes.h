#pragma once

// A scripted target on a simulated clock: the serial port, the tick timer and the event
// queue of the platform interfaces, for tests of protocol logic without an event loop.

#include <algorithm>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/eventqueue.h"
#include "platform/serialport.h"
#include "platform/ticktimer.h"

namespace kelp::testing {

class FakeSerialPort final : public platform::SerialPort {
public:
    void setPortName(const std::string& device) override { device_ = device; }
    std::string portName() const override { return device_; }
    void setLineSettings(const platform::LineSettings& s) override { settings_ = s; }
    platform::LineSettings lineSettings() const override { return settings_; }
    platform::OpenError open() override {
        if (open_) return platform::OpenError::AlreadyOpen;
        open_ = openResult == platform::OpenError::None;
        return openResult;
    }
    bool isOpen() const override { return open_; }
    void close() override { open_ = false; }
    void write(const std::string& block) override {
        writes.push_back(block);
        baudAtWrite.push_back(settings_.baud);
        if (onWrite) onWrite(block);
    }
    int bytesWaiting() override { return static_cast<int>(input.size()); }
    std::string readAll() override { return std::exchange(input, {}); }
    bool failed() const override { return open_ && failNow; }
    void holdInput(bool) override {}

    platform::OpenError openResult = platform::OpenError::None;
    std::string input;                // bytes waiting
    std::vector<std::string> writes;  // every block written, in order
    std::vector<int> baudAtWrite;     // the speed in force for each block
    bool failNow = false;             // the device has gone
    // Called for every block written; may schedule answers through the world.
    std::function<void(const std::string& block)> onWrite;

private:
    std::string device_;
    platform::LineSettings settings_;
    bool open_ = false;
};

class FakeTimer final : public platform::TickTimer {
public:
    explicit FakeTimer(const double& now) : now_(now) {}
    void setInterval(int ms) override { interval_ = ms; }
    int interval() const override { return interval_; }
    void enable() override { enabled_ = true, nextTick = now_ + interval_; }
    void disable() override { enabled_ = false; }
    bool enabled() const override { return enabled_; }
    double nextTick = 0;

private:
    const double& now_;
    int interval_ = 0;
    bool enabled_ = false;
};

// Also the event queue: a wait runs the next event, jumping the clock to it.
class FakeWorld final : public platform::EventQueue {
public:
    // Bytes that reach the port's input at the given simulated time (ms).
    void deliverAt(double time, const std::string& bytes) { arrivals.emplace(time, bytes); }
    void deliverAfter(double delay, const std::string& bytes) { deliverAt(now + delay, bytes); }
    // Something (a click, say) that happens at the given time.
    void actAt(double time, std::function<void()> action) {
        actions.emplace(time, std::move(action));
    }

    // Runs the earliest pending event; false when nothing is pending.
    bool step(bool mayAdvance) {
        double next = timer.enabled() && timer.interval() > 0 ? timer.nextTick : 1e300;
        if (!arrivals.empty()) next = std::min(next, arrivals.begin()->first);
        if (!actions.empty()) next = std::min(next, actions.begin()->first);
        if (next == 1e300 || (next > now && !mayAdvance)) return false;
        if (++eventsHandled > 10'000'000) throw std::logic_error("too many events");
        now = std::max(now, next);
        if (!arrivals.empty() && arrivals.begin()->first <= now) {
            port.input += arrivals.begin()->second;
            arrivals.erase(arrivals.begin());
        } else if (!actions.empty() && actions.begin()->first <= now) {
            auto action = std::move(actions.begin()->second);
            actions.erase(actions.begin());
            action();
        } else {
            timer.nextTick = now + timer.interval();
            if (timer.onTick) timer.onTick();
        }
        return true;
    }

    double now = 0;
    long eventsHandled = 0;
    std::multimap<double, std::string> arrivals;
    std::multimap<double, std::function<void()>> actions;
    FakeSerialPort port;
    FakeTimer timer{now};
    FakeWorld& events = *this;
    bool closing_ = false;

    void waitForEvent() override {
        if (!step(true)) throw std::logic_error("wait with nothing that could wake it");
    }
    // Wakes at the next event or after `milliseconds`, whichever comes first.
    void waitForEvent(int milliseconds) override {
        actAt(now + milliseconds, [] {});
        waitForEvent();
    }
    void processPending() override {
        while (step(false)) {
        }
    }
    bool closing() const override { return closing_; }
};

}  // namespace kelp::testing
