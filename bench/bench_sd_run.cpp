// Sigma-delta runs through the paced board in the real window with both charts: 2000 samples
// at the fastest update rate (frames sent, frames stored correctly, wall time against the
// board's sending time, CPU), then a stress at rising frame rates up to frames back to back at
// 57600 baud, for the highest rate taken without loss.

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "benchsupport.h"
#include "platform/recordingmessagesink.h"
#include "link/rxdatapacket.h"
#include "link/targetport.h"
#include "sigmadelta/sdwindow.h"

namespace {

namespace fs = std::filesystem;

// The primary codes the board logged, in the order it sent them.
std::vector<long> sentCodes(const fs::path& log) {
    std::vector<long> out;
    std::ifstream in(log);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("CODES ", 0) != 0) continue;
        std::istringstream words(line.substr(6));
        std::string primary;
        words >> primary;
        out.push_back(std::stol(primary, nullptr, 16));
    }
    return out;
}

struct Result {
    double wall = 0, cpu = 0;
    int stored = 0;   // samples whose code is the one the board sent for that sample
    int lost = 0;     // frames the board sent that no sample holds
    size_t sent = 0;  // frames the board sent before the stop byte
};

// Samples holding the code the board sent for that sample, and the frames they skip over.
Result compare(const std::vector<long>& codes, const std::vector<long>& stored) {
    Result r;
    r.sent = codes.size();
    for (size_t i = 0; i < stored.size() && i < codes.size(); ++i) r.stored += stored[i] == codes[i];
    size_t j = 0;
    for (long code : stored) {
        size_t k = j;
        while (k < codes.size() && codes[k] != code) ++k;
        if (k == codes.size()) continue;  // a sample without a frame of its own
        r.lost += static_cast<int>(k - j);
        j = k + 1;
    }
    return r;
}

// One run of `samples` on Zylo580 at divider 0 (57600 baud), SF 0D, chopping off.
Result run(QStringList boardArgs, int samples) {
    const fs::path log = fs::temp_directory_path() / "kelp-bench-sd.log";
    fs::remove(log);
    kelp::bench::Board board(
        QStringList{"--model", "Zylo580", "--log", QString::fromStdString(log.string())} +
        boardArgs);
    if (!kelp::bench::started(board)) return {};
    kelp::bench::Host host(board.device());
    kelp::platform::RecordingMessageSink messages;
    kelp::sigmadelta::SdWindow window(host.link, host.state.run, host.state.sd, host.state.sdLink,
                                      messages);
    window.load("Zylo580", true);
    window.show();
    const auto choose = [&](const char* name, int position) {
        auto* list = window.findChild<QComboBox*>(name);
        list->setCurrentIndex(position);
        emit list->activated(position);
    };
    choose("CDBits", 0);  // back to divider 0 and 57600 baud
    choose("SF", 0);
    window.findChild<QCheckBox*>("chopEnChkBox")->setChecked(true);
    window.findChild<QCheckBox*>("AuxillaryADCButton")->setChecked(true);
    window.findChild<QComboBox*>("NumSamples")->setEditText(QString::number(samples));

    const double cpu0 = kelp::bench::cpuSeconds();
    const double t0 = kelp::bench::wallSeconds();
    window.findChild<QPushButton*>("RunButton")->click();
    const double wall = kelp::bench::wallSeconds() - t0;
    const double cpu = kelp::bench::cpuSeconds() - cpu0;
    const auto& stored = host.state.sd.PrimaryCodeBuffer;
    Result r = compare(sentCodes(log), std::vector<long>(stored.begin(), stored.begin() + samples));
    r.wall = wall;
    r.cpu = cpu;
    return r;
}

// The same stream taken by the receiver alone, no window and no charts: what this machine and
// its pseudo-terminals allow any host that reads frames this way.
Result receiverAlone(int samples, double rate) {
    const fs::path log = fs::temp_directory_path() / "kelp-bench-sd.log";
    fs::remove(log);
    kelp::bench::Board board(
        QStringList{"--model", "Zylo580", "--log", QString::fromStdString(log.string()),
                    "--sd-rate", QString::number(rate)});
    if (!kelp::bench::started(board)) return {};
    kelp::bench::Host host(board.device());
    host.link.applySettings("57600,N,8,1");
    if (!kelp::link::OpenTargetPort(host.port)) return {};
    host.link.send("R");
    std::vector<long> stored;
    kelp::link::PacketBytes b{};
    const double t0 = kelp::bench::wallSeconds();
    while (static_cast<int>(stored.size()) < samples &&
           kelp::link::RXDataPacket(host.link, b) == kelp::link::WaitResult::Ready)
        stored.push_back(b[0] << 16 | b[1] << 8 | b[2]);
    host.link.send("S");
    Result r = compare(sentCodes(log), stored);
    r.wall = kelp::bench::wallSeconds() - t0;
    host.port.close();
    return r;
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    kelp::platform::ChooseEventDispatcher();
    QApplication app(argc, argv);

    // SF 0D with chopping off: 4096 / 13 conversions a second.
    const double fastest = 4096.0 / 13;
    const Result r = run({}, 2000);
    const double sending = 2000 / fastest;
    std::printf("sigma-delta run of 2000 samples at %.1f frames a second, both charts:\n", fastest);
    std::printf("  frames sent %zu, stored correctly %d of 2000 (target: all), lost %d\n", r.sent,
                r.stored, r.lost);
    std::printf("  wall %.3f s against the board's sending time %.3f s, ratio %.4f\n", r.wall,
                sending, r.wall / sending);
    std::printf("  cpu %.3f s = %.2f %% of wall (target <= 10 %%)\n", r.cpu, 100 * r.cpu / r.wall);
    for (int k = 0; k < 3; ++k) {
        const Result bare = receiverAlone(2000, fastest);
        std::printf("  receiver alone, no window: stored correctly %d of 2000, lost %d\n",
                    bare.stored, bare.lost);
    }

    // 57600 baud carries 13 characters of 10 bits 443 times a second: frames back to back.
    double sustained = 0;
    for (double rate : {100.0, 200.0, 315.0, 400.0, 443.0}) {
        const Result s = run({"--sd-rate", QString::number(rate)}, 1000);
        const bool clean = s.stored == 1000;
        std::printf(
            "  stress %5.0f frames a second: stored correctly %4d of 1000, lost %d, cpu %.2f %%\n",
            rate, s.stored, s.lost, 100 * s.cpu / s.wall);
        if (clean) sustained = rate;
    }
    std::printf("  highest rate sustained without loss: %.0f frames a second\n", sustained);
    return r.stored == 2000 ? 0 : 1;
}
