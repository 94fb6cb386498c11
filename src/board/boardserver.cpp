#include "board/boardserver.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "board/boardengine.h"

namespace kelp::board {
namespace {

using Nanos = int64_t;

constexpr Nanos kSecond = 1'000'000'000;
// Bytes ahead of the last one of an answer may leave this much early, so that the worker
// wakes once per burst rather than once per byte. The last byte always waits for its time.
constexpr Nanos kBurstLead = 1'000'000;
// A line whose reader has stopped reading: after this long the stale input is thrown away,
// as a UART overrun would, so the board never stalls for good.
constexpr Nanos kStuckLimit = kSecond;
constexpr std::size_t kReadChunk = 4096;

Nanos monotonicNow() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return Nanos{ts.tv_sec} * kSecond + ts.tv_nsec;
}

timespec toTimespec(Nanos ns) {
    ns = std::max<Nanos>(ns, 0);
    return timespec{static_cast<time_t>(ns / kSecond), static_cast<long>(ns % kSecond)};
}

struct BaudRate {
    speed_t code;
    long baud;
};

constexpr BaudRate kBaudRates[] = {
    {B300, 300},       {B600, 600},       {B1200, 1200},     {B2400, 2400},   {B4800, 4800},
    {B9600, 9600},     {B19200, 19200},   {B38400, 38400},   {B57600, 57600}, {B115200, 115200},
    {B230400, 230400}, {B460800, 460800}, {B921600, 921600},
};

// 0 for B0 or a rate no chip speaks: every byte is garbage then.
long baudOf(speed_t speed) {
    for (const BaudRate& rate : kBaudRates) {
        if (rate.code == speed) return rate.baud;
    }
    return 0;
}

// Time that `chars` characters of 10 bits take at `baud`, rounded up; 0 without pacing.
Nanos wireTime(std::size_t chars, long baud) {
    if (baud <= 0) return 0;
    return (static_cast<Nanos>(chars) * 10 * kSecond + baud - 1) / baud;
}

struct Outgoing {
    std::string bytes;
    std::size_t sent = 0;
    Nanos start = 0;  // the first character starts on the wire here
    long baud = 0;    // 0: no pacing
    std::size_t pacedLength = 0;
    bool packet = false;
    bool frame = false;

    Nanos due(std::size_t i) const { return start + wireTime(std::min(i + 1, pacedLength), baud); }
    bool last(std::size_t i) const { return i + 1 >= pacedLength; }
    Nanos end() const { return start + wireTime(pacedLength, baud); }
    // When byte i may leave: the last paced byte (and what rides with it) exactly on time.
    Nanos release(std::size_t i) const { return last(i) ? due(i) : due(i) - kBurstLead; }
};

void closeFd(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

std::string systemError(const std::string& what) { return what + ": " + std::strerror(errno); }

}  // namespace

struct BoardServer::Impl {
    explicit Impl(BoardOptions o) : options(std::move(o)), nextModel(options.model) {}

    void run();
    void receive(BoardEngine& engine, std::string_view bytes, Nanos arrival);
    void deliver(BoardEngine& engine, std::vector<Answer> answers, uint64_t resetsBefore);
    bool sendDue(Nanos now);
    long lineSpeed() const;
    void writeMemoryImage(const BoardEngine& engine) const;
    void closeAll();

    BoardOptions options;
    std::string error;
    int master = -1;
    int slave = -1;  // kept open so the master never sees a hang-up when the host closes
    int wakeRead = -1;
    int wakeWrite = -1;
    std::FILE* log = nullptr;
    std::thread worker;
    std::deque<Outgoing> queue;  // worker only

    std::mutex modelMutex;
    std::string nextModel;
    std::atomic<bool> modelChanged{false};

    mutable std::mutex receivedMutex;
    std::vector<ReceivedRequest> received;

