#pragma once

// A serial line on a simulated clock for the platform interfaces: bytes arrive at given
// times, the timer ticks on that clock, and a wait jumps the clock to the next event. No
// threads, no sleeping, so a fuzz run takes no real time.

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "fuzzing.h"
#include "platform/eventqueue.h"
#include "platform/serialport.h"
#include "platform/ticktimer.h"

namespace kelp::fuzzing {

class SimulatedLine;

class SimulatedPort final : public platform::SerialPort {
public:
    void setPortName(const std::string& device) override { device_ = device; }
    std::string portName() const override { return device_; }
    void setLineSettings(const platform::LineSettings& s) override { settings_ = s; }
    platform::LineSettings lineSettings() const override { return settings_; }
    platform::OpenError open() override { return platform::OpenError::None; }
    bool isOpen() const override { return true; }
    void close() override {}
    void write(const std::string& block) override { written += block; }
    int bytesWaiting() override { return static_cast<int>(input.size()); }
    std::string readAll() override {
        read += input;
        return std::exchange(input, {});
    }
    bool failed() const override { return false; }
    void holdInput(bool) override {}

    std::string input;    // waiting to be read
    std::string read;     // everything read so far
    std::string written;  // everything written so far

private:
    std::string device_;
    platform::LineSettings settings_;
};

class SimulatedTimer final : public platform::TickTimer {
public:
    explicit SimulatedTimer(const double& now) : now_(now) {}
    void setInterval(int ms) override { interval_ = ms; }
    int interval() const override { return interval_; }
    void enable() override {
        enabled_ = true;
        nextTick = now_ + interval_;
    }
    void disable() override { enabled_ = false; }
    bool enabled() const override { return enabled_ && interval_ > 0; }
    double nextTick = 0;

private:
    const double& now_;
    int interval_ = 0;
    bool enabled_ = false;
};

class SimulatedLine final : public platform::EventQueue {
public:
    SimulatedLine() : timer(now) {}

    void deliverAt(double time, const std::string& bytes) { arrivals.emplace(time, bytes); }

    void waitForEvent() override { step(kNever); }
    void waitForEvent(int milliseconds) override { step(now + std::max(milliseconds, 0)); }
    void processPending() override {
        while (!arrivals.empty() && arrivals.begin()->first <= now) deliverFirst();
    }
    bool closing() const override { return false; }

    double now = 0;
    long events = 0;
    std::multimap<double, std::string> arrivals;
    SimulatedPort port;
    SimulatedTimer timer;

private:
    static constexpr double kNever = 1e300;

    void deliverFirst() {
        port.input += arrivals.begin()->second;
        arrivals.erase(arrivals.begin());
    }

    // Handles the earliest of: an arrival, a tick, the end of a bounded wait.
    void step(double deadline) {
        ++events;
        FUZZ_CHECK(events < 1'000'000);  // a wait that never ends would spin here
        double next = deadline;
        if (!arrivals.empty()) next = std::min(next, arrivals.begin()->first);
        if (timer.enabled()) next = std::min(next, timer.nextTick);
        FUZZ_CHECK(next < kNever);  // nothing could ever wake this wait
        now = std::max(now, next);
        if (!arrivals.empty() && arrivals.begin()->first <= now) return deliverFirst();
        if (timer.enabled() && timer.nextTick <= now) {
            timer.nextTick = now + timer.interval();
            if (timer.onTick) timer.onTick();
        }
    }
};

}  // namespace kelp::fuzzing
