#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "board/boardoptions.h"
#include "board/firmware.h"

namespace kelp::board {

// The board as a real serial peer: a pseudo-terminal whose slave side the host opens like a
// serial port, served by one worker thread. It notes the baud rate the host has set on the line
// when each byte arrives (a byte at another speed than the chip's is garbage to it), paces every
// answer at the chip's speed, and sends the frames of a sigma-delta stream on its own clock.
class BoardServer {
public:
    explicit BoardServer(BoardOptions options);
    ~BoardServer();
    BoardServer(const BoardServer&) = delete;
    BoardServer& operator=(const BoardServer&) = delete;

    // Opens the pseudo-terminal and starts serving. Returns the slave path (such as /dev/pts/7),
    // or an empty string with the reason in error().
    std::string start();
    // Idempotent; joins the worker.
    void stop();
    const std::string& error() const;

    // Thread-safe; the chip answers with this model from its next reset on. False (and no
    // change) for a name that is not "Zylo5" and two digits.
    bool setModel(const std::string& model);

    // Thread-safe counters.
    uint64_t requestsReceived() const;
    uint64_t bytesSent() const;
    uint64_t packetsSent() const;  // SAR packets
    uint64_t framesSent() const;   // sigma-delta frames

    // Thread-safe: every request received so far, in order, garbage (BAD) included, each with
    // the line speed the host had set when it arrived.
    std::vector<ReceivedRequest> receivedRequests() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kelp::board
