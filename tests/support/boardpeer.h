#pragma once

// The virtual board's engine as the target of unit tests on the simulated clock: what the fake
// port writes reaches the engine at the simulated time and at the speed the port is set to,
// and the engine's answers arrive paced at the speed the chip sends them, after the request's
// own time on the wire, as over the real pseudo-terminal.

#include <algorithm>
#include <cmath>

#include "board/boardengine.h"
#include "support/fakes.h"

namespace kelp::testing {

class BoardPeer {
public:
    BoardPeer(FakeWorld& world, const board::BoardOptions& options)
        : world_(world), engine_(options) {
        world_.port.onWrite = [this](const std::string& block) {
            deliver(engine_.feed(block, std::llround(world_.now * 1e6),
                                 world_.port.lineSettings().baud));
        };
    }
    board::BoardEngine& engine() { return engine_; }

private:
    // Milliseconds that `chars` characters of 10 bits take at `baud`.
    static double wireMs(std::size_t chars, long baud) {
        return baud > 0 ? static_cast<double>(chars) * 10000.0 / static_cast<double>(baud) : 0;
    }

    void deliver(std::vector<board::Answer> answers) {
        for (const board::Answer& a : answers) {
            const double readyMs = static_cast<double>(a.readyAt) / 1e6;
            free_ = std::max(readyMs + wireMs(a.requestLength, a.baud), free_) +
                    wireMs(a.pacedLength, a.baud);
            world_.deliverAt(free_, a.bytes);
        }
        // A stream goes on by itself; the next frame is due when the engine says.
        if (const auto due = engine_.nextDue(); due && !streamWake_) {
            streamWake_ = true;
            world_.actAt(static_cast<double>(*due) / 1e6, [this, at = *due] {
                streamWake_ = false;
                deliver(engine_.advance(at));
            });
        }
    }

    FakeWorld& world_;
    board::BoardEngine engine_;
    double free_ = 0;  // when the chip's line is free again
    bool streamWake_ = false;
};

}  // namespace kelp::testing
