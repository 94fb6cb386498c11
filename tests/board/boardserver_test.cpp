#include "board/boardserver.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "board/boardengine.h"
#include "boardtesting.h"

namespace kelp::board {
namespace {

using Clock = std::chrono::steady_clock;
using testing::bytes;
using testing::configuration;
using testing::kResetSequence;
using testing::loaderFrame;
using testing::sdConfiguration;
using testing::writeFrame;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Time that `chars` characters of ten bits take at `baud`.
double wireMs(int chars, double baud) { return chars * 10'000.0 / baud; }

struct Exchange {
    std::string answer;
    double firstMs = 0;  // request sent to first answer byte received
    double lastMs = 0;   // request sent to last answer byte received
};

// The host's end of the line, opened with plain POSIX calls like a serial port.
class HostPort {
public:
    HostPort(const std::string& path, speed_t speed)
        : fd_(::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {
        termios settings;
        if (fd_ < 0 || tcgetattr(fd_, &settings) != 0) return;
        cfmakeraw(&settings);
        cfsetspeed(&settings, speed);
        tcsetattr(fd_, TCSANOW, &settings);
    }
    ~HostPort() {
        if (fd_ >= 0) ::close(fd_);
    }
    bool isOpen() const { return fd_ >= 0; }

    void setSpeed(speed_t speed) {
        termios settings;
        ASSERT_EQ(tcgetattr(fd_, &settings), 0);
        cfsetspeed(&settings, speed);
        ASSERT_EQ(tcsetattr(fd_, TCSANOW, &settings), 0);
    }

    void send(const std::string& data) {
        ASSERT_EQ(::write(fd_, data.data(), data.size()), static_cast<ssize_t>(data.size()));
    }

    // Reads until `count` bytes came or `timeoutMs` passed.
    std::string receive(std::size_t count, int timeoutMs = 2000) {
        std::string got;
        const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
        while (got.size() < count && Clock::now() < deadline) {
            pollfd fds{fd_, POLLIN, 0};
            ::poll(&fds, 1, 1);
            char buffer[1024];
            const ssize_t n = ::read(fd_, buffer, std::min(sizeof buffer, count - got.size()));
            if (n <= 0) continue;
            if (got.empty()) firstAt_ = Clock::now();
            got.append(buffer, static_cast<std::size_t>(n));
        }
        return got;
    }

    Exchange exchange(const std::string& request, std::size_t answerSize) {
        Exchange e;
        const auto sent = Clock::now();
        send(request);
        e.answer = receive(answerSize);
        e.lastMs = millisecondsSince(sent);
        e.firstMs = std::chrono::duration<double, std::milli>(firstAt_ - sent).count();
        return e;
    }

private:
    int fd_;
    Clock::time_point firstAt_;
};

// A board started with `options` and the host's end of its line.
struct Line {
    explicit Line(BoardOptions options, speed_t speed = B57600)
        : server(std::move(options)), host(server.start(), speed) {}
    BoardServer server;
    HostPort host;
};

std::filesystem::path tempPath(const std::string& name) {
    return std::filesystem::temp_directory_path() /
           ("kelp-board-test-" + std::to_string(::getpid()) + "-" + name);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <typename Condition>
bool eventually(Condition condition) {
    const auto deadline = Clock::now() + std::chrono::seconds(2);
    while (!condition() && Clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

// Upper bounds depend on how busy the machine is, so they are judged on the best of a few
// attempts; the lower bounds must hold on every one.
constexpr int kAttempts = 3;
constexpr double kSlackMs = 30;

TEST(BoardServer, IdentificationTakesItsTimeAtTheSpeedTheHostSet) {
    BoardServer server{BoardOptions{}};
    const std::string path = server.start();
    ASSERT_TRUE(path.starts_with("/dev/")) << path << server.error();
    // The host closes the line and opens it again at another speed.
    for (const double baud : {9600.0, 57600.0}) {
        HostPort host(path, baud == 9600 ? B9600 : B57600);
        ASSERT_TRUE(host.isOpen());
        const double charMs = wireMs(1, baud);
        double best = 1e9;
        bool trickled = false;
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            const Exchange e = host.exchange(kResetSequence, 25);
            EXPECT_EQ(e.answer, BoardEngine::identification("Zylo570", '2', '1'));
            // The four request bytes and the 25 answer bytes, never faster than the line.
            EXPECT_GE(e.lastMs, 29 * charMs) << baud;
            // The first byte may leave a little ahead of its time, but not much.
            EXPECT_GE(e.firstMs, 5 * charMs - 1.1) << baud;
            best = std::min(best, e.lastMs);
            // Bytes trickle out rather than all at the end.
            trickled = trickled || e.firstMs <= e.lastMs - 20 * charMs;
        }
        EXPECT_LE(best, 29 * charMs + kSlackMs) << baud;
        // At 57600 the whole answer lasts 4 ms, too short to tell from scheduling delays.
        EXPECT_TRUE(trickled || baud != 9600);
    }
    EXPECT_TRUE(eventually([&] { return server.bytesSent() == 2 * 25u * kAttempts; }));
    EXPECT_EQ(server.requestsReceived(), 2u * kAttempts);
}

TEST(BoardServer, PacketsTakeTheirTimeAndTheLogKeepsUp) {
    const auto logPath = tempPath("packet.log");
    BoardOptions options;
    options.logPath = logPath.string();
    Line line(options);
    ASSERT_TRUE(line.host.isOpen()) << line.server.error();
    const std::string config = configuration({0x90, 8});
    line.host.send(config);
    const double wire = wireMs(501, 57600);  // the request byte and the packet
    std::string packets;
    double best = 1e9;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Exchange e = line.host.exchange("R", 500);
        EXPECT_GE(e.lastMs, wire);
        best = std::min(best, e.lastMs);
        packets += e.answer;
    }
    EXPECT_LE(best, wire + kSlackMs);
    EXPECT_TRUE(eventually([&] { return line.server.packetsSent() == kAttempts; }));
    EXPECT_EQ(line.server.requestsReceived(), 1u + kAttempts);
    EXPECT_EQ(line.server.bytesSent(), 500u * kAttempts);

    // The packets and the log are the engine's, and the log is complete while the board runs.
    line.host.send("S");
    BoardEngine engine(options);
    std::string expected;
    for (const Answer& a : engine.feed(config + std::string(kAttempts, 'R') + "S")) {
        expected += a.bytes;
    }
    EXPECT_EQ(packets, expected);
    std::string log;
    for (const std::string& entry : engine.takeLog()) log += entry + '\n';
    EXPECT_TRUE(eventually([&] { return readFile(logPath) == log; }));
    EXPECT_EQ(readFile(logPath), log);
    line.server.stop();
    std::filesystem::remove(logPath);
}

TEST(BoardServer, UnpacedDownloadWritesTheMemoryImageOfTheNewModel) {
    const auto imagePath = tempPath("memory.bin");
    BoardOptions options;
    options.pacing = false;
    options.memoryOutPath = imagePath.string();
    BoardServer server(options);
    EXPECT_FALSE(server.setModel("Zylo5"));
    HostPort host(server.start(), B9600);
    ASSERT_TRUE(host.isOpen()) << server.error();
    EXPECT_TRUE(server.setModel("Zylo531"));  // from the next reset on
    double best = 1e9;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const Exchange e = host.exchange(kResetSequence, 25);
        EXPECT_EQ(e.answer, BoardEngine::identification("Zylo531", '2', '1'));
        best = std::min(best, e.lastMs);
    }
    EXPECT_LT(best, wireMs(29, 9600));  // faster than the wire
    for (const std::string& frame :
         {loaderFrame('C'), writeFrame(0x0000, bytes({0x02, 0x00, 0x40})),
          writeFrame(0x1FF0, std::string(16, 'k')), loaderFrame('U', bytes({0, 0, 0}))}) {
        EXPECT_EQ(host.exchange(frame, 1).answer, "\x06");
    }
    std::string expected(8192, '\xFF');
    expected.replace(0, 3, bytes({0x02, 0x00, 0x40}));
    expected.replace(0x1FF0, 16, std::string(16, 'k'));
    EXPECT_TRUE(eventually([&] { return readFile(imagePath).size() == 8192; }));
    EXPECT_EQ(readFile(imagePath), expected);
    std::filesystem::remove(imagePath);
}

TEST(BoardServer, ResetCutsAPacketShort) {
    Line line(BoardOptions{});  // a packet takes 87 ms here
    ASSERT_TRUE(line.host.isOpen()) << line.server.error();
    line.host.send(configuration({0x90}) + "R");
    const std::string begun = line.host.receive(40);
    EXPECT_EQ(begun.size(), 40u);
    const auto reset = Clock::now();
    line.host.send(kResetSequence);
    const std::string id = BoardEngine::identification("Zylo570", '2', '1');
    std::string rest;
    while (!rest.ends_with(id) && millisecondsSince(reset) < 1000) rest += line.host.receive(1, 50);
    EXPECT_TRUE(rest.ends_with(id));
    // The packet never completes: the reset stops it wherever it was.
    EXPECT_LT(begun.size() + rest.size() - id.size(), 500u);
    EXPECT_EQ(line.server.packetsSent(), 0u);
}

TEST(BoardServer, FramesFlowOnTheBoardsClockAndEachRequestKeepsItsSpeed) {
    using enum RequestKind;
    BoardOptions options;
    options.model = "Zylo580";
    Line line(options);
    ASSERT_TRUE(line.host.isOpen()) << line.server.error();
    const auto sent = Clock::now();
    // Chopping off, SF 45: 59.36 frames a second, which queue while the host reads nothing.
    line.host.send(sdConfiguration({0x07, 0x4F, 0x0F, 0x38, 0x45}) + "R");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const std::string queued = line.host.receive(100000, 5);
    const double seconds = millisecondsSince(sent) / 1000;
    // Whole frames, and at most the start of one more still on the wire.
    EXPECT_TRUE(std::regex_match(queued, std::regex("(\r[0-9A-F]{12})+(\r[0-9A-F]{0,11})?")));
    const double frames = static_cast<double>(queued.size() / 13);
    EXPECT_LE(frames, seconds * 4096 / 0x45);
    EXPECT_GE(frames, (seconds - kSlackMs / 1000) * 4096 / 0x45 - 1);

    // Divider 3: a request at the old speed is garbage now; the host follows only once the board
    // has the command.
    line.host.send("SD3R");
    ASSERT_TRUE(eventually([&] { return line.server.receivedRequests().size() == 5; }));
    line.host.setSpeed(B9600);
    line.host.send("S");
    const std::vector<ReceivedRequest> expected = {{Config, 57600}, {Request, 57600},
                                                   {Stop, 57600},   {Divider, 57600},
                                                   {Bad, 57600},    {Stop, 9600}};
    EXPECT_TRUE(eventually([&] { return line.server.receivedRequests() == expected; }));
    EXPECT_GE(line.server.framesSent(), queued.size() / 13);
}

TEST(BoardServer, RefusesWhatItCannotServe) {
    BoardOptions badModel, badLog;
    badModel.model = "Zylo5xy";
    badLog.logPath = "/nonexistent-folder/board.log";
    BoardServer first(badModel), second(badLog), running{BoardOptions{}};
    EXPECT_EQ(first.start(), "");
    EXPECT_NE(first.error().find("Zylo5xy"), std::string::npos);
    EXPECT_EQ(second.start(), "");
    EXPECT_NE(second.error().find("log"), std::string::npos);
    ASSERT_NE(running.start(), "");
    EXPECT_EQ(running.start(), "");
    EXPECT_NE(running.error(), "");
    running.stop();
    running.stop();
}

}  // namespace
}  // namespace kelp::board
