// A 10000-sample SAR run through the paced board at 57600 baud, in the real window with its
// strip chart, against the wire minimum of every byte of the run.

#include <QApplication>
#include <QComboBox>
#include <QPushButton>
#include <cstdio>

#include "benchsupport.h"
#include "platform/recordingmessagesink.h"
#include "platform/stripchart.h"
#include "sar/sarwindow.h"
#include "shell/programstate.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    kelp::platform::ChooseEventDispatcher();
    QApplication app(argc, argv);
    kelp::bench::Board board({"--model", "Zylo570"});
    if (!kelp::bench::started(board)) return 1;
    kelp::bench::Host host(board.device());
    auto& state = host.state;
    kelp::platform::RecordingMessageSink messages;
    kelp::sar::SarWindow window(host.link, state.run, state.sar, messages);
    window.load("Zylo570");
    window.show();
    window.findChild<QComboBox*>("NumSamples")->setCurrentText("10000");

    // Configuration (26), one request (1) and one packet (500) per 100 samples, the stop byte.
    const double wireBytes = 26 + 100 * (1 + 500) + 1;
    const double wire = wireBytes * 10.0 / 57600.0;
    const double configWait = 0.100;  // the firmware's set-up time, by design

    const double cpu0 = kelp::bench::cpuSeconds();
    const double t0 = kelp::bench::wallSeconds();
    window.findChild<QPushButton*>("RunButton")->click();
    const double wall = kelp::bench::wallSeconds() - t0;
    const double cpu = kelp::bench::cpuSeconds() - cpu0;

    const bool ok = state.run.SampleCount == 10000 && messages.messages.empty();
    std::printf("SAR run of 10000 samples at 57600 baud: %s, %d points plotted\n",
                ok ? "ok" : "FAILED",
                window.findChild<kelp::platform::StripChart*>("Graph")->pointCount());
    std::printf("  wall %.3f s (including the %.0f ms set-up wait and the analysis)\n", wall,
                configWait * 1000);
    std::printf(
        "  wire minimum %.3f s (%.0f bytes), ratio %.4f; without the set-up wait %.4f "
        "(target <= 1.03)\n",
        wire, wireBytes, wall / wire, (wall - configWait) / wire);
    std::printf("  cpu %.3f s = %.2f %% of wall\n", cpu, 100.0 * cpu / wall);
    return ok ? 0 : 1;
}
