#include "board/boardserver.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <regex>
#include <thread>

#include "board/boardengine.h"
#include "boardtesting.h"

namespace kelp::board {
namespace {

using Clock = std::chrono::steady_clock;
using testing::kResetSequence;
constexpr double kSlackMs = 30;

double msBetween(Clock::time_point from, Clock::time_point to = Clock::now()) {
    return std::chrono::duration<double, std::milli>(to - from).count();
}

// The host's end of the line, opened with plain POSIX calls like a serial port.
struct HostPort {
    HostPort(const std::string& path, speed_t speed)
        : fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
        termios settings;
        EXPECT_EQ(tcgetattr(fd, &settings), 0);
        cfmakeraw(&settings);
        cfsetspeed(&settings, speed);
        EXPECT_EQ(tcsetattr(fd, TCSANOW, &settings), 0);
    }
    ~HostPort() { ::close(fd); }
    void send(const std::string& data) {
        ASSERT_EQ(::write(fd, data.data(), data.size()), static_cast<ssize_t>(data.size()));
    }
    // Reads until `count` bytes came or `timeoutMs` passed; notes when the first one came.
    std::string receive(std::size_t count, int timeoutMs = 2000) {
        std::string got;
        char buffer[1024];
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        for (pollfd p{fd, POLLIN, 0}; got.size() < count && Clock::now() < deadline;) {
            ::poll(&p, 1, 1);
            const ssize_t n = ::read(fd, buffer, std::min(sizeof buffer, count - got.size()));
            if (n > 0 && got.empty()) firstAt = Clock::now();
            if (n > 0) got.append(buffer, static_cast<std::size_t>(n));
        }
        return got;
    }
    int fd;
    Clock::time_point firstAt;
};

TEST(BoardServer, AnswersTakeTheirTimeAtTheSpeedTheHostSetAndAResetCutsThemShort) {
    BoardServer server{BoardOptions{}};
    const std::string path = server.start();
    ASSERT_TRUE(path.starts_with("/dev/")) << path << server.error();
    EXPECT_TRUE(server.setModel("Zylo531"));  // from the next reset on
    const std::string id = BoardEngine::identification("Zylo531", '2', '1');
    {
        // A packet takes 87 ms at 57600; the reset stops it wherever it was.
        HostPort host(path, B57600);
        host.send(testing::configuration({0x90}) + "R");
        const std::string begun = host.receive(40);
        const auto reset = Clock::now();
        host.send(kResetSequence);
        std::string rest;
        while (!rest.ends_with(id) && msBetween(reset) < 1000) rest += host.receive(1, 50);
        EXPECT_TRUE(rest.ends_with(id));
        EXPECT_LT(begun.size() + rest.size() - id.size(), 500u);
    }
    // The host opens the line again at another speed. Upper bounds: the best of three attempts.
    for (const double baud : {9600.0, 57600.0}) {
        HostPort host(path, baud == 9600 ? B9600 : B57600);
        const double charMs = 10'000 / baud;
        double best = 1e9;
        bool trickled = false;
        for (int attempt = 0; attempt < 3; ++attempt) {
            const auto sent = Clock::now();
            host.send(kResetSequence);
            EXPECT_EQ(host.receive(25), id);
            const double lastMs = msBetween(sent), firstMs = msBetween(sent, host.firstAt);
            // The four request bytes and the 25 answer bytes, never faster than the line; the
            // first byte may leave a little ahead of its time, but not much.
            EXPECT_GE(lastMs, 29 * charMs) << baud;
            EXPECT_GE(firstMs, 5 * charMs - 1.1) << baud;
            best = std::min(best, lastMs);
            trickled = trickled || firstMs <= lastMs - 20 * charMs;
        }
        EXPECT_LE(best, 29 * charMs + kSlackMs) << baud;
        // Bytes trickle out rather than all at the end (at 57600 too short to tell).
        EXPECT_TRUE(trickled || baud != 9600);
    }
}

// The speed each request came at is the engine's to judge; the end-to-end tests see the
// server pass it on.
TEST(BoardServer, FramesFlowOnTheBoardsClock) {
    BoardServer server(testing::withFaults({}, StartMode::Firmware, "Zylo580"));
    HostPort host(server.start(), B57600);
    const auto sent = Clock::now();
    // Chopping off, SF 45: 59.36 frames a second, which queue while the host reads nothing.
    host.send(testing::configuration({0x07, 0x4F, 0x0F, 0x38, 0x45}, 27) + "R");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const std::string queued = host.receive(100000, 5);
    const double seconds = msBetween(sent) / 1000;
    // Whole frames, and at most the start of one more still on the wire.
    EXPECT_TRUE(std::regex_match(queued, std::regex("(\r[0-9A-F]{12})+(\r[0-9A-F]{0,11})?")));
    const double frames = static_cast<double>(queued.size() / 13);
    EXPECT_LE(frames, seconds * 4096 / 0x45);
    EXPECT_GE(frames, (seconds - kSlackMs / 1000) * 4096 / 0x45 - 1);
}

}  // namespace
}  // namespace kelp::board
