#pragma once

// Small helpers shared by the benchmarks: clocks and the board as its own process.

#include <sys/resource.h>
#include <time.h>

#include <QProcess>
#include <QStringList>
#include <cstdio>
#include <string>

#include "platform/qteventqueue.h"
#include "platform/qtserialport.h"
#include "platform/qtticktimer.h"
#include "link/link.h"
#include "shell/programstate.h"

namespace kelp::bench {

inline double wallSeconds() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// CPU time of this process (user + system), seconds.
inline double cpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) * 1e-6;
}

// kelp-board in its own process, so that its pacing thread does not count as our CPU time.
class Board {
public:
    explicit Board(const QStringList& args) {
        process_.setProgram(QStringLiteral(KELP_BOARD_EXE));
        process_.setArguments(args);
        process_.start();
        process_.waitForStarted(5000);
        for (int i = 0; i < 50 && !process_.canReadLine(); ++i) process_.waitForReadyRead(100);
        device_ = process_.readLine().trimmed().toStdString();
    }
    ~Board() {
        process_.terminate();
        process_.waitForFinished(3000);
    }
    const std::string& device() const { return device_; }

private:
    QProcess process_;
    std::string device_;
};

// The host's side as the program wires it: one port, the tick timer, the event queue, the
// link over them, the state. Talks to `device`.
struct Host {
    explicit Host(const std::string& device) { port.setPortName(device); }
    platform::QtSerialPort port;
    platform::QtTickTimer timer;
    platform::QtEventQueue events;
    link::Link link{port, timer, events};
    shell::ProgramState state;
};

// False, with a message, when the board did not start.
inline bool started(const Board& board) {
    if (board.device().empty()) std::fprintf(stderr, "kelp-board did not start\n");
    return !board.device().empty();
}

}  // namespace kelp::bench
