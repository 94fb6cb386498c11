#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>
#include <cstring>
#include <memory>

#include "platform/qteventqueue.h"
#include "shell/application.h"

namespace {

struct Options {
    QCommandLineOption port{"port", "Also list this serial device (repeatable).", "device"};
    QCommandLineOption noBoard{"no-virtual-board", "Do not offer the built-in virtual board."};

    void addTo(QCommandLineParser& parser) {
        parser.setApplicationDescription(
            "Evaluation program for the Vantor converter microcontrollers.");
        parser.addHelpOption();
        parser.addVersionOption();
        parser.addOption(port);
        parser.addOption(noBoard);
    }
};

bool asksForText(int argc, char** argv) {
    for (int i = 1; i < argc; ++i)
        for (const char* flag : {"-h", "--help", "-v", "--version", "--help-all"})
            if (std::strcmp(argv[i], flag) == 0) return true;
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    // Help and version need no screen.
    std::unique_ptr<QCoreApplication> app;
    if (asksForText(argc, argv)) {
        app = std::make_unique<QCoreApplication>(argc, argv);
    } else {
        if (qEnvironmentVariableIsEmpty("DISPLAY") &&
            qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
            qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            std::fprintf(stderr,
                         "KELP needs a graphical display, and none is set (DISPLAY is empty).\n"
                         "Start it from a desktop session, or under a virtual one: xvfb-run %s\n",
                         argv[0]);
            return 1;
        }
        kelp::platform::ChooseEventDispatcher();
        app = std::make_unique<QApplication>(argc, argv);
    }
    QCoreApplication::setApplicationName("KELP");
    QCoreApplication::setApplicationVersion("6.04");

    Options options;
    QCommandLineParser parser;
    options.addTo(parser);
    parser.process(*app);

    kelp::shell::ApplicationOptions settings;
    settings.programFolder = QCoreApplication::applicationDirPath().toStdString();
    for (const QString& p : parser.values(options.port))
        settings.extraPorts.push_back(p.toStdString());
    settings.virtualBoard = !parser.isSet(options.noBoard);

    kelp::shell::Application kelp(settings);
    kelp.show();
    return app->exec();
}
