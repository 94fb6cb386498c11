#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "board/boardoptions.h"

namespace kelp::board {

// The board as a real serial peer: a pseudo-terminal whose slave side the host opens like a
// serial port, served by one worker thread that paces every answer at the baud rate the host
// has set on the line.
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
    uint64_t packetsSent() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kelp::board
