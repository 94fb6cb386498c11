#pragma once

#include <cstdint>

#include "platform/serialport.h"

namespace kelp::link {

// What both families' runs share: the slots used by the last run and the Stop flag.
struct RunState {
    int16_t SampleCount = 0;
    bool StopRequested = false;
};

// How a run ended; the window turns it into what the user reads.
enum class RunOutcome {
    PortBusy,        // the port could not be opened; nothing sent
    TooManySamples,  // more samples than the stores hold; nothing sent
    Completed,       // the requested count was reached
    Stopped,         // Stop ended it early
    TargetSilent,    // the target stopped answering; ended with what had come
    PortFailed,      // the port failed during the run; ended with what had come
    Aborted,         // the program is closing; ended at once, nothing more sent or shown
};

struct RunResult {
    RunOutcome outcome = RunOutcome::Completed;
    int samples = 0;                                            // SampleCount at the end
    platform::OpenError openError = platform::OpenError::None;  // why PortBusy
};

}  // namespace kelp::link