    std::atomic<uint64_t> requests{0};
    std::atomic<uint64_t> bytes{0};
    std::atomic<uint64_t> packets{0};
    std::atomic<uint64_t> frames{0};
};

// The speed the host set on its end of the line: the terminal settings are the line's, shared
// by both ends.
long BoardServer::Impl::lineSpeed() const {
    termios settings;
    if (tcgetattr(slave, &settings) != 0) return 0;
    return baudOf(cfgetospeed(&settings));
}

void BoardServer::Impl::writeMemoryImage(const BoardEngine& engine) const {
    std::FILE* file = std::fopen(options.memoryOutPath.c_str(), "wb");
    const std::string image = engine.memoryImage();
    if (!file || std::fwrite(image.data(), 1, image.size(), file) != image.size()) {
        std::fprintf(stderr, "kelp-board: cannot write the memory image %s: %s\n",
                     options.memoryOutPath.c_str(), std::strerror(errno));
    }
    if (file) std::fclose(file);
}

void BoardServer::Impl::receive(BoardEngine& engine, std::string_view received, Nanos arrival) {
    if (modelChanged.exchange(false)) {
        std::lock_guard lock(modelMutex);
        engine.setModel(nextModel);
    }
    const uint64_t runsBefore = engine.runCount();
    const uint64_t resetsBefore = engine.resetCount();
    deliver(engine, engine.feed(received, arrival, lineSpeed()), resetsBefore);
    if (engine.runCount() != runsBefore && !options.memoryOutPath.empty()) {
        writeMemoryImage(engine);
    }
}

// Queues the engine's answers behind what is still going out, and passes its log and requests on.
void BoardServer::Impl::deliver(BoardEngine& engine, std::vector<Answer> answers,
                                uint64_t resetsBefore) {
    requests = engine.requestCount();
    if (engine.resetCount() != resetsBefore) queue.clear();  // even a half-sent answer stops
    Nanos free = queue.empty() ? 0 : queue.back().end();
    for (Answer& answer : answers) {
        Outgoing out;
        const long baud = options.pacing ? answer.baud : 0;
        // An answer to a request follows the request's own time on the wire.
        out.start = std::max(answer.readyAt + wireTime(answer.requestLength, baud), free);
        out.baud = baud;
        out.pacedLength = answer.pacedLength;
        out.packet = answer.packet;
        out.frame = answer.frame;
        out.bytes = std::move(answer.bytes);
        free = out.end();
        queue.push_back(std::move(out));
    }
    {
        std::vector<ReceivedRequest> seen = engine.takeRequests();
        std::lock_guard lock(receivedMutex);
        received.insert(received.end(), seen.begin(), seen.end());
    }
    for (const std::string& line : engine.takeLog()) {
        if (!log) break;
        std::fputs(line.c_str(), log);
        std::fputc('\n', log);
        std::fflush(log);
    }
}

// Writes what is due by `now`. False when the line took less than was offered.
bool BoardServer::Impl::sendDue(Nanos now) {
    while (!queue.empty()) {
        Outgoing& out = queue.front();
        std::size_t upTo = out.sent;
        while (upTo < out.bytes.size() && out.release(upTo) <= now) ++upTo;
        if (upTo > out.sent) {
            const ssize_t written = ::write(master, out.bytes.data() + out.sent, upTo - out.sent);
            if (written < 0) {
                if (errno == EAGAIN || errno == EINTR) return false;
                queue.clear();  // the line is gone; nothing queued can still arrive
                return true;
            }
            out.sent += static_cast<std::size_t>(written);
            bytes += static_cast<uint64_t>(written);
            if (out.sent < upTo) return false;
        }
        if (out.sent < out.bytes.size()) return true;
        if (out.packet) ++packets;
        if (out.frame) ++frames;
        // A thread woken late wrote this answer's end late; the next keeps its distance, as on a
        // wire, instead of running into it.
        const Nanos lateness = now - out.end();
        queue.pop_front();
        if (lateness > 0 && !queue.empty()) queue.front().start += lateness;
    }
    return true;
}

void BoardServer::Impl::run() {
#ifdef __linux__
    // Wake-ups land within microseconds of the due time instead of the default 50 us slack.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
#endif
    BoardEngine engine(options);
    char buffer[kReadChunk];
    Nanos stuckSince = -1;
    while (true) {
        const Nanos now = monotonicNow();
        // Frames of a stream come on the board's clock, whether the host reads them or not.
        if (const auto due = engine.nextDue(); due && *due <= now) {
            deliver(engine, engine.advance(now), engine.resetCount());
        }
        const bool flowing = sendDue(now);
        std::optional<Nanos> wake = engine.nextDue();
        const auto wakeBy = [&wake](Nanos at) { wake = wake ? std::min(*wake, at) : at; };
        if (!flowing) {
            if (stuckSince < 0) stuckSince = now;
            if (now - stuckSince > kStuckLimit) {
                tcflush(slave, TCIFLUSH);
                stuckSince = -1;
            }
            wakeBy(now + kSecond / 10);
        } else {
            stuckSince = -1;
            if (!queue.empty()) wakeBy(queue.front().release(queue.front().sent));
        }
        timespec timeout;
        const timespec* wait = nullptr;
        if (wake) {
            timeout = toTimespec(*wake - monotonicNow());
            wait = &timeout;
        }
        pollfd fds[2] = {{master, static_cast<short>(POLLIN | (flowing ? 0 : POLLOUT)), 0},
                         {wakeRead, POLLIN, 0}};
        const int ready = ppoll(fds, 2, wait, nullptr);
        if (ready < 0) {
            if (errno == EINTR) continue;
            std::fprintf(stderr, "kelp-board: %s\n", systemError("poll").c_str());
            return;
        }
        if (fds[1].revents) return;
        if (fds[0].revents & POLLIN) {
            const ssize_t got = ::read(master, buffer, sizeof buffer);
            const Nanos arrival = monotonicNow();
            if (got > 0) {
                receive(engine, std::string_view(buffer, static_cast<std::size_t>(got)), arrival);
                continue;
            }
        }
        if (fds[0].revents & (POLLHUP | POLLERR | POLLNVAL)) {
            // Should not happen while the slave is held open; never spin on it.
            const timespec pause = toTimespec(kSecond / 100);
            nanosleep(&pause, nullptr);
        }
    }
}

void BoardServer::Impl::closeAll() {
    closeFd(master);
    closeFd(slave);
    closeFd(wakeRead);
    closeFd(wakeWrite);
    if (log) std::fclose(log);
    log = nullptr;
    queue.clear();
}

BoardServer::BoardServer(BoardOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

BoardServer::~BoardServer() { stop(); }

const std::string& BoardServer::error() const { return impl_->error; }

std::string BoardServer::start() {
    Impl& d = *impl_;
    if (d.worker.joinable()) {
        d.error = "the board is already running";
        return {};
    }
    d.error = checkOptions(d.options);
    if (!d.error.empty()) return {};
    {
        std::lock_guard lock(d.modelMutex);
        if (d.modelChanged.exchange(false)) d.options.model = d.nextModel;
    }
    const auto fail = [&d](std::string why) {
        d.error = std::move(why);
        d.closeAll();
        return std::string();
    };
    if (!d.options.logPath.empty()) {
        d.log = std::fopen(d.options.logPath.c_str(), "w");
        if (!d.log) return fail(systemError("cannot open the log file " + d.options.logPath));
    }
    d.master = posix_openpt(O_RDWR | O_NOCTTY);
    if (d.master < 0) return fail(systemError("cannot open a pseudo-terminal"));
    if (grantpt(d.master) != 0 || unlockpt(d.master) != 0) {
        return fail(systemError("cannot unlock the pseudo-terminal"));
    }
    char name[256];
    if (ptsname_r(d.master, name, sizeof name) != 0) {
        return fail(systemError("cannot name the pseudo-terminal"));
    }
    d.slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (d.slave < 0) return fail(systemError(std::string("cannot open ") + name));
    termios settings;
    if (tcgetattr(d.slave, &settings) != 0) return fail(systemError("cannot read line settings"));
    cfmakeraw(&settings);
    cfsetispeed(&settings, B9600);
    cfsetospeed(&settings, B9600);
    if (tcsetattr(d.slave, TCSANOW, &settings) != 0) {
        return fail(systemError("cannot set the line to raw mode"));
    }
    fcntl(d.master, F_SETFD, FD_CLOEXEC);
    fcntl(d.master, F_SETFL, fcntl(d.master, F_GETFL) | O_NONBLOCK);
    int wake[2];
    if (pipe(wake) != 0) return fail(systemError("cannot create the wake-up pipe"));
    d.wakeRead = wake[0];
    d.wakeWrite = wake[1];
    for (int fd : wake) fcntl(fd, F_SETFD, FD_CLOEXEC);
    try {
        d.worker = std::thread([&d] { d.run(); });
    } catch (const std::system_error& e) {
        return fail(std::string("cannot start the board thread: ") + e.what());
    }
    return name;
}

void BoardServer::stop() {
    Impl& d = *impl_;
    if (d.worker.joinable()) {
        const char wake = 'x';
        while (::write(d.wakeWrite, &wake, 1) < 0 && errno == EINTR) {
        }
        d.worker.join();
    }
    d.closeAll();
}

bool BoardServer::setModel(const std::string& model) {
    if (!isModelName(model)) return false;
    std::lock_guard lock(impl_->modelMutex);
    impl_->nextModel = model;
    impl_->modelChanged = true;
    return true;
}

uint64_t BoardServer::requestsReceived() const { return impl_->requests; }
uint64_t BoardServer::bytesSent() const { return impl_->bytes; }
uint64_t BoardServer::packetsSent() const { return impl_->packets; }
uint64_t BoardServer::framesSent() const { return impl_->frames; }

std::vector<ReceivedRequest> BoardServer::receivedRequests() const {
    std::lock_guard lock(impl_->receivedMutex);
    return impl_->received;
}

}  // namespace kelp::board
