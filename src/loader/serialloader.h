#pragma once

#include <cstdint>
#include <string>

namespace kelp::platform {
class ProgressIndicator;
}
namespace kelp::link {
class Link;
}

namespace kelp::loader {

// What the loader writes and the rest of the program reads: the chip's model and reply.
struct LoaderState {
    std::string ModelName;
    std::string LoaderReply;  // first 14 characters of the identification
    bool DownloadOk = false;
    int16_t HexSizeLimit = 0;
};

// "Zylo5" followed by characters 6 and 7 of a loader reply or model field.
std::string modelNameFromReply(const std::string& reply);
// Character 12, ".", character 13 of the loader reply.
std::string versionFromReply(const std::string& loaderReply);

// The chip's serial loader, driven one request and one timed answer at a time over the
// shared port. Every operation leaves the port open; the caller closes it.
class SerialLoader {
public:
    SerialLoader(link::Link& link, LoaderState& state, platform::ProgressIndicator& progress);

    bool ResetDevice();
    bool EraseCode();
    // Sends every line but the last as a write frame; stops sending after the first record
    // that is not acknowledged but still runs the progress to its end.
    bool DownloadCode(const std::string& path);
    // The line (counted from 1) whose record the last DownloadCode found too long for a write
    // frame, or 0.
    int longRecordLine() const { return longRecordLine_; }
    bool RunCode();
    // True when exactly `count` bytes are waiting before `timeoutMs` has passed. More bytes
    // than expected do not end the wait.
    bool WaitForBytes(int timeoutMs, int count);

    static constexpr int kTimeoutMs = 500;

private:
    bool acknowledgedRequest(const std::string& frame);

    link::Link& link_;
    LoaderState& state_;
    platform::ProgressIndicator& progress_;
    int longRecordLine_ = 0;
};

}  // namespace kelp::loader
