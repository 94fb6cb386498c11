#pragma once

#include <string>

namespace kelp::platform {
class ProgressIndicator;
}
namespace kelp::shell {
struct ProgramState;
struct SharedDevices;
}  // namespace kelp::shell

namespace kelp::loader {

// The chip's serial loader, driven one request and one timed answer at a time over the
// shared port. Every operation leaves the port open; the caller closes it.
class SerialLoader {
public:
    SerialLoader(shell::SharedDevices& devices, shell::ProgramState& state,
                 platform::ProgressIndicator& progress);

    bool ResetDevice();
    bool EraseCode();
    // Sends every line but the last as a write frame; stops sending after the first record
    // that is not acknowledged but still runs the progress to its end.
    bool DownloadCode(const std::string& path);
    bool RunCode();
    // True when exactly `count` bytes are waiting before `timeoutMs` has passed. More bytes
    // than expected do not end the wait.
    bool WaitForBytes(int timeoutMs, int count);

    static constexpr int kTimeoutMs = 500;

private:
    void discardInput();
    void send(const std::string& block);
    bool acknowledgedRequest(const std::string& frame);

    shell::SharedDevices& devices_;
    shell::ProgramState& state_;
    platform::ProgressIndicator& progress_;
};

}  // namespace kelp::loader
