// Downloads the largest firmware image through the paced virtual board and compares the
// host's wall time with the wire minimum of every byte sent and received.

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

class NoProgress final : public kelp::platform::ProgressIndicator {
public:
    void setVisible(bool) override {}
    void setRange(int, int) override {}
    void setValue(int) override {}
};

}  // namespace

int main(int argc, char** argv) {
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
    for (size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i] == kelp::loader::kEndRecord) continue;
        wireBytes += static_cast<double>(kelp::loader::writeFrameFromLine(lines[i])->size() + 1);
        ++records;
    }
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
    std::printf("  wall %.3f s, wire minimum %.3f s, ratio %.4f (target <= 1.02)\n", wall, wire,
                wall / wire);
    std::printf("  cpu %.3f s = %.2f %% of wall (target < 5 %%)\n", cpu, 100.0 * cpu / wall);
    return ok ? 0 : 1;
}
