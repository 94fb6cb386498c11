#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace kelp::platform {
class SerialPort;
class TickTimer;
class EventQueue;
}  // namespace kelp::platform

namespace kelp::shell {

// The program-wide state: one instance, owned by the composition root, living as long as
// the program. Names are the ones every window and operation uses.
struct ProgramState {
    std::string ModelName;
    std::string LoaderReply;
    bool Is58XGroup = false;
    bool TimerElapsed = false;
    bool DownloadOk = false;
    int16_t HexSizeLimit = 0;
    std::string TxBuffer;

    // Results of the last SAR run; sample k at index k, index 0 never written.
    std::array<int16_t, 10001> SampleBuffer{};
    int16_t SampleCount = 0;
    int16_t MaxCode = 0;
    int16_t MinCode = 0;
    bool StopRequested = false;
};

// The devices the main window owns and every window shares.
struct SharedDevices {
    platform::SerialPort& MSComm1;
    platform::TickTimer& Timer1;
    platform::EventQueue& events;
};

}  // namespace kelp::shell
