#include "loader/serialloader.h"

#include "link/link.h"
#include "loader/frames.h"
#include "loader/hexfile.h"
#include "platform/progress.h"

namespace kelp::loader {

namespace {

// Characters counted from 1; a missing character gives the empty text.
std::string charAt(const std::string& s, size_t position) {
    return position >= 1 && position <= s.size() ? s.substr(position - 1, 1) : std::string();
}

}  // namespace

std::string modelNameFromReply(const std::string& reply) {
    return "Zylo5" + charAt(reply, 6) + charAt(reply, 7);
}

std::string versionFromReply(const std::string& loaderReply) {
    return charAt(loaderReply, 12) + "." + charAt(loaderReply, 13);
}

SerialLoader::SerialLoader(link::Link& link, LoaderState& state,
                           platform::ProgressIndicator& progress)
    : link_(link), state_(state), progress_(progress) {}

bool SerialLoader::WaitForBytes(int timeoutMs, int count) {
    return link_.waitForBytes(link::Count::Exactly, count, timeoutMs) == link::WaitResult::Ready;
}

bool SerialLoader::acknowledgedRequest(const std::string& frame) {
    link_.discardInput();
    link_.send(frame);
    if (!WaitForBytes(kTimeoutMs, 1)) return false;
    const std::string answer = link_.readAll();
    return !answer.empty() && answer[0] == kAcknowledge;
}

bool SerialLoader::ResetDevice() {
    link_.discardInput();
    link_.send(kResetSequence);
    if (!WaitForBytes(kTimeoutMs, kIdentificationLength)) return false;
    const std::string reply = link_.readAll();
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
        if (link_.closing()) {
            state_.DownloadOk = false;
            break;
        }
    }
    progress_.setVisible(false);
    return state_.DownloadOk;
}

}  // namespace kelp::loader
