// kelp-cli measuring 10000 SAR samples on the paced board at 57600 baud, as a script would run
// it (a process of its own, start-up and printing included), against the wire minimum.

#include <QCoreApplication>
#include <QProcess>
#include <cstdio>

#include "benchsupport.h"

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    kelp::bench::Board board({"--model", "Zylo570"});
    if (!kelp::bench::started(board)) return 1;

    // Configuration (26), one request (1) and one packet (500) per 100 samples, the stop byte.
    const double wireBytes = 26 + 100 * (1 + 500) + 1;
    const double wire = wireBytes * 10.0 / 57600.0;
    const double configWait = 0.100;  // the firmware's set-up time, by design

    QProcess cli;
    const double t0 = kelp::bench::wallSeconds();
    cli.start(QStringLiteral(KELP_CLI_EXE),
              {"measure", "--port", QString::fromStdString(board.device()), "--model", "Zylo570",
               "--samples", "10000", "--json"});
    const bool finished = cli.waitForFinished(120000);
    const double wall = kelp::bench::wallSeconds() - t0;
    const bool ok = finished && cli.exitCode() == 0 &&
                    cli.readAllStandardOutput().contains("\"samples\": 10000");

    std::printf("kelp-cli measure, 10000 SAR samples at 57600 baud: %s\n", ok ? "ok" : "FAILED");
    std::printf("  wall %.3f s (process start, %.0f ms set-up wait, analysis and JSON included)\n",
                wall, configWait * 1000);
    std::printf(
        "  wire minimum %.3f s (%.0f bytes x 10 bits / 57600), ratio %.4f; without the "
        "set-up wait %.4f\n",
        wire, wireBytes, wall / wire, (wall - configWait) / wire);
    return ok ? 0 : 1;
}
