#include "support/boardprocess.h"

#include <QElapsedTimer>

namespace kelp::testing {

BoardProcess::BoardProcess(const QStringList& arguments) {
    process_.start(QStringLiteral(KELP_BOARD_EXE), arguments);
    if (!process_.waitForStarted(5000)) return;
    QElapsedTimer clock;
    clock.start();
    while (!process_.canReadLine() && clock.elapsed() < 5000) process_.waitForReadyRead(100);
    if (process_.canReadLine()) device_ = process_.readLine().trimmed().toStdString();
}

BoardProcess::~BoardProcess() {
    if (process_.state() != QProcess::NotRunning) {
        process_.terminate();
        if (!process_.waitForFinished(3000)) {
            process_.kill();
            process_.waitForFinished(1000);
        }
    }
}

std::string BoardProcess::errorOutput() { return process_.readAllStandardError().toStdString(); }

}  // namespace kelp::testing
