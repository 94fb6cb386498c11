#include <QCoreApplication>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "platform/qteventqueue.h"

int main(int argc, char** argv) {
    // No display: the waits need an event loop, nothing more.
    kelp::platform::ChooseEventDispatcher();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("kelp-cli");
    const std::vector<std::string> args(argv + 1, argv + argc);
    return kelp::cli::RunCli(args, QCoreApplication::applicationDirPath().toStdString(), stdout,
                             stderr);
}
