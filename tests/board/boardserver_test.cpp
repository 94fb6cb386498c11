#include "board/boardserver.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "board/boardengine.h"
#include "boardtesting.h"

namespace kelp::board {
namespace {

using Clock = std::chrono::steady_clock;
using testing::bytes;
using testing::kResetSequence;
using testing::loaderFrame;
using testing::writeFrame;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The host's end of the line, opened with plain POSIX calls like a serial port.
class HostPort {
public:
    HostPort(const std::string& path, speed_t speed) {
        fd_ = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
        if (fd_ < 0) return;
        termios settings;
        tcgetattr(fd_, &settings);
        cfmakeraw(&settings);
        cfsetispeed(&settings, speed);
        cfsetospeed(&settings, speed);
        tcsetattr(fd_, TCSANOW, &settings);
    }
    ~HostPort() {
        if (fd_ >= 0) ::close(fd_);
    }
    bool isOpen() const { return fd_ >= 0; }

    void send(const std::string& data) {
        ASSERT_EQ(::write(fd_, data.data(), data.size()), static_cast<ssize_t>(data.size()));
    }

    // Reads until `count` bytes came or `timeoutMs` passed; `firstAt` gets the arrival time of
    // the first byte.
    std::string receive(std::size_t count, int timeoutMs, Clock::time_point* firstAt = nullptr) {
        std::string got;
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        while (got.size() < count && Clock::now() < deadline) {
            pollfd fds{fd_, POLLIN, 0};
            ::poll(&fds, 1, 1);
            char buffer[1024];
            const ssize_t n = ::read(fd_, buffer, std::min(sizeof buffer, count - got.size()));
            if (n > 0) {
                if (got.empty() && firstAt) *firstAt = Clock::now();
                got.append(buffer, static_cast<std::size_t>(n));
            }
        }
        return got;
    }

private:
    int fd_ = -1;
};

std::filesystem::path tempPath(const std::string& name) {
    return std::filesystem::temp_directory_path() /
           ("kelp-board-test-" + std::to_string(::getpid()) + "-" + name);
}

std::vector<std::string> readLines(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = Clock::now() + std::chrono::seconds(2);
    while (!condition() && Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

struct Exchange {
    std::string answer;
    double firstMs = 0;  // request sent to first answer byte received
    double lastMs = 0;   // request sent to last answer byte received
};

Exchange timedExchange(HostPort& host, const std::string& request, std::size_t answerSize) {
    Exchange exchange;
    const auto sent = Clock::now();
    Clock::time_point first;
    host.send(request);
    exchange.answer = host.receive(answerSize, 2000, &first);
    exchange.lastMs = millisecondsSince(sent);
    exchange.firstMs = std::chrono::duration<double, std::milli>(first - sent).count();
    return exchange;
}

// Upper bounds depend on how busy the machine is, so they are judged on the best of a few
// attempts; the lower bounds must hold on every one.
constexpr int kAttempts = 3;
constexpr double kSlackMs = 30;

TEST(BoardServer, IdentificationTakesItsTimeOnTheWire) {
    struct Case {
        speed_t speed;
        double baud;
    };
    for (const Case& c : {Case{B9600, 9600}, Case{B57600, 57600}}) {
        BoardServer server{BoardOptions{}};
        const std::string path = server.start();
        ASSERT_FALSE(path.empty()) << server.error();
        EXPECT_TRUE(path.starts_with("/dev/")) << path;
        HostPort host(path, c.speed);
        ASSERT_TRUE(host.isOpen());
        const double charMs = 10'000.0 / c.baud;

        double best = 1e9;
        bool trickled = false;
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            const Exchange e = timedExchange(host, kResetSequence, 25);
            EXPECT_EQ(e.answer, BoardEngine::identification("Zylo570", '2', '1'));
            // The four request bytes and the 25 answer bytes, never faster than the line.
            EXPECT_GE(e.lastMs, 29 * charMs) << c.baud;
            // The first byte may leave a little ahead of its time, but not much.
            EXPECT_GE(e.firstMs, 5 * charMs - 1.1) << c.baud;
            best = std::min(best, e.lastMs);
            // Bytes trickle out rather than all at the end.
            trickled = trickled || e.firstMs <= e.lastMs - 20 * charMs;
        }
        EXPECT_LE(best, 29 * charMs + kSlackMs) << c.baud;
        // At 57600 the whole answer lasts 4 ms, too short to tell from scheduling delays.
        if (c.baud == 9600) {
            EXPECT_TRUE(trickled);
        }
        EXPECT_TRUE(eventually([&] { return server.bytesSent() == 25u * kAttempts; }));
        EXPECT_EQ(server.requestsReceived(), static_cast<uint64_t>(kAttempts));
    }
}

TEST(BoardServer, PacketTakesItsTimeOnTheWire) {
    BoardServer server{BoardOptions{}};
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    HostPort host(path, B57600);
    host.send(testing::configuration({0x90, 1}));
    const double wireMs = 501 * 10'000.0 / 57600;  // the request byte and the packet
    double best = 1e9;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Exchange e = timedExchange(host, "R", 500);
        EXPECT_EQ(e.answer.size(), 500u);
        EXPECT_GE(e.lastMs, wireMs);
        best = std::min(best, e.lastMs);
    }
    EXPECT_LE(best, wireMs + kSlackMs);
    EXPECT_TRUE(eventually([&] { return server.packetsSent() == kAttempts; }));
}

TEST(BoardServer, WithoutPacingAnswersAtOnce) {
    BoardOptions options;
    options.pacing = false;
    BoardServer server(options);
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    HostPort host(path, B9600);
    double best = 1e9;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Exchange e = timedExchange(host, kResetSequence, 25);
        EXPECT_EQ(e.answer.size(), 25u);
        best = std::min(best, e.lastMs);
    }
    EXPECT_LT(best, 29 * 10'000.0 / 9600);  // faster than the wire
}

TEST(BoardServer, ServesAPacketAndLogsAsItGoes) {
    const auto logPath = tempPath("packet.log");
    BoardOptions options;
    options.logPath = logPath.string();
    BoardServer server(options);
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    HostPort host(path, B57600);

    const Exchange e = timedExchange(host, testing::configuration({0x90, 8}) + "R", 500);
    const std::string& packet = e.answer;
    ASSERT_EQ(packet.size(), 500u);
    EXPECT_GE(e.lastMs, 501 * 10'000.0 / 57600);  // the request byte and the packet
    EXPECT_TRUE(eventually([&] { return server.packetsSent() == 1; }));
    EXPECT_EQ(server.requestsReceived(), 2u);
    EXPECT_EQ(server.bytesSent(), 500u);

    // The log is complete while the board still runs.
    const auto lines = readLines(logPath);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(lines[0].starts_with("CONFIG 43 90 08 00"));
    EXPECT_EQ(lines[1], "REQUEST");
    ASSERT_EQ(lines[2].size(), 5 + 100 * 4u);
    for (std::size_t j = 0; j < 100; ++j) {
        EXPECT_EQ(lines[2].substr(6 + 4 * j, 3), packet.substr(5 * j + 2, 3)) << j;
        EXPECT_EQ(packet[5 * j + 1], '0');
    }
    host.send("S");
    EXPECT_TRUE(eventually([&] { return readLines(logPath).size() == 4; }));
    EXPECT_EQ(readLines(logPath).back(), "STOP");
    server.stop();
    std::filesystem::remove(logPath);
}

TEST(BoardServer, DownloadWritesTheMemoryImage) {
    const auto imagePath = tempPath("memory.bin");
    BoardOptions options;
    options.pacing = false;
    options.start = StartMode::Loader;
    options.memoryOutPath = imagePath.string();
    BoardServer server(options);
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    HostPort host(path, B9600);

    host.send(kResetSequence);
    EXPECT_EQ(host.receive(25, 2000).substr(0, 7), "Zylo570");
    for (const std::string& frame :
         {loaderFrame('C'), writeFrame(0x0000, bytes({0x02, 0x00, 0x40})),
          writeFrame(0x1FF0, std::string(16, 'k')), loaderFrame('U', bytes({0, 0, 0}))}) {
        host.send(frame);
        EXPECT_EQ(host.receive(1, 2000), "\x06");
    }
    ASSERT_TRUE(eventually([&] { return std::filesystem::file_size(imagePath) == 8192; }));
    std::ifstream file(imagePath, std::ios::binary);
    const std::string image((std::istreambuf_iterator<char>(file)), {});
    std::string expected(8192, '\xFF');
    expected.replace(0, 3, bytes({0x02, 0x00, 0x40}));
    expected.replace(0x1FF0, 16, std::string(16, 'k'));
    EXPECT_EQ(image, expected);

    host.send(testing::configuration({0x90}) + "R");
    EXPECT_EQ(host.receive(500, 2000).size(), 500u);
    std::filesystem::remove(imagePath);
}

TEST(BoardServer, ResetCutsAPacketShort) {
    BoardServer server{BoardOptions{}};
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    HostPort host(path, B9600);  // a packet takes over half a second here
    host.send(testing::configuration({0x90}) + "R");
    const std::string begun = host.receive(40, 2000);
    EXPECT_EQ(begun.size(), 40u);
    const auto reset = Clock::now();
    host.send(kResetSequence);
    const std::string id = BoardEngine::identification("Zylo570", '2', '1');
    std::string rest;
    while (!rest.ends_with(id) && millisecondsSince(reset) < 1000) rest += host.receive(1, 50);
    EXPECT_TRUE(rest.ends_with(id));
    // The packet never completes: the reset stops it wherever it was.
    EXPECT_LT(begun.size() + rest.size() - id.size(), 500u);
    EXPECT_EQ(server.packetsSent(), 0u);
}

TEST(BoardServer, HostMayCloseAndReopenTheLine) {
    BoardServer server{BoardOptions{}};
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    for (int round = 0; round < 3; ++round) {
        HostPort host(path, B57600);
        ASSERT_TRUE(host.isOpen());
        host.send(kResetSequence);
        EXPECT_EQ(host.receive(25, 2000).size(), 25u) << round;
    }
    EXPECT_EQ(server.requestsReceived(), 3u);
}

TEST(BoardServer, ModelChangesAtTheNextReset) {
    BoardOptions options;
    options.pacing = false;
    BoardServer server(options);
    EXPECT_FALSE(server.setModel("Zylo5"));
    const std::string path = server.start();
    ASSERT_FALSE(path.empty()) << server.error();
    HostPort host(path, B9600);
    EXPECT_TRUE(server.setModel("Zylo531"));
    host.send(kResetSequence);
    EXPECT_EQ(host.receive(25, 2000).substr(0, 7), "Zylo531");
}

TEST(BoardServer, RefusesWhatItCannotServe) {
    BoardOptions badModel;
    badModel.model = "Zylo5xy";
    BoardServer first(badModel);
    EXPECT_EQ(first.start(), "");
    EXPECT_NE(first.error().find("Zylo5xy"), std::string::npos);

    BoardOptions badLog;
    badLog.logPath = "/nonexistent-folder/board.log";
    BoardServer second(badLog);
    EXPECT_EQ(second.start(), "");
    EXPECT_NE(second.error().find("log"), std::string::npos);

    BoardServer running{BoardOptions{}};
    ASSERT_NE(running.start(), "");
    EXPECT_EQ(running.start(), "");
    EXPECT_NE(running.error(), "");
    running.stop();
    running.stop();
}

}  // namespace
}  // namespace kelp::board
