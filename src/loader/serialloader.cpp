#include "loader/serialloader.h"

#include "loader/frames.h"
#include "loader/hexfile.h"
#include "platform/eventqueue.h"
#include "platform/progress.h"
#include "platform/serialport.h"
#include "platform/ticktimer.h"
#include "shell/programstate.h"

namespace kelp::loader {

SerialLoader::SerialLoader(shell::SharedDevices& devices, shell::ProgramState& state,
                           platform::ProgressIndicator& progress)
    : devices_(devices), state_(state), progress_(progress) {}

void SerialLoader::discardInput() { devices_.MSComm1.readAll(); }

void SerialLoader::send(const std::string& block) {
    state_.TxBuffer = block;
    devices_.MSComm1.write(state_.TxBuffer);
}

bool SerialLoader::WaitForBytes(int timeoutMs, int count) {
    state_.TimerElapsed = false;
    bool result = false;
    devices_.Timer1.setInterval(timeoutMs);
    devices_.Timer1.enable();
    while (!state_.TimerElapsed) {
        devices_.events.waitForEvent();
        if (devices_.events.closing() || devices_.MSComm1.failed()) break;
        if (devices_.MSComm1.bytesWaiting() == count) {
            state_.TimerElapsed = true;
            result = true;
        }
    }
    devices_.Timer1.disable();
    state_.TimerElapsed = false;
    return result;
}

bool SerialLoader::acknowledgedRequest(const std::string& frame) {
    discardInput();
    send(frame);
    if (!WaitForBytes(kTimeoutMs, 1)) return false;
    const std::string answer = devices_.MSComm1.readAll();
    return !answer.empty() && answer[0] == kAcknowledge;
}

bool SerialLoader::ResetDevice() {
    discardInput();
    send(kResetSequence);
    if (!WaitForBytes(kTimeoutMs, kIdentificationLength)) return false;
    const std::string reply = devices_.MSComm1.readAll();
    state_.LoaderReply = reply.substr(0, 14);
    state_.ModelName = state_.LoaderReply.substr(0, 7);
    return true;
}

bool SerialLoader::EraseCode() { return acknowledgedRequest(eraseFrame()); }

bool SerialLoader::RunCode() { return acknowledgedRequest(runFrame()); }

bool SerialLoader::DownloadCode(const std::string& path) {
    const auto lines = readTextLines(path);
    if (!lines || lines->empty()) {
        state_.DownloadOk = false;
        return false;
    }
    const int maximum = static_cast<int>(lines->size()) - 1;
    progress_.setRange(0, maximum);
    progress_.setValue(0);
    progress_.setVisible(true);
    int counter = 0;
    // The last line (normally the end record) is never sent.
    for (size_t n = 0; n + 1 < lines->size(); ++n) {
        const std::string& line = (*lines)[n];
        if (line != kEndRecord && state_.DownloadOk) {
            const auto frame = writeFrameFromLine(line);
            state_.DownloadOk = frame && acknowledgedRequest(*frame);
        }
        progress_.setValue(++counter);
        if (devices_.events.closing()) {
            state_.DownloadOk = false;
            break;
        }
    }
    progress_.setVisible(false);
    return state_.DownloadOk;
}

}  // namespace kelp::loader
