#pragma once

// The virtual board's engine as the target of unit tests on the simulated clock: what the fake
// port writes reaches the engine at the simulated time and at the speed the port is set to,
// and the engine's answers arrive paced at the speed the chip sends them, after the request's
// own time on the wire, as over the real pseudo-terminal.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "board/boardengine.h"
#include "support/fakes.h"

namespace kelp::testing {

class BoardPeer {
public:
    BoardPeer(FakeWorld& world, const board::BoardOptions& options)
        : world_(world), engine_(options) {
        world_.port.onWrite = [this](const std::string& block) { received(block); };
    }

    board::BoardEngine& engine() { return engine_; }
    // Every log line so far; requests end in " @BAUD".
    const std::vector<std::string>& log() {
        for (std::string& line : engine_.takeLog()) log_.push_back(std::move(line));
        return log_;
    }

private:
    static board::Nanos nanos(double ms) { return std::llround(ms * 1e6); }
    static double ms(board::Nanos ns) { return static_cast<double>(ns) / 1e6; }
    // 10 bits a character.
    static double wireMs(std::size_t chars, long baud) {
        return baud > 0 ? static_cast<double>(chars) * 10000.0 / static_cast<double>(baud) : 0;
    }

    void received(const std::string& block) {
        deliver(engine_.feed(block, nanos(world_.now), world_.port.lineSettings().baud));
    }

    void deliver(std::vector<board::Answer> answers) {
        for (const board::Answer& a : answers) {
            // An answer follows the request's own time on the wire.
            const double start = std::max(ms(a.readyAt) + wireMs(a.requestLength, a.baud), free_);
            free_ = start + wireMs(a.pacedLength, a.baud);
            world_.deliverAt(free_, a.bytes);
        }
        // A stream goes on by itself; the next frame is due when the engine says.
        if (const auto due = engine_.nextDue(); due && !streamWake_) {
            streamWake_ = true;
            world_.actAt(ms(*due), [this, at = *due] {
                streamWake_ = false;
                deliver(engine_.advance(at));
            });
        }
    }

    FakeWorld& world_;
    board::BoardEngine engine_;
    std::vector<std::string> log_;
    double free_ = 0;  // when the chip's line is free again
    bool streamWake_ = false;
};

}  // namespace kelp::testing
