#pragma once

#include <string>
#include <string_view>

namespace kelp::platform {
class EventQueue;
class SerialPort;
class TickTimer;
}  // namespace kelp::platform

namespace kelp::link {

enum class WaitResult { Ready, TimedOut, PortFailed, Closing };

enum class Count {
    Exactly,  // ready when exactly this many bytes wait; more do not end the wait
    AtLeast,
};

// The link to the target: the shared serial port, the shared timer `Timer1` with its flag
// `TimerElapsed`, and the one wait every exchange uses. A wait sleeps in the event queue, so
// clicks (Stop) and ticks are handled while it waits; it never spins.
class Link {
public:
    Link(platform::SerialPort& port, platform::TickTimer& timer, platform::EventQueue& events);
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    platform::SerialPort& port() { return port_; }
    platform::TickTimer& Timer1() { return timer_; }

    // The timer's tick; nothing else happens on a tick.
    void Timer1_Timer() { TimerElapsed = true; }

    // Applies a settings text such as "57600,N,8,1"; throws std::invalid_argument on a
    // malformed one.
    void applySettings(std::string_view settingsText);

    // Hands a block to the port through TxBuffer.
    void send(const std::string& block);
    void discardInput();
    std::string readAll();
    int bytesWaiting();

    // Arms Timer1 for one timed wait; await() then waits on it until disarm().
    void arm(int milliseconds);
    void disarm();
    // Waits on the armed timer for `count` bytes. With restartOnProgress the time limit counts
    // from the last byte that arrived instead of from arming.
    WaitResult await(Count mode, int count, bool restartOnProgress = false);
    // arm, await, disarm.
    WaitResult waitForBytes(Count mode, int count, int timeoutMs, bool restartOnProgress = false);
    // Lets the time pass while events are handled; Closing when the program ends meanwhile.
    WaitResult pause(int milliseconds);
    // Handles whatever is pending and returns at once.
    void yield();
    bool closing() const;

    bool TimerElapsed = false;
    std::string TxBuffer;

private:
    platform::SerialPort& port_;
    platform::TickTimer& timer_;
    platform::EventQueue& events_;
};

}  // namespace kelp::link
