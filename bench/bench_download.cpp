// Downloads the largest firmware image through the paced virtual board and compares the
// host's wall time with the wire minimum of every byte sent and received.

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <QCoreApplication>
#include <cstdio>
#include <filesystem>

#include "benchsupport.h"
#include "loader/download.h"
#include "loader/frames.h"
#include "loader/hexfile.h"
#include "loader/serialloader.h"
#include "platform/progress.h"
#include "shell/programstate.h"

namespace {

// The same exchanges without the program: blocking writes and a poll for each answer, the
// least a host can spend. Returns the wall time, or a negative value on failure.
double bareHost(const std::string& device, const std::vector<std::string>& frames) {
    const int fd = ::open(device.c_str(), O_RDWR | O_NOCTTY);
    if (fd < 0) return -1;
    termios t{};
    tcgetattr(fd, &t);
    cfmakeraw(&t);
    cfsetispeed(&t, B9600);
    cfsetospeed(&t, B9600);
    tcsetattr(fd, TCSANOW, &t);
    const double t0 = kelp::bench::wallSeconds();
    bool ok = true;
    for (const std::string& f : frames) {
        const size_t expect = f == kelp::loader::kResetSequence ? 25 : 1;
        ok = ok && ::write(fd, f.data(), f.size()) == static_cast<ssize_t>(f.size());
        size_t got = 0;
        char buf[64];
        while (ok && got < expect) {
            pollfd p{fd, POLLIN, 0};
            ok = ::poll(&p, 1, 1000) == 1;
            const ssize_t n = ok ? ::read(fd, buf, sizeof buf) : -1;
            ok = n > 0;
            got += ok ? static_cast<size_t>(n) : 0;
        }
    }
    const double wall = kelp::bench::wallSeconds() - t0;
    ::close(fd);
    return ok ? wall : -1;
}

class NoProgress final : public kelp::platform::ProgressIndicator {
public:
    void setVisible(bool) override {}
    void setRange(int, int) override {}
    void setValue(int) override {}
};

}  // namespace

int main(int argc, char** argv) {
    kelp::platform::ChooseEventDispatcher();
    QCoreApplication app(argc, argv);
    namespace fs = std::filesystem;
    const fs::path asm_ = fs::path(KELP_PROGRAM_DIR) / "ASM";
    fs::path largest;
    for (const auto& e : fs::directory_iterator(asm_))
        if (largest.empty() || fs::file_size(e.path()) > fs::file_size(largest)) largest = e.path();
    if (largest.empty()) {
        std::fprintf(stderr, "no image in %s\n", asm_.c_str());
        return 1;
    }
    const auto lines =
        kelp::loader::readTextLines(largest.string()).value_or(std::vector<std::string>{});

    // Wire minimum at 9600 baud, 10 bits a byte: reset and identification, erase and its
    // acknowledge, every write frame and its acknowledge, run and its acknowledge.
    double wireBytes =
        4 + 25 + kelp::loader::eraseFrame().size() + 1 + kelp::loader::runFrame().size() + 1;
    int records = 0;
    std::vector<std::string> frames{kelp::loader::kResetSequence, kelp::loader::eraseFrame()};
    for (size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i] == kelp::loader::kEndRecord) continue;
        frames.push_back(*kelp::loader::writeFrameFromLine(lines[i]));
        wireBytes += static_cast<double>(frames.back().size() + 1);
        ++records;
    }
    frames.push_back(kelp::loader::runFrame());
    const double wire = wireBytes * 10.0 / 9600.0;

    kelp::bench::Board board({"--model", "Zylo581", "--start", "loader"});
    if (!kelp::bench::started(board)) return 1;
    kelp::bench::Host host(board.device());
    auto& port = host.port;
    auto& state = host.state;
    NoProgress progress;
    kelp::loader::SerialLoader loader(host.link, state.loader, progress);

    if (kelp::loader::OpenCommPort(host.link) != kelp::platform::OpenError::None) {
        std::fprintf(stderr, "cannot open %s\n", board.device().c_str());
        return 1;
    }
    const double cpu0 = kelp::bench::cpuSeconds();
    const double t0 = kelp::bench::wallSeconds();
    state.loader.DownloadOk = true;
    const bool ok = loader.ResetDevice() && loader.EraseCode() &&
                    loader.DownloadCode(largest.string()) && loader.RunCode();
    const double wall = kelp::bench::wallSeconds() - t0;
    const double cpu = kelp::bench::cpuSeconds() - cpu0;
    port.close();

    std::printf("download %s: %s, %d records, %.0f bytes on the wire\n", largest.filename().c_str(),
                ok ? "ok" : "FAILED", records, wireBytes);
    std::printf("  wall %.3f s, wire minimum %.3f s, ratio %.4f (target <= 1.01)\n", wall, wire,
                wall / wire);
    std::printf("  cpu %.3f s = %.2f %% of wall (target < 5 %%)\n", cpu, 100.0 * cpu / wall);

    // The same exchanges from a bare host through a fresh board, for the host's own share.
    kelp::bench::Board bare({"--model", "Zylo581", "--start", "loader"});
    if (!kelp::bench::started(bare)) return 1;
    const double bareWall = bareHost(bare.device(), frames);
    std::printf("  bare send-and-wait host: wall %.3f s, ratio %.4f; KELP adds %.3f ms a record\n",
                bareWall, bareWall / wire, 1000.0 * (wall - bareWall) / records);
    return ok ? 0 : 1;
}
