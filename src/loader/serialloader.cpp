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
    longRecordLine_ = 0;
    // The window keeps handling its events while a large image is read.
    const KeepGoing keepGoing = [this] {
        link_.yield();
        return !link_.closing();
    };
    std::string line, following;
    int lineCount = 0;
    {
        LineReader counting(path, keepGoing);
        while (counting.next(line)) ++lineCount;
        if (counting.failed() || counting.stopped()) lineCount = 0;
    }
    LineReader reader(path, keepGoing);
    if (lineCount == 0 || !reader.next(line)) {
        state_.DownloadOk = false;
        return false;
    }
    progress_.setRange(0, lineCount - 1);
    progress_.setValue(0);
    progress_.setVisible(true);
    int counter = 0;
    // The last line (normally the end record) is never sent.
    while (reader.next(following)) {
        if (line != kEndRecord && state_.DownloadOk) {
            const auto frame = writeFrameFromLine(line);
            if (!frame) longRecordLine_ = counter + 1;
            state_.DownloadOk = frame && acknowledgedRequest(*frame);
        }
        progress_.setValue(++counter);
        if (link_.closing()) {
            state_.DownloadOk = false;
            break;
        }
        line.swap(following);
    }
    if (reader.failed() || reader.stopped()) state_.DownloadOk = false;
    progress_.setVisible(false);
    return state_.DownloadOk;
}

}  // namespace kelp::loader
